#include "FilesystemResource.h"

#include "FileText.h"
#include "ServiceKit/Specification.h"
#include "ServiceKit/Text.h"

#include <sys/statvfs.h>

#include <utility>

namespace Zovi::Host
{

using ServiceKit::Reference;

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
    : Resource(service.child("filesystems"),
               "The mounted filesystems of this machine that have room for files.")
    , m_mountInfo(root / "proc/self/mountinfo")
    , m_capacityOf(std::move(capacityOf))
{
}

Poco::JSON::Object::Ptr FilesystemResource::specification() const
{
    return ServiceKit::makeSpecification(
        reference().name, description(),
        {
            {"mountPoint", "string", "", "Path under which its files are found."},
            {"type", "string", "", "Kind of filesystem, as the kernel names it."},
            {"size", "integer", "bytes", "All the room in it; not told for one behind a network.", true},
            {"free", "integer", "bytes", "The room that is not taken; not told for one behind a network.",
             true},
        });
}

Poco::JSON::Array::Ptr FilesystemResource::elements() const
{
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const Mount& mount : readMounts()) {
        if (const Poco::JSON::Object::Ptr object = describe(mount))
            array->add(object);
    }
    return array;
}

Poco::JSON::Object::Ptr FilesystemResource::element(const Poco::UUID& id) const
{
    for (const Mount& mount : readMounts()) {
        if (referenceTo(mount).id == id)
            return describe(mount);
    }
    return {};
}

std::vector<Mount> FilesystemResource::readMounts() const
{
    return parseMountInfo(readFile(m_mountInfo).value_or(""));
}

Reference FilesystemResource::referenceTo(const Mount& mount) const
{
    return reference().element(ServiceKit::nameBasedId(reference().id, mount.mountPoint), mount.mountPoint);
}

/// A null pointer for a filesystem without room, as that of the processes themselves.
Poco::JSON::Object::Ptr FilesystemResource::describe(const Mount& mount) const
{
    Poco::JSON::Object::Ptr object = referenceTo(mount).toJson();
    object->set("mountPoint", ServiceKit::toValidUtf8(mount.mountPoint));
    object->set("type", ServiceKit::toValidUtf8(mount.type));
    if (mayBlock(mount.type))
        return object;
    const std::optional<Capacity> capacity = m_capacityOf(mount.mountPoint);
    if (!capacity || capacity->size == 0)
        return {};
    object->set("size", static_cast<Poco::UInt64>(capacity->size));
    object->set("free", static_cast<Poco::UInt64>(capacity->free));
    return object;
}

} // namespace Zovi::Host
