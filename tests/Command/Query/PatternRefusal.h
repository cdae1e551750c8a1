#pragma once

#include <Poco/Exception.h>

#include <string>

namespace Zovi::Test
{

/// The text of the exception that a pattern makes `action` end in, "not refused" if there is none.
template <typename Action>
std::string refusalOf(const Action& action)
{
    try {
        action();
    } catch (const Poco::RegularExpressionException& exception) {
        return exception.message();
    }
    return "not refused";
}

} // namespace Zovi::Test
