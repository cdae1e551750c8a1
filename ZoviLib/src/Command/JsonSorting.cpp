#include "JsonSorting.h"

#include "JsonCompare.h"
#include "MemberFinder.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Fields = std::vector<OrderedField>;
using Positions = std::vector<Position>;

Positions inInputOrder(std::size_t size)
{
    Positions positions(size);
    std::iota(positions.begin(), positions.end(), Position{0});
    return positions;
}

Positions partOf(const Positions& positions, Window window)
{
    const auto begin = positions.begin() + static_cast<std::ptrdiff_t>(window.begin);
    return Positions(begin, begin + static_cast<std::ptrdiff_t>(window.size));
}

// Sorting by keys: where the comparison is known to be consistent.

/// What is moved around: one object with its key of the first field.
struct Record {
    std::uint64_t code;
    Position position;
    std::uint32_t rank;
};

using Records = std::vector<Record>;

/// Reads the keys of all fields, those of the first one into records. False if a field has no consistent
/// keys; what was read is then of no use.
bool readKeys(const JsonObjects& objects, const Fields& fields, std::vector<FieldKeys>& out_keys,
              Records& out_records)
{
    const auto size = static_cast<Position>(objects.size());
    out_records.reserve(size);
    out_keys.resize(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        FieldKeys& keys = out_keys[i];
        if (!keys.read(objects, fields[i]))
            return false;
        if (i > 0)
            continue;
        for (Position position = 0; position < size; ++position)
            out_records.push_back({keys.code(position), position, keys.rank(position)});
        keys.dropCodes();
    }
    for (Position position = 0; fields.empty() && position < size; ++position)
        out_records.push_back({0, position, 0});
    return true;
}

/// The order of the keys; the algorithms copy it.
class KeyOrder
{
public:
    explicit KeyOrder(const std::vector<FieldKeys>& keys)
        : m_keys(&keys)
    {
    }

    bool operator()(const Record& a, const Record& b) const
    {
        if (a.rank != b.rank)
            return a.rank < b.rank;
        if (a.code != b.code)
            return a.code < b.code;
        return isBeforeWithSameCode(a, b);
    }

private:
    bool isBeforeWithSameCode(const Record& a, const Record& b) const
    {
        int result = 0;
        for (std::size_t i = 0; result == 0 && i < m_keys->size(); ++i) {
            const FieldKeys& keys = (*m_keys)[i];
            result = i == 0 ? keys.compareEqualCodes(a.code, a.position, b.position)
                            : keys.compare(a.position, b.position);
        }
        return result < 0;
    }

    const std::vector<FieldKeys>* m_keys;
};

/// Puts each record of `window` into its place, and only those.
void selectWindow(Records& records, Window window, KeyOrder isBefore)
{
    // A heap of the places up to the window's end needs one comparison for nearly every other record.
    const std::size_t HEAP_SHARE = 32;
    const auto begin = records.begin() + static_cast<std::ptrdiff_t>(window.begin);
    const auto end = begin + static_cast<std::ptrdiff_t>(window.size);
    if (window.begin + window.size <= records.size() / HEAP_SHARE) {
        std::partial_sort(records.begin(), end, records.end(), isBefore);
        return;
    }
    if (begin != records.begin())
        std::nth_element(records.begin(), begin, records.end(), isBefore);
    if (end != records.end())
        std::nth_element(begin, end, records.end(), isBefore);
    std::sort(begin, end, isBefore);
}

/// True if the order says for each record of `window` where it stands: none equals another one.
bool isDecided(const Records& records, Window window, KeyOrder isBefore)
{
    const auto begin = records.begin() + static_cast<std::ptrdiff_t>(window.begin);
    const auto end = begin + static_cast<std::ptrdiff_t>(window.size);
    const auto isNotBeforeNext = [&](const Record& a, const Record& b) {
        return !isBefore(a, b);
    };
    return std::adjacent_find(begin, end, isNotBeforeNext) == end &&
           std::all_of(records.begin(), begin, [&](const Record& r) { return isBefore(r, *begin); }) &&
           std::all_of(end, records.end(), [&](const Record& r) { return isBefore(*(end - 1), r); });
}

/// Each swap puts a record where it belongs.
void restoreInputOrder(Records& records)
{
    for (Position place = 0; place < records.size(); ++place) {
        while (records[place].position != place)
            std::swap(records[place], records[records[place].position]);
    }
}

/// The order of equal objects is what `std::sort` makes of the whole list, so that the pages of one list fit
/// together. A selection may replace it only where no two equal objects could change places.
Positions sortRecords(Records& records, Window window, KeyOrder isBefore)
{
    const bool isPart = window.size < records.size();
    if (isPart && window.size > 0)
        selectWindow(records, window, isBefore);
    if (!isPart || (window.size > 0 && !isDecided(records, window, isBefore))) {
        restoreInputOrder(records);
        std::sort(records.begin(), records.end(), isBefore);
    }
    Positions positions;
    positions.reserve(window.size);
    for (std::size_t place = window.begin; place < window.begin + window.size; ++place)
        positions.push_back(records[place].position);
    return positions;
}

// Sorting by comparing values: where nothing is known about the comparison.

/// The values of all fields, and the comparison of two objects by them.
class ValueOrder
{
public:
    ValueOrder(const JsonObjects& objects, const Fields& fields)
        : m_fields(fields)
    {
        std::vector<MemberFinder> members;
        for (const OrderedField& field : fields)
            members.emplace_back(field.getName());
        m_values.reserve(objects.size() * fields.size());
        for (const Poco::JSON::Object* object : objects) {
            for (MemberFinder& member : members)
                m_values.push_back(object ? member.find(*object) : nullptr);
        }
    }

    Util::CompareResult compare(Position a, Position b, std::size_t field) const
    {
        const Var* const left = m_values[a * m_fields.size() + field];
        const Var* const right = m_values[b * m_fields.size() + field];
        if (!left && !right)
            return Util::UNKNOWN;
        if (!right)
            return Util::GREATER;
        return left ? compareJson(*left, *right) : Util::LESS;
    }

    bool isBefore(Position a, Position b) const
    {
        for (std::size_t field = 0; field < m_fields.size(); ++field) {
            const bool isDescending = m_fields[field].isOrderDescending();
            const auto result = isDescending ? compare(b, a, field) : compare(a, b, field);
            if (result == Util::LESS)
                return true;
            if (result == Util::GREATER)
                return false;
        }
        return false;
    }

private:
    const Fields& m_fields;
    std::vector<const Var*> m_values;
};

/// Stays inside the list and loses no object, whatever the comparison answers. The library's own algorithms
/// promise that for a consistent comparison only.
template <typename IsBefore>
void mergeSort(Positions& positions, const IsBefore& isBefore)
{
    const std::size_t size = positions.size();
    Positions merged(size);
    for (std::size_t run = 1; run < size; run *= 2) {
        for (std::size_t begin = 0; begin < size; begin += 2 * run) {
            const std::size_t middle = std::min(begin + run, size);
            const std::size_t end = std::min(begin + 2 * run, size);
            std::size_t left = begin;
            std::size_t right = middle;
            for (std::size_t place = begin; place < end; ++place) {
                const bool takesRight =
                    left == middle || (right != end && isBefore(positions[right], positions[left]));
                merged[place] = positions[takesRight ? right++ : left++];
            }
        }
        positions.swap(merged);
    }
}

/// Up to here `std::sort` stays inside the list, whatever the comparison answers.
const std::size_t SAFE_STD_SORT_SIZE = 16;

Positions sortByValues(const JsonObjects& objects, const Fields& fields)
{
    Positions positions = inInputOrder(objects.size());
    const ValueOrder values(objects, fields);
    const auto isBefore = [&](Position a, Position b) {
        return values.isBefore(a, b);
    };
    if (objects.size() <= SAFE_STD_SORT_SIZE)
        std::sort(positions.begin(), positions.end(), isBefore);
    else
        mergeSort(positions, isBefore);
    return positions;
}

} // namespace

Positions sortObjects(const JsonObjects& objects, const SortingParameter& criteria, Window window)
{
    const Fields& fields = criteria.getFields();
    if (objects.size() < 2)
        return partOf(inInputOrder(objects.size()), window);
    std::vector<FieldKeys> keys;
    Records records;
    if (readKeys(objects, fields, keys, records))
        return sortRecords(records, window, KeyOrder(keys));
    return partOf(sortByValues(objects, fields), window);
}

} // namespace Zovi::Command
