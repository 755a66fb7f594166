// SPDX-License-Identifier: Apache-2.0
// Mounts on the path of a file. Skipped if this process may not create a mount namespace.

#include "Recorder.h"
#include "SubscribedProcess.h"
#include "support/Deployment.h"
#include "support/Resources.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

using support::writeFile;
namespace fs = std::filesystem;

/// As root or, if that is not possible, in a user namespace.
bool enterMountNamespace() {
    const uid_t user = ::getuid();
    if (::unshare(CLONE_NEWNS) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return false;
        }
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

class Mounts : public SubscribedProcess {
protected:
    // The callback uses it until TearDown.
    std::atomic<int> m_calls{0};
    std::string m_etc = (m_deployment.appRoot() / "etc").string();

    void SetUp() override {
        if (!enterMountNamespace()) {
            GTEST_SKIP() << "this process may not have a mount namespace";
        }
        SubscribedProcess::SetUp();
    }

    void TearDown() override {
        endService();
        while (::umount2(m_etc.c_str(), MNT_DETACH) == 0 ||
               ::umount2(m_file.c_str(), MNT_DETACH) == 0) {
        }
    }

    void mountOverEtc() { ASSERT_EQ(::mount("none", m_etc.c_str(), "tmpfs", 0, nullptr), 0); }

    void seeAChange(const std::string& text) {
        writeFile(m_file, text);
        m_recorder.waitForText(text);
    }
};

TEST_F(Mounts, OverAFolderOnThePath_IsAChangeAndWhatFollowsIsSeen) {
    subscribeAndSeeAChange();
    mountOverEtc();
    m_recorder.waitForLastText("");
    seeAChange("mounted");
    ASSERT_EQ(::umount2(m_etc.c_str(), 0), 0);
    m_recorder.waitForLastText("after");
    seeAChange("unmounted");
}

TEST_F(Mounts, OfTheFileItself_IsAChange) {
    subscribeAndSeeAChange();
    const fs::path other = support::testDirectory() / "other";
    writeFile(other, "mounted");
    ASSERT_EQ(::mount(other.c_str(), m_file.c_str(), nullptr, MS_BIND, nullptr), 0);
    m_recorder.waitForText("mounted");
    ASSERT_EQ(::umount2(m_file.c_str(), 0), 0);
    m_recorder.waitForLastText("after");
}

TEST_F(Mounts, UnmountedWhileWatched_IsAChangeAndWhatFollowsIsSeen) {
    mountOverEtc();
    writeFile(m_file, "before");
    subscribeAndSeeAChange();
    // The folders of the mount also exist below it.
    ASSERT_EQ(::umount2(m_etc.c_str(), MNT_DETACH), 0);
    m_recorder.waitForLastText("before");
    seeAChange("unmounted");
}

TEST_F(Mounts, MountedInTheCallback_IsAChange) {
    m_recorder.setHook([this] {
        if (++m_calls == 1) {
            mountOverEtc();
        }
        return 0;
    });
    ASSERT_EQ(m_recorder.subscribe(), 0);
    writeFile(m_file, "after");
    m_recorder.waitForText("");
    seeAChange("mounted");
}

} // namespace
