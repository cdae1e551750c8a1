#include "HostService.h"

#include "Explorer.h"
#include "FilesystemResource.h"
#include "HostIdentity.h"
#include "InterfaceResource.h"
#include "ProcessResource.h"

namespace Zovi::Host
{

std::shared_ptr<const ServiceKit::ServiceTree> makeHostTree(const std::filesystem::path& root)
{
    const HostIdentity identity = readHostIdentity(root);
    const auto tree = std::make_shared<ServiceKit::ServiceTree>(identity.machine);
    const auto service = std::make_shared<ServiceKit::Service>(tree->root().child("host"),
                                                               "The machine that this service runs on.");
    const ServiceKit::Reference& host = service->reference();
    service->add(std::make_shared<ProcessResource>(host, identity, root));
    service->add(std::make_shared<InterfaceResource>(host, root));
    service->add(std::make_shared<FilesystemResource>(host, root));
    tree->add(service);
    tree->add(makeExplorer());
    return tree;
}

} // namespace Zovi::Host
