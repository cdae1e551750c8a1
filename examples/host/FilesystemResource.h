#pragma once

#include "MachineResource.h"
#include "MountTable.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace Zovi::Host
{

/// The room in a filesystem, in bytes.
struct Capacity {
    std::uint64_t size = 0;
    std::uint64_t free = 0;
};

/// Asks the C library; nothing if it cannot tell.
std::optional<Capacity> readCapacity(const std::string& mountPoint);

/// The mounted filesystems of the machine that have room for files; those that the kernel only makes up are
/// left out.
class FilesystemResource : public MachineResource
{
public:
    /// Reads the mount table under `root`, "/" as a rule.
    FilesystemResource(const ServiceKit::Reference& service, const std::filesystem::path& root,
                       std::function<std::optional<Capacity>(const std::string&)> capacityOf = readCapacity);

private:
    Findings find() const override;
    bool describe(const Mount& mount, Data::ElementGeneric& element) const;

    std::filesystem::path m_mountInfo;
    std::function<std::optional<Capacity>(const std::string&)> m_capacityOf;
};

} // namespace Zovi::Host
