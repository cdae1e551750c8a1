// Loading a library does nothing that its process could notice. This program is linked to none of them, nor
// to what they depend on, so that it can watch them being loaded.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <locale>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace
{

struct SignalState {
    void (*handler)(int);
    int flags;
    bool isBlocked;

    bool operator==(const SignalState& other) const
    {
        return handler == other.handler && flags == other.flags && isBlocked == other.isBlocked;
    }
};

std::ostream& operator<<(std::ostream& stream, const SignalState& state)
{
    return stream << reinterpret_cast<void*>(state.handler) << " flags " << state.flags
                  << (state.isBlocked ? " blocked" : "");
}

std::set<std::string> entriesOf(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

std::vector<SignalState> signalStates()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    std::vector<SignalState> states;
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action;
        std::memset(&action, 0, sizeof action);
        sigaction(number, nullptr, &action);
        states.push_back({action.sa_handler, action.sa_flags, sigismember(&blocked, number) == 1});
    }
    return states;
}

std::vector<std::string> environmentTexts()
{
    std::vector<std::string> texts;
    for (char** entry = environ; *entry != nullptr; ++entry)
        texts.emplace_back(*entry);
    return texts;
}

/// What a process would notice if a library changed it.
struct ProcessState {
    std::set<std::string> threads = entriesOf("/proc/self/task");
    std::set<std::string> descriptors = entriesOf("/proc/self/fd");
    std::string locale = std::setlocale(LC_ALL, nullptr);
    std::string streamLocale = std::locale().name();
    std::vector<SignalState> signals = signalStates();
    std::vector<std::string> environment = environmentTexts();
    std::filesystem::path workingFolder = std::filesystem::current_path();
};

void expectSame(const ProcessState& before, const ProcessState& after)
{
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.locale, before.locale);
    EXPECT_EQ(after.streamLocale, before.streamLocale);
    EXPECT_EQ(after.signals, before.signals);
    EXPECT_EQ(after.environment, before.environment);
    EXPECT_EQ(after.workingFolder, before.workingFolder);
}

/// Reads nothing itself: the name of a library is found in the table of what is loaded.
bool isLoaded(const char* library)
{
    void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr)
        dlclose(handle);
    return handle != nullptr;
}

class Loading : public testing::TestWithParam<const char*>
{
};

TEST_P(Loading, ChangesNothingInItsProcess)
{
    const char* library = GetParam();
    for (const char* dependency : {KYR_DEPENDENCIES})
        ASSERT_NE(dlopen(dependency, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    ASSERT_FALSE(isLoaded(library)) << library << " was loaded before the test began";
    const ProcessState before;
    void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    expectSame(before, ProcessState());
    dlclose(handle);
    expectSame(before, ProcessState());
}

INSTANTIATE_TEST_SUITE_P(EachLibrary, Loading, testing::Values(KYR_LIBRARIES));

} // namespace
