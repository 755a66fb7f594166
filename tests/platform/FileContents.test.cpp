// SPDX-License-Identifier: Apache-2.0
#include "FileContents.h"

#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace {

using eventcbutil::FileContents;
namespace fs = std::filesystem;

class FileContentsOf : public testing::Test {
protected:
    fs::path m_one = support::testDirectory() / "one";
    fs::path m_other = support::testDirectory() / "other";

    FileContents now() const { return FileContents({m_one.string(), m_other.string()}); }
};

TEST_F(FileContentsOf, IdenticalRewrite_Equal) {
    support::writeFile(m_one, "text");
    const FileContents before = now();
    support::writeFile(m_one, "text");
    EXPECT_TRUE(before.equals(now()));
}

TEST_F(FileContentsOf, AnyFileDiffers_NotEqual) {
    support::writeFile(m_one, "text");
    support::writeFile(m_other, "text");
    const FileContents before = now();
    support::writeFile(m_other, "texT");
    EXPECT_FALSE(before.equals(now()));
}

TEST_F(FileContentsOf, ZeroBytesAndLengths_AreCompared) {
    support::writeFile(m_one, std::string("a\0b", 3));
    const FileContents before = now();
    support::writeFile(m_one, std::string("a\0c", 3));
    EXPECT_FALSE(before.equals(now()));
}

TEST_F(FileContentsOf, MissingAndEmpty_AreNotTheSame) {
    const FileContents missing = now();
    EXPECT_TRUE(missing.equals(now()));
    support::writeFile(m_one, "");
    EXPECT_FALSE(missing.equals(now()));
}

TEST_F(FileContentsOf, FolderOfTheFileMissing_IsMissingToo) {
    const std::vector<std::string> file{(support::testDirectory() / "no/such/file").string()};
    EXPECT_TRUE(FileContents(file).equals(FileContents(file)));
}

#ifndef SANITIZED
TEST_F(FileContentsOf, FileThatCannotBeRead_EqualsNothing) {
    support::writeFile(m_one, "text");
    failCalls(Call::Read, EIO, 1);
    const FileContents unread = now();
    failCalls(Call::Read, 0);
    EXPECT_FALSE(unread.equals(now()));
    EXPECT_FALSE(unread.equals(unread));
}

TEST_F(FileContentsOf, DescriptorLostMeanwhile_IsNotReadAndEqualsNothing) {
    support::writeFile(m_one, "text");
    const int reads = callCount(Call::Read);
    failCalls(Call::Fcntl, EBADF, 1, 1); // after that of its construction
    const FileContents lost = now();
    EXPECT_EQ(callCount(Call::Read), reads);
    EXPECT_FALSE(lost.equals(lost));
}

TEST_F(FileContentsOf, InterruptedReads_AreRepeated) {
    support::writeFile(m_one, "text");
    const FileContents before = now();
    failCalls(Call::Read, EINTR, 3);
    EXPECT_TRUE(before.equals(now()));
}
#endif

TEST_F(FileContentsOf, LargestComparableFile_EqualsItself) {
    support::writeFile(m_one, std::string(FileContents::kMostBytes, 'x'));
    EXPECT_TRUE(now().equals(now()));
}

TEST_F(FileContentsOf, LargerFile_EqualsNothing) {
    support::writeFile(m_one, std::string(FileContents::kMostBytes + 1, 'x'));
    EXPECT_FALSE(now().equals(now()));
}

TEST_F(FileContentsOf, FolderInPlaceOfTheFile_EqualsNothing) {
    fs::create_directory(m_one);
    EXPECT_FALSE(now().equals(now()));
}

TEST_F(FileContentsOf, PipeInPlaceOfTheFile_EqualsNothingAndDoesNotBlock) {
    ASSERT_EQ(::mkfifo(m_one.c_str(), 0600), 0);
    EXPECT_FALSE(now().equals(now()));
}

} // namespace
