#pragma once

#include "HostIdentity.h"
#include "ProcessTable.h"
#include "ServiceKit/Resource.h"

#include <filesystem>

namespace Zovi::Host
{

/// The processes of the machine: command names, never argument lists or environments.
class ProcessResource : public ServiceKit::Resource
{
public:
    /// Reads the files of the kernel under `root`, "/" as a rule.
    ProcessResource(const ServiceKit::Reference& service, const HostIdentity& identity,
                    const std::filesystem::path& root);

    Poco::JSON::Object::Ptr specification() const override;
    Poco::JSON::Array::Ptr elements() const override;
    Poco::JSON::Object::Ptr element(const Poco::UUID& id) const override;

private:
    class Snapshot;

    ServiceKit::Reference referenceTo(const ProcessStat& process) const;

    HostIdentity m_identity;
    ProcessTable m_table;
};

} // namespace Zovi::Host
