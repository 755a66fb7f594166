// What happens when the library is loaded: its locks are made, and nothing is read.

#include "SysConfReader.h"
#include "support/FileCalls.h"
#include "support/RealFunction.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cxxabi.h>
#include <dlfcn.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <string>
#include <vector>

extern "C" {
[[gnu::weak]] int __interceptor_pthread_rwlock_init(pthread_rwlock_t*, const pthread_rwlockattr_t*);
}

namespace {

struct LockInit {
    std::string symbol;
    bool attributes = false;
};

std::mutex g_mutex;
std::vector<LockInit>& lockInits() {
    static std::vector<LockInit> inits;
    return inits;
}

std::string demangled(const char* symbol) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
    return status == 0 ? name.get() : symbol;
}

/// Notes the lock if it lies inside the library under test.
void note(const pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes) {
    Dl_info found{};
    if (::dladdr(lock, &found) != 0 && found.dli_sname != nullptr &&
        std::string(found.dli_fname).ends_with("/libsysconfreader.so")) {
        const std::lock_guard<std::mutex> guard(g_mutex);
        lockInits().push_back({demangled(found.dli_sname), attributes != nullptr});
    }
}

} // namespace

extern "C" [[gnu::visibility("default")]] int
pthread_rwlock_init(pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes) noexcept {
    note(lock, attributes);
    auto* real = support::realFunction<int(pthread_rwlock_t*, const pthread_rwlockattr_t*)>(
        &__interceptor_pthread_rwlock_init, "pthread_rwlock_init");
    return real(lock, attributes);
}

namespace {

void* load() {
    return ::dlopen(SYSCONF_LIBRARY, RTLD_NOW | RTLD_LOCAL);
}

TEST(LibraryLoad, Always_MakesTheLockOfEachClass) {
    EXPECT_THAT(lockInits(), testing::IsEmpty());
    void* library = load();
    ASSERT_NE(library, nullptr) << ::dlerror();
    std::vector<std::string> symbols;
    for (const LockInit& init : lockInits()) {
        symbols.push_back(init.symbol);
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
    // The first use proves that the opens of the library are seen here.
    auto* instance = reinterpret_cast<Quarncommon::SysConfReader* (*)()>(
        ::dlsym(library, "_ZN11Quarncommon13SysConfReader8InstanceEv"));
    ASSERT_NE(instance, nullptr);
    EXPECT_NE(instance(), nullptr);
    EXPECT_EQ(support::openCount((support::testDirectory() / "app.json").string()), 2U);
}

TEST(LibraryLoad, Repeated_NeitherFailsNorLeavesAnything) {
    for (int round = 0; round < 10; ++round) {
        void* library = load();
        ASSERT_NE(library, nullptr) << ::dlerror();
        EXPECT_EQ(::dlclose(library), 0);
    }
    EXPECT_THAT(support::openCalls(), testing::IsEmpty());
}

TEST(LibraryLoad, ByItsNameInTheSearchPath_IsFound) {
    // As installed, with the platform's libraries beside it.
    for (const std::filesystem::path library :
         {SYSCONF_LIBRARY, SYSCONF_JSON_LIBRARY, SYSCONF_HOST_LIBRARY}) {
        std::filesystem::create_symlink(library, support::testDirectory() / library.filename());
    }
    void* library = ::dlopen("libsysconfreader.so", RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(library, nullptr) << ::dlerror();
}

} // namespace
