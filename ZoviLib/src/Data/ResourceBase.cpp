#include "Data/ResourceBase.h"

namespace Zovi::Data
{

const std::string ResourceBase::KEY_DESCRIPTION = "description";

ResourceBase::ResourceBase(XObjectId id)
    : XObjectBase(id)
{
}

ResourceBase::ResourceBase(const ResourceBase& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ResourceBase::ResourceBase(ResourceBase&& other) = default;
ResourceBase& ResourceBase::operator=(const ResourceBase& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ResourceBase& ResourceBase::operator=(ResourceBase&& other) = default;
ResourceBase::~ResourceBase() = default;

} // namespace Zovi::Data
