#pragma once

#include "Command/UrlPath.h"
#include "MicroServiceInfo.h"
#include "ServiceKit/Reference.h"
#include "ServiceKit/Resource.h"
#include "ServiceKit/StaticFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// A service: a name, a description, and its resources.
class Service
{
public:
    /// `reference` is as a rule the `child` of the tree's root. Throws `Poco::InvalidArgumentException` if
    /// the name cannot stand in an address.
    Service(const Reference& reference, const std::string& description);

    /// Id, name and address of the service.
    const Reference& reference() const { return m_reference; }

    /// How the service presents itself, at its address as anywhere else: identity, description, privileges,
    /// categories and versions, its resources as references, and its port, which is not set until somebody
    /// does. To be changed only before the server starts.
    MicroServiceInfo& info() { return m_info; }
    const MicroServiceInfo& info() const { return m_info; }

    /// Shares `resource`. Throws `Poco::InvalidArgumentException` if its name cannot be addressed (it is no
    /// segment of an address, or one of the reserved words) or is taken, where letters of either case are the
    /// same, and for a null pointer, as the two `add` of a tree do.
    void add(const std::shared_ptr<Resource>& resource);

    /// In the order in which they were added.
    const std::vector<std::shared_ptr<Resource>>& resources() const { return m_resources; }

private:
    Reference m_reference;
    MicroServiceInfo m_info;
    std::vector<std::shared_ptr<Resource>> m_resources;
};

/// All that one process offers: a root and its services, and files beside them.
///
/// It is filled before the server starts and only read from then on.
class ServiceTree
{
public:
    /// Services take `root().child(name)` as their reference, so that their ids follow from `rootId`.
    explicit ServiceTree(const Poco::UUID& rootId);

    /// Id, name and address of the root.
    const Reference& root() const { return m_root; }

    /// Shares `service`. Throws `Poco::InvalidArgumentException` if its name is taken, as "cdn" is by the
    /// files.
    void add(const std::shared_ptr<const Service>& service);

    /// Shares `folder`. Throws `Poco::InvalidArgumentException` if its name is taken.
    void add(const std::shared_ptr<const StaticFolder>& folder);

    /// In the order in which they were added.
    const std::vector<std::shared_ptr<const Service>>& services() const { return m_services; }

    /// The service or the resource that `path` names; case does not count. They throw `RequestError` with
    /// status 404 if there is none. The "spec" and the "accessrights" of a service are no resources.
    const Service& serviceAt(const Command::UrlPath& path) const;
    Resource& resourceAt(const Command::UrlPath& path) const;

    /// The file that `path` names; case counts. Throws as above.
    const StaticFile& fileAt(const Command::UrlPath& path) const;

    /// What may be done at `path`, which is valid. Throws as above if nothing is there; whether an element
    /// exists is not asked.
    MethodSet methodsAt(const Command::UrlPath& path) const;

private:
    Reference m_root;
    std::vector<std::shared_ptr<const Service>> m_services;
    std::vector<std::shared_ptr<const StaticFolder>> m_folders;
};

/// True if `path` is the access rights of a service.
bool isAccessRights(const Command::UrlPath& path);

} // namespace Zovi::ServiceKit
