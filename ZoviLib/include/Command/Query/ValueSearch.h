#pragma once

#include "Command/Query/QueryParameter.h"
#include "ZoviExport.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/RegularExpression.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Zovi::Data
{
class AttributeValueBase;
}

namespace Zovi::Command
{

class LimitedExpression;
class PositionAutomaton;
class WildcardPattern;

/// Base of the criteria that select items by value: a comma-separated list of values, any of which may match.
///
/// Blanks around a value are dropped and empty values skipped; "%" stands for any text without a line feed.
/// Where patterns are in use, a value is a Perl-compatible regular expression that must match from the first
/// to the last character; its alternatives are tried in the order of the list, and the first that matches at
/// the start decides, even if it leaves something over. `a%b,c` is `^a.*b$|^c$`. The empty text matches no
/// pattern. Case always counts.
///
/// Lists of plain characters and wildcards are matched in time proportional to the text, and so are lists of
/// expressions with up to 64 characters, dots and classes in all, in groups, with alternatives and repeated
/// as they may be; `(?i)` may stand in front.
///
/// Any other pattern may ask for more steps or deeper nesting than is safe to give and ends in a
/// `Poco::RegularExpressionException` then, whose text ends with a colon, a blank and `getQueryValue`. What
/// is given is counted, for all texts and patterns of one evaluation by `QueryFilterJSON` together, for each
/// text by itself outside of any. Three steps a character of texts up to 128 do not count. At worst it takes
/// seconds, and one more for each MB of such texts. Less than 256 KiB of stack are in use.
///
/// A pattern that calls its own groups, as in `(a|b)(?1)`, more than 12 times, or more than twice if it has a
/// "{", is taken for one that does not compile.
///
/// Always valid: a pattern that does not compile leaves the constructor of the derived class by a
/// `Poco::RegularExpressionException`. Any number of threads may match with one criterion.
class KYRZOVI_API AbstractValueSearch : public SearchCriterion
{
public:
    /// Splits `value` at its commas. The list is compared by plain equality until a derived class sets a
    /// pattern.
    explicit AbstractValueSearch(const std::string& value);
    ~AbstractValueSearch() override;

    AbstractValueSearch(const AbstractValueSearch&) = delete;
    AbstractValueSearch& operator=(const AbstractValueSearch&) = delete;

    /// True if one of the values matches the whole of `value`.
    /// Throws `Poco::RegularExpressionException` if a pattern exceeds its limits on this text.
    bool match(const std::string& value) const;

    /// The same for a JSON value. How far it looks into objects and arrays is the derived class's matter.
    /// Throws `Poco::InvalidAccessException` when it comes upon an empty value, such as a JSON null, and what
    /// `Poco::Dynamic::Var` throws on a value that has no text.
    bool match(const Poco::Dynamic::Var& value) const;

    /// The same for a value of the object model.
    /// Throws and logs `Poco::InvalidArgumentException` when it comes upon an array or a reference that does
    /// not give what it refers to.
    bool match(const Data::AttributeValueBase& value) const;

    /// The values between the commas, in order; none if the text has only commas and blanks.
    const std::vector<std::string>& getSearchValues() const { return m_searchValues; }

    /// The text of the query parameter as it came.
    const std::string& getQueryValue() const { return m_queryValue; }

protected:
    /// Nothing deeper than this is looked at; the value given to `match` stands at 0.
    static constexpr int RECURSION_LIMIT = 1;

    /// Matches `value`, which stands at the depth `recursion`; false below the limit.
    virtual bool matchImpl(const Poco::Dynamic::Var& value, int recursion) const = 0;
    virtual bool matchImpl(const Data::AttributeValueBase& value, int recursion) const = 0;

    /// The values between the commas of `queryValue`, without blanks around them and without empty ones.
    static std::vector<std::string> splitValues(const std::string& queryValue);

    /// Compiles one value, or a list of them, in which wildcards are replaced; an empty list gives an
    /// expression that matches nothing. The caller owns the result, which has limits on its steps and its
    /// nesting. Throws `Poco::RegularExpressionException` on what is no regular expression.
    static Poco::RegularExpression* createRegEx(const std::string& searchValue);
    static Poco::RegularExpression* createRegEx(const std::vector<std::string>& queryValue);

    /// Makes the list a pattern; the constructor of a derived class calls this, if anybody. Throws what
    /// `createRegEx` throws.
    void setPattern();

    /// True if the list is a pattern, false if it is compared by plain equality.
    bool hasPattern() const { return m_wildcards || m_regEx; }

    /// The expression of a list that is a pattern, compiled at the first call if matching does without it.
    /// Not to be called without a pattern.
    const Poco::RegularExpression& compiledPattern() const;

    /// What `match(value converted to text)` gives or throws, without the text where it is not needed.
    bool matchAsText(const Poco::Dynamic::Var& value) const;

    /// The value as it came, and its parts.
    std::string m_queryValue;
    std::vector<std::string> m_searchValues;
    /// Null while the list is compared by plain equality, and while the list is a pattern that is matched
    /// without an expression. `setPattern` alone sets it.
    mutable std::unique_ptr<Poco::RegularExpression> m_regEx;

private:
    bool matchPattern(const std::string& value) const;

    /// Set if the list is a pattern of plain characters and wildcards only.
    std::unique_ptr<const WildcardPattern> m_wildcards;
    /// Set if the list is another pattern; null if there is no automaton for it.
    std::unique_ptr<const PositionAutomaton> m_automaton;
    /// Set if the list is another pattern, for the texts that the automaton leaves undecided.
    std::unique_ptr<const LimitedExpression> m_limitedExpression;
    /// The expression of a list of wildcards is compiled when it is asked for.
    mutable std::once_flag m_compiledLate;
    bool m_integersMayMatch = true;
    bool m_floatsMayMatch = true;
};

/// The free-text search "$q": does any value of an item match? The list is always a pattern.
///
/// An object matches if one of its members does, an array if one of its elements does. A level of nesting is
/// an object's member or an array's element that is no object; values at the levels 0 and 1 are looked at,
/// nothing deeper. Members of an object are tried in the order of iteration, up to the first that matches.
/// A reference of the object model matches if an attribute of the referenced object does.
class KYRZOVI_API AnyValueSearch : public AbstractValueSearch
{
public:
    /// Throws `Poco::RegularExpressionException` if the list is no regular expression.
    explicit AnyValueSearch(const std::string& value);
    ~AnyValueSearch() override;

    /// The list as one regular expression; it matches nothing if the list is empty.
    const Poco::RegularExpression& getRegEx() const { return compiledPattern(); }

protected:
    bool matchImpl(const Poco::Dynamic::Var& value, int recursion) const override;
    bool matchImpl(const Data::AttributeValueBase& value, int recursion) const override;
};

/// The search for one attribute by value, `attribute=value` in a query.
///
/// The list is a pattern if one of its values has a wildcard, and compared by plain equality otherwise, so
/// that `a.b` matches only that text. Without a pattern a floating-point number is compared by its value, 1.5
/// with `1.50`, and a search value that is no number counts as 0. Integers and booleans are compared as text.
/// An object matches by its "id" and a reference of the object model by the UUID of what it refers to; an
/// array matches if one of its elements does, elements of a nested array not counting.
class KYRZOVI_API AttributeValueSearch : public AbstractValueSearch
{
public:
    /// Throws `Poco::RegularExpressionException` if a value has a wildcard and the list is no regular
    /// expression. Any name will do; which attribute it names is the caller's matter.
    AttributeValueSearch(const std::string& attrName, const std::string& attrValue);
    ~AttributeValueSearch() override;

    /// The name of the attribute whose value is to be given to `match`.
    const std::string& getAttributeName() const { return m_attributeName; }

protected:
    bool matchImpl(const Poco::Dynamic::Var& value, int recursion) const override;
    bool matchImpl(const Data::AttributeValueBase& value, int recursion) const override;

    /// The attribute that is tested.
    std::string m_attributeName;

private:
    bool matchPrimitive(const Poco::Dynamic::Var& value) const;
    bool matchNumber(double number) const;

    /// What the search values are as numbers, from the first number on that is compared.
    mutable std::vector<double> m_searchNumbers;
    mutable std::once_flag m_numbersParsed;
};

} // namespace Zovi::Command
