#include "Data/AttributeValue.h"

namespace Zovi::Data
{

template class AttributeValue<std::string, AttributeValueStringableBase>;
template class AttributeValue<Poco::UUID, AttributeValueStringableBase>;
template class AttributeValue<Poco::URI, AttributeValueStringableBase>;
template class AttributeValueStringable<std::string>;
template class AttributeValueStringable<Poco::UUID>;
template class AttributeValueStringable<Poco::URI>;

template class AttributeValue<std::int64_t, AttributeValueBase>;
template class AttributeValue<std::uint64_t, AttributeValueBase>;
template class AttributeValue<double, AttributeValueBase>;
template class AttributeValue<bool, AttributeValueBase>;

} // namespace Zovi::Data
