#include "Explorer.h"

#include "explorerFiles.h"

#include <string>

namespace Zovi::Host
{

std::shared_ptr<const ServiceKit::StaticFolder> makeExplorer()
{
    const auto folder = std::make_shared<ServiceKit::StaticFolder>("explorer");
    for (const auto& [name, content] : explorerFiles())
        folder->add(std::string(name), std::string(content));
    return folder;
}

} // namespace Zovi::Host
