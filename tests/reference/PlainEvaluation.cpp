#include "PlainEvaluation.h"

#include <Poco/Bugcheck.h>
#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/RegularExpression.h>
#include <Poco/StringTokenizer.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>

namespace Zovi::Test
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Texts = std::vector<std::string>;

// What a value holds -----------------------------------------------------------------------------------

const Object* heldObject(const Var& value)
{
    if (value.isEmpty())
        return nullptr;
    if (value.type() == typeid(Object::Ptr))
        return value.extract<Object::Ptr>().get();
    return value.type() == typeid(Object) ? &value.extract<Object>() : nullptr;
}

const Array* heldArray(const Var& value)
{
    if (value.isEmpty())
        return nullptr;
    if (value.type() == typeid(Array::Ptr))
        return value.extract<Array::Ptr>().get();
    return value.type() == typeid(Array) ? &value.extract<Array>() : nullptr;
}

bool isIdentity(const std::string& name)
{
    return name == "id" || name == "name" || name == "uri";
}

// Paging -----------------------------------------------------------------------------------------------

struct Paging {
    enum Type { TOTAL, UUID, INDEX };

    bool isValid = true;
    std::string id;
    int number = 0;
    int limit = 0;
    Type type = INDEX;
};

Paging parsePaging(const std::string& offset, const std::string& limit, Texts& log)
{
    Paging paging;
    if (offset.empty() && limit.empty()) {
        paging.isValid = false;
        return paging;
    }
    if (!offset.empty()) {
        Poco::UUID uuid;
        if (uuid.tryParse(offset)) {
            paging.id = offset;
            paging.type = Paging::UUID;
        } else if (!Poco::NumberParser::tryParse(offset, paging.number, ',')) {
            paging.isValid = false;
        }
    }
    if (limit.empty()) {
        paging.limit = 25;
    } else if (!Poco::NumberParser::tryParse(limit, paging.limit, ',')) {
        paging.isValid = false;
    } else if (paging.limit == 0) {
        paging.type = Paging::TOTAL;
    } else if (paging.limit != std::numeric_limits<int>::min() && std::abs(paging.limit) > 100) {
        log.emplace_back("Warning: Reset paging limit to maximum allowed value (100)");
        paging.limit = paging.limit > 0 ? 100 : -100;
    }
    return paging;
}

template <typename Container, typename GetId>
int slice(const Paging& paging, Container& container, const GetId& getId)
{
    const auto size = static_cast<std::int64_t>(container.size());
    if (!paging.isValid || size == 0)
        return 0;
    if (paging.type == Paging::TOTAL) {
        container.clear();
        return 0;
    }
    std::int64_t anchor = 0;
    if (paging.type == Paging::UUID) {
        for (std::int64_t i = 0; i < size; ++i) {
            if (getId(container[static_cast<std::size_t>(i)]) == paging.id) {
                anchor = i;
                break;
            }
        }
    } else {
        anchor = paging.number < 0 ? paging.number + size : paging.number;
        if (anchor < 0 || anchor >= size) {
            container.clear();
            return 0;
        }
    }
    std::int64_t start = anchor;
    std::int64_t count = 0;
    if (paging.limit < 0) {
        const std::int64_t n = -static_cast<std::int64_t>(paging.limit);
        const std::int64_t wanted = anchor + 1;
        start = wanted <= n ? 0 : anchor + 1 - n;
        count = wanted <= n ? wanted : n;
    } else {
        count = std::min<std::int64_t>(size - anchor, paging.limit);
    }
    if (count < size) {
        Container cut;
        for (std::int64_t i = start; i < start + count; ++i)
            cut.push_back(container[static_cast<std::size_t>(i)]);
        container.swap(cut);
    }
    return static_cast<int>(start);
}

std::string guardedId(const Var& element)
{
    try {
        const Object::Ptr object = element.extract<Object::Ptr>();
        if (!object || !object->has("id"))
            return {};
        return object->get("id").convert<std::string>();
    } catch (...) {
        return {};
    }
}

int sliceArray(const Paging& paging, Array& array)
{
    if (array.size() == 0 || !paging.isValid)
        return 0;
    if (paging.type == Paging::TOTAL) {
        array.clear();
        return 0;
    }
    std::vector<Var> elements;
    for (const Var& element : array) {
        if (!element.isEmpty() && element.type() == typeid(Object))
            elements.emplace_back(Object::Ptr(new Object(element.extract<Object>())));
        else if (!element.isEmpty() && element.type() == typeid(Array))
            elements.emplace_back(Array::Ptr(new Array(element.extract<Array>())));
        else
            elements.push_back(element);
    }
    const bool holdsObjects = array.isObject(0);
    const int start = slice(paging, elements, [holdsObjects](const Var& element) {
        return holdsObjects ? guardedId(element) : std::string();
    });
    if (elements.size() != array.size()) {
        array.clear();
        for (const Var& element : elements)
            array.add(element);
    }
    return start;
}

// Field selection --------------------------------------------------------------------------------------

struct Fields {
    bool isValid = true;
    std::map<std::string, std::shared_ptr<Paging>> collection;
};

bool parseSubPaging(const std::string& text, std::string& offset, std::string& limit)
{
    const Poco::RegularExpression expression(R"(^\(\$offset:([0-9A-Fa-f-]+),\$limit:([0-9-]+)\)$)");
    std::vector<std::string> match;
    if (expression.split(text, 0, match, 0) != 3 || match.size() < 3)
        return false;
    offset = match[1];
    limit = match[2];
    return true;
}

using FieldList = std::vector<std::pair<std::string, std::shared_ptr<Paging>>>;

bool parseFieldList(const std::string& parameter, FieldList& fields, Texts& log)
{
    const Poco::RegularExpression expression(R"(([^,\(]+(\(\$offset:[0-9A-Fa-f-]+,\$limit:[0-9-]+\))?))");
    std::string rest = parameter;
    std::vector<std::string> match;
    int count = expression.split(rest, 0, match, 0);
    while (count > 0) {
        if (count == 2) {
            fields.emplace_back(match[1], nullptr);
        } else if (count == 3) {
            std::string offset;
            std::string limit;
            if (!parseSubPaging(match[2], offset, limit))
                return false;
            const Paging paging = parsePaging(offset, limit, log);
            if (!paging.isValid)
                return false;
            fields.emplace_back(match[1].substr(0, match[1].find('(')), std::make_shared<Paging>(paging));
        } else {
            return false;
        }
        rest.erase(0, match[1].size());
        if (rest.empty())
            return true;
        if (rest.front() != ',')
            return false;
        rest.erase(0, 1);
        count = expression.split(rest, 0, match, 0);
    }
    return true;
}

Fields parseFields(const std::string& parameter, Texts& log)
{
    Fields fields;
    FieldList list;
    fields.isValid = parseFieldList(parameter, list, log);
    for (const char* name : {"id", "name", "uri"})
        fields.collection.emplace(name, nullptr);
    for (const auto& [name, paging] : list)
        fields.collection.emplace(name, paging);
    return fields;
}

void selectFieldsInPlace(const Fields& fields, Object& object)
{
    for (const std::string& name : object.getNames()) {
        const auto field = fields.collection.find(name);
        if (field == fields.collection.end())
            object.remove(name);
        else if (field->second && object.isArray(name) && object.getArray(name))
            sliceArray(*field->second, *object.getArray(name));
    }
}

void selectFieldsInCopy(const Fields& fields, const Object& source, Object& result)
{
    result.clear();
    for (const auto& [name, value] : source) {
        const auto field = fields.collection.find(name);
        if (field == fields.collection.end())
            continue;
        if (field->second && source.isArray(name)) {
            const Array::Ptr held = source.getArray(name);
            Array::Ptr cut = new Array(held ? *held : value.extract<Array>());
            sliceArray(*field->second, *cut);
            result.set(name, cut);
        } else {
            result.set(name, value);
        }
    }
}

// Expansion --------------------------------------------------------------------------------------------

void expandObject(Object& object, int level);

void expandArray(Array& array, int level)
{
    if (array.size() == 0 || !array.isObject(0))
        return;
    for (const Var& element : array) {
        Object::Ptr object = element.extract<Object::Ptr>();
        if (object)
            expandObject(*object, level);
    }
}

void expandMember(Object& object, const std::string& name, int level)
{
    if (Object::Ptr member = object.getObject(name))
        expandObject(*member, level);
    else if (Array::Ptr array = object.getArray(name))
        expandArray(*array, level);
}

void expandObject(Object& object, int level)
{
    for (const std::string& name : object.getNames()) {
        if (level < 0) {
            if (!isIdentity(name))
                object.remove(name);
        } else if (object.isObject(name) || object.isArray(name)) {
            expandMember(object, name, level - 1);
        }
    }
}

struct Expansion {
    std::optional<int> level;
    std::vector<std::string> properties;
};

void expand(const Expansion& expansion, Object& object)
{
    if (expansion.level) {
        expandObject(object, *expansion.level);
        return;
    }
    for (const std::string& name : object.getNames()) {
        if (!object.isObject(name) && !object.isArray(name))
            continue;
        const auto& names = expansion.properties;
        const bool isNamed = std::find(names.begin(), names.end(), name) != names.end();
        expandMember(object, name, isNamed ? 0 : -1);
    }
}

// Value search -----------------------------------------------------------------------------------------

std::shared_ptr<Poco::RegularExpression> compile(const std::vector<std::string>& values)
{
    const Poco::RegularExpression wildcards("(%|%25)+");
    std::string pattern;
    for (std::string value : values) {
        wildcards.subst(value, 0, ".*", Poco::RegularExpression::RE_GLOBAL);
        pattern += "^" + value + "$|";
    }
    if (pattern.empty())
        return std::make_shared<Poco::RegularExpression>("(?!)");
    pattern.pop_back();
    return std::make_shared<Poco::RegularExpression>(pattern);
}

struct Search {
    std::string attribute; ///< empty for a free-text search
    std::vector<std::string> values;
    std::shared_ptr<Poco::RegularExpression> pattern;
};

std::vector<std::string> splitValues(const std::string& text)
{
    const Poco::StringTokenizer tokens(
        text, ",", Poco::StringTokenizer::TOK_IGNORE_EMPTY | Poco::StringTokenizer::TOK_TRIM);
    return {tokens.begin(), tokens.end()};
}

Search parseFreeText(const std::string& text)
{
    Search search;
    search.values = splitValues(text);
    search.pattern = compile(search.values);
    return search;
}

Search parseAttribute(const std::string& name, const std::string& text)
{
    Search search;
    search.attribute = name;
    search.values = splitValues(text);
    for (const std::string& value : search.values) {
        if (value.find('%') != std::string::npos) {
            search.pattern = compile(search.values);
            break;
        }
    }
    return search;
}

bool matchesText(const Search& search, const std::string& text)
{
    if (search.pattern)
        return search.pattern->match(text, 0);
    return std::find(search.values.begin(), search.values.end(), text) != search.values.end();
}

bool matchesFreeText(const Search& search, const Var& value, int depth)
{
    if (depth > 1)
        return false;
    if (const Object* object = heldObject(value)) {
        for (const auto& member : *object) {
            if (matchesFreeText(search, member.second, depth + 1))
                return true;
        }
        return false;
    }
    if (const Array* array = heldArray(value)) {
        for (const Var& element : *array) {
            if (matchesFreeText(search, element, heldObject(element) ? depth : depth + 1))
                return true;
        }
        return false;
    }
    return matchesText(search, value.convert<std::string>());
}

bool matchesNumber(const Search& search, const Var& value)
{
    const auto number = value.convert<double>();
    for (const std::string& text : search.values) {
        double wanted = 0.0;
        if (!Poco::NumberParser::tryParseFloat(text, wanted, '.', ','))
            wanted = 0.0;
        if (std::fabs(number - wanted) <= std::numeric_limits<double>::epsilon())
            return true;
    }
    return false;
}

bool matchesAttribute(const Search& search, const Var& value, int depth)
{
    if (depth > 1)
        return false;
    if (const Object* object = heldObject(value)) {
        const std::string id = object->optValue<std::string>("id", "");
        return !id.empty() && matchesText(search, id);
    }
    if (const Array* array = heldArray(value)) {
        for (const Var& element : *array) {
            if (matchesAttribute(search, element, depth + 1))
                return true;
        }
        return false;
    }
    if (!value.isBoolean() && !value.isInteger() && value.isNumeric() && !search.pattern)
        return matchesNumber(search, value);
    return matchesText(search, value.convert<std::string>());
}

bool passes(const Object& object, const std::vector<Search>& attributes, const std::vector<Search>& texts)
{
    std::size_t found = 0;
    for (const Search& search : attributes) {
        if (!object.has(search.attribute))
            continue;
        if (!matchesAttribute(search, object.get(search.attribute), 0))
            break;
        ++found;
    }
    if (found != attributes.size())
        return false;
    if (texts.empty())
        return true;
    for (const Search& search : texts) {
        for (const auto& member : object) {
            if (matchesFreeText(search, member.second, 0))
                return texts.size() == 1;
        }
    }
    return false;
}

// Sorting ----------------------------------------------------------------------------------------------

template <typename T>
int order(const T& left, const T& right)
{
    if (left < right)
        return -1;
    return left > right ? 1 : 0;
}

int compareValues(const Var& left, const Var& right, int depth)
{
    if (depth > 2)
        return 0;
    if (left.isInteger() && right.isInteger()) {
        if (left.isSigned())
            return order(left.convert<Poco::Int64>(), right.convert<Poco::Int64>());
        return order(left.convert<Poco::UInt64>(), right.convert<Poco::UInt64>());
    }
    if (left.isNumeric() && right.isNumeric())
        return order(left.convert<double>(), right.convert<double>());
    if (const Object* leftObject = heldObject(left)) {
        const Object* rightObject = heldObject(right);
        if (!rightObject)
            return -1;
        return order(leftObject->optValue<std::string>("id", ""),
                     rightObject->optValue<std::string>("id", ""));
    }
    if (const Array* leftArray = heldArray(left)) {
        const Array* rightArray = heldArray(right);
        if (!rightArray)
            return -1;
        if (leftArray->size() != rightArray->size())
            return leftArray->size() < rightArray->size() ? -1 : 1;
        for (unsigned int i = 0; i < leftArray->size(); ++i) {
            const int result = compareValues(leftArray->get(i), rightArray->get(i), depth + 1);
            if (result != 0)
                return result;
        }
        return 0;
    }
    const std::string leftText = left.toString();
    return order(leftText, right.toString());
}

struct SortField {
    std::string name;
    bool isDescending;
};

std::vector<SortField> parseSorting(const std::string& text)
{
    std::vector<SortField> fields;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t comma = text.find(',', start);
        const std::string field = text.substr(start, comma == std::string::npos ? comma : comma - start);
        const bool isDescending = !field.empty() && field.front() == '-';
        fields.push_back({isDescending ? field.substr(1) : field, isDescending});
        if (comma == std::string::npos)
            break;
        start = comma + 1;
    }
    return fields;
}

int compareField(const Object::Ptr& left, const Object::Ptr& right, const std::string& name)
{
    const bool hasLeft = left && left->has(name);
    const bool hasRight = right && right->has(name);
    if (left.get() == right.get() || (!hasLeft && !hasRight))
        return 0;
    if (!hasRight)
        return 1;
    if (!hasLeft)
        return -1;
    return compareValues(left->get(name), right->get(name), 0);
}

bool goesBefore(const std::vector<SortField>& fields, const Object::Ptr& left, const Object::Ptr& right)
{
    for (const SortField& field : fields) {
        const int result = field.isDescending ? compareField(right, left, field.name)
                                              : compareField(left, right, field.name);
        if (result != 0)
            return result < 0;
    }
    return false;
}

// The paging object ------------------------------------------------------------------------------------

struct Page {
    Paging::Type type;
    std::string id;
    std::int64_t offset;
    std::int64_t limit;
    std::int64_t total;
};

std::string link(const Poco::URI& uri, std::int64_t limit, std::int64_t offset)
{
    std::vector<std::string> segments;
    uri.getPathSegments(segments);
    std::string text = "/" + segments[0] + "/" + segments[1] + "?$limit=" + std::to_string(limit) +
                       "&$offset=" + std::to_string(offset);
    for (const auto& [key, value] : uri.getQueryParameters()) {
        if (key != "$offset" && key != "$limit")
            text += "&" + key + "=" + value;
    }
    return text;
}

std::int64_t pageCount(const Page& page, bool hasLinks, std::int64_t lowest, std::int64_t highest)
{
    const std::int64_t limit = std::llabs(page.limit);
    auto pages =
        static_cast<std::int64_t>(std::ceil(static_cast<double>(page.total) / static_cast<double>(limit)));
    if (!hasLinks)
        return pages;
    std::int64_t walked = 0;
    if (page.offset >= 0)
        walked = page.limit > 0 ? page.offset : highest - page.offset;
    else
        walked = page.limit > 0 ? std::llabs(lowest - page.offset) : -page.offset - 1;
    const std::int64_t front = walked % limit;
    const std::int64_t end = (page.total - front) % limit;
    if (front > 0 && end > 0 && limit >= front + end)
        ++pages;
    return pages;
}

void describePage(const Poco::URI& uri, const Page& page, Object& out, Texts& log)
{
    if (page.type == Paging::TOTAL) {
        out.set("total", static_cast<Poco::UInt32>(page.total));
        return;
    }
    if (!page.id.empty())
        out.set("offsetId", page.id);
    out.set("offset", static_cast<Poco::Int32>(page.offset));
    out.set("limit", static_cast<Poco::Int32>(page.limit));

    const std::int64_t highest = page.total - 1;
    const std::int64_t lowest = -page.total;
    const std::int64_t next = page.offset + page.limit;
    std::int64_t previous = page.offset - page.limit;
    bool showNext = false;
    if (page.offset >= 0 && page.limit >= 0) {
        previous = std::max<std::int64_t>(previous, 0);
        showNext = next <= highest;
    } else if (page.offset >= 0) {
        previous = std::min(previous, highest);
        showNext = next >= 0;
    } else if (page.limit >= 0) {
        previous = std::max(previous, lowest);
        showNext = next < 0;
    } else {
        previous = std::min<std::int64_t>(previous, -1);
        showNext = next >= lowest;
    }
    bool showPrevious = true;
    if (page.offset < lowest || page.offset > highest) {
        showNext = false;
        showPrevious = false;
        log.push_back("Error: Paging offset value " + std::to_string(page.offset) + " outside of range. (" +
                      std::to_string(lowest) + "..." + std::to_string(highest) + ")");
    }
    if (previous == page.offset)
        showPrevious = false;

    std::int64_t pages = 1;
    if (page.limit == 0)
        log.emplace_back("Error: Cannot apply paging for a limit value of 0");
    else
        pages = pageCount(page, showNext || showPrevious, lowest, highest);
    out.set("total", static_cast<Poco::UInt32>(page.total));
    out.set("totalPages", static_cast<Poco::UInt32>(pages));
    if (showPrevious)
        out.set("previous", link(uri, page.limit, previous));
    if (showNext)
        out.set("next", link(uri, page.limit, next));
}

} // namespace

// The request ------------------------------------------------------------------------------------------

struct PlainEvaluation::Request {
    explicit Request(const std::string& url)
        : uri(url)
    {
    }

    void take(const std::string& key, const std::string& value, Texts& log);
    void takeExpansion(const std::string& value);
    void takePaging(Texts& log);
    void condemn() { isValid = false; }

    Poco::URI uri;
    bool isValid = true;
    std::string offset;
    std::string limit;
    std::optional<Paging> paging;
    std::vector<Fields> fields;
    std::optional<std::vector<SortField>> sorting;
    std::optional<Expansion> expansion;
    std::vector<Search> attributes;
    std::vector<Search> texts;
};

void PlainEvaluation::Request::take(const std::string& key, const std::string& value, Texts& log)
{
    if (key == "$fields") {
        const Fields parsed = parseFields(value, log);
        if (parsed.isValid)
            fields.push_back(parsed);
        else
            condemn();
    } else if (key == "$sortby") {
        if (value.empty() || sorting)
            condemn();
        else
            sorting = parseSorting(value);
    } else if (key == "$expand") {
        takeExpansion(value);
    } else if (key == "$offset" || key == "$limit") {
        std::string& pending = key == "$offset" ? offset : limit;
        if (!pending.empty() || value.empty())
            condemn();
        else
            pending = value;
    } else if (key == "$q") {
        texts.push_back(parseFreeText(value));
    } else {
        attributes.push_back(parseAttribute(key, value));
    }
}

void PlainEvaluation::Request::takeExpansion(const std::string& value)
{
    if (value.empty() || expansion) {
        condemn();
        return;
    }
    int level = 0;
    Expansion parsed;
    if (!Poco::NumberParser::tryParse(value, level, ',')) {
        parsed.properties = splitValues(value);
    } else if (level < 0 || level > 3) {
        condemn();
        return;
    } else {
        parsed.level = level;
    }
    expansion = parsed;
}

void PlainEvaluation::Request::takePaging(Texts& log)
{
    if (offset.empty() && limit.empty())
        return;
    const Paging parsed = parsePaging(offset, limit, log);
    if (parsed.isValid)
        paging = parsed;
    else
        condemn();
}

PlainEvaluation::PlainEvaluation(const std::string& url, std::vector<std::string>& log)
    : m_request(new Request(url))
    , m_log(log)
{
    for (const auto& [key, value] : m_request->uri.getQueryParameters())
        m_request->take(key, value, m_log);
    m_request->takePaging(m_log);
}

PlainEvaluation::~PlainEvaluation() = default;

bool PlainEvaluation::isValid() const
{
    return m_request->isValid;
}

void PlainEvaluation::evaluate(const Array& input, Array& output, Object::Ptr& paging)
{
    std::vector<Object::Ptr> working;
    for (const Var& element : input) {
        const Object* object = heldObject(element);
        if (object && passes(*object, m_request->attributes, m_request->texts))
            working.emplace_back(new Object(*object));
    }

    const std::vector<SortField> fields = m_request->sorting.value_or(std::vector<SortField>{{"id", false}});
    std::sort(working.begin(), working.end(), [&fields](const Object::Ptr& left, const Object::Ptr& right) {
        return goesBefore(fields, left, right);
    });

    std::optional<Paging> cut = m_request->paging;
    if (!cut && working.size() > 25) {
        cut.emplace();
        cut->limit = 25;
    }
    if (cut) {
        const auto getId = [](const Object::Ptr& object) {
            return object && object->has("id") ? object->get("id").convert<std::string>() : std::string();
        };
        Page page{cut->type, "", 0, cut->limit, static_cast<std::int64_t>(working.size())};
        page.offset = slice(*cut, working, getId);
        if (!working.empty())
            page.id = getId(working.front());
        paging = new Object;
        describePage(m_request->uri, page, *paging, m_log);
    }

    if (!m_request->fields.empty()) {
        for (Object::Ptr& object : working)
            selectFieldsInPlace(m_request->fields.front(), *object);
    }
    output.clear();
    for (Object::Ptr& object : working) {
        if (m_request->expansion)
            expand(*m_request->expansion, *object);
        output.add(object);
    }
}

void PlainEvaluation::evaluate(const Object& input, Object& output) const
{
    if (m_request->fields.empty())
        output = Object(input);
    else
        selectFieldsInCopy(m_request->fields.front(), input, output);
    if (m_request->expansion)
        expand(*m_request->expansion, output);
}

} // namespace Zovi::Test
