#pragma once

#include "ServiceKit/ServiceTree.h"

#include <filesystem>
#include <memory>

namespace Zovi::Host
{

/// What the program offers: one service, "host", and the tree that it stands in.
struct HostTree {
    std::shared_ptr<ServiceKit::ServiceTree> tree;
    std::shared_ptr<ServiceKit::Service> service;
};

/// Makes the service with the processes, network interfaces and filesystems of the machine, read from the
/// files under `root`, "/" as a rule. Its port is not set.
HostTree makeHostTree(const std::filesystem::path& root);

} // namespace Zovi::Host
