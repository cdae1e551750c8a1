#pragma once

#include "NoteStore.h"
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
///
/// With `notes`, which it shares, there is a resource for them too.
HostTree makeHostTree(const std::filesystem::path& root, const std::shared_ptr<NoteStore>& notes = {});

} // namespace Zovi::Host
