#pragma once

#include <Poco/TemporaryFile.h>

#include <filesystem>
#include <string>

namespace Zovi::Test
{

/// A folder of a test's own; gone with this object, whatever is in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
        : m_path(Poco::TemporaryFile::tempName())
    {
        std::filesystem::create_directories(m_path);
    }

    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// The path of a file in it, which need not be there.
    std::string file(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

} // namespace Zovi::Test
