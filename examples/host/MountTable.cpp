#include "MountTable.h"

#include "FileText.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Zovi::Host
{

namespace
{

bool isOctalDigit(char character)
{
    return character >= '0' && character <= '7';
}

/// Blanks, tabs, line feeds and backslashes come as a backslash and three octal digits.
std::string unescaped(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const bool isEscape = text.size() >= 4 && text[0] == '\\' &&
                              std::all_of(text.begin() + 1, text.begin() + 4, isOctalDigit);
        if (isEscape)
            result += static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0'));
        else
            result += text.front();
        text.remove_prefix(isEscape ? 4 : 1);
    }
    return result;
}

/// A line reads: four numbers and paths, the mount point, options, optional fields, "-", the type, and more.
std::optional<Mount> parseLine(std::string_view line)
{
    for (int skipped = 0; skipped < 4; ++skipped)
        takeWord(line);
    const std::string_view mountPoint = takeWord(line);
    takeWord(line);
    std::string_view word = takeWord(line);
    while (!word.empty() && word != "-")
        word = takeWord(line);
    const std::string_view type = takeWord(line);
    if (mountPoint.empty() || type.empty())
        return std::nullopt;
    return Mount{unescaped(mountPoint), unescaped(type)};
}

} // namespace

std::vector<Mount> parseMountInfo(std::string_view text)
{
    std::vector<Mount> mounts;
    while (!text.empty()) {
        const std::optional<Mount> mount = parseLine(takeLine(text));
        if (!mount)
            continue;
        const auto isHidden = [&mount](const Mount& other) {
            return other.mountPoint == mount->mountPoint;
        };
        mounts.erase(std::remove_if(mounts.begin(), mounts.end(), isHidden), mounts.end());
        mounts.push_back(*mount);
    }
    return mounts;
}

bool mayBlock(const std::string& type)
{
    static const std::string_view TYPES[] = {"9p",   "afs",  "autofs",  "ceph",   "cifs",
                                             "coda", "fuse", "fuseblk", "lustre", "ncpfs",
                                             "nfs",  "nfs4", "smb3",    "smbfs",  "virtiofs"};
    const std::string_view kind = std::string_view(type).substr(0, type.find('.'));
    return std::find(std::begin(TYPES), std::end(TYPES), kind) != std::end(TYPES);
}

} // namespace Zovi::Host
