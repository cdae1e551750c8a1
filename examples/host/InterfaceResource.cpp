#include "InterfaceResource.h"

#include "FileText.h"
#include "ServiceKit/Text.h"
#include "ServiceKit/Values.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace Zovi::Host
{

namespace
{

using ServiceKit::Counter;
using ServiceKit::Reference;
using ServiceKit::Text;
using ServiceKit::TextList;

/// The bytes of an IP address, none for any other kind.
std::vector<unsigned char> bytesOf(const sockaddr* address)
{
    const auto copy = [](const void* data, std::size_t length) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        return std::vector<unsigned char>(bytes, bytes + length);
    };
    if (address && address->sa_family == AF_INET)
        return copy(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr, sizeof(in_addr));
    if (address && address->sa_family == AF_INET6)
        return copy(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, sizeof(in6_addr));
    return {};
}

std::string toText(const std::vector<unsigned char>& address, const std::vector<unsigned char>& mask)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int family = address.size() == sizeof(in_addr) ? AF_INET : AF_INET6;
    inet_ntop(family, address.data(), text.data(), text.size());
    std::size_t prefixLength = 0;
    for (unsigned char byte : mask)
        prefixLength += std::bitset<8>(byte).count();
    return text.data() + (mask.empty() ? std::string() : "/" + std::to_string(prefixLength));
}

void setText(Data::ElementGeneric& element, const std::string& name, const std::filesystem::path& file)
{
    const std::optional<std::string> text = readLine(file);
    if (text && !text->empty())
        element.setValue<Text>(name, ServiceKit::toValidUtf8(*text));
}

/// False if there is no number in the file.
bool setNumber(Data::ElementGeneric& element, const std::string& name, const std::filesystem::path& file)
{
    const std::optional<std::uint64_t> number = toNumber<std::uint64_t>(readLine(file).value_or(""));
    if (number)
        element.setValue<Counter>(name, *number);
    return number.has_value();
}

std::vector<ServiceKit::AttributeSpecification> attributes()
{
    return {
        {"macAddress", "string", "", "Hardware address.", true},
        {"mtu", "integer", "bytes", "The largest packet that it sends in one piece."},
        {"state", "string", "",
         "One of up, down, dormant, testing, lowerlayerdown, notpresent, unknown; the loopback interface "
         "is always unknown."},
        {"bytesReceived", "integer", "bytes", "Received since the interface exists."},
        {"bytesSent", "integer", "bytes", "Sent since the interface exists."},
        {"packetsReceived", "integer", "", "Packets received since the interface exists."},
        {"packetsSent", "integer", "", "Packets sent since the interface exists."},
        {"addresses", "array of string", "", "IP addresses, each with its prefix length."},
    };
}

} // namespace

AddressesByInterface readInterfaceAddresses()
{
    AddressesByInterface addresses;
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        requireRoom(errno);
        return addresses;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(first, &freeifaddrs);
    for (const ifaddrs* entry = list.get(); entry; entry = entry->ifa_next) {
        const std::vector<unsigned char> address = bytesOf(entry->ifa_addr);
        if (!address.empty())
            addresses[entry->ifa_name].push_back(toText(address, bytesOf(entry->ifa_netmask)));
    }
    return addresses;
}

InterfaceResource::InterfaceResource(const Reference& service, const std::filesystem::path& root,
                                     std::function<AddressesByInterface()> readAddresses)
    : MachineResource(service.child("interfaces"), "The network interfaces of this machine.", attributes())
    , m_folder(root / "sys/class/net")
    , m_readAddresses(std::move(readAddresses))
{
}

InterfaceResource::Findings InterfaceResource::find() const
{
    std::vector<std::string> names = namesIn(m_folder);
    std::sort(names.begin(), names.end());
    AddressesByInterface addresses = m_readAddresses();
    Findings findings;
    for (const std::string& name : names) {
        findings.push_back(
            makeFinding(name, name, [this, name, own = addresses[name]](Data::ElementGeneric& element) {
                return describe(name, own, element);
            }));
    }
    return findings;
}

/// False for what is no interface, or is one no longer.
bool InterfaceResource::describe(const std::string& name, const std::vector<std::string>& addresses,
                                 Data::ElementGeneric& element) const
{
    const std::filesystem::path folder = m_folder / name;
    if (!setNumber(element, "mtu", folder / "mtu"))
        return false;
    setText(element, "macAddress", folder / "address");
    setText(element, "state", folder / "operstate");
    setNumber(element, "bytesReceived", folder / "statistics/rx_bytes");
    setNumber(element, "bytesSent", folder / "statistics/tx_bytes");
    setNumber(element, "packetsReceived", folder / "statistics/rx_packets");
    setNumber(element, "packetsSent", folder / "statistics/tx_packets");
    element.setValue<TextList>("addresses", addresses);
    return true;
}

} // namespace Zovi::Host
