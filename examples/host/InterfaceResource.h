#pragma once

#include "MachineResource.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Zovi::Host
{

/// Addresses with their prefix lengths ("192.168.0.7/24") by the name of the interface.
using AddressesByInterface = std::map<std::string, std::vector<std::string>>;

/// Asks the C library.
AddressesByInterface readInterfaceAddresses();

/// The network interfaces of the machine.
class InterfaceResource : public MachineResource
{
public:
    /// Reads the files of the kernel under `root`, "/" as a rule.
    InterfaceResource(const ServiceKit::Reference& service, const std::filesystem::path& root,
                      std::function<AddressesByInterface()> readAddresses = readInterfaceAddresses);

private:
    Findings find() const override;
    bool describe(const std::string& name, const std::vector<std::string>& addresses,
                  Data::ElementGeneric& element) const;

    std::filesystem::path m_folder;
    std::function<AddressesByInterface()> m_readAddresses;
};

} // namespace Zovi::Host
