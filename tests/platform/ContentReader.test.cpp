// SPDX-License-Identifier: Apache-2.0
#include "WatchFaults.h"
#include "support/Sanitizers.h"

#ifndef SANITIZED

#include "ContentReader.h"
#include "support/Deployment.h"
#include "support/Resources.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using eventcbutil::ContentReader;
using eventcbutil::FileContents;

class ContentReaderOf : public testing::Test {
protected:
    std::string m_file = (support::testDirectory() / "file").string();
    std::vector<std::string> m_files{m_file};
    ContentReader m_reader{std::chrono::hours(1)};

    void SetUp() override { support::writeFile(m_file, "text"); }
    void TearDown() override { waitForServiceToEnd(); }
};

TEST_F(ContentReaderOf, ReadableFiles_ReadsThem) {
    const std::optional<FileContents> read = m_reader.read(m_files);
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->equals(FileContents(m_files)));
    EXPECT_TRUE(m_reader.read(m_files));
}

TEST_F(ContentReaderOf, ReadHangs_ReadsNothingAndKeepsOneThreadUntilItReturns) {
    ContentReader reader(std::chrono::milliseconds(100));
    hangCalls(Call::Open, m_file);
    EXPECT_FALSE(reader.read(m_files));
    while (hangingCalls() == 0) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(reader.read(m_files));
    EXPECT_EQ(hangingCalls(), 1);
    releaseCalls();
    // On a machine that stalls, a read may take too long.
    while (!reader.read(m_files)) {
    }
}

TEST_F(ContentReaderOf, NoThread_ReadsNothing) {
    failCalls(Call::ThreadCreate, EAGAIN, 1);
    EXPECT_FALSE(m_reader.read(m_files));
    EXPECT_TRUE(m_reader.read(m_files));
}

} // namespace

#endif
