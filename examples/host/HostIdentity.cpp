#include "HostIdentity.h"

#include "FileText.h"
#include "ServiceKit/Reference.h"

#include <unistd.h>

#include <array>

namespace Zovi::Host
{

namespace
{

/// Keeps the ids of this service apart from those that any other program makes of the same machine id.
const Poco::UUID& idSpace()
{
    static const Poco::UUID SPACE("5b0b1b5e-6a0c-4f0e-9a53-2f7c1d8e4a96");
    return SPACE;
}

std::string readHostName()
{
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

std::string readMachineId(const std::filesystem::path& root)
{
    for (const char* file : {"etc/machine-id", "var/lib/dbus/machine-id"}) {
        std::string id = readLine(root / file).value_or("");
        if (!id.empty())
            return id;
    }
    return readLine(root / "proc/sys/kernel/hostname").value_or(readHostName());
}

} // namespace

HostIdentity readHostIdentity(const std::filesystem::path& root)
{
    return {ServiceKit::nameBasedId(idSpace(), readMachineId(root)),
            readLine(root / "proc/sys/kernel/random/boot_id").value_or("")};
}

} // namespace Zovi::Host
