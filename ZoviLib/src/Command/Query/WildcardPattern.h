#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Zovi::Command
{

/// A list of search values made of plain characters and wildcards only, matched without a regular expression.
///
/// It gives what the regular expression of the list gives, `^a.*b$|^c$` for `a%b,c`, when it has to match the
/// whole of a text that is not empty: the wildcard takes no line feed; "$" also stands before a line feed
/// that ends the text, and an alternative that matches so decides, although it leaves the line feed over; a
/// NUL byte ends the expression, the "$" and the later alternatives with it.
///
/// Matching takes time proportional to the text and the list, and no memory. Read-only after construction.
class WildcardPattern
{
public:
    /// The pattern for `values`, a null pointer if a value has a character with a meaning in regular
    /// expressions. Values are not empty; no values at all give a pattern that matches nothing.
    static std::unique_ptr<const WildcardPattern> create(const std::vector<std::string>& values);

    /// True if the expression of the list matches the whole of `text`.
    bool match(std::string_view text) const;

    /// False if no text that consists of `characters` only can match.
    bool mayMatchTextOf(std::string_view characters) const;

    /// The literal bytes and the alternatives of the list, counted together.
    std::size_t size() const { return m_literals.size() + m_alternatives.size(); }

private:
    /// A stretch of `m_literals`.
    struct Piece {
        std::size_t offset;
        std::size_t length;
    };

    /// Literal pieces with a wildcard between any two, and perhaps one in front and one behind.
    struct Alternative {
        std::size_t firstPiece = 0;
        std::size_t pieceCount = 0;
        std::size_t literalLength = 0;
        bool wildcardInFront = false;
        bool wildcardBehind = false;
    };

    WildcardPattern() = default;

    void append(std::string_view value);
    void appendPiece(std::string_view literal, Alternative& alternative);
    std::string_view piece(std::size_t index) const;
    bool matchWhole(const Alternative& alternative, std::string_view text) const;
    bool matchBetween(const Alternative& alternative, std::string_view text) const;

    std::string m_literals;
    std::vector<Piece> m_pieces;
    std::vector<Alternative> m_alternatives;
};

} // namespace Zovi::Command
