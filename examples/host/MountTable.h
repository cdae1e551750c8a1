#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Zovi::Host
{

/// A filesystem and where it is mounted. Both texts are any bytes but NUL.
struct Mount {
    std::string mountPoint;
    std::string type;
};

/// Reads the text of a `/proc/<pid>/mountinfo`, with its escapes undone, in its order; lines that are
/// malformed are left out. Where something is mounted over a mount point, only the last one is in sight and
/// stands here.
std::vector<Mount> parseMountInfo(std::string_view text);

/// Whether asking the filesystem for its size may take forever, since somebody else must answer, or mounts
/// it.
bool mayBlock(const std::string& type);

} // namespace Zovi::Host
