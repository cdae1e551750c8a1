#include "JSONTools.h"

#include <Poco/JSON/ParseHandler.h>
#include <Poco/JSON/Parser.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <typeinfo>

namespace Zovi::Util
{

namespace
{

// A null pointer counts as absent, as an empty value does.
template <typename Json>
const Json* find(const Poco::Dynamic::Var& value)
{
    const std::type_info& type = value.type();
    if (type == typeid(typename Json::Ptr))
        return value.extract<typename Json::Ptr>().get();
    if (type == typeid(Json))
        return &value.extract<Json>();
    return nullptr;
}

template <typename Json>
bool test(const Poco::Dynamic::Var& value, const Json** out)
{
    const Json* const found = find<Json>(value);
    if (found && out)
        *out = found;
    return found != nullptr;
}

bool exceeds(std::string_view digits, std::string_view greatest)
{
    return digits.size() != greatest.size() ? digits.size() > greatest.size() : digits > greatest;
}

// True if `number`, as JSON writes it, is an integer that fits neither 64-bit type.
bool isTooWide(std::string_view number)
{
    if (number.find_first_of(".eE") != std::string_view::npos)
        return false;
    if (number.front() == '-')
        return exceeds(number.substr(1), "9223372036854775808");
    return exceeds(number, "18446744073709551615");
}

std::size_t endOfString(std::string_view text, std::size_t openingQuote)
{
    std::size_t position = openingQuote + 1;
    while (position < text.size() && text[position] != '"')
        position += text[position] == '\\' ? 2 : 1;
    return std::min(position + 1, text.size());
}

/// Takes the next number out of `text`, which is known to be JSON as far as that; an empty one at its end.
std::string_view takeNumber(std::string_view& text)
{
    std::size_t position = 0;
    while ((position = text.find_first_of("\"-0123456789", position)) != std::string_view::npos) {
        if (text[position] == '"') {
            position = endOfString(text, position);
            continue;
        }
        const std::size_t end = std::min(text.find_first_not_of("+-.0123456789eE", position), text.size());
        const std::string_view number = text.substr(position, end - position);
        text.remove_prefix(end);
        return number;
    }
    text = {};
    return {};
}

// The parser reads some integers that are too wide as another number: they must not pass.
bool hasTooWideInteger(std::string_view text)
{
    for (std::string_view number = takeNumber(text); !number.empty(); number = takeNumber(text)) {
        if (isTooWide(number))
            return true;
    }
    return false;
}

/// The parser reads a negative integer by way of a `double`, which rounds it where it has more than 53 bits.
/// This takes it from the text instead.
class ExactHandler : public Poco::JSON::ParseHandler
{
public:
    explicit ExactHandler(std::string_view text)
        : m_rest(text)
    {
    }

    using ParseHandler::value;
    void value(Poco::Int64 number) override
    {
        ParseHandler::value(number < 0 ? nextNegative(number) : number);
    }

private:
    // One that is too wide stays as it is read: the document is refused afterwards.
    Poco::Int64 nextNegative(Poco::Int64 rounded)
    {
        Poco::Int64 number = 0;
        while (number >= 0 && !m_rest.empty()) {
            const std::string_view text = takeNumber(m_rest);
            if (text.substr(0, 1) != "-" || text.find_first_of(".eE") != std::string_view::npos)
                continue;
            number = rounded;
            std::from_chars(text.data(), text.data() + text.size(), number);
        }
        return number;
    }

    std::string_view m_rest;
};

// The parser takes this byte for the end of the text and never looks at what follows. It is no part of UTF-8.
bool hasFalseEnd(std::string_view text)
{
    return text.find('\xFF') != std::string_view::npos;
}

} // namespace

bool JSONTools::parseJSONString(const std::string& text, Poco::JSON::Object::Ptr& out)
{
    if (hasFalseEnd(text))
        return false;
    try {
        // As the parser's own default argument it would leak where its construction fails for want of memory.
        const Poco::JSON::Handler::Ptr handler(new ExactHandler(text));
        Poco::JSON::Parser parser(handler);
        const Poco::Dynamic::Var document = parser.parse(text);
        if (document.type() != typeid(Poco::JSON::Object::Ptr) || hasTooWideInteger(text))
            return false;
        out = document.extract<Poco::JSON::Object::Ptr>();
        return true;
    } catch (...) {
        // The text comes from outside: whatever is wrong with it, running out of memory included, it is no
        // object.
        return false;
    }
}

bool JSONTools::testJsonObject(const Poco::Dynamic::Var& value, const Poco::JSON::Object** out)
{
    return test(value, out);
}

bool JSONTools::testJsonArray(const Poco::Dynamic::Var& value, const Poco::JSON::Array** out)
{
    return test(value, out);
}

const Poco::JSON::Object* JSONTools::extractJsonObject(const Poco::Dynamic::Var& value)
{
    return find<Poco::JSON::Object>(value);
}

const Poco::JSON::Array* JSONTools::extractJsonArray(const Poco::Dynamic::Var& value)
{
    return find<Poco::JSON::Array>(value);
}

} // namespace Zovi::Util
