#include "FilesystemResource.h"

#include "FileText.h"
#include "ServiceKit/Text.h"
#include "ServiceKit/Values.h"

#include <sys/statvfs.h>

#include <utility>

namespace Zovi::Host
{

using ServiceKit::Counter;
using ServiceKit::Reference;
using ServiceKit::Text;

namespace
{

std::vector<ServiceKit::AttributeSpecification> attributes()
{
    return {
        {"mountPoint", "string", "", "Path under which its files are found."},
        {"type", "string", "", "Kind of filesystem, as the kernel names it."},
        {"size", "integer", "bytes", "All the room in it; not told for one behind a network.", true},
        {"free", "integer", "bytes", "The room that is not taken; not told for one behind a network.", true},
    };
}

} // namespace

std::optional<Capacity> readCapacity(const std::string& mountPoint)
{
    struct statvfs status {
    };
    if (statvfs(mountPoint.c_str(), &status) != 0)
        return std::nullopt;
    return Capacity{std::uint64_t{status.f_blocks} * status.f_frsize,
                    std::uint64_t{status.f_bfree} * status.f_frsize};
}

FilesystemResource::FilesystemResource(const Reference& service, const std::filesystem::path& root,
                                       std::function<std::optional<Capacity>(const std::string&)> capacityOf)
    : MachineResource(service.child("filesystems"),
                      "The mounted filesystems of this machine that have room for files.", attributes())
    , m_mountInfo(root / "proc/self/mountinfo")
    , m_capacityOf(std::move(capacityOf))
{
}

FilesystemResource::Findings FilesystemResource::find() const
{
    Findings findings;
    for (const Mount& mount : parseMountInfo(readFile(m_mountInfo).value_or(""))) {
        findings.push_back(
            makeFinding(mount.mountPoint, mount.mountPoint,
                        [this, mount](Data::ElementGeneric& element) { return describe(mount, element); }));
    }
    return findings;
}

/// False for a filesystem without room, as that of the processes themselves.
bool FilesystemResource::describe(const Mount& mount, Data::ElementGeneric& element) const
{
    element.setValue<Text>("mountPoint", ServiceKit::toValidUtf8(mount.mountPoint));
    element.setValue<Text>("type", ServiceKit::toValidUtf8(mount.type));
    if (mayBlock(mount.type))
        return true;
    const std::optional<Capacity> capacity = m_capacityOf(mount.mountPoint);
    if (!capacity || capacity->size == 0)
        return false;
    element.setValue<Counter>("size", capacity->size);
    element.setValue<Counter>("free", capacity->free);
    return true;
}

} // namespace Zovi::Host
