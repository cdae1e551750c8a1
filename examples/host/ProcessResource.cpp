#include "ProcessResource.h"

#include "FileText.h"
#include "ServiceKit/Text.h"
#include "ServiceKit/Values.h"

#include <pwd.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zovi::Host
{

namespace
{

using ServiceKit::Counter;
using ServiceKit::Integer;
using ServiceKit::Reference;
using ServiceKit::Text;

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
    requireRoom(getpwuid_r(userId, &entry, buffer.data(), buffer.size(), &found));
    return found ? ServiceKit::toValidUtf8(found->pw_name) : std::to_string(userId);
}

std::vector<ServiceKit::AttributeSpecification> attributes()
{
    return {
        {"name", "string", "", "Name of the command, without its arguments."},
        {"pid", "integer", "", "Number of the process."},
        {"state", "string", "",
         "One of running, sleeping, waiting (for a device), stopped, traced, zombie, dead, idle, parked, "
         "unknown."},
        {"user", "string", "", "The user whose rights it has; the number of a user without a name."},
        {"residentMemory", "integer", "bytes", "The memory that it occupies."},
        {"cpuTime", "integer", "ms", "The time that it has computed so far, its threads together."},
        {"threads", "integer", "", "Number of its threads."},
        {"startTime", "time", "ms", "When it was started, since the Unix epoch."},
        {"parent", "reference", "", "The process that it belongs to.", true},
    };
}

} // namespace

/// All processes at one moment, and what their description needs beside their own files. It lives for as long
/// as something found in it.
class ProcessResource::Snapshot : public std::enable_shared_from_this<Snapshot>
{
public:
    explicit Snapshot(const ProcessResource& resource)
        : m_resource(resource)
        , m_bootTime(resource.m_table.readBootTime())
        , m_processes(resource.m_table.readAll())
    {
    }

    Findings findAll()
    {
        Findings findings;
        findings.reserve(m_processes.size());
        for (const auto& [pid, process] : m_processes)
            findings.push_back(find(process));
        return findings;
    }

private:
    /// A number is given to another process some day: only with the moments of both starts it names one
    /// thing.
    std::shared_ptr<Finding> find(const ProcessStat& process)
    {
        const std::string key = m_resource.m_identity.boot + "/" + std::to_string(process.pid) + "/" +
                                std::to_string(process.startTicks);
        return m_resource.makeFinding(key, process.name,
                                      [self = shared_from_this(), &process](Data::ElementGeneric& element) {
                                          return self->describe(process, element);
                                      });
    }

    /// False if the process has ended meanwhile.
    bool describe(const ProcessStat& process, Data::ElementGeneric& element)
    {
        const std::optional<ProcessStatus>& status = statusOf(process.pid);
        if (!status)
            return false;
        element.setValue<Integer>("pid", process.pid);
        element.setValue<Text>("state", toStateName(process.state));
        element.setValue<Text>("user", userName(status->userId));
        element.setValue<Counter>("residentMemory", status->residentMemory);
        element.setValue<Counter>("cpuTime", toMilliseconds(process.userTicks + process.systemTicks));
        element.setValue<Integer>("threads", process.threads);
        element.setValue<Integer>(
            "startTime", m_bootTime * 1000 + static_cast<std::int64_t>(toMilliseconds(process.startTicks)));
        const auto parent = m_processes.find(process.parentPid);
        if (parent != m_processes.end())
            element.setValue<ElementReference>("parent", find(parent->second));
        return true;
    }

    const std::optional<ProcessStatus>& statusOf(std::int32_t pid)
    {
        auto known = m_statuses.find(pid);
        if (known == m_statuses.end())
            known = m_statuses.emplace(pid, m_resource.m_table.readStatus(pid)).first;
        return known->second;
    }

    const std::string& userName(std::uint32_t userId)
    {
        auto known = m_userNames.find(userId);
        if (known == m_userNames.end())
            known = m_userNames.emplace(userId, readUserName(userId)).first;
        return known->second;
    }

    const ProcessResource& m_resource;
    std::int64_t m_bootTime;
    const std::map<std::int32_t, ProcessStat> m_processes;
    std::map<std::int32_t, std::optional<ProcessStatus>> m_statuses;
    std::map<std::uint32_t, std::string> m_userNames;
};

ProcessResource::ProcessResource(const Reference& service, const HostIdentity& identity,
                                 const std::filesystem::path& root)
    : MachineResource(service.child("processes"), "The processes that run on this machine.", attributes())
    , m_identity(identity)
    , m_table(root)
{
}

ProcessResource::Findings ProcessResource::find() const
{
    return std::make_shared<Snapshot>(*this)->findAll();
}

} // namespace Zovi::Host
