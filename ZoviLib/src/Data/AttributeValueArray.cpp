#include "Data/AttributeValueArray.h"

namespace Zovi::Data
{

template class AttributeValue<std::vector<AttributeValueStringable<std::string>>, AttributeValueArrayBase>;
template class AttributeValueArray<AttributeValueStringable<std::string>>;

} // namespace Zovi::Data
