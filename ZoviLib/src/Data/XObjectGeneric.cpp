#include "Data/XObjectGeneric.h"

namespace Zovi::Data
{

template class GenericObject<XObjectBase>;

} // namespace Zovi::Data
