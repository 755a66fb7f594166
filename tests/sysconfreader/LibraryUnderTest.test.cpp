// SPDX-License-Identifier: Apache-2.0

#include "SysConfReaderEvent.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

namespace {

TEST(LibraryUnderTest, LoadedFile_IsTheConfiguredOne) {
    const char* const asked = std::getenv("SYSCONF_TEST_LIBRARY");
    const std::filesystem::path folder = asked != nullptr ? asked : SYSCONF_LIBRARY_FOLDER;
    Dl_info library{};
    ASSERT_NE(::dladdr(reinterpret_cast<void*>(&SysConfReaderEventProcessCB), &library), 0);
    EXPECT_TRUE(std::filesystem::equivalent(library.dli_fname, folder / "libsysconfreader.so"))
        << library.dli_fname;
}

} // namespace
