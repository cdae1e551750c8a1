#pragma once

#include "TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace Zovi::Test
{

/// A folder that looks like the root of a machine, as far as the test fills it; gone with this object.
class MadeUpMachine
{
public:
    const std::filesystem::path& root() const { return m_root.path(); }

    void write(const std::string& path, const std::string& text) const
    {
        const std::filesystem::path file = root() / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }

    void remove(const std::string& path) const { std::filesystem::remove_all(root() / path); }

    /// A process with 2.5 s of user and 0.5 s of system time at 100 ticks a second.
    void addProcess(int pid, int parent, const std::string& name, const std::string& status,
                    const std::string& startTicks = "1000") const
    {
        const std::string folder = "proc/" + std::to_string(pid);
        write(folder + "/stat", std::to_string(pid) + " (" + name + ") S " + std::to_string(parent) +
                                    " 1 1 0 -1 4194304 98 0 0 0 250 50 0 0 20 0 7 0 " + startTicks +
                                    " 3133440 358 18446744073709551615 1 1 0 0 0 0 0 0 0 0 0 0 17\n");
        write(folder + "/status", status);
    }

private:
    TemporaryFolder m_root;
};

} // namespace Zovi::Test
