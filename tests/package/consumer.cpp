// A user of the library: compiled against it in every way in which it can be had.

#include <Command/ResponseObject.h>
#include <Command/UrlPath.h>

#include <iostream>

int main()
{
    const Zovi::Command::UrlPath path(std::string("/api/v1/host/processes"));
    if (path.getCharacteristic() != Zovi::Command::UrlPath::SERVICE_RESOURCE) {
        std::cerr << "the address was not understood\n";
        return 1;
    }
    std::cout << Zovi::Command::ResponseObject() << '\n';
    return 0;
}
