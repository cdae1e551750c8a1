#pragma once

#include "ServiceKit/StaticFolder.h"

#include <memory>

namespace Zovi::Host
{

/// The page on which a person walks the tree: /cdn/explorer/index.html. It knows nothing of this service but
/// what every service tells of itself.
std::shared_ptr<const ServiceKit::StaticFolder> makeExplorer();

} // namespace Zovi::Host
