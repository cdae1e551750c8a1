#include "MachineResource.h"

#include <utility>

namespace Zovi::Host
{

Data::ElementCollection MachineResource::elements() const
{
    Data::ElementCollection elements;
    for (const auto& finding : find()) {
        if (const Data::ElementBase::Ptr element = finding->describe())
            elements.push_back(element);
    }
    return elements;
}

Data::ElementBase::Ptr MachineResource::element(const Poco::UUID& id) const
{
    for (const auto& finding : find()) {
        if (finding->element().getId() == id)
            return finding->describe();
    }
    return {};
}

std::shared_ptr<Finding> MachineResource::makeFinding(const std::string& key, const std::string& name,
                                                      Finding::Describe describe) const
{
    return std::make_shared<Finding>(makeElement(idOf(key), name), std::move(describe));
}

} // namespace Zovi::Host
