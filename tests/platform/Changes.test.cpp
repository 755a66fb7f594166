// SPDX-License-Identifier: Apache-2.0

#include "Recorder.h"
#include "support/Deployment.h"
#include "support/Resources.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>

namespace {

using support::Deployment;
using support::setEnvironment;
using support::writeFile;
namespace fs = std::filesystem;

fs::path nodeList() {
    return support::testDirectory() / "app/etc/sysconf/nodelist.json";
}

fs::path folder() {
    return nodeList().parent_path();
}

fs::path appRoot() {
    return support::testDirectory() / "app";
}

void switchLink(const fs::path& link, const fs::path& target) {
    fs::create_symlink(target, link.string() + ".next");
    fs::rename(link.string() + ".next", link);
}

/// Mounted volumes contain links into a folder that is a link too.
void mountedVolume() {
    writeFile(folder() / "v1/nodelist.json", "before");
    writeFile(folder() / "v2/nodelist.json", "after");
    fs::create_symlink("v1", folder() / "..data");
    fs::create_symlink("..data/nodelist.json", nodeList());
}

struct Row {
    std::string name;
    std::function<void()> prepare;
    std::function<void()> change;
    std::string after = "after";
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.name;
}

void before() {
    writeFile(nodeList(), "before");
}

const Row kRows[] = {
    {"WrittenInPlace", before, [] { writeInPlace(nodeList(), "after"); }},
    {"AppendedTo", before, [] { std::ofstream(nodeList(), std::ios::app) << "hand"; },
     "beforehand"},
    {"Truncated", before, [] { fs::resize_file(nodeList(), 2); }, "be"},
    {"RenamedOver", before, [] { writeFile(nodeList(), "after"); }},
    {"EditedWithABackup", before,
     [] {
         fs::rename(nodeList(), nodeList().string() + "~");
         writeInPlace(nodeList(), "after");
     }},
    {"Deleted", before, [] { fs::remove(nodeList()); }, ""},
    {"Created", [] { fs::create_directories(folder()); },
     [] { writeInPlace(nodeList(), "after"); }},
    {"DeletedAndCreated", before,
     [] {
         fs::remove(nodeList());
         writeInPlace(nodeList(), "after");
     }},
    {"HardLinkPutInPlace",
     [] {
         before();
         writeFile(folder() / "other", "after");
     },
     [] {
         fs::remove(nodeList());
         fs::create_hard_link(folder() / "other", nodeList());
     }},
    {"StillOpenForWriting", before,
     [] {
         static std::ofstream file;
         file.open(nodeList(), std::ios::trunc);
         file << "after" << std::flush;
     }},
    {"LinkAtTheFileSwitched",
     [] {
         writeFile(folder() / "v1.json", "before");
         writeFile(support::testDirectory() / "elsewhere/v2.json", "after");
         fs::create_symlink("v1.json", nodeList());
     },
     [] { switchLink(nodeList(), support::testDirectory() / "elsewhere/v2.json"); }},
    {"TargetOfALinkWritten",
     [] {
         writeFile(support::testDirectory() / "elsewhere/list.json", "before");
         fs::create_directories(folder());
         fs::create_symlink("../../../elsewhere/list.json", nodeList());
     },
     [] { writeInPlace(support::testDirectory() / "elsewhere/list.json", "after"); }},
    {"DataFolderOfAMountedVolumeSwitched", mountedVolume,
     [] { switchLink(folder() / "..data", "v2"); }},
    {"LinkFarAboveSwitched",
     [] {
         const fs::path releases = support::testDirectory() / "releases";
         writeFile(releases / "1/etc/sysconf/nodelist.json", "before");
         writeFile(releases / "2/etc/sysconf/nodelist.json", "after");
         fs::create_directory_symlink(releases / "1", appRoot());
     },
     [] { switchLink(appRoot(), "releases/2"); }},
    {"DanglingLinkGetsItsTarget",
     [] {
         fs::create_directories(folder());
         fs::create_symlink(support::testDirectory() / "later/list.json", nodeList());
     },
     [] { writeFile(support::testDirectory() / "later/list.json", "after"); }},
    {"PathLongerThanTheKernelTakesWithoutItsLinks",
     [] {
         const auto deep = [](fs::path path, const std::string& name) {
             for (int i = 0; i < 12; ++i) {
                 path /= name;
             }
             fs::create_directories(path);
             return path;
         };
         const fs::path link = support::testDirectory() / "link";
         const fs::path upper = deep(support::testDirectory(), std::string(200, 'u'));
         fs::create_directory_symlink(upper, link);
         fs::create_directory_symlink(deep(link, std::string(200, 'l')), appRoot());
         before();
     },
     [] { writeFile(nodeList(), "after"); }},
    {"FolderCreated", [] {}, [] { writeFile(nodeList(), "after"); }},
    {"FolderMovedIntoPlaceWithTheFile",
     [] { writeFile(support::testDirectory() / "staged/etc/sysconf/nodelist.json", "after"); },
     [] { fs::rename(support::testDirectory() / "staged", appRoot()); }},
    {"FolderRemoved", before, [] { fs::remove_all(appRoot()); }, ""},
    {"FolderRemovedAndBack", before,
     [] {
         fs::remove_all(appRoot());
         writeFile(nodeList(), "after");
     }},
    {"FolderAboveMovedAwayAndAnotherMovedIn",
     [] {
         before();
         writeFile(support::testDirectory() / "staged/sysconf/nodelist.json", "after");
     },
     [] {
         fs::rename(appRoot() / "etc", appRoot() / "etc.old");
         fs::rename(support::testDirectory() / "staged", appRoot() / "etc");
     }},
    {"FileInTheWayReplacedByAFolder", [] { writeFile(appRoot() / "etc", "a file"); },
     [] {
         fs::remove(appRoot() / "etc");
         writeFile(nodeList(), "after");
     }},
    {"RootWithTrailingSlash",
     [] {
         before();
         setEnvironment("APP_ROOT", (appRoot().string() + "/").c_str());
     },
     [] { writeFile(nodeList(), "after"); }},
    {"RootWithDoubledSlashes",
     [] {
         before();
         setEnvironment("APP_ROOT", ("/" + support::testDirectory().string() + "//app").c_str());
     },
     [] { writeFile(nodeList(), "after"); }},
    {"RelativeRoot",
     [] {
         before();
         fs::current_path(support::testDirectory());
         setEnvironment("APP_ROOT", "./app");
     },
     [] { writeFile(nodeList(), "after"); }},
    {"RelativeRootAfterAChangeOfTheWorkingDirectory",
     [] {
         before();
         fs::current_path(appRoot());
         setEnvironment("APP_ROOT", "../app");
     },
     [] {
         fs::current_path("/");
         writeFile(nodeList(), "after");
     }},
};

class Change : public testing::TestWithParam<Row> {
protected:
    void SetUp() override { setEnvironment("SYSCONF_EVENT_QUIET_MS", "5"); }
};

TEST_P(Change, IsDelivered_AndSoIsTheNextOne) {
    Deployment deployment;
    GetParam().prepare();
    Recorder recorder(nodeList());
    ASSERT_EQ(recorder.subscribe(), 0);
    GetParam().change();
    recorder.waitForText(GetParam().after);
    writeFile(nodeList(), "again");
    recorder.waitForText("again");
    writeInPlace(nodeList(), "and in place");
    recorder.waitForText("and in place");
    endService();
    EXPECT_EQ(recorder.texts().back(), "and in place");
}

INSTANTIATE_TEST_SUITE_P(Of, Change, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

TEST(ChangeOfEachFile, AllThree_AreWatched) {
    setEnvironment("SYSCONF_EVENT_QUIET_MS", "5");
    Deployment deployment;
    for (const fs::path& file : {deployment.appConfigPath(), deployment.nodeListPath(),
                                 deployment.managerNodeListPath()}) {
        Recorder recorder(file);
        ASSERT_EQ(recorder.subscribe(), 0);
        writeFile(file, "text");
        recorder.waitForText("text");
        endService();
    }
    EXPECT_EQ(textOf(deployment.managerNodeListPath()), "text");
}

} // namespace
