#pragma once

#include "NoteStore.h"
#include "ServiceKit/ServiceTree.h"

#include <filesystem>
#include <memory>
#include <string>

namespace Zovi::Host
{

/// What the program offers: one service, "host", and the tree that it stands in.
struct HostTree {
    std::shared_ptr<ServiceKit::ServiceTree> tree;
    std::shared_ptr<ServiceKit::Service> service;
};

/// Makes the service with the processes, network interfaces and filesystems of the machine, read from the
/// files under `root`, "/" as a rule. Its port is not set.
///
/// With `notes`, which it shares, there is a resource for them too.
HostTree makeHostTree(const std::filesystem::path& root, const std::shared_ptr<NoteStore>& notes = {});

/// What the registry of the machine is told of `service`: how it presents itself, on one line of JSON.
std::string toRegistration(const ServiceKit::Service& service);

} // namespace Zovi::Host
