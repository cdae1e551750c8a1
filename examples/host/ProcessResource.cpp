#include "ProcessResource.h"

#include "ServiceKit/Specification.h"
#include "ServiceKit/Text.h"

#include <pwd.h>
#include <unistd.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Zovi::Host
{

namespace
{

using ServiceKit::Reference;

std::uint64_t toMilliseconds(std::uint64_t ticks)
{
    static const auto TICKS_PER_SECOND = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    return ticks / TICKS_PER_SECOND * 1000 + ticks % TICKS_PER_SECOND * 1000 / TICKS_PER_SECOND;
}

/// The name of a user, its number if it has none.
std::string readUserName(std::uint32_t userId)
{
    std::vector<char> buffer(16 * 1024);
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(userId, &entry, buffer.data(), buffer.size(), &found);
    return found ? ServiceKit::toValidUtf8(found->pw_name) : std::to_string(userId);
}

} // namespace

/// All processes at one moment, and what their description needs beside their own files.
class ProcessResource::Snapshot
{
public:
    explicit Snapshot(const ProcessResource& resource)
        : m_resource(resource)
        , m_bootTime(resource.m_table.readBootTime())
        , m_processes(resource.m_table.readAll())
    {
    }

    const std::map<std::int32_t, ProcessStat>& processes() const { return m_processes; }

    /// A null pointer if the process has ended meanwhile.
    Poco::JSON::Object::Ptr describe(const ProcessStat& process)
    {
        const std::optional<ProcessStatus> status = m_resource.m_table.readStatus(process.pid);
        if (!status)
            return {};
        Poco::JSON::Object::Ptr object = m_resource.referenceTo(process).toJson();
        object->set("pid", process.pid);
        object->set("state", toStateName(process.state));
        object->set("user", userName(status->userId));
        object->set("residentMemory", static_cast<Poco::Int64>(status->residentMemory));
        object->set("cpuTime",
                    static_cast<Poco::Int64>(toMilliseconds(process.userTicks + process.systemTicks)));
        object->set("threads", static_cast<Poco::Int64>(process.threads));
        object->set("startTime", static_cast<Poco::Int64>(m_bootTime * 1000) +
                                     static_cast<Poco::Int64>(toMilliseconds(process.startTicks)));
        const auto parent = m_processes.find(process.parentPid);
        if (parent != m_processes.end())
            object->set("parent", m_resource.referenceTo(parent->second).toJson());
        return object;
    }

private:
    const std::string& userName(std::uint32_t userId)
    {
        auto known = m_userNames.find(userId);
        if (known == m_userNames.end())
            known = m_userNames.emplace(userId, readUserName(userId)).first;
        return known->second;
    }

    const ProcessResource& m_resource;
    std::int64_t m_bootTime;
    std::map<std::int32_t, ProcessStat> m_processes;
    std::map<std::uint32_t, std::string> m_userNames;
};

ProcessResource::ProcessResource(const Reference& service, const HostIdentity& identity,
                                 const std::filesystem::path& root)
    : Resource(service.child("processes"), "The processes that run on this machine.")
    , m_identity(identity)
    , m_table(root)
{
}

Poco::JSON::Object::Ptr ProcessResource::specification() const
{
    return ServiceKit::makeSpecification(
        reference().name, description(),
        {
            {"name", "string", "", "Name of the command, without its arguments."},
            {"pid", "integer", "", "Number of the process."},
            {"state", "string", "",
             "One of running, sleeping, waiting (for a device), stopped, traced, zombie, dead, idle, parked, "
             "unknown."},
            {"user", "string", "", "The user whose rights it has; the number of a user without a name."},
            {"residentMemory", "integer", "bytes", "The memory that it occupies."},
            {"cpuTime", "integer", "ms", "The time that it has computed so far, its threads together."},
            {"threads", "integer", "", "Number of its threads."},
            {"startTime", "integer", "ms", "When it was started, since the Unix epoch."},
            {"parent", "reference", "", "The process that it belongs to.", true},
        });
}

Poco::JSON::Array::Ptr ProcessResource::elements() const
{
    Snapshot snapshot(*this);
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const auto& [pid, process] : snapshot.processes()) {
        if (const Poco::JSON::Object::Ptr object = snapshot.describe(process))
            array->add(object);
    }
    return array;
}

Poco::JSON::Object::Ptr ProcessResource::element(const Poco::UUID& id) const
{
    Snapshot snapshot(*this);
    for (const auto& [pid, process] : snapshot.processes()) {
        if (referenceTo(process).id == id)
            return snapshot.describe(process);
    }
    return {};
}

/// A number is given to another process some day: only with the moments of both starts it names one thing.
Reference ProcessResource::referenceTo(const ProcessStat& process) const
{
    const std::string key =
        m_identity.boot + "/" + std::to_string(process.pid) + "/" + std::to_string(process.startTicks);
    return reference().element(ServiceKit::nameBasedId(reference().id, key), process.name);
}

} // namespace Zovi::Host
