#pragma once

#include "HostIdentity.h"
#include "MachineResource.h"
#include "ProcessTable.h"

#include <filesystem>

namespace Zovi::Host
{

/// The processes of the machine: command names, never argument lists or environments.
class ProcessResource : public MachineResource
{
public:
    /// Reads the files of the kernel under `root`, "/" as a rule.
    ProcessResource(const ServiceKit::Reference& service, const HostIdentity& identity,
                    const std::filesystem::path& root);

private:
    class Snapshot;

    Findings find() const override;

    HostIdentity m_identity;
    ProcessTable m_table;
};

} // namespace Zovi::Host
