#pragma once

#include "Finding.h"
#include "ServiceKit/Resource.h"

#include <memory>
#include <vector>

namespace Zovi::Host
{

/// A collection of things that are looked up in the machine for each request.
class MachineResource : public ServiceKit::Resource
{
public:
    /// Those that are still there when they are described.
    Data::ElementCollection elements() const override;
    Data::ElementBase::Ptr element(const Poco::UUID& id) const override;

protected:
    using Resource::Resource;

    using Findings = std::vector<std::shared_ptr<Finding>>;

    /// All that is there now.
    virtual Findings find() const = 0;

    /// The thing that is called `key` among those of this resource. Its id follows from that.
    std::shared_ptr<Finding> makeFinding(const std::string& key, const std::string& name,
                                         Finding::Describe describe) const;
};

} // namespace Zovi::Host
