// SPDX-License-Identifier: Apache-2.0
#include "follow/Folder.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <unistd.h>

namespace {

using namespace sysconfsync;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
namespace fs = std::filesystem;

const Info kFive{.version = 5, .id = "five"};
const Info kSix{.version = 6, .id = "six"};
const Info kSeven{.version = 7, .id = "seven"};

class NodeFolder : public testing::Test {
protected:
    const fs::path m_root = support::testDirectory() / "node";
    Folder m_folder{m_root, "node-1", "/sysconf/"};

    void apply(const Info& version, const Files& files) {
        m_folder.write(version, files);
        m_folder.apply(version.version);
    }

    std::set<std::string> names(const fs::path& folder) const {
        std::set<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder)) {
            found.insert(entry.path().filename());
        }
        return found;
    }
};

TEST_F(NodeFolder, NothingApplied_IsVersionZero) {
    EXPECT_EQ(m_folder.applied(), VersionId());
    EXPECT_EQ(m_folder.since(), "");
    EXPECT_EQ(m_folder.appliedFiles(), Files());
}

TEST_F(NodeFolder, AppliedVersion_IsReadThroughTheLink) {
    const std::string bytes("a\0b", 3);
    const Files files = {{"etc/sysconf/list.json", bytes}, {"app.json", ""}};
    apply(kFive, files);
    EXPECT_EQ(m_folder.applied(), (VersionId{5, "five"}));
    EXPECT_EQ(m_folder.appliedFiles(), files);
    EXPECT_EQ(fs::read_symlink(m_root / "current"), "versions/5");
    EXPECT_THAT(names(m_root / "current"), UnorderedElementsAre(".version", "app.json", "etc"));
    EXPECT_EQ(m_folder.since().size(), std::string("2000-01-01T00:00:00Z").size());
}

TEST_F(NodeFolder, WrittenVersion_IsNotAppliedYet) {
    apply(kFive, {{"a", "5"}});
    EXPECT_EQ(m_folder.write(kSix, {{"a", "6"}}), m_root / "versions/6.tmp");
    EXPECT_EQ(m_folder.applied(), (VersionId{5, "five"}));
    EXPECT_EQ(m_folder.appliedFiles(), (Files{{"a", "5"}}));
    m_folder.removeUnfinished();
    EXPECT_THAT(names(m_root / "versions"), ElementsAre("5"));
}

TEST_F(NodeFolder, ThirdVersion_TheOneBeforeIsKept) {
    apply(kFive, {{"a", "5"}});
    apply(kSix, {{"b", "6"}});
    apply(kSeven, {{"c", "7"}});
    EXPECT_THAT(names(m_root / "versions"), UnorderedElementsAre("6", "7"));
    EXPECT_THAT(names(m_root), UnorderedElementsAre("current", "versions"));
}

TEST_F(NodeFolder, SameNumberAgain_FilesAreReplaced) {
    apply(kFive, {{"a", "5"}, {"old", ""}});
    apply({.version = 5, .id = "another five"}, {{"a", "new"}});
    EXPECT_EQ(m_folder.applied(), (VersionId{5, "another five"}));
    EXPECT_THAT(names(m_root / "current"), UnorderedElementsAre(".version", "a"));
    EXPECT_THAT(names(m_root / "versions"), ElementsAre("5"));
}

TEST_F(NodeFolder, RenamedButNotApplied_IsWrittenAgain) {
    apply(kFive, {{"a", "5"}});
    fs::create_directory(m_root / "versions/6");
    fs::create_symlink("versions/6", m_root / "current.tmp");
    apply(kSix, {{"a", "6"}});
    EXPECT_EQ(m_folder.appliedFiles(), (Files{{"a", "6"}}));
}

TEST_F(NodeFolder, LinkToAMissingVersion_IsVersionZero) {
    fs::create_symlink("versions/9", m_root / "current");
    EXPECT_EQ(m_folder.applied(), VersionId());
    apply(kFive, {{"a", "5"}});
    EXPECT_EQ(m_folder.applied(), (VersionId{5, "five"}));
}

TEST_F(NodeFolder, SecondFollower_IsRefused) {
    EXPECT_THROW(Folder(m_root, "node-1", "/sysconf/"), std::runtime_error);
}

TEST_F(NodeFolder, FolderOfAnotherUser_IsRefusedAndNotChanged) {
    const fs::path folder = support::testDirectory() / "other";
    fs::create_directory(folder);
    if (::chown(folder.c_str(), 12345, 12345) != 0) {
        GTEST_SKIP() << "needs root";
    }
    EXPECT_THROW(Folder(folder, "node-1", "/sysconf/"), std::runtime_error);
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(NodeFolder, InfoOfAnotherForm_IsThatOfTheSameVersion) {
    apply(kFive, {{"a", "5"}});
    std::ofstream(m_root / "current/.version") << R"({"id": "five", "member": "of a newer tool"})";
    EXPECT_EQ(m_folder.applied(), (VersionId{5, "five"}));
}

TEST_F(NodeFolder, DamagedInfo_IsAVersionWithoutId) {
    apply(kFive, {{"a", "5"}});
    for (const char* text : {"", "[]", R"({"id": 5})"}) {
        std::ofstream(m_root / "current/.version") << text;
        EXPECT_EQ(m_folder.applied(), (VersionId{5, ""})) << text;
    }
    fs::remove(m_root / "current/.version");
    EXPECT_EQ(m_folder.applied(), (VersionId{5, ""}));
}

TEST_F(NodeFolder, VersionThatCannotBeRead_IsAnErrorAndNotAnotherVersion) {
    apply(kFive, {{"a", "5"}});
    fs::remove(m_root / "current/.version");
    fs::create_directory(m_root / "current/.version");
    EXPECT_THROW(m_folder.applied(), std::system_error);
}

TEST_F(NodeFolder, LinkInTheWay_IsNotFollowed) {
    const fs::path outside = support::testDirectory() / "outside";
    std::ofstream(outside) << "untouched";
    fs::create_symlink(outside, m_root / "versions/5.tmp");
    apply(kFive, {{"a", "5"}});
    std::ifstream file(outside);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "untouched");
}

} // namespace
