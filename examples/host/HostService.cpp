#include "HostService.h"

#include "Explorer.h"
#include "FilesystemResource.h"
#include "HostIdentity.h"
#include "InterfaceResource.h"
#include "NoteResource.h"
#include "ProcessResource.h"

#include <sstream>
#include <string>
#include <vector>

namespace Zovi::Host
{

namespace
{

using TextList = std::vector<std::string>;

/// The version of what is offered under the address of the service: it changes when a client must.
const char* const INTERFACE_VERSION = "1";

} // namespace

HostTree makeHostTree(const std::filesystem::path& root, const std::shared_ptr<NoteStore>& notes)
{
    const HostIdentity identity = readHostIdentity(root);
    const auto tree = std::make_shared<ServiceKit::ServiceTree>(identity.machine);
    const auto service = std::make_shared<ServiceKit::Service>(tree->root().child("host"),
                                                               "The machine that this service runs on.");
    service->info().setServiceCategories(TextList{"machine"});
    service->info().setVersions(TextList{INTERFACE_VERSION});
    const ServiceKit::Reference& host = service->reference();
    service->add(std::make_shared<ProcessResource>(host, identity, root));
    service->add(std::make_shared<InterfaceResource>(host, root));
    service->add(std::make_shared<FilesystemResource>(host, root));
    if (notes)
        service->add(std::make_shared<NoteResource>(host, notes));
    tree->add(service);
    tree->add(makeExplorer());
    return {tree, service};
}

std::string toRegistration(const ServiceKit::Service& service)
{
    // Made anew, a description has what every service has, and not the resources that this one adds.
    const Data::ServiceBase& source = service.info();
    std::ostringstream text;
    MicroServiceInfo(source).toJSON(0)->stringify(text);
    return text.str() + "\n";
}

} // namespace Zovi::Host
