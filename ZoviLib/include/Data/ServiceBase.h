#pragma once

#include "Data/ResourceBase.h"
#include "Data/XObjectBase.h"
#include "Data/XObjectGeneric.h"
#include "ZoviExport.h"

#include <Poco/UUID.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Zovi::Data
{

/// What a service offers at its own address: how it presents itself, and the resources in it.
///
/// `Zovi::MicroServiceInfo` implements it for a service that is only described.
class KYRZOVI_API ServiceBase : public XObjectBase
{
public:
    static const std::string KEY_PRIVILEGES;         ///< "privileges"
    static const std::string KEY_SERVICE_CATEGORIES; ///< "serviceCategories"
    static const std::string KEY_VERSIONS;           ///< "versions"
    static const std::string KEY_PORT;               ///< "port"
    static const std::string KEY_DESCRIPTION;        ///< "description"

    /// For the derived class: a service with the number `id`.
    explicit ServiceBase(XObjectId id);
    /// Copies the number of `other`, nothing else.
    explicit ServiceBase(const XObjectBase& other);
    /// Takes over the number of `other`, nothing else.
    explicit ServiceBase(XObjectBase&& other);

    /// The same as from any other object.
    ServiceBase(const ServiceBase& other);
    ServiceBase(ServiceBase&& other);
    ServiceBase& operator=(const ServiceBase& other);
    ServiceBase& operator=(ServiceBase&& other);
    ~ServiceBase() override;

    /// What a client must be allowed to do to use the service.
    virtual std::vector<std::string> getPrivileges() const = 0;
    /// The kinds of service that this is one of.
    virtual std::vector<std::string> getServiceCategories() const = 0;
    /// The versions of the interface that the service offers.
    virtual std::vector<std::string> getVersions() const = 0;
    /// What the service is, in words.
    virtual std::string getDescription() const = 0;
    /// The TCP port at which the service is reached.
    virtual std::uint32_t getPort() const = 0;
    /// The text that is served as the specification of the service; it lives as long as the service.
    virtual const std::string& getSpecification() const = 0;
    /// Gives the service another UUID, and what follows from it.
    virtual void updateServiceId(const Poco::UUID& newId) = 0;
    /// All ports; here the one that `getPort` gives. A service with more of them overrides this.
    virtual std::vector<std::uint32_t> getAllPorts() const;
    /// All resources, shared with the service.
    virtual ResourceCollection getResources() const = 0;
};

extern template class GenericObject<ServiceBase>;

} // namespace Zovi::Data
