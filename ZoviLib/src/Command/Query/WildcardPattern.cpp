#include "WildcardPattern.h"

#include <algorithm>
#include <cstring>

namespace Zovi::Command
{

namespace
{

constexpr char WILDCARD = '%';
constexpr char LINE_FEED = '\n';
constexpr std::string_view METACHARACTERS = "\\^$.[|()?*+{";

bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() && std::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

bool endsWith(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && startsWith(text.substr(text.size() - suffix.size()), suffix);
}

bool hasLineFeed(std::string_view text)
{
    return !text.empty() && std::memchr(text.data(), LINE_FEED, text.size()) != nullptr;
}

/// Up to this length the plain search is the faster one, and its worst case still linear.
constexpr std::size_t SHORT_PIECE_LENGTH = 16;

/// Like `text.find(piece)`, but in time proportional to the sum of both lengths.
std::size_t findPiece(std::string_view text, std::string_view piece)
{
    if (piece.size() <= SHORT_PIECE_LENGTH)
        return text.find(piece);
    const void* found = memmem(text.data(), text.size(), piece.data(), piece.size());
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - text.data())
                 : std::string_view::npos;
}

} // namespace

std::unique_ptr<const WildcardPattern> WildcardPattern::create(const std::vector<std::string>& values)
{
    std::unique_ptr<WildcardPattern> pattern(new WildcardPattern);
    for (const std::string_view value : values) {
        const std::size_t length = std::min(value.find('\0'), value.size());
        const std::string_view visible = value.substr(0, length);
        if (visible.find_first_of(METACHARACTERS) != std::string_view::npos)
            return nullptr;
        pattern->append(visible);
        // The NUL byte ends the whole expression. That the "$" is missing then makes no difference: what the
        // last alternative leaves over is not matched in either case.
        if (length != value.size())
            break;
    }
    return pattern;
}

void WildcardPattern::append(std::string_view value)
{
    Alternative alternative;
    alternative.firstPiece = m_pieces.size();
    alternative.wildcardInFront = !value.empty() && value.front() == WILDCARD;
    alternative.wildcardBehind = !value.empty() && value.back() == WILDCARD;
    for (std::size_t begin = 0; begin < value.size();) {
        const std::size_t end = std::min(value.find(WILDCARD, begin), value.size());
        appendPiece(value.substr(begin, end - begin), alternative);
        begin = end + 1;
    }
    m_alternatives.push_back(alternative);
}

void WildcardPattern::appendPiece(std::string_view literal, Alternative& alternative)
{
    if (literal.empty())
        return;
    m_pieces.push_back({m_literals.size(), literal.size()});
    m_literals.append(literal);
    alternative.literalLength += literal.size();
    ++alternative.pieceCount;
}

std::string_view WildcardPattern::piece(std::size_t index) const
{
    return {m_literals.data() + m_pieces[index].offset, m_pieces[index].length};
}

bool WildcardPattern::match(std::string_view text) const
{
    if (text.empty())
        return false;
    const bool endsWithLineFeed = text.back() == LINE_FEED && text.size() > 1;
    for (const Alternative& alternative : m_alternatives) {
        if (matchWhole(alternative, text))
            return true;
        // Meant so: the first alternative that matches at all decides, also when it leaves the line feed
        // over.
        if (endsWithLineFeed && matchWhole(alternative, text.substr(0, text.size() - 1)))
            return false;
    }
    return false;
}

/// Pieces at the ends have fixed places; those between are searched for in what is left.
bool WildcardPattern::matchWhole(const Alternative& alternative, std::string_view text) const
{
    if (text.size() < alternative.literalLength)
        return false;
    if (alternative.pieceCount == 0)
        return alternative.wildcardInFront && !hasLineFeed(text);
    if (alternative.pieceCount == 1 && !alternative.wildcardInFront && !alternative.wildcardBehind)
        return text == piece(alternative.firstPiece);
    return matchBetween(alternative, text);
}

/// The leftmost place of a piece is always a good one: if a place further right is possible too, there is no
/// line feed between the two, and what follows can only gain room.
bool WildcardPattern::matchBetween(const Alternative& alternative, std::string_view text) const
{
    std::size_t first = alternative.firstPiece;
    std::size_t last = first + alternative.pieceCount;
    if (!alternative.wildcardInFront) {
        if (!startsWith(text, piece(first)))
            return false;
        text.remove_prefix(piece(first++).size());
    }
    if (!alternative.wildcardBehind) {
        if (!endsWith(text, piece(last - 1)))
            return false;
        text.remove_suffix(piece(--last).size());
    }
    for (; first != last; ++first) {
        const std::size_t place = findPiece(text, piece(first));
        if (place == std::string_view::npos || hasLineFeed(text.substr(0, place)))
            return false;
        text.remove_prefix(place + piece(first).size());
    }
    return !hasLineFeed(text);
}

bool WildcardPattern::mayMatchTextOf(std::string_view characters) const
{
    const auto consistsOfThem = [&](const Alternative& alternative) {
        const std::size_t begin =
            alternative.pieceCount == 0 ? m_literals.size() : m_pieces[alternative.firstPiece].offset;
        const std::string_view literals(m_literals.data() + begin, alternative.literalLength);
        return literals.find_first_not_of(characters) == std::string_view::npos;
    };
    return std::any_of(m_alternatives.begin(), m_alternatives.end(), consistsOfThem);
}

} // namespace Zovi::Command
