#pragma once

#include <Poco/NumberParser.h>

#include <string>

namespace Zovi::Util
{

/// Reads numbers out of texts.
class StringHelper
{
public:
    /// The number that `text` writes with a decimal point and, if at all, commas between the thousands; 0 if
    /// it writes none, or one that `double` cannot hold. `T` is a floating-point type.
    ///
    ///     parseFloat<double>("1,234.5") == 1234.5
    ///     parseFloat<double>("12 apples") == 0.0
    template <typename T>
    static T parseFloat(const std::string& text)
    {
        double number = 0.0;
        if (!Poco::NumberParser::tryParseFloat(text, number, '.', ','))
            return T(0);
        return static_cast<T>(number);
    }
};

} // namespace Zovi::Util
