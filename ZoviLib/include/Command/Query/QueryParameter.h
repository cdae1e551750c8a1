#pragma once

#include "ZoviExport.h"

namespace Zovi::Command
{

/// Base of all criteria: what one query parameter of a request turned into.
///
/// A criterion whose text does not parse is invalid, and reports it by no exception. Only the value searches
/// throw, on a text that is no valid regular expression. Criteria are read-only after construction and shared
/// between the copies of a request.
class KYRZOVI_API QueryParameter
{
public:
    virtual ~QueryParameter();

    /// False if the text of the criterion did not parse. Whoever uses a criterion asks this first.
    bool isValid() const { return m_valid; }

protected:
    QueryParameter() = default;
    QueryParameter(const QueryParameter&) = default;
    QueryParameter(QueryParameter&&) = default;
    QueryParameter& operator=(const QueryParameter&) = default;
    QueryParameter& operator=(QueryParameter&&) = default;

    /// A derived constructor clears this when its text does not parse.
    bool m_valid = true;
};

/// A criterion that shapes the output: field selection, sorting, paging, expansion.
class KYRZOVI_API RenderCriterion : public QueryParameter
{
public:
    ~RenderCriterion() override;

protected:
    RenderCriterion() = default;
    RenderCriterion(const RenderCriterion&) = default;
    RenderCriterion(RenderCriterion&&) = default;
    RenderCriterion& operator=(const RenderCriterion&) = default;
    RenderCriterion& operator=(RenderCriterion&&) = default;
};

/// A criterion that selects items: the value searches.
class KYRZOVI_API SearchCriterion : public QueryParameter
{
public:
    ~SearchCriterion() override;

protected:
    SearchCriterion() = default;
    SearchCriterion(const SearchCriterion&) = default;
    SearchCriterion(SearchCriterion&&) = default;
    SearchCriterion& operator=(const SearchCriterion&) = default;
    SearchCriterion& operator=(SearchCriterion&&) = default;
};

} // namespace Zovi::Command
