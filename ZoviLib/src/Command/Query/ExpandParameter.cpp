#include "Command/Query/ExpandParameter.h"

#include "Data/XObjectBase.h"

#include <Poco/JSON/Array.h>
#include <Poco/NumberParser.h>
#include <Poco/StringTokenizer.h>

#include <algorithm>

namespace Zovi::Command
{

namespace
{

/// The level at which an object is a reference.
constexpr int REFERENCE_LEVEL = -1;

void expandObj(Poco::JSON::Object& obj, int level);

void expandArray(Poco::JSON::Array& array, int level)
{
    if (array.empty() || !array.isObject(0))
        return;
    for (const Poco::Dynamic::Var& element : array) {
        if (Poco::JSON::Object::Ptr object = element.extract<Poco::JSON::Object::Ptr>())
            expandObj(*object, level);
    }
}

/// Expands the object or the array under `key`, if there is one that is held by pointer.
void expandMember(const Poco::JSON::Object& obj, const std::string& key, int level)
{
    if (Poco::JSON::Object::Ptr object = obj.getObject(key))
        expandObj(*object, level);
    else if (Poco::JSON::Array::Ptr array = obj.getArray(key))
        expandArray(*array, level);
}

void reduceToReference(Poco::JSON::Object& obj)
{
    for (const std::string& key : obj.getNames()) {
        if (!Data::XObjectBase::isXObjectAttribute(key))
            obj.remove(key);
    }
}

void expandObj(Poco::JSON::Object& obj, int level)
{
    if (level < 0) {
        reduceToReference(obj);
        return;
    }
    for (const std::string& key : obj.getNames())
        expandMember(obj, key, level - 1);
}

} // namespace

ExpandParameter::~ExpandParameter() = default;

LevelExpansion::LevelExpansion(const std::string& value)
{
    int level = 0;
    m_valid =
        Poco::NumberParser::tryParse(value, level, ',') && static_cast<std::uint32_t>(level) <= MAX_LEVEL;
    if (m_valid)
        m_level = static_cast<std::uint32_t>(level);
}

Poco::JSON::Object::Ptr LevelExpansion::apply(const Zovi::Data::XObjectBase& obj) const
{
    return obj.toJSON(static_cast<int>(m_level));
}

void LevelExpansion::apply(Poco::JSON::Object& obj) const
{
    expandObj(obj, static_cast<int>(m_level));
}

PropertyExpansion::PropertyExpansion(const std::string& value)
{
    const Poco::StringTokenizer names(
        value, ",", Poco::StringTokenizer::TOK_IGNORE_EMPTY | Poco::StringTokenizer::TOK_TRIM);
    m_fieldsExpansion.assign(names.begin(), names.end());
}

Poco::JSON::Object::Ptr PropertyExpansion::apply(const Zovi::Data::XObjectBase& obj) const
{
    return obj.toJSON(m_fieldsExpansion);
}

void PropertyExpansion::apply(Poco::JSON::Object& obj) const
{
    for (const std::string& key : obj.getNames()) {
        const bool expand =
            std::find(m_fieldsExpansion.begin(), m_fieldsExpansion.end(), key) != m_fieldsExpansion.end();
        expandMember(obj, key, expand ? 0 : REFERENCE_LEVEL);
    }
}

} // namespace Zovi::Command
