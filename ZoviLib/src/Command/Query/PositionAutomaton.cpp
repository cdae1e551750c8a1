#include "PositionAutomaton.h"

#include <Poco/Ascii.h>

#include <algorithm>
#include <bitset>
#include <optional>

namespace Zovi::Command
{

namespace
{

using Bytes = std::bitset<256>;

constexpr int MAX_DEPTH = 20;
/// More than the positions ever need: groups without any may be repeated in each other.
constexpr int MAX_ATOMS = 1000;
/// A match with more groups is refused where groups are counted.
constexpr int MAX_GROUPS = 20;
constexpr int MAX_REPETITIONS = 64;

constexpr std::string_view QUANTIFIERS = "*+?{";
constexpr std::string_view IGNORE_CASE = "(?i)";

std::size_t indexOf(char character)
{
    return static_cast<unsigned char>(character);
}

Bytes only(char character)
{
    return Bytes().set(indexOf(character));
}

template <typename Test>
Bytes allThat(Test test)
{
    Bytes bytes;
    for (int byte = 0; byte < 128; ++byte)
        bytes.set(static_cast<std::size_t>(byte), test(byte));
    return bytes;
}

/// What an escape with this character takes; nothing if it is one that is not understood.
std::optional<Bytes> escaped(char character)
{
    const auto isWord = [](int byte) {
        return Poco::Ascii::isAlphaNumeric(byte) || byte == '_';
    };
    switch (character) {
    case 'd':
        return allThat(Poco::Ascii::isDigit);
    case 'D':
        return ~allThat(Poco::Ascii::isDigit);
    case 'w':
        return allThat(isWord);
    case 'W':
        return ~allThat(isWord);
    case 's':
        return allThat(Poco::Ascii::isSpace);
    case 'S':
        return ~allThat(Poco::Ascii::isSpace);
    case 'n':
        return only('\n');
    case 'r':
        return only('\r');
    case 't':
        return only('\t');
    default:
        return Poco::Ascii::isPunct(static_cast<unsigned char>(character)) ? std::optional(only(character))
                                                                           : std::nullopt;
    }
}

} // namespace

/// Reads expressions into an automaton. What it does not understand ends it: all that it reads from then on
/// is the end of the text.
class PositionAutomaton::Builder
{
public:
    explicit Builder(PositionAutomaton& automaton)
        : m_automaton(automaton)
    {
    }

    /// False if it is not understood; the automaton is then of no use.
    bool add(std::string_view expression)
    {
        m_rest = expression;
        ignoreCaseIfAsked();
        const Part part = readSequence();
        if (!m_rest.empty())
            giveUp();
        m_automaton.m_first |= part.first;
        m_automaton.m_last |= part.last;
        m_automaton.m_takesNothing = m_automaton.m_takesNothing || part.maybeEmpty;
        return m_isUnderstood;
    }

private:
    /// The positions at which a part of an expression may begin and end.
    struct Part {
        Positions first = 0;
        Positions last = 0;
        bool maybeEmpty = true;
    };

    struct Repetition {
        int least;
        int most;
        bool isUnbounded;
    };

    void giveUp()
    {
        m_isUnderstood = false;
        m_rest = {};
    }

    /// Counts for the expressions behind it as well.
    void ignoreCaseIfAsked()
    {
        if (m_rest.substr(0, IGNORE_CASE.size()) != IGNORE_CASE)
            return;
        m_rest.remove_prefix(IGNORE_CASE.size());
        m_ignoresCase = true;
    }

    /// `bytes`, and the letters among them in both cases if case is ignored.
    Bytes inBothCases(const Bytes& bytes) const
    {
        Bytes result = bytes;
        for (std::size_t letter = 'a'; m_ignoresCase && letter <= 'z'; ++letter) {
            const std::size_t capital = letter - 'a' + 'A';
            result.set(letter, bytes.test(letter) || bytes.test(capital));
            result.set(capital, result.test(letter));
        }
        return result;
    }

    bool beginsWith(char character) const { return !m_rest.empty() && m_rest.front() == character; }
    bool beginsWithOneOf(std::string_view characters) const
    {
        return !m_rest.empty() && characters.find(m_rest.front()) != std::string_view::npos;
    }

    bool skip(char character)
    {
        const bool isThere = beginsWith(character);
        if (isThere)
            m_rest.remove_prefix(1);
        return isThere;
    }

    std::optional<char> next()
    {
        if (m_rest.empty()) {
            giveUp();
            return std::nullopt;
        }
        const char character = m_rest.front();
        m_rest.remove_prefix(1);
        return character;
    }

    Part readAlternatives()
    {
        Part part = readSequence();
        while (skip('|')) {
            const Part other = readSequence();
            part.first |= other.first;
            part.last |= other.last;
            part.maybeEmpty = part.maybeEmpty || other.maybeEmpty;
        }
        return part;
    }

    Part readSequence()
    {
        Part sequence;
        while (!m_rest.empty() && !beginsWithOneOf("|)"))
            append(sequence, readRepeated());
        return sequence;
    }

    Part readRepeated()
    {
        const std::string_view begin = m_rest;
        const Part atom = readAtom();
        if (!beginsWithOneOf(QUANTIFIERS))
            return atom;
        const std::optional<Repetition> repetition = readQuantifier();
        const std::string_view behind = m_rest;
        const Part part = repetition ? repeat(atom, *repetition, begin) : atom;
        if (m_isUnderstood)
            m_rest = behind;
        return part;
    }

    std::optional<Repetition> readQuantifier()
    {
        const std::optional<Repetition> repetition = readCount();
        skip('?');
        if (!repetition || beginsWithOneOf(QUANTIFIERS)) {
            giveUp();
            return std::nullopt;
        }
        return repetition;
    }

    std::optional<Repetition> readCount()
    {
        if (skip('*'))
            return Repetition{0, 0, true};
        if (skip('+'))
            return Repetition{1, 1, true};
        if (skip('?'))
            return Repetition{0, 1, false};
        skip('{');
        const std::optional<int> least = readNumber();
        const bool isRange = skip(',');
        const std::optional<int> most = isRange ? readNumber() : least;
        if (!least || !skip('}') || most.value_or(*least) < *least)
            return std::nullopt;
        return Repetition{*least, most.value_or(*least), !most};
    }

    std::optional<int> readNumber()
    {
        std::optional<int> number;
        while (beginsWithOneOf("0123456789") && number.value_or(0) <= MAX_REPETITIONS)
            number = number.value_or(0) * 10 + (*next() - '0');
        return number;
    }

    /// Each repetition has positions of its own, for which the atom is read again.
    Part repeat(const Part& atom, const Repetition& repetition, std::string_view atomText)
    {
        const int copies = repetition.isUnbounded ? std::max(repetition.least, 1) : repetition.most;
        Part sequence;
        for (int i = 0; i < copies && m_isUnderstood; ++i) {
            Part copy = i == 0 ? atom : readAgain(atomText);
            copy.maybeEmpty = copy.maybeEmpty || i >= repetition.least;
            if (repetition.isUnbounded && i == copies - 1)
                link(copy.last, copy.first);
            append(sequence, copy);
        }
        return sequence;
    }

    Part readAgain(std::string_view atomText)
    {
        const int groups = m_groups;
        m_groups = 0;
        m_rest = atomText;
        const Part part = readAtom();
        m_groups = groups;
        return part;
    }

    Part readAtom()
    {
        if (++m_atoms > MAX_ATOMS) {
            giveUp();
            return {};
        }
        const std::optional<char> character = next();
        if (!character || QUANTIFIERS.find(*character) != std::string_view::npos)
            return refused();
        switch (*character) {
        case '(':
            return readGroup();
        case '[':
            return position(readClass());
        case '\\':
            return position(readEscape());
        case '.':
            return position(~only('\n'));
        case '^':
        case '$':
        case '\0':
            return refused();
        default:
            return position(inBothCases(only(*character)));
        }
    }

    Part readGroup()
    {
        if (beginsWith('*') || ++m_depth > MAX_DEPTH)
            return refused();
        if (skip('?')) {
            if (!skip(':'))
                return refused();
        } else if (++m_groups > MAX_GROUPS) {
            return refused();
        }
        const Part part = readAlternatives();
        --m_depth;
        return skip(')') ? part : refused();
    }

    Bytes readEscape()
    {
        const std::optional<char> character = next();
        const std::optional<Bytes> bytes = character ? escaped(*character) : std::nullopt;
        if (!bytes)
            giveUp();
        return bytes.value_or(Bytes());
    }

    Bytes readClass()
    {
        const bool isNegated = skip('^');
        if (beginsWith(']'))
            giveUp();
        Bytes bytes;
        while (m_isUnderstood && !skip(']'))
            bytes |= readClassMember();
        bytes = inBothCases(bytes);
        return isNegated ? ~bytes : bytes;
    }

    /// One character, an escape or a range between characters that are not escaped.
    Bytes readClassMember()
    {
        const std::optional<char> first = next();
        if (first == '\\') {
            const Bytes bytes = readEscape();
            return beginsRange() ? nothingUnderstood() : bytes;
        }
        if (!first || first == '[' || first == '\0')
            return nothingUnderstood();
        if (!beginsRange())
            return only(*first);
        skip('-');
        const std::optional<char> last = next();
        if (!last || last == '\\' || last == '[' || indexOf(*last) < indexOf(*first))
            return nothingUnderstood();
        Bytes bytes;
        for (std::size_t byte = indexOf(*first); byte <= indexOf(*last); ++byte)
            bytes.set(byte);
        return bytes;
    }

    /// A hyphen at the end of a class is a character.
    bool beginsRange() const { return m_rest.size() > 1 && m_rest[0] == '-' && m_rest[1] != ']'; }

    Bytes nothingUnderstood()
    {
        giveUp();
        return {};
    }

    Part refused()
    {
        giveUp();
        return {};
    }

    Part position(const Bytes& taken)
    {
        if (!m_isUnderstood || m_size == MAX_POSITIONS)
            return refused();
        const Positions bit = Positions{1} << m_size++;
        for (std::size_t byte = 0; byte < taken.size(); ++byte) {
            if (taken.test(byte))
                m_automaton.m_takers[byte] |= bit;
        }
        return {bit, bit, false};
    }

    void append(Part& sequence, const Part& part)
    {
        link(sequence.last, part.first);
        if (sequence.maybeEmpty)
            sequence.first |= part.first;
        sequence.last = part.last | (part.maybeEmpty ? sequence.last : 0);
        sequence.maybeEmpty = sequence.maybeEmpty && part.maybeEmpty;
    }

    /// What follows on each of `positions` may also be one of `followers`.
    void link(Positions positions, Positions followers)
    {
        for (std::size_t i = 0; i < m_size; ++i) {
            if (positions >> i & 1U)
                m_automaton.m_followers[i] |= followers;
        }
    }

    PositionAutomaton& m_automaton;
    std::string_view m_rest;
    std::size_t m_size = 0;
    int m_atoms = 0;
    int m_groups = 0;
    int m_depth = 0;
    bool m_ignoresCase = false;
    bool m_isUnderstood = true;
};

std::unique_ptr<const PositionAutomaton>
PositionAutomaton::create(const std::vector<std::string>& expressions)
{
    std::unique_ptr<PositionAutomaton> automaton(new PositionAutomaton);
    Builder builder(*automaton);
    const bool isUnderstood =
        std::all_of(expressions.begin(), expressions.end(),
                    [&builder](const std::string& expression) { return builder.add(expression); });
    return isUnderstood ? std::move(automaton) : nullptr;
}

std::optional<bool> PositionAutomaton::match(std::string_view text) const
{
    if (text.empty())
        return false;
    const bool takesAll = takes(text);
    if (!takesAll || text.back() != '\n')
        return takesAll;
    // "$" also stands before a line feed that ends the text.
    return takes(text.substr(0, text.size() - 1)) ? std::nullopt : std::optional(true);
}

bool PositionAutomaton::takes(std::string_view text) const
{
    if (text.empty())
        return m_takesNothing;
    Positions reached = m_first & takersOf(text.front());
    for (const char character : text.substr(1)) {
        if (reached == 0)
            return false;
        reached = followersOf(reached) & takersOf(character);
    }
    return (reached & m_last) != 0;
}

PositionAutomaton::Positions PositionAutomaton::followersOf(Positions positions) const
{
    Positions followers = 0;
    for (; positions != 0; positions &= positions - 1)
        followers |= m_followers[static_cast<std::size_t>(__builtin_ctzll(positions))];
    return followers;
}

} // namespace Zovi::Command
