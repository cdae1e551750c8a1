#include "ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Zovi::Host
{

namespace
{

constexpr std::string_view READY = "READY=1";

bool send(std::string_view message, const sockaddr_un& address, std::size_t addressLength)
{
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const ssize_t sent =
        sendto(descriptor, message.data(), message.size(), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(addressLength));
    close(descriptor);
    return sent == static_cast<ssize_t>(message.size());
}

} // namespace

bool tellServiceManagerReady(const Environment& environment)
{
    std::string name = environment("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (name.empty() || name.size() >= sizeof(address.sun_path))
        return false;
    if (name.front() == '@')
        name.front() = '\0';
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, name.size());
    return send(READY, address, offsetof(sockaddr_un, sun_path) + name.size());
}

} // namespace Zovi::Host
