// SPDX-License-Identifier: Apache-2.0

#include "ServiceAllocations.h"
#include "sysconfreader_c.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <thread>

namespace {

/// As by a script or a plug-in, and on threads that have not used the library yet.
TEST(CLoading, AtRunTime_AFirstCallWithoutMemoryReportsIt) {
    void* const library = ::dlopen(SYSCONF_C_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror();
    const auto appRoot = reinterpret_cast<decltype(&sysconfreader_app_root)>(
        ::dlsym(library, "sysconfreader_app_root"));
    ASSERT_NE(appRoot, nullptr);
    ::setenv("APP_ROOT", "/a/root/that/is/longer/than/a/short/string", 1);
    int reported = 0;
    bool failed = true;
    for (int skip = 0; failed; ++skip) {
        int result = -1;
        char* text = nullptr;
        std::thread([&] {
            failAllocations(Threads::Others, skip, 1);
            result = appRoot(&text);
            failed = stopFailingAllocations();
        }).join();
        std::free(text);
        if (result == SYSCONFREADER_OUT_OF_MEMORY) {
            ++reported;
        } else {
            EXPECT_EQ(result, SYSCONFREADER_OK) << skip;
        }
    }
    EXPECT_GT(reported, 0);
}

} // namespace
