#pragma once

#include "Command/Query/Paging.h"
#include "Command/Query/QueryParameter.h"
#include "ZoviExport.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/SharedPtr.h>

#include <map>
#include <string>
#include <vector>

namespace Zovi
{

/// The grammar of "$fields": one name, and what it may carry behind it.
extern KYRZOVI_API const std::string FieldsPagingRegEx;

/// The part in parentheses, with the offset and the limit as its groups.
extern KYRZOVI_API const std::string FieldsPagingSubRegEx;

} // namespace Zovi

namespace Zovi::Command
{

/// One field that a request selects, and the slice of the array in it, if the request names one.
class KYRZOVI_API FilterField
{
public:
    /// A field that is taken whole.
    explicit FilterField(const std::string& name);

    /// Shares `paging`.
    FilterField(const std::string& name, const Poco::SharedPtr<Paging>& paging);

    /// The field name without what stood in parentheses.
    const std::string& getName() const { return m_name; }

    /// The slice, shared; a null pointer if there is none.
    Poco::SharedPtr<Paging> getPaging() const { return m_paging; }
    void getPaging(Poco::SharedPtr<Paging>& out) const { out = m_paging; }

private:
    std::string m_name;
    Poco::SharedPtr<Paging> m_paging;
};

/// The fields that "$fields" selects.
///
/// The value is a list of names separated by commas; a name may carry a slice of its own, which cuts the
/// array in that field:
///
///     $fields=name,size                             accepted
///     $fields=items($offset:2,$limit:5),name        accepted: five items from the third on
///     $fields=items($offset:2)                      refused: the slice is not complete
///
/// A name is anything without a comma or an opening parenthesis; a dot in it means nothing. A comma at the
/// end is accepted. Stray commas in front of a name are mostly refused, but not all: what was read is removed
/// from the front by its length, so that ",,a" reads "a" twice and is valid. "id", "name" and "uri" are
/// always selected and never cut. The first mention of a name counts.
///
/// Read-only after construction; whether it is valid is asked by whoever applies it. See
/// `RequestBase::hasFieldsCriteria`.
class KYRZOVI_API FilterParameter : public RenderCriterion
{
public:
    /// Parses the value of "$fields". An empty text is valid and selects "id", "name" and "uri". The fields
    /// read before a mistake stay, so that an invalid criterion still has some.
    explicit FilterParameter(const std::string& urlpart);

    /// The fields in the order of the request, without those that are always selected.
    const std::vector<FilterField>& getFields() const { return m_filterFields; }

    /// Removes from `inout_object` what is not selected. An array with a slice is cut in place, so that
    /// whoever shares the array sees the cut; one that is held by value stays whole.
    void applyFilter(Poco::JSON::Object& inout_object) const;

    /// Makes `out_result` the selection of `srcObject`, another object, which stays as it is. An array with a
    /// slice is copied before it is cut; every other value is shared. What `out_result` held is cleared.
    void applyFilter(const Poco::JSON::Object& srcObject, Poco::JSON::Object& out_result) const;

    /// Does to each object of `inout_array` what the form for one object in place does. Elements that are no
    /// objects, and objects held by value, stay as they are.
    void applyFilter(Poco::JSON::Array& inout_array) const;

private:
    using FilterParameterCollection = std::map<std::string, Poco::SharedPtr<Paging>>;

    static bool parseParameter(const std::string& parameter, std::vector<FilterField>& out_filter);

    /// The fields of the request.
    std::vector<FilterField> m_filterFields;
    /// All fields to keep, by name.
    FilterParameterCollection m_filterCollection;
};

} // namespace Zovi::Command
