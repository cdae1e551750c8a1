#include "Data/ServiceBase.h"

#include <utility>

namespace Zovi::Data
{

const std::string ServiceBase::KEY_PRIVILEGES = "privileges";
const std::string ServiceBase::KEY_SERVICE_CATEGORIES = "serviceCategories";
const std::string ServiceBase::KEY_VERSIONS = "versions";
const std::string ServiceBase::KEY_PORT = "port";
const std::string ServiceBase::KEY_DESCRIPTION = "description";

ServiceBase::ServiceBase(XObjectId id)
    : XObjectBase(id)
{
}

ServiceBase::ServiceBase(const XObjectBase& other)
    : XObjectBase(other)
{
}

ServiceBase::ServiceBase(XObjectBase&& other)
    : XObjectBase(std::move(other))
{
}

ServiceBase::ServiceBase(const ServiceBase& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ServiceBase::ServiceBase(ServiceBase&& other) = default;
ServiceBase& ServiceBase::operator=(const ServiceBase& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ServiceBase& ServiceBase::operator=(ServiceBase&& other) = default;
ServiceBase::~ServiceBase() = default;

std::vector<std::uint32_t> ServiceBase::getAllPorts() const
{
    return {getPort()};
}

template class GenericObject<ServiceBase>;

} // namespace Zovi::Data
