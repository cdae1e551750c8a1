#pragma once

#include "AbstractQuery.h"
#include "Command/Query/SortingParameter.h"
#include "CompareHelper.h"
#include "ZoviExport.h"

#include <algorithm>

namespace Zovi::Command
{

/// Sorts containers by the fields of a `SortingParameter`.
///
///     using ByField = SortingFilter<std::vector<Item>, ItemCompare, Item>;
///     ByField(SortingParameter("-size,name")).apply(items);
///
/// `Compare` is made where it is needed: a class without state whose `operator()(const Value& a, const Value&
/// b, const std::string& fieldName) const` gives the `Util::CompareResult` of the two under that field.
/// `UNKNOWN` decides as little as `EQUAL`: the next field is asked. A descending field asks with `a` and `b`
/// swapped.
///
/// The order of elements that are equal in all fields is not promised. `Compare` must be consistent over all
/// elements, as `std::sort` requires; sorting reads outside the container otherwise. An exception of
/// `Compare` leaves the container with its elements in any order, some of them moved from.
template <typename Container, typename Compare, typename Value>
class KYRZOVI_API SortingFilter : public Util::AbstractFilter<Container>
{
public:
    /// The container, before and after.
    using container_type = typename Util::AbstractFilter<Container>::container_type;
    using result_type = typename Util::AbstractFilter<Container>::result_type;

    /// Copies `criteria`.
    explicit SortingFilter(const SortingParameter& criteria)
        : m_criteria(criteria)
    {
    }

    /// A sorted copy of `container`.
    result_type operator()(const container_type& container) const override
    {
        container_type sorted(container);
        apply(sorted);
        return sorted;
    }

    /// Sorts `container` in place.
    void apply(container_type& container) const
    {
        std::sort(container.begin(), container.end(),
                  [this](const Value& lhs, const Value& rhs) { return (*this)(lhs, rhs); });
    }

    /// Makes `result` a sorted copy of `container`.
    void apply(const container_type& container, result_type& result) const
    {
        result = container;
        apply(result);
    }

    /// True if `lhs` goes before `rhs`.
    bool operator()(const Value& lhs, const Value& rhs) const
    {
        for (const OrderedField& field : m_criteria.getFields()) {
            const Util::CompareResult result = compare(lhs, rhs, field);
            if (result == Util::LESS)
                return true;
            if (result == Util::GREATER)
                return false;
        }
        return false;
    }

private:
    static Util::CompareResult compare(const Value& lhs, const Value& rhs, const OrderedField& field)
    {
        return field.isOrderDescending() ? Compare()(rhs, lhs, field.getName())
                                         : Compare()(lhs, rhs, field.getName());
    }

    SortingParameter m_criteria;
};

} // namespace Zovi::Command
