#include "MountTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

std::vector<std::string> summary(const std::string& text)
{
    std::vector<std::string> lines;
    for (const Mount& mount : parseMountInfo(text))
        lines.push_back(mount.mountPoint + " " + mount.type);
    return lines;
}

} // namespace

TEST(MountTable, ReadsMountPointsAndTypes)
{
    EXPECT_THAT(summary("22 27 0:21 / /proc rw,relatime - proc proc rw\n"
                        "27 1 254:0 / / rw,relatime shared:1 master:2 - ext4 /dev/vda rw\n"),
                ElementsAre("/proc proc", "/ ext4"));
}

TEST(MountTable, UndoesEscapes)
{
    EXPECT_THAT(summary(R"(1 1 0:1 / /a\040b\011c\012d\134e\ rw - vfat x rw)"),
                ElementsAre("/a b\tc\nd\\e\\ vfat"));
    EXPECT_THAT(summary(R"(1 1 0:1 / /\04 rw - fuse.a\040b x rw)"), ElementsAre(R"(/\04 fuse.a b)"));
    EXPECT_THAT(summary("1 1 0:1 / /\\377 rw - vfat x rw"), ElementsAre("/\xFF vfat"));
}

TEST(MountTable, KeepsOnlyWhatIsInSight)
{
    EXPECT_THAT(summary("1 1 0:1 / /mnt rw - ext4 a rw\n"
                        "2 1 0:1 / /dev rw - devtmpfs b rw\n"
                        "3 1 0:1 / /mnt rw - tmpfs c rw\n"),
                ElementsAre("/dev devtmpfs", "/mnt tmpfs"));
}

TEST(MountTable, SkipsLinesThatAreMalformed)
{
    EXPECT_THAT(summary("1 1 0:1 /\n"
                        "1 1 0:1 / /mnt rw shared:1\n"
                        "1 1 0:1 / /mnt rw -\n"
                        "\n"
                        "1 1 0:1 / /good rw - ext4"),
                ElementsAre("/good ext4"));
    EXPECT_THAT(summary(""), IsEmpty());
}

TEST(MountTable, KnowsWhoMayNotAnswer)
{
    for (const char* type : {"nfs", "nfs4", "cifs", "smb3", "9p", "fuse", "fuse.sshfs", "fuseblk", "virtiofs",
                             "lustre", "autofs", "ceph"}) {
        SCOPED_TRACE(type);
        EXPECT_TRUE(mayBlock(type));
    }
    for (const char* type : {"ext4", "fusectl", "nfsd", "tmpfs", "btrfs", "overlay", ""}) {
        SCOPED_TRACE(type);
        EXPECT_FALSE(mayBlock(type));
    }
}

} // namespace Zovi::Host
