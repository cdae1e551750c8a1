#include "FailingWrites.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

namespace
{

using Zovi::Test::WriteEnd;

/// A write that the disk may not have yet.
struct Write {
    int file;
    off64_t offset;
    std::string bytes;
    std::string bytesBefore; ///< shorter if the file was
    off64_t sizeBefore;
};

long armed = 0;
long written = 0;
WriteEnd end = WriteEnd::BEFORE;
std::vector<Write> unsynchronised;

ssize_t writeNow(int file, const void* bytes, std::size_t size, off64_t offset)
{
    return syscall(SYS_pwrite64, file, bytes, size, offset);
}

off64_t sizeOf(int file)
{
    struct stat status {
    };
    return fstat(file, &status) == 0 ? status.st_size : 0;
}

std::string contentOf(int file, off64_t offset, std::size_t size)
{
    std::string bytes(size, '\0');
    const ssize_t count = pread64(file, bytes.data(), size, offset);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return bytes;
}

void undo(const Write& write)
{
    writeNow(write.file, write.bytesBefore.data(), write.bytesBefore.size(), write.offset);
    syscall(SYS_ftruncate, write.file, write.sizeBefore);
}

void losePower()
{
    for (auto write = unsynchronised.rbegin(); write != unsynchronised.rend(); ++write)
        undo(*write);
    for (std::size_t i = 1; end == WriteEnd::ODD_POWER_LOSS && i < unsynchronised.size(); i += 2) {
        const Write& kept = unsynchronised[i];
        writeNow(kept.file, kept.bytes.data(), kept.bytes.size(), kept.offset);
    }
}

bool isLast()
{
    return ++written == armed;
}

[[noreturn]] void endNow()
{
    if (end == WriteEnd::POWER_LOSS || end == WriteEnd::ODD_POWER_LOSS)
        losePower();
    kill(getpid(), SIGKILL);
    for (;;)
        pause();
}

} // namespace

namespace Zovi::Test::FailingWrites
{

void arm(long number, WriteEnd howToEnd)
{
    armed = number;
    end = howToEnd;
    written = 0;
    unsynchronised.clear();
}

long count()
{
    return written;
}

} // namespace Zovi::Test::FailingWrites

extern "C" ssize_t pwrite64(int file, const void* bytes, std::size_t size, off64_t offset)
{
    if (isLast()) {
        if (end == WriteEnd::HALF)
            writeNow(file, bytes, size / 2, offset);
        endNow();
    }
    unsynchronised.push_back({file, offset, std::string(static_cast<const char*>(bytes), size),
                              contentOf(file, offset, size), sizeOf(file)});
    return writeNow(file, bytes, size, offset);
}

extern "C" int ftruncate64(int file, off64_t size) noexcept
{
    if (isLast())
        endNow();
    return static_cast<int>(syscall(SYS_ftruncate, file, size));
}

extern "C" int unlink(const char* path) noexcept
{
    if (isLast())
        endNow();
    return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

/// Nothing waits for the real disk here: what it has is kept in mind.
extern "C" int fdatasync(int file)
{
    if (isLast())
        endNow();
    unsynchronised.erase(std::remove_if(unsynchronised.begin(), unsynchronised.end(),
                                        [file](const Write& write) { return write.file == file; }),
                         unsynchronised.end());
    return 0;
}
