#pragma once

#include "MicroServiceInfo.h"
#include "ServiceKit/Resource.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Zovi::Registry
{

/// The services that are there, each as it has described itself.
class RegisteredServices : public ServiceKit::Resource
{
public:
    explicit RegisteredServices(const ServiceKit::Reference& service);

    using Entry = std::shared_ptr<const MicroServiceInfo>;

    /// Reads what a service says of itself and adds it, in place of what it has said before. A null pointer
    /// if it is no description, or one without an id.
    Entry add(const std::string& description);

    /// Takes back what `add` gave; if the service has described itself anew meanwhile, that stays.
    void remove(const Entry& entry);

    Poco::JSON::Object::Ptr specification() const override;
    Data::ElementCollection elements() const override;
    Data::ElementBase::Ptr element(const Poco::UUID& id) const override;
    bool tellsOfChanges() const override;

private:
    Data::ElementBase::Ptr describe(const MicroServiceInfo& info) const;

    mutable std::mutex m_mutex;
    std::map<Poco::UUID, Entry> m_services;
};

} // namespace Zovi::Registry
