#pragma once

#include "Command/Query/QueryParameter.h"
#include "ZoviExport.h"

#include <string>
#include <vector>

namespace Zovi::Command
{

/// The direction of a sort key.
enum SortOrder { ASCENDING = 0, DESCENDING = 1 };

/// One sort key: the name of a field and the direction.
class KYRZOVI_API OrderedField
{
public:
    /// "-name" is `name` descending, "name" is `name` ascending. Nothing is trimmed, a plus sign belongs to
    /// the name, and the name may be empty.
    explicit OrderedField(const std::string& orderField);

    /// The field name without the sign.
    const std::string& getName() const { return m_name; }
    bool isOrderDescending() const { return m_order == DESCENDING; }
    SortOrder getOrder() const { return m_order; }

private:
    std::string m_name;
    SortOrder m_order;
};

/// The sort keys of "$sortby": field names with an optional minus, separated by commas.
///
///     $sortby=-size,name    by size, the largest first; those of equal size by name
///
/// No text is refused. An empty name between two commas is a key of its own; a comma at the end adds none.
class KYRZOVI_API SortingParameter : public RenderCriterion
{
public:
    /// Parses the value of "$sortby". An empty text gives a valid criterion without a key.
    explicit SortingParameter(const std::string& urlpart);

    /// One key.
    explicit SortingParameter(const OrderedField& orderedField);

    /// The keys in the order of the request; the first is the primary one.
    const std::vector<OrderedField>& getFields() const { return orderedFields; }

    /// The order of a request that asks for none: by "id", ascending.
    static SortingParameter defaultOrder();

private:
    std::vector<OrderedField> orderedFields;
};

} // namespace Zovi::Command
