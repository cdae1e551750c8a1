#include "SortKeys.h"

#include "Data/XObjectBase.h"
#include "JSONTools.h"
#include "MemberFinder.h"

#include <Poco/ByteOrder.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <typeinfo>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Object;

const std::uint64_t SIGN_BIT = std::uint64_t{1} << 63;

/// Up to here, in both directions, comparing an integer as integer and as `double` is the same.
const Poco::Int64 MAX_EXACT_INTEGER = Poco::Int64{1} << 53;

/// The characters of a text that its code holds; the byte behind them tells how many of them it has.
const std::size_t TEXT_CODE_LENGTH = 7;
const std::uint64_t TEXT_CODE_LONGER = TEXT_CODE_LENGTH + 1;
const std::uint64_t TEXT_CODE_SIZE_MASK = 0xff;

std::uint64_t codeOf(Poco::Int64 value)
{
    return static_cast<std::uint64_t>(value) ^ SIGN_BIT;
}

/// Negative numbers are turned around, so that the bits of all numbers but NaN compare as the numbers do.
std::uint64_t codeOf(double value)
{
    const double withoutNegativeZero = value + 0.0;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &withoutNegativeZero, sizeof bits);
    return (bits & SIGN_BIT) != 0 ? ~bits : bits | SIGN_BIT;
}

/// The first characters, the first one in the highest byte. Of two texts with the same code and at most
/// `TEXT_CODE_LENGTH` characters neither is less.
std::uint64_t codeOf(const std::string& text)
{
    Poco::UInt64 characters = 0;
    if (text.size() > TEXT_CODE_LENGTH) {
        std::memcpy(&characters, text.data(), sizeof characters);
        return (Poco::ByteOrder::fromBigEndian(characters) & ~TEXT_CODE_SIZE_MASK) | TEXT_CODE_LONGER;
    }
    std::memcpy(&characters, text.data(), text.size());
    return Poco::ByteOrder::fromBigEndian(characters) | text.size();
}

/// The integer in `value`; false if a `double` may not tell it from its neighbours.
bool readExactInteger(const Var& value, double& out)
{
    if (value.isSigned()) {
        const auto number = value.convert<Poco::Int64>();
        out = static_cast<double>(number);
        return number >= -MAX_EXACT_INTEGER && number <= MAX_EXACT_INTEGER;
    }
    const auto number = value.convert<Poco::UInt64>();
    out = static_cast<double>(number);
    return number <= static_cast<Poco::UInt64>(MAX_EXACT_INTEGER);
}

} // namespace

// The addresses are tried first; a type that has several is found by the questions below.
FieldKeys::Kind FieldKeys::kindOf(const Var& value)
{
    const std::type_info* const type = &value.type();
    if (type == &typeid(std::string))
        return Kind::Text;
    if (type == &typeid(Poco::Int64) || type == &typeid(Poco::Int32))
        return Kind::Signed;
    if (type == &typeid(double))
        return Kind::Number;
    if (value.isEmpty())
        return Kind::Other;
    if (value.isInteger())
        return value.isSigned() ? Kind::Signed : Kind::Unsigned;
    if (value.isNumeric())
        return Kind::Number;
    if (Util::JSONTools::testJsonObject(value))
        return Kind::Reference;
    return Util::JSONTools::testJsonArray(value) ? Kind::Other : Kind::Convertible;
}

bool FieldKeys::addCode(std::uint64_t code)
{
    if (!m_isMissing.empty())
        m_isMissing.push_back(0);
    m_codes.push_back(m_isDescending ? ~code : code);
    return true;
}

void FieldKeys::addMissing()
{
    m_isMissing.resize(m_codes.size(), 0);
    m_isMissing.push_back(1);
    m_codes.push_back(0);
    if (!m_texts.empty())
        m_texts.push_back(nullptr);
}

bool FieldKeys::addNumber(double value)
{
    return !std::isnan(value) && addCode(codeOf(value));
}

bool FieldKeys::addText(const std::string& text)
{
    if (m_texts.empty()) {
        m_texts.reserve(m_codes.capacity());
        m_texts.resize(m_codes.size());
    }
    m_texts.push_back(&text);
    return addCode(codeOf(text));
}

bool FieldKeys::addTextOf(const Var& value)
{
    try {
        m_convertedTexts.push_back(value.convert<std::string>());
    } catch (...) {
        // It rises from the comparison, should there be one.
        return false;
    }
    return addText(m_convertedTexts.back());
}

bool FieldKeys::addReference(const Var& value)
{
    const Object& reference = *Util::JSONTools::extractJsonObject(value);
    const Var* const id = MemberFinder(Data::XObjectBase::KEY_ID).find(reference);
    if (id && id->type() == typeid(std::string))
        return addText(id->extract<std::string>());
    m_convertedTexts.push_back(reference.optValue<std::string>(Data::XObjectBase::KEY_ID, ""));
    return addText(m_convertedTexts.back());
}

bool FieldKeys::add(Kind kind, const Var& value)
{
    switch (kind) {
    case Kind::Signed:
        return addCode(codeOf(value.convert<Poco::Int64>()));
    case Kind::Unsigned:
        return addCode(value.convert<Poco::UInt64>());
    case Kind::Number:
        return addNumber(value.convert<double>());
    case Kind::Text:
        return addText(value.extract<std::string>());
    case Kind::Convertible:
        return addTextOf(value);
    case Kind::Reference:
        return addReference(value);
    case Kind::Other:
        break;
    }
    return false;
}

bool FieldKeys::read(const JsonObjects& objects, const OrderedField& field)
{
    m_isDescending = field.isOrderDescending();
    m_codes.reserve(objects.size());
    MemberFinder member(field.getName());
    bool hasKind = false;
    Kind kind = Kind::Other;
    for (const Object* object : objects) {
        const Var* const value = object ? member.find(*object) : nullptr;
        if (!value) {
            addMissing();
            continue;
        }
        const Kind valueKind = kindOf(*value);
        if (!hasKind) {
            hasKind = true;
            kind = valueKind;
        } else if (valueKind != kind && !(isText(kind) && isText(valueKind))) {
            return isNumeric(kind) && isNumeric(valueKind) && readMixedNumbers(objects, field.getName());
        }
        if (!add(valueKind, *value))
            return false;
    }
    return true;
}

/// Reads the field again as `double`s: integers of both kinds, or integers and floating-point numbers.
bool FieldKeys::readMixedNumbers(const JsonObjects& objects, const std::string& name)
{
    m_codes.clear();
    m_isMissing.clear();
    MemberFinder member(name);
    bool hasUnsigned = false;
    bool hasNegative = false;
    for (const Object* object : objects) {
        const Var* const value = object ? member.find(*object) : nullptr;
        if (!value) {
            addMissing();
            continue;
        }
        const Kind kind = kindOf(*value);
        double number = 0;
        if (!isNumeric(kind))
            return false;
        if (kind == Kind::Number)
            number = value->convert<double>();
        else if (!readExactInteger(*value, number))
            return false;
        hasUnsigned = hasUnsigned || kind == Kind::Unsigned;
        hasNegative = hasNegative || (kind == Kind::Signed && number < 0);
        if (!addNumber(number))
            return false;
    }
    // Comparing an unsigned integer with a negative one throws.
    return !(hasUnsigned && hasNegative);
}

int FieldKeys::compare(Position a, Position b) const
{
    if (rank(a) != rank(b))
        return rank(a) < rank(b) ? -1 : 1;
    if (m_codes[a] != m_codes[b])
        return m_codes[a] < m_codes[b] ? -1 : 1;
    return compareEqualCodes(m_codes[a], a, b);
}

int FieldKeys::compareTexts(std::uint64_t code, Position a, Position b) const
{
    const std::uint64_t size = (m_isDescending ? ~code : code) & TEXT_CODE_SIZE_MASK;
    if (size != TEXT_CODE_LONGER)
        return 0;
    const int result = m_texts[a]->compare(*m_texts[b]);
    return m_isDescending ? -result : result;
}

} // namespace Zovi::Command
