#pragma once

#include "MountTable.h"
#include "ServiceKit/Resource.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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
class FilesystemResource : public ServiceKit::Resource
{
public:
    /// Reads the mount table under `root`, "/" as a rule.
    FilesystemResource(const ServiceKit::Reference& service, const std::filesystem::path& root,
                       std::function<std::optional<Capacity>(const std::string&)> capacityOf = readCapacity);

    Poco::JSON::Object::Ptr specification() const override;
    Poco::JSON::Array::Ptr elements() const override;
    Poco::JSON::Object::Ptr element(const Poco::UUID& id) const override;

private:
    std::vector<Mount> readMounts() const;
    ServiceKit::Reference referenceTo(const Mount& mount) const;
    Poco::JSON::Object::Ptr describe(const Mount& mount) const;

    std::filesystem::path m_mountInfo;
    std::function<std::optional<Capacity>(const std::string&)> m_capacityOf;
};

} // namespace Zovi::Host
