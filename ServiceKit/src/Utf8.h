#pragma once

#include <cstddef>
#include <string_view>

namespace Zovi::ServiceKit
{

/// Checks UTF-8 that comes piece by piece. Overlong forms, surrogates and numbers above U+10FFFF are no valid
/// UTF-8.
class Utf8Validator
{
public:
    /// False if the text so far is not the beginning of any valid text; it stays so.
    bool accept(std::string_view bytes);

    /// Whether the text so far is valid and ends with a whole character.
    bool isComplete() const { return m_isValid && m_missing == 0; }

private:
    bool acceptByte(unsigned char byte);
    bool acceptLead(unsigned char byte);

    bool m_isValid = true;
    int m_missing = 0; ///< bytes until the character is whole
    unsigned char m_firstNext = 0x80;
    unsigned char m_lastNext = 0xBF;
};

/// Length of the valid character at the start of `text`, which is not empty; 0 if there is none.
std::size_t characterLength(std::string_view text);

} // namespace Zovi::ServiceKit
