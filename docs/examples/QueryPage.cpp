// Answers the requests on a page about queries: copies the page to the standard output, with the answer that
// the library gives in place of each answer that the page shows. The page is right if nothing has changed.
//
//     <!-- collection: /plant/devices -->    the JSON array in the next block is what this address holds
//     ```request                             a request; the next block is its answer
//     | Request | Elements | ...             a table; in each row the second cell is the answer to the first,
//                                            which may be a query alone and then asks the first collection
//     | Address | Characteristic | ...       the same with the kind of the address
//
// The response document is shown without its timestamp, with line breaks between its parts.

#include <Command/QueryFilterJSON.h>
#include <Command/RequestBase.h>
#include <Command/ResponseObject.h>

#include <Poco/Exception.h>
#include <Poco/JSON/Parser.h>
#include <Poco/RegularExpression.h>
#include <Poco/String.h>

#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;
using Zovi::Command::ResponseObject;
using Zovi::Command::UrlPath;

using Collections = std::map<std::string, std::string>;

const std::string REFUSED = "refused";
const std::string FAILED = "failed";

/// What the library says to a request: a response document, or why there is none.
struct Answer {
    Object::Ptr document;
    std::string refusal;
};

Array::Ptr parseArray(const std::string& text)
{
    return Poco::JSON::Parser().parse(text).extract<Array::Ptr>();
}

/// A collection of 26 elements named 1 to 26.
std::string ticks()
{
    Array array;
    for (int number = 1; number <= 26; ++number) {
        Object tick;
        tick.set("id", (number < 10 ? "0" : "") + std::to_string(number));
        tick.set("name", std::to_string(number));
        array.add(tick);
    }
    std::ostringstream text;
    array.stringify(text);
    return text.str();
}

std::string collectionAddress(const UrlPath& path)
{
    return "/" + path.getService() + "/" + path.getResource();
}

Object::Ptr answerCollection(const Array& elements, const RequestBase& request)
{
    Array::Ptr page(new Array);
    Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(elements, request, *page, paging);
    ResponseObject response(page);
    response.setPaging(paging);
    return response.getObject();
}

Object::Ptr answerElement(const Array& elements, const RequestBase& request)
{
    for (unsigned int index = 0; index < elements.size(); ++index) {
        const Object::Ptr element = elements.getObject(index);
        if (element->getValue<std::string>("id") != request.getUrlPath().getElement())
            continue;
        Object::Ptr shaped(new Object);
        QueryFilterJSON::filterJSONObjectByQuery(*element, request, *shaped);
        return ResponseObject(shaped).getObject();
    }
    throw std::runtime_error("no such element: " + request.getUri().toString());
}

/// Each request gets documents of its own, freshly built, as a service does it.
Answer evaluate(const RequestBase& request, const Collections& collections)
{
    const UrlPath& path = request.getUrlPath();
    if (!path.isValid())
        return {nullptr, REFUSED};
    const auto collection = collections.find(collectionAddress(path));
    if (collection == collections.end())
        throw std::runtime_error("no such collection: " + request.getUri().toString());
    const Array::Ptr elements = parseArray(collection->second);
    try {
        const bool isCollection = path.getCharacteristic() == UrlPath::SERVICE_RESOURCE;
        return {isCollection ? answerCollection(*elements, request) : answerElement(*elements, request), {}};
    } catch (const Poco::Exception&) {
        return {nullptr, FAILED};
    }
}

Answer answer(const std::string& url, const Collections& collections)
{
    try {
        return evaluate(RequestBase(Poco::URI(url)), collections);
    } catch (const Poco::RegularExpressionException&) {
        return {nullptr, REFUSED};
    } catch (const Poco::SyntaxException&) {
        return {nullptr, REFUSED};
    }
}

std::string compact(const Poco::Dynamic::Var& value)
{
    std::ostringstream text;
    Poco::JSON::Stringifier::stringify(value, text, 0, -1);
    return text.str();
}

std::string layOutData(const Object& document)
{
    const Array::Ptr elements = document.getArray("data");
    if (!elements || elements->size() == 0)
        return compact(document.get("data"));
    std::string text = "[";
    for (unsigned int index = 0; index < elements->size(); ++index)
        text += (index == 0 ? "\n  " : ",\n  ") + compact(elements->get(index));
    return text + "]";
}

std::string layOut(const Answer& answer)
{
    if (!answer.document)
        return answer.refusal;
    std::string text = "{\"data\":" + layOutData(*answer.document) + ",\n";
    if (answer.document->has("paging"))
        text += "\"paging\":" + compact(answer.document->get("paging")) + ",\n";
    return text + "\"status\":" + compact(answer.document->get("status")) + "}";
}

std::string nameOf(const Object& element)
{
    return element.optValue<std::string>("name", "(no name)");
}

std::string names(const Answer& answer)
{
    if (!answer.document)
        return answer.refusal;
    const Array::Ptr elements = answer.document->getArray("data");
    std::string text;
    for (unsigned int index = 0; index < elements->size(); ++index)
        text += (index == 0 ? "" : ", ") + nameOf(*elements->getObject(index));
    return text.empty() ? "none" : text;
}

std::string characteristicOf(const std::string& url)
{
    static const std::map<UrlPath::Characteristic, std::string> NAMES = {
        {UrlPath::INVALID, "INVALID"},
        {UrlPath::ROOT, "ROOT"},
        {UrlPath::ROOT_ID, "ROOT_ID"},
        {UrlPath::SERVICE, "SERVICE"},
        {UrlPath::SERVICE_ID, "SERVICE_ID"},
        {UrlPath::SERVICE_SPEC, "SERVICE_SPEC"},
        {UrlPath::SERVICE_RESOURCE, "SERVICE_RESOURCE"},
        {UrlPath::SERVICE_RESOURCE_ID, "SERVICE_RESOURCE_ID"},
        {UrlPath::SERVICE_RESOURCE_SPEC, "SERVICE_RESOURCE_SPEC"},
        {UrlPath::SERVICE_RESOURCE_ELEMENT, "SERVICE_RESOURCE_ELEMENT"},
    };
    return "`" + NAMES.at(UrlPath(url).getCharacteristic()) + "`";
}

/// Copies a page line by line and puts the answers in.
class PageWriter
{
public:
    PageWriter(std::istream& page, std::ostream& out)
        : m_page(page)
        , m_out(out)
    {
        m_collections["/plant/ticks"] = ticks();
    }

    void write()
    {
        std::string line;
        while (std::getline(m_page, line)) {
            if (Poco::startsWith(line, std::string("```")))
                writeBlock(line.substr(3));
            else
                writeText(line);
        }
    }

private:
    void writeBlock(const std::string& kind)
    {
        std::string body = readBlock();
        if (!m_collection.empty()) {
            m_collections[m_collection] = body;
            if (m_firstCollection.empty())
                m_firstCollection = m_collection;
            m_collection.clear();
        } else if (kind == "request") {
            m_request = Poco::trim(body);
        } else if (!m_request.empty()) {
            body = layOut(answer(m_request, m_collections)) + "\n";
            m_request.clear();
        }
        m_out << "```" << kind << '\n' << body << "```\n";
    }

    std::string readBlock()
    {
        std::string body;
        for (std::string line; std::getline(m_page, line) && line != "```";)
            body += line + "\n";
        return body;
    }

    void writeText(const std::string& line)
    {
        static const std::string COLLECTION = "<!-- collection: ";
        if (Poco::startsWith(line, COLLECTION))
            m_collection = line.substr(COLLECTION.size(), line.find(" -->") - COLLECTION.size());
        if (line.empty() || line[0] != '|')
            m_table.clear();
        m_out << (m_table.empty() ? line : answeredRow(line)) << '\n';
        if (Poco::startsWith(line, std::string("| Request | Elements |")))
            m_table = "Elements";
        else if (Poco::startsWith(line, std::string("| Address | Characteristic |")))
            m_table = "Characteristic";
    }

    std::string answeredRow(const std::string& line) const
    {
        static const std::string ROW = "| `";
        if (!Poco::startsWith(line, ROW))
            return line;
        const std::size_t end = line.find("` |", ROW.size());
        const std::size_t next = line.find(" |", end + 3);
        std::string url = line.substr(ROW.size(), end - ROW.size());
        if (url[0] == '?')
            url = m_firstCollection + url;
        const std::string cell =
            m_table == "Elements" ? names(answer(url, m_collections)) : characteristicOf(url);
        return line.substr(0, end + 4) + cell + line.substr(next);
    }

    std::istream& m_page;
    std::ostream& m_out;
    Collections m_collections;
    std::string m_collection; ///< the address whose array the next block holds
    std::string m_firstCollection;
    std::string m_request; ///< the request that the next block answers
    std::string m_table;   ///< what the rows of the present table tell
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: QueryPage <page>\n";
        return 2;
    }
    try {
        std::ifstream page(argv[1]);
        PageWriter(page, std::cout).write();
    } catch (const std::exception& problem) {
        std::cerr << argv[1] << ": " << problem.what() << '\n';
        return 1;
    }
    return 0;
}
