#pragma once

#include "Command/Query/SortingParameter.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Object.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace Zovi::Command
{

/// The objects that are sorted, in the order in which they came. One may stand there twice, or be null.
using JsonObjects = std::vector<const Poco::JSON::Object*>;

/// The index of an object in `JsonObjects`.
using Position = std::uint32_t;

/// The keys of one field: a number for each object, so that the smaller number goes first.
///
/// The sign of the field is in the numbers already. Two long texts may have the same number; then they are
/// compared themselves.
class FieldKeys
{
public:
    /// Reads the keys. False if the values have no order that is consistent over all of them, or if comparing
    /// them may throw; the keys are then of no use.
    ///
    /// Consistent are integers of one signedness, numbers that a `double` holds exactly enough, texts, and
    /// objects, each kind by itself. Any object may lack the field.
    bool read(const JsonObjects& objects, const OrderedField& field);

    std::uint64_t code(Position position) const { return m_codes[position]; }

    /// Where the objects without the field stand: those of the lower rank go first.
    std::uint32_t rank(Position position) const
    {
        return m_isMissing.empty() ? 0 : rankOf(m_isMissing[position] != 0);
    }

    /// Negative if the object at `a` goes before that at `b`, 0 if the field does not tell them apart.
    int compare(Position a, Position b) const;

    /// The same for two objects that have equal ranks and the same `code`.
    int compareEqualCodes(std::uint64_t code, Position a, Position b) const
    {
        return m_texts.empty() ? 0 : compareTexts(code, a, b);
    }

    /// Gives back the memory of the codes, which then must not be asked for.
    void dropCodes() { std::vector<std::uint64_t>().swap(m_codes); }

private:
    /// `Convertible` are the values that are no texts and compared as if they were.
    enum class Kind { Signed, Unsigned, Number, Text, Convertible, Reference, Other };

    static Kind kindOf(const Poco::Dynamic::Var& value);
    static bool isNumeric(Kind kind) { return kind <= Kind::Number; }
    static bool isText(Kind kind) { return kind == Kind::Text || kind == Kind::Convertible; }

    bool readMixedNumbers(const JsonObjects& objects, const std::string& name);
    bool add(Kind kind, const Poco::Dynamic::Var& value);
    void addMissing();
    bool addNumber(double value);
    bool addText(const std::string& text);
    bool addTextOf(const Poco::Dynamic::Var& value);
    bool addReference(const Poco::Dynamic::Var& value);
    bool addCode(std::uint64_t code);

    std::uint32_t rankOf(bool isMissing) const { return isMissing == m_isDescending ? 1 : 0; }
    int compareTexts(std::uint64_t code, Position a, Position b) const;

    bool m_isDescending = false;
    std::vector<std::uint64_t> m_codes;
    /// Empty if every object has the field.
    std::vector<std::uint8_t> m_isMissing;
    /// Empty unless the keys are texts; they belong to the objects or stand in `m_convertedTexts`.
    std::vector<const std::string*> m_texts;
    std::deque<std::string> m_convertedTexts;
};

} // namespace Zovi::Command
