#include "InterfaceResource.h"

#include "FileText.h"
#include "ServiceKit/Specification.h"
#include "ServiceKit/Text.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace Zovi::Host
{

namespace
{

using ServiceKit::Reference;

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

Poco::JSON::Array::Ptr toJson(const std::vector<std::string>& texts)
{
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const std::string& text : texts)
        array->add(text);
    return array;
}

void setText(Poco::JSON::Object& object, const std::string& key, const std::filesystem::path& file)
{
    const std::optional<std::string> text = readLine(file);
    if (text && !text->empty())
        object.set(key, ServiceKit::toValidUtf8(*text));
}

void setNumber(Poco::JSON::Object& object, const std::string& key, const std::filesystem::path& file)
{
    if (const std::optional<std::uint64_t> number = toNumber<std::uint64_t>(readLine(file).value_or("")))
        object.set(key, static_cast<Poco::UInt64>(*number));
}

} // namespace

AddressesByInterface readInterfaceAddresses()
{
    AddressesByInterface addresses;
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return addresses;
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
    : Resource(service.child("interfaces"), "The network interfaces of this machine.")
    , m_folder(root / "sys/class/net")
    , m_readAddresses(std::move(readAddresses))
{
}

Poco::JSON::Object::Ptr InterfaceResource::specification() const
{
    return ServiceKit::makeSpecification(
        reference().name, description(),
        {
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
        });
}

Poco::JSON::Array::Ptr InterfaceResource::elements() const
{
    const AddressesByInterface addresses = m_readAddresses();
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const std::string& name : readNames()) {
        if (const Poco::JSON::Object::Ptr object = describe(name, addresses))
            array->add(object);
    }
    return array;
}

Poco::JSON::Object::Ptr InterfaceResource::element(const Poco::UUID& id) const
{
    for (const std::string& name : readNames()) {
        if (referenceTo(name).id == id)
            return describe(name, m_readAddresses());
    }
    return {};
}

std::vector<std::string> InterfaceResource::readNames() const
{
    std::vector<std::string> names = namesIn(m_folder);
    std::sort(names.begin(), names.end());
    return names;
}

Reference InterfaceResource::referenceTo(const std::string& name) const
{
    return reference().element(ServiceKit::nameBasedId(reference().id, name), name);
}

/// A null pointer for what is no interface, or is one no longer.
Poco::JSON::Object::Ptr InterfaceResource::describe(const std::string& name,
                                                    const AddressesByInterface& addresses) const
{
    const std::filesystem::path folder = m_folder / name;
    Poco::JSON::Object::Ptr object = referenceTo(name).toJson();
    setNumber(*object, "mtu", folder / "mtu");
    if (!object->has("mtu"))
        return {};
    setText(*object, "macAddress", folder / "address");
    setText(*object, "state", folder / "operstate");
    setNumber(*object, "bytesReceived", folder / "statistics/rx_bytes");
    setNumber(*object, "bytesSent", folder / "statistics/tx_bytes");
    setNumber(*object, "packetsReceived", folder / "statistics/rx_packets");
    setNumber(*object, "packetsSent", folder / "statistics/tx_packets");
    const auto known = addresses.find(name);
    object->set("addresses", toJson(known == addresses.end() ? std::vector<std::string>() : known->second));
    return object;
}

} // namespace Zovi::Host
