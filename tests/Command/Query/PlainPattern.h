#pragma once

#include <Poco/RegularExpression.h>
#include <Poco/StringTokenizer.h>

#include <memory>
#include <string>
#include <vector>

namespace Zovi::Test
{

/// A list of search values matched the plain way: as one regular expression without limits, which has to
/// match the whole text. What the product's faster ways are held against.
class PlainPattern
{
public:
    /// Throws `Poco::RegularExpressionException` if the list is no regular expression.
    explicit PlainPattern(const std::vector<std::string>& values)
    {
        if (!values.empty())
            m_expression = std::make_unique<Poco::RegularExpression>(expressionOf(values), 0, true);
    }

    bool match(const std::string& text) const { return m_expression && m_expression->match(text, 0); }

    static std::vector<std::string> split(const std::string& list)
    {
        const Poco::StringTokenizer tokens(
            list, ",", Poco::StringTokenizer::TOK_IGNORE_EMPTY | Poco::StringTokenizer::TOK_TRIM);
        return {tokens.begin(), tokens.end()};
    }

    static std::string expressionOf(const std::vector<std::string>& values)
    {
        static const Poco::RegularExpression wildcards("(%|%25)+", 0, true);
        std::string expression;
        for (std::string value : values) {
            wildcards.subst(value, 0, ".*", Poco::RegularExpression::RE_GLOBAL);
            expression += "^" + value + "$|";
        }
        expression.pop_back();
        return expression;
    }

private:
    std::unique_ptr<Poco::RegularExpression> m_expression;
};

} // namespace Zovi::Test
