#include "Data/AttributeBase.h"

namespace Zovi::Data
{

AttributeBase::~AttributeBase() = default;

template class Attribute<AttributeValueStringable<std::string>>;
template class Attribute<AttributeValueStringable<Poco::UUID>>;
template class Attribute<AttributeValueStringable<Poco::URI>>;
template class Attribute<AttributeValueInteger>;
template class Attribute<AttributeValueStringArray>;

} // namespace Zovi::Data
