#include "ServiceKit/Body.h"

#include "JSONTools.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace Zovi::ServiceKit
{

namespace
{

using Poco::Dynamic::Var;

[[noreturn]] void refuse(const std::string& message)
{
    throw RequestError(Command::HTTPStatus::HTTP_BAD_REQUEST, message);
}

/// The characters of valid UTF-8: every byte but those that continue one.
std::size_t lengthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

/// `subject` is what the message speaks of.
std::string readText(const Var& value, const std::string& subject, std::size_t maxLength)
{
    if (!value.isString())
        refuse(subject + " must be a text");
    const auto& text = value.extract<std::string>();
    if (text.find('\0') != std::string::npos)
        refuse(subject + " must not hold a NUL character");
    if (lengthOf(text) > maxLength)
        refuse(subject + " must have " + std::to_string(maxLength) + " characters at most");
    return text;
}

/// Booleans count as numbers elsewhere.
bool isNumber(const Var& value)
{
    return value.isNumeric() && !value.isBoolean();
}

/// Nothing if it is no integer of 64 bits with a sign.
std::optional<std::int64_t> toInteger(const Var& value)
{
    if (!isNumber(value) || !value.isInteger())
        return std::nullopt;
    try {
        return value.convert<Poco::Int64>();
    } catch (const Poco::RangeException&) {
        return std::nullopt;
    }
}

/// "'a'", "'a' and 'b'", "'a', 'b' and 'c'"
std::string enumerate(const std::vector<std::string>& names)
{
    std::string text;
    for (std::size_t i = 0; i != names.size(); ++i) {
        if (i > 0)
            text += i + 1 == names.size() ? " and " : ", ";
        text += inQuotes(names[i]);
    }
    return text;
}

} // namespace

Body::Body(const Command::HttpRequest& request)
    : Body(request.getMessage())
{
}

Body::Body(const std::string& json)
{
    if (!Util::JSONTools::parseJSONString(json, m_object))
        refuse("the body must be a JSON object");
}

bool Body::has(const std::string& name)
{
    if (std::find(m_known.begin(), m_known.end(), name) == m_known.end())
        m_known.push_back(name);
    return m_object->has(name);
}

Var Body::require(const std::string& name)
{
    if (!has(name))
        refuse(inQuotes(name) + " is missing");
    return m_object->get(name);
}

std::string Body::text(const std::string& name, std::size_t maxLength)
{
    return readText(require(name), inQuotes(name), maxLength);
}

std::vector<std::string> Body::texts(const std::string& name, std::size_t maxCount, std::size_t maxLength)
{
    const Var value = require(name);
    const Poco::JSON::Array* const array = Util::JSONTools::extractJsonArray(value);
    if (!array)
        refuse(inQuotes(name) + " must be an array of texts");
    if (array->size() > maxCount)
        refuse(inQuotes(name) + " must have " + std::to_string(maxCount) + " texts at most");
    std::vector<std::string> texts;
    for (const Var& element : *array)
        texts.push_back(readText(element, "each of " + inQuotes(name), maxLength));
    return texts;
}

std::int64_t Body::integer(const std::string& name, std::int64_t min, std::int64_t max)
{
    const std::optional<std::int64_t> number = toInteger(require(name));
    if (!number || *number < min || *number > max)
        refuse(inQuotes(name) + " must be an integer from " + std::to_string(min) + " to " +
               std::to_string(max));
    return *number;
}

double Body::number(const std::string& name)
{
    const Var value = require(name);
    if (!isNumber(value) || !std::isfinite(value.convert<double>()))
        refuse(inQuotes(name) + " must be a number");
    return value.convert<double>();
}

bool Body::flag(const std::string& name)
{
    const Var value = require(name);
    if (!value.isBoolean())
        refuse(inQuotes(name) + " must be true or false");
    return value.extract<bool>();
}

Poco::UUID Body::reference(const std::string& name, const Resource& resource)
{
    const Var value = require(name);
    const Poco::JSON::Object* const object = Util::JSONTools::extractJsonObject(value);
    const Var id = object ? object->get(Data::XObjectBase::KEY_ID) : value;
    const std::optional<Poco::UUID> parsed =
        id.isString() ? parseId(id.extract<std::string>()) : std::nullopt;
    if (!parsed)
        refuse(inQuotes(name) + " must be the id of an element, or an object with its 'id'");
    if (!resource.element(*parsed))
        refuse(inQuotes(name) + " is no element of " + resource.reference().uri + ": " + parsed->toString());
    return *parsed;
}

void Body::refuseOthers() const
{
    for (const auto& [name, value] : *m_object) {
        if (std::find(m_known.begin(), m_known.end(), name) == m_known.end())
            refuse(inQuotes(name) + " cannot be set" +
                   (m_known.empty() ? "" : ", only " + enumerate(m_known) + " can"));
    }
}

} // namespace Zovi::ServiceKit
