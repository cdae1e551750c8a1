#include "Data/ZoviDataUtil.h"

namespace Zovi::Data::Util
{

Poco::Dynamic::Var toJson(const std::string& value, int)
{
    return value;
}

Poco::Dynamic::Var toJson(const Poco::UUID& value, int)
{
    return value.toString();
}

Poco::Dynamic::Var toJson(const Poco::URI& value, int)
{
    return value.toString();
}

} // namespace Zovi::Data::Util
