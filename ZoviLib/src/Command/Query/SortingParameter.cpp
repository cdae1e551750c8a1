#include "Command/Query/SortingParameter.h"

#include "Data/XObjectBase.h"

#include <algorithm>

namespace Zovi::Command
{

namespace
{

bool hasDescendingSign(const std::string& text)
{
    return !text.empty() && text.front() == '-';
}

} // namespace

OrderedField::OrderedField(const std::string& orderField)
    : m_name(orderField, hasDescendingSign(orderField) ? 1 : 0)
    , m_order(hasDescendingSign(orderField) ? DESCENDING : ASCENDING)
{
}

SortingParameter::SortingParameter(const std::string& urlpart)
{
    // The loop ends at the end of the text, so that a trailing comma adds no empty key.
    for (std::size_t start = 0; start < urlpart.size();) {
        const std::size_t end = std::min(urlpart.find(',', start), urlpart.size());
        orderedFields.emplace_back(urlpart.substr(start, end - start));
        start = end + 1;
    }
}

SortingParameter::SortingParameter(const OrderedField& orderedField)
    : orderedFields{orderedField}
{
}

SortingParameter SortingParameter::defaultOrder()
{
    static const SortingParameter DEFAULT_ORDER{OrderedField(Data::XObjectBase::KEY_ID)};
    return DEFAULT_ORDER;
}

} // namespace Zovi::Command
