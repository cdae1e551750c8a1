#pragma once

#include "ServiceKit/ServiceTree.h"

#include <filesystem>
#include <memory>

namespace Zovi::Host
{

/// The tree of the host service: one service, "host", with the processes, network interfaces and filesystems
/// of the machine, read from the files under `root`, "/" as a rule.
std::shared_ptr<const ServiceKit::ServiceTree> makeHostTree(const std::filesystem::path& root);

} // namespace Zovi::Host
