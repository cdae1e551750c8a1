#include "Command/Query/ValueSearch.h"

#include "Command/UrlPath.h"
#include "Data/AttributeValueBase.h"
#include "Data/XObjectBase.h"
#include "JSONTools.h"
#include "LimitedExpression.h"
#include "Logging/LogStream.h"
#include "NumberHelper.h"
#include "PositionAutomaton.h"
#include "StringHelper.h"
#include "WildcardPattern.h"

#include <Poco/Exception.h>
#include <Poco/String.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace Zovi::Command
{

namespace
{

using Data::AttributeValueBase;
using Poco::Dynamic::Var;

/// Lists of wildcards up to this size always compile: each byte and each alternative takes less than eight
/// bytes of the 64 KiB that an expression may take.
constexpr std::size_t CERTAINLY_COMPILES = 8000;

/// Compiling follows each call of a group into the group, and each call in there: n calls may take 2^n steps
/// and, where a repetition multiplies the calls, far more. No limit inside a pattern stops that.
constexpr std::size_t SUBROUTINE_CALL_LIMIT = 12;
constexpr std::size_t REPEATED_SUBROUTINE_CALL_LIMIT = 2;

const std::string NOTHING_MATCHES = "(?!)";

/// What the texts of numbers are made of, "inf" and "nan" included.
constexpr std::string_view INTEGER_CHARACTERS = "-0123456789";
constexpr std::string_view FLOAT_CHARACTERS = "-+.0123456789aefin";

/// The value with each run of wildcards replaced. Nothing is escaped.
std::string replaceWildcards(const std::string& value)
{
    const char wildcard = UrlPath::QUERY_WILDCARD.front();
    std::string prepared;
    for (std::size_t i = 0; i != value.size(); ++i) {
        if (value[i] != wildcard)
            prepared += value[i];
        else if (i == 0 || value[i - 1] != wildcard)
            prepared += ".*";
    }
    return prepared;
}

std::string prepareRegEx(const std::string& value)
{
    return '^' + replaceWildcards(value) + '$';
}

std::string prepareRegEx(const std::vector<std::string>& values)
{
    if (values.empty())
        return NOTHING_MATCHES;
    std::string alternatives;
    for (const std::string& value : values)
        alternatives += prepareRegEx(value) + '|';
    alternatives.pop_back();
    return alternatives;
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// True if `rest` begins with a call of a group, in any of its notations: `(?R)`, `(?1)`, `(?-1)`,
/// `(?&name)`,
/// `(?P>name)`, `\g<1>` and `\g'1'`.
bool beginsWithSubroutineCall(std::string_view rest)
{
    const auto at = [rest](std::size_t index) {
        return index < rest.size() ? rest[index] : '\0';
    };
    if (at(0) == '\\')
        return at(1) == 'g' && (at(2) == '<' || at(2) == '\'');
    if (at(0) != '(' || at(1) != '?')
        return false;
    const bool isSigned = at(2) == '+' || at(2) == '-';
    return at(2) == 'R' || at(2) == '&' || (at(2) == 'P' && at(3) == '>') || isDigit(at(isSigned ? 3 : 2));
}

/// Counts also what only looks like a call, such as one inside a character class.
void refuseManySubroutineCalls(std::string_view pattern)
{
    const bool repeats = pattern.find('{') != std::string_view::npos;
    const std::size_t limit = repeats ? REPEATED_SUBROUTINE_CALL_LIMIT : SUBROUTINE_CALL_LIMIT;
    std::size_t calls = 0;
    for (std::size_t i = pattern.find_first_of("(\\"); i != std::string_view::npos;
         i = pattern.find_first_of("(\\", i + 1))
        calls += beginsWithSubroutineCall(pattern.substr(i)) ? 1U : 0U;
    if (calls > limit)
        throw Poco::RegularExpressionException("too many subroutine calls");
}

std::unique_ptr<Poco::RegularExpression> compile(const std::string& pattern)
{
    refuseManySubroutineCalls(pattern);
    return LimitedExpression::compile(pattern);
}

std::unique_ptr<const PositionAutomaton> makeAutomaton(const std::vector<std::string>& values)
{
    std::vector<std::string> expressions;
    std::transform(values.begin(), values.end(), std::back_inserter(expressions), replaceWildcards);
    return PositionAutomaton::create(expressions);
}

std::unique_ptr<const LimitedExpression> makeExpression(const std::vector<std::string>& values)
{
    const auto longest = std::max_element(values.begin(), values.end(),
                                          [](const auto& a, const auto& b) { return a.size() < b.size(); });
    return std::make_unique<LimitedExpression>(prepareRegEx(values), longest->size());
}

bool hasWildcard(const std::string& value)
{
    // The encoded one begins with the other.
    return value.find(UrlPath::QUERY_WILDCARD) != std::string::npos;
}

/// By address, which is quick. A type that has several addresses is not recognised: the answer may be no
/// where it should be yes.
template <typename... Types>
bool isKnownAs(const Var& value)
{
    const std::type_info* const type = &value.type();
    return ((type == &typeid(Types)) || ...);
}

bool isScalar(const Var& value)
{
    return isKnownAs<std::string>(value) || value.isNumeric() || value.isString();
}

/// The line in the log comes first; the exception's text may differ from it.
[[noreturn]] void refuse(const std::string& logged, const std::string& thrown)
{
    ZOVI_LOG_ERROR("Invalid argument: " << logged);
    throw Poco::InvalidArgumentException(thrown);
}

using Elements = std::vector<const AttributeValueBase*>;

const Data::XObjectBase& referencedObject(const AttributeValueBase& reference)
{
    static const std::string REFUSED = "Attribute value can not be converted to XObjectBase";
    const Data::XObjectBase* object = nullptr;
    if (!reference.convert(object) || !object)
        refuse(REFUSED, REFUSED);
    return *object;
}

} // namespace

AbstractValueSearch::AbstractValueSearch(const std::string& value)
    : m_queryValue(value)
    , m_searchValues(splitValues(value))
{
    const auto anyConsistsOf = [this](std::string_view characters) {
        return std::any_of(m_searchValues.begin(), m_searchValues.end(), [&](const std::string& text) {
            return text.find_first_not_of(characters) == std::string::npos;
        });
    };
    m_integersMayMatch = anyConsistsOf(INTEGER_CHARACTERS);
    m_floatsMayMatch = anyConsistsOf(FLOAT_CHARACTERS);
}

AbstractValueSearch::~AbstractValueSearch() = default;

std::vector<std::string> AbstractValueSearch::splitValues(const std::string& queryValue)
{
    std::vector<std::string> values;
    std::string_view rest = queryValue;
    while (!rest.empty()) {
        std::string value(rest.substr(0, rest.find(',')));
        rest.remove_prefix(std::min(value.size() + 1, rest.size()));
        Poco::trimInPlace(value);
        if (!value.empty())
            values.push_back(std::move(value));
    }
    return values;
}

Poco::RegularExpression* AbstractValueSearch::createRegEx(const std::string& searchValue)
{
    return compile(prepareRegEx(searchValue)).release();
}

Poco::RegularExpression* AbstractValueSearch::createRegEx(const std::vector<std::string>& queryValue)
{
    return compile(prepareRegEx(queryValue)).release();
}

void AbstractValueSearch::setPattern()
{
    m_wildcards = WildcardPattern::create(m_searchValues);
    m_integersMayMatch = !m_wildcards || m_wildcards->mayMatchTextOf(INTEGER_CHARACTERS);
    m_floatsMayMatch = !m_wildcards || m_wildcards->mayMatchTextOf(FLOAT_CHARACTERS);
    // Also where matching does without it, an expression that is too large is refused.
    if (!m_wildcards || m_wildcards->size() > CERTAINLY_COMPILES)
        m_regEx.reset(createRegEx(m_searchValues));
    if (m_wildcards)
        return;
    m_automaton = makeAutomaton(m_searchValues);
    m_limitedExpression = makeExpression(m_searchValues);
}

const Poco::RegularExpression& AbstractValueSearch::compiledPattern() const
{
    if (m_wildcards) {
        std::call_once(m_compiledLate, [this] {
            if (!m_regEx)
                m_regEx.reset(createRegEx(m_searchValues));
        });
    }
    return *m_regEx;
}

bool AbstractValueSearch::matchPattern(const std::string& value) const
{
    const std::optional<bool> answer = m_automaton ? m_automaton->match(value) : std::nullopt;
    if (answer)
        return *answer;
    try {
        return m_limitedExpression->match(value);
    } catch (const Poco::RegularExpressionException& exception) {
        throw Poco::RegularExpressionException(exception.message(), m_queryValue);
    }
}

bool AbstractValueSearch::match(const std::string& value) const
{
    if (m_wildcards)
        return m_wildcards->match(value);
    if (m_regEx)
        return matchPattern(value);
    return std::find(m_searchValues.begin(), m_searchValues.end(), value) != m_searchValues.end();
}

bool AbstractValueSearch::match(const Var& value) const
{
    return matchImpl(value, 0);
}

bool AbstractValueSearch::match(const AttributeValueBase& value) const
{
    return matchImpl(value, 0);
}

bool AbstractValueSearch::matchAsText(const Var& value) const
{
    if (isKnownAs<std::string>(value))
        return match(value.extract<std::string>());
    if (!m_integersMayMatch && isKnownAs<Poco::Int64, Poco::Int32, Poco::UInt64, Poco::UInt32>(value))
        return false;
    if (!m_floatsMayMatch && isKnownAs<double, float>(value))
        return false;
    return match(value.convert<std::string>());
}

AnyValueSearch::AnyValueSearch(const std::string& value)
    : AbstractValueSearch(value)
{
    setPattern();
}

AnyValueSearch::~AnyValueSearch() = default;

bool AnyValueSearch::matchImpl(const Var& value, int recursion) const
{
    if (recursion > RECURSION_LIMIT)
        return false;
    // Most values are scalars, and asking for those first is cheap.
    if (isScalar(value))
        return matchAsText(value);
    if (const Poco::JSON::Object* object = Zovi::Util::JSONTools::extractJsonObject(value)) {
        return std::any_of(object->begin(), object->end(),
                           [&](const auto& member) { return matchImpl(member.second, recursion + 1); });
    }
    if (const Poco::JSON::Array* array = Zovi::Util::JSONTools::extractJsonArray(value)) {
        return std::any_of(array->begin(), array->end(), [&](const Var& element) {
            const bool isObject = Zovi::Util::JSONTools::testJsonObject(element);
            return matchImpl(element, isObject ? recursion : recursion + 1);
        });
    }
    return matchAsText(value);
}

bool AnyValueSearch::matchImpl(const AttributeValueBase& value, int recursion) const
{
    if (recursion > RECURSION_LIMIT)
        return false;
    if (value.isArray()) {
        static const std::string REFUSED = "Unable to retrieve elements of array attribute";
        Elements elements;
        if (!value.convert(elements))
            refuse(REFUSED, REFUSED);
        return std::any_of(elements.begin(), elements.end(), [&](const AttributeValueBase* element) {
            return element && matchImpl(*element, element->isXObjReference() ? recursion : recursion + 1);
        });
    }
    if (value.isXObjReference()) {
        const Data::AttributeMap attributes = referencedObject(value).getAttributes();
        return std::any_of(attributes.begin(), attributes.end(), [&](const auto& entry) {
            const AttributeValueBase* base = entry.second ? entry.second->getValueBase() : nullptr;
            return base && matchImpl(*base, recursion + 1);
        });
    }
    return matchImpl(value.asGeneric(), recursion);
}

AttributeValueSearch::AttributeValueSearch(const std::string& attrName, const std::string& attrValue)
    : AbstractValueSearch(attrValue)
    , m_attributeName(attrName)
{
    if (std::any_of(m_searchValues.begin(), m_searchValues.end(), hasWildcard))
        setPattern();
}

AttributeValueSearch::~AttributeValueSearch() = default;

bool AttributeValueSearch::matchImpl(const Var& value, int recursion) const
{
    if (recursion > RECURSION_LIMIT)
        return false;
    if (isScalar(value))
        return matchPrimitive(value);
    if (const Poco::JSON::Object* object = Zovi::Util::JSONTools::extractJsonObject(value)) {
        const std::string uuid = object->optValue<std::string>(Data::XObjectBase::KEY_ID, "");
        return !uuid.empty() && match(uuid);
    }
    if (const Poco::JSON::Array* array = Zovi::Util::JSONTools::extractJsonArray(value)) {
        return std::any_of(array->begin(), array->end(),
                           [&](const Var& element) { return matchImpl(element, recursion + 1); });
    }
    return matchPrimitive(value);
}

bool AttributeValueSearch::matchImpl(const AttributeValueBase& value, int recursion) const
{
    if (recursion > RECURSION_LIMIT)
        return false;
    if (value.isArray()) {
        Elements elements;
        // Meant so: the two texts differ.
        if (!value.convert(elements))
            refuse("Attribute arrays need to implement Data::AttributeValueArrayBase interface",
                   "Attribute array needs to implement data::AttributeValueArrayBase interface");
        return std::any_of(elements.begin(), elements.end(), [&](const AttributeValueBase* element) {
            return element && matchImpl(*element, recursion + 1);
        });
    }
    if (value.isXObjReference())
        return match(referencedObject(value).getId().toString());
    return matchPrimitive(value.asGeneric());
}

/// Integers and booleans are texts here, and so is every number once the list is a pattern.
bool AttributeValueSearch::matchPrimitive(const Var& value) const
{
    const bool isFloatingPoint = value.isNumeric() && !value.isInteger() && !value.isBoolean();
    if (isFloatingPoint && !hasPattern())
        return matchNumber(value.convert<double>());
    return matchAsText(value);
}

bool AttributeValueSearch::matchNumber(double number) const
{
    // Most attributes are no such numbers.
    std::call_once(m_numbersParsed, [this] {
        for (const std::string& text : m_searchValues)
            m_searchNumbers.push_back(Zovi::Util::StringHelper::parseFloat<double>(text));
    });
    return std::any_of(m_searchNumbers.begin(), m_searchNumbers.end(),
                       [number](double wanted) { return Zovi::Util::eq(number, wanted); });
}

} // namespace Zovi::Command
