#pragma once

#include <Poco/UUID.h>

#include <filesystem>
#include <string>

namespace Zovi::Host
{

/// What tells this machine, and this start of it, from all others.
struct HostIdentity {
    /// Made of the machine's id by a hash: the id itself is confidential. The same for the life of the
    /// installation. Every other id of the service is made of this one.
    Poco::UUID machine;

    /// The kernel's random id of this start; empty if there is none.
    std::string boot;
};

/// Reads the identity from the files under `root`. A machine without an id of its own is known by its host
/// name.
HostIdentity readHostIdentity(const std::filesystem::path& root);

} // namespace Zovi::Host
