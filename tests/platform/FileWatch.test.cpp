// SPDX-License-Identifier: Apache-2.0
#include "FileWatch.h"

#include "WatchFaults.h"
#include "support/Deployment.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <system_error>

namespace {

using eventcbutil::FileWatch;
namespace fs = std::filesystem;

void writeInPlace(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

bool changed(FileWatch& watch) {
    return watch.changed() != FileWatch::Change::None;
}

void touch(const fs::path& path) {
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), nullptr, 0), 0);
}

/// The kernel queues a report before the change returns, so no test has to wait.
class FileWatchOf : public testing::Test {
protected:
    fs::path m_folder = support::testDirectory() / "conf";
    fs::path m_file = m_folder / "file";

    void SetUp() override { support::writeFile(m_file, "text"); }
};

TEST_F(FileWatchOf, NothingHappens_NoChange) {
    FileWatch watch({m_file.string()});
    EXPECT_FALSE(changed(watch));
    EXPECT_TRUE(watch.complete());
}

#ifndef SANITIZED
TEST_F(FileWatchOf, ReadFails_ChangeIsPossibleAndTheWatchIsReplaced) {
    for (const Call call : {Call::Ioctl, Call::Read}) {
        FileWatch watch({m_file.string()});
        writeInPlace(m_file, "other");
        failCalls(call, EIO, 1);
        EXPECT_EQ(watch.changed(), FileWatch::Change::Possible);
        EXPECT_FALSE(watch.complete());
        // Otherwise poll(2) would return at once again and again.
        EXPECT_EQ(watch.waits()[0].fd, -1);
        watch.followAgain();
        EXPECT_TRUE(watch.complete());
        writeInPlace(m_file, "another");
        EXPECT_EQ(watch.changed(), FileWatch::Change::Noticed);
    }
}
#endif

TEST_F(FileWatchOf, FolderDeletedBeforeItIsWatched_IsTreatedAsMissing) {
    for (const int error : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) {
        failCalls(Call::AddWatch, error);
        EXPECT_NO_THROW(FileWatch({m_file.string()})) << error;
    }
    failCalls(Call::AddWatch, 0);
}

#ifndef SANITIZED
TEST_F(FileWatchOf, LinkDeletedBeforeItIsRead_IsTreatedAsMissingUntilItIsBack) {
    const fs::path link = m_folder / "link";
    const fs::path place = support::testDirectory() / "elsewhere" / "file";
    support::writeFile(place, "text");
    fs::create_symlink(place, link);
    failCalls(Call::Readlink, ENOENT);
    FileWatch watch({link.string()});
    failCalls(Call::Readlink, 0);
    writeInPlace(place, "not seen");
    EXPECT_FALSE(changed(watch));
    fs::remove(link);
    fs::create_symlink(place, link);
    EXPECT_TRUE(changed(watch));
    writeInPlace(place, "seen");
    EXPECT_TRUE(changed(watch));
}
#endif

TEST_F(FileWatchOf, ReadingTheFile_NoChange) {
    FileWatch watch({m_file.string()});
    std::string text;
    std::ifstream(m_file) >> text;
    EXPECT_FALSE(changed(watch));
}

TEST_F(FileWatchOf, Change_IsReportedOnce) {
    FileWatch watch({m_file.string()});
    writeInPlace(m_file, "other");
    EXPECT_TRUE(changed(watch));
    EXPECT_FALSE(changed(watch));
}

TEST_F(FileWatchOf, UnrelatedFilesOfTheSameFolders_NoChange) {
    const fs::path neighbour = m_folder / "file2";
    support::writeFile(neighbour, "text");
    FileWatch watch({m_file.string()});
    writeInPlace(neighbour, "other");
    support::writeFile(neighbour, "other");
    touch(neighbour);
    fs::remove(neighbour);
    fs::create_directory(m_folder / "fil");
    fs::rename(m_folder / "fil", m_folder / "FILE");
    fs::create_directory(support::testDirectory() / "conf2");
    support::writeFile(support::testDirectory() / "file", "same name elsewhere");
    fs::create_symlink("nowhere", support::testDirectory() / "link");
    EXPECT_FALSE(changed(watch));
}

TEST_F(FileWatchOf, TouchedOrOtherPermissions_Change) {
    FileWatch watch({m_file.string()});
    touch(m_file);
    EXPECT_TRUE(changed(watch));
    fs::permissions(m_file, fs::perms::none);
    EXPECT_TRUE(changed(watch));
    fs::permissions(m_folder, fs::perms::owner_all);
    EXPECT_TRUE(changed(watch));
}

TEST_F(FileWatchOf, FileStillOpenForWriting_EachWriteIsAChange) {
    FileWatch watch({m_file.string()});
    std::ofstream file(m_file, std::ios::app);
    file << "more" << std::flush;
    EXPECT_TRUE(changed(watch));
    file << "more" << std::flush;
    EXPECT_TRUE(changed(watch));
}

TEST_F(FileWatchOf, FileThatWasReplaced_IsNotWatched) {
    std::ofstream old(m_file, std::ios::app);
    FileWatch watch({m_file.string()});
    support::writeFile(m_file, "new");
    ASSERT_TRUE(changed(watch));
    old << "into the file that has gone" << std::flush;
    EXPECT_FALSE(changed(watch));
}

TEST_F(FileWatchOf, FolderMovedAway_ItsFilesAreNotWatched) {
    FileWatch watch({m_file.string()});
    const fs::path away = support::testDirectory() / "away";
    fs::rename(m_folder, away);
    ASSERT_TRUE(changed(watch));
    writeInPlace(away / "file", "other");
    EXPECT_FALSE(changed(watch));
}

TEST_F(FileWatchOf, PathsLeadElsewhere_OldWatchesAreRemoved) {
    fs::create_directories(m_folder / "v1");
    fs::create_directories(m_folder / "v2");
    fs::create_directory_symlink("v1", m_folder / "data");
    FileWatch watch({(m_folder / "data/file").string()});
    const std::size_t folders = watch.folderCount();
    for (int i = 0; i < 1000; ++i) {
        fs::create_directory_symlink(i % 2 == 0 ? "v2" : "v1", m_folder / "next");
        fs::rename(m_folder / "next", m_folder / "data");
        ASSERT_TRUE(changed(watch));
        ASSERT_EQ(watch.folderCount(), folders);
    }
    std::ifstream info("/proc/self/fdinfo/" + std::to_string(watch.waits()[0].fd));
    std::size_t kernelsWatches = 0;
    for (std::string line; std::getline(info, line);) {
        kernelsWatches += line.starts_with("inotify ") ? 1U : 0U;
    }
    EXPECT_EQ(kernelsWatches, folders);
}

TEST_F(FileWatchOf, FoldersCreatedOneByOne_AllChangesSeen) {
    const fs::path file = m_folder / "a/b/c/file";
    FileWatch watch({file.string()});
    for (const fs::path& folder : {m_folder / "a", m_folder / "a/b", m_folder / "a/b/c"}) {
        fs::create_directory(folder);
        EXPECT_TRUE(changed(watch)) << folder;
    }
    writeInPlace(file, "text");
    EXPECT_TRUE(changed(watch));
}

TEST_F(FileWatchOf, FilesInOneFolderAndBelowIt_EachIsWatched) {
    const fs::path other = m_folder / "other";
    const fs::path deeper = m_folder / "deeper/file";
    support::writeFile(deeper, "text");
    FileWatch watch({m_file.string(), other.string(), deeper.string()});
    for (const fs::path& file : {other, m_file, deeper}) {
        writeInPlace(file, "text2");
        EXPECT_TRUE(changed(watch)) << file;
    }
}

/// Reports about other files fill the kernel's queue, so that the one about this file is lost.
TEST_F(FileWatchOf, QueueOverflows_IsAChange) {
    std::size_t most = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> most;
    ASSERT_GT(most, 0U);
    FileWatch watch({m_file.string()});
    // The kernel merges equal reports in a row, so two files alternate.
    std::ofstream one(m_folder / "one");
    std::ofstream two(m_folder / "two");
    for (std::size_t i = 0; i <= most; ++i) {
        (i % 2 == 0 ? one : two) << 'x' << std::flush;
    }
    writeInPlace(m_file, "not reported");
    EXPECT_TRUE(changed(watch));
    EXPECT_FALSE(changed(watch));
    writeInPlace(m_file, "seen again");
    EXPECT_TRUE(changed(watch));
}

TEST_F(FileWatchOf, KernelRefusesWatches_ConstructorThrowsItsError) {
    failCalls(Call::AddWatch, ENOSPC);
    try {
        const FileWatch watch({m_file.string()});
        ADD_FAILURE() << "no exception";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOSPC);
    }
}

TEST_F(FileWatchOf, FolderOfTheFileMayNotBeListed_ConstructorThrows) {
    failCalls(Call::AddWatch, EACCES);
    EXPECT_THROW(FileWatch({m_file.string()}), std::system_error);
}

TEST_F(FileWatchOf, KernelRefusesWatchesForAWhile_IncompleteDuringIt) {
    FileWatch watch({m_file.string()});
    failCalls(Call::AddWatch, ENOSPC);
    support::writeFile(m_file, "new");
    EXPECT_TRUE(changed(watch));
    EXPECT_FALSE(watch.complete());
    watch.followAgain();
    EXPECT_FALSE(watch.complete());
    failCalls(Call::AddWatch, 0);
    watch.followAgain();
    EXPECT_TRUE(watch.complete());
    EXPECT_FALSE(changed(watch));
    support::writeFile(m_file, "newer");
    EXPECT_TRUE(changed(watch));
}

} // namespace
