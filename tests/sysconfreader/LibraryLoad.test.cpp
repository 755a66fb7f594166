// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "support/FileCalls.h"
#include "support/RealFunction.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <pthread.h>
#include <sstream>
#include <string>
#include <vector>

extern "C" {
[[gnu::weak]] int __interceptor_pthread_rwlock_init(pthread_rwlock_t*, const pthread_rwlockattr_t*);
}

namespace {

std::mutex g_mutex;

/// In the order of their creation.
std::vector<std::uintptr_t>& lockOffsets() {
    static std::vector<std::uintptr_t> offsets;
    return offsets;
}

void note(const pthread_rwlock_t* lock) {
    Dl_info found{};
    if (::dladdr(lock, &found) != 0 &&
        std::string(found.dli_fname).ends_with("/libsysconfreader.so")) {
        const std::lock_guard<std::mutex> guard(g_mutex);
        lockOffsets().push_back(reinterpret_cast<std::uintptr_t>(lock) -
                                reinterpret_cast<std::uintptr_t>(found.dli_fbase));
    }
}

/// Including those that are not exported.
std::map<std::uintptr_t, std::string> dataSymbols() {
    std::map<std::uintptr_t, std::string> symbols;
    FILE* nm = ::popen(SYSCONF_NM " --demangle " SYSCONF_LIBRARY, "r");
    char line[4096];
    while (nm != nullptr && std::fgets(line, sizeof line, nm) != nullptr) {
        std::istringstream fields(line);
        std::uintptr_t offset = 0;
        std::string type;
        std::string name;
        if (fields >> std::hex >> offset >> type >> name) {
            symbols.emplace(offset, name);
        }
    }
    EXPECT_TRUE(nm != nullptr && ::pclose(nm) == 0);
    return symbols;
}

} // namespace

extern "C" [[gnu::visibility("default")]] int
pthread_rwlock_init(pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes) noexcept {
    note(lock);
    auto* real = support::realFunction<int(pthread_rwlock_t*, const pthread_rwlockattr_t*)>(
        &__interceptor_pthread_rwlock_init, "pthread_rwlock_init");
    return real(lock, attributes);
}

namespace {

void* load() {
    return ::dlopen(SYSCONF_LIBRARY, RTLD_NOW | RTLD_LOCAL);
}

TEST(LibraryLoad, Always_CreatesTheLockOfEachClass) {
    EXPECT_THAT(lockOffsets(), testing::IsEmpty());
    void* library = load();
    ASSERT_NE(library, nullptr) << ::dlerror();
    const std::map<std::uintptr_t, std::string> names = dataSymbols();
    std::vector<std::string> symbols;
    for (const std::uintptr_t offset : lockOffsets()) {
        symbols.push_back(names.contains(offset) ? names.at(offset) : "no symbol");
    }
    EXPECT_THAT(symbols, testing::UnorderedElementsAre("Quarncommon::SysConfReader::m_pMutex",
                                                       "Quarncommon::SysConfReaderImpl::m_pMutex",
                                                       "Quarncommon::SysConfReader_i::m_pMutex"));
}

TEST(LibraryLoad, Always_ReadsNothingUntilTheFirstUse) {
    ::setenv("APP_CONF_FILE", (support::testDirectory() / "app.json").c_str(), 1);
    void* library = load();
    ASSERT_NE(library, nullptr) << ::dlerror();
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
    // The first use shows that opens of the library are recorded.
    auto* instance = reinterpret_cast<Quarncommon::SysConfReader* (*)()>(
        ::dlsym(library, "_ZN11Quarncommon13SysConfReader8InstanceEv"));
    ASSERT_NE(instance, nullptr);
    EXPECT_NE(instance(), nullptr);
    EXPECT_EQ(support::openCount((support::testDirectory() / "app.json").string()), 2U);
}

TEST(LibraryLoad, Repeated_NeitherFailsNorLeaks) {
    for (int round = 0; round < 10; ++round) {
        void* library = load();
        ASSERT_NE(library, nullptr) << ::dlerror();
        EXPECT_EQ(::dlclose(library), 0);
    }
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
}

TEST(LibraryLoad, ByItsNameInTheSearchPath_IsFound) {
    const std::filesystem::path library = SYSCONF_LIBRARY;
    std::filesystem::create_symlink(library, support::testDirectory() / library.filename());
    void* handle = ::dlopen("libsysconfreader.so", RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(handle, nullptr) << ::dlerror();
}

} // namespace
