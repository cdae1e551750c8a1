#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zovi::Command
{

/// A few regular expressions, matched without going back in the text.
///
/// It holds the positions of the expressions at which a character is taken, and while it walks through the
/// text, the set of those that may have taken the last one. It takes time proportional to the text and the
/// number of positions, and next to no stack: where a matcher that tries one way after the other may be asked
/// too much.
///
/// It understands characters, the dot, classes, `\d` `\D` `\w` `\W` `\s` `\S` `\n` `\r` `\t`, escaped marks,
/// groups with alternatives, repetitions, lazy ones too, and `(?i)` in front; in all what 64 positions hold.
/// Read-only after construction.
class PositionAutomaton
{
public:
    /// The automaton of `expressions`, each of which is one that compiles; a null pointer if it does not
    /// understand all of them. Alternatives outside of a group are not understood.
    static std::unique_ptr<const PositionAutomaton> create(const std::vector<std::string>& expressions);

    /// What the regular expression `^a$|^b$` of the expressions "a" and "b" gives that has to match the whole
    /// of `text` and not be empty. Nothing if that is a matter of the order in which its ways are tried: when
    /// it could match with a line feed that ends the text and without.
    std::optional<bool> match(std::string_view text) const;

private:
    /// A bit for each position.
    using Positions = std::uint64_t;
    static constexpr std::size_t MAX_POSITIONS = 64;

    class Builder;

    PositionAutomaton() = default;

    bool takes(std::string_view text) const;
    Positions takersOf(char character) const { return m_takers[static_cast<unsigned char>(character)]; }
    Positions followersOf(Positions positions) const;

    std::array<Positions, 256> m_takers{};
    std::array<Positions, MAX_POSITIONS> m_followers{};
    Positions m_first = 0;
    Positions m_last = 0;
    bool m_takesNothing = false;
};

} // namespace Zovi::Command
