// SPDX-License-Identifier: Apache-2.0

#include "config/ConfigFiles.h"
#include "config/JsonFiles.h"

#include "support/Deployment.h"
#include "support/FileCalls.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace config = Quarncommon::config;
using support::setEnvironment;
using support::testDirectory;
using support::writeFile;

const std::string kText = R"({"a": [1, 2.5, "x\u00e9"], "b": {"c": null, "d": [true, false]}})";

Json::Value expectedTree() {
    Json::Value tree;
    tree["a"].append(1);
    tree["a"].append(2.5);
    tree["a"].append("x\xc3\xa9");
    tree["b"]["c"] = Json::Value();
    tree["b"]["d"].append(true);
    tree["b"]["d"].append(false);
    return tree;
}

std::string path(const std::string& name = "file.json") {
    return (testDirectory() / name).string();
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

void expectNotParsed(const std::string& name) {
    Json::Value value = "before";
    EXPECT_FALSE(config::readJsonFile(name, value));
    EXPECT_EQ(value, Json::Value("before"));
}

TEST(ReadText, RegularFile_ReturnsItsBytesUpToTheFirstNul) {
    for (const std::string& text : {std::string(), kText, std::string("{\xff\r\n")}) {
        writeFile(path(), text);
        EXPECT_EQ(config::readText(path()), text);
        writeFile(path(), text + std::string("\0}\0", 3));
        EXPECT_EQ(config::readText(path()), text + '\0');
    }
}

TEST(ReadText, UnreadableFile_ReturnsNothing) {
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_symlink("nowhere", path("link"));
    for (const char* name : {"", "folder", "link", "absent"}) {
        EXPECT_FALSE(config::readText(path(name))) << name;
    }
    EXPECT_FALSE(config::readText(""));
}

TEST(Environment, Unset_ReadsAsEmpty) {
    setEnvironment("PROCESS_INSTANCE_ID", nullptr);
    EXPECT_EQ(config::environment(config::kInstanceIdVariable), "");
}

TEST(Environment, ChangedBetweenCalls_IsReadAgain) {
    for (const char* value : {"p1", "", "p2"}) {
        setEnvironment("PROCESS_INSTANCE_ID", value);
        EXPECT_EQ(config::environment(config::kInstanceIdVariable), value);
    }
}

struct PathRow {
    const char* name;
    const config::ConfigFile& file;
    const char* value;
    const char* path;
};

const PathRow kPathRows[] = {
    {"app config verbatim", config::kAppConfig, "/opt/app.json", "/opt/app.json"},
    {"app config relative", config::kAppConfig, "app.json", "app.json"},
    {"app config empty", config::kAppConfig, "", ""},
    {"app config unset", config::kAppConfig, nullptr, ""},
    {"node list", config::kNodeList, "/opt/app", "/opt/app/etc/sysconf/nodelist.json"},
    {"node list, trailing slash", config::kNodeList, "/opt/app/",
     "/opt/app//etc/sysconf/nodelist.json"},
    {"node list, relative root", config::kNodeList, "app", "app/etc/sysconf/nodelist.json"},
    {"node list, dots kept", config::kNodeList, "/opt/../x/.",
     "/opt/../x/./etc/sysconf/nodelist.json"},
    {"node list, empty root", config::kNodeList, "", "/etc/sysconf/nodelist.json"},
    {"node list, root unset", config::kNodeList, nullptr, "/etc/sysconf/nodelist.json"},
    {"manager list", config::kManagerNodeList, "/opt/m", "/opt/m/etc/sysconf/nodelists.json"},
    {"manager list, trailing slash", config::kManagerNodeList, "/m/",
     "/m//etc/sysconf/nodelists.json"},
    {"manager list, root unset", config::kManagerNodeList, nullptr, "/etc/sysconf/nodelists.json"},
};

TEST(PathOf, AnyRoot_JoinsValueAndSuffixVerbatim) {
    for (const PathRow& row : kPathRows) {
        SCOPED_TRACE(row.name);
        setEnvironment(row.file.variable, row.value);
        EXPECT_EQ(config::pathOf(row.file), row.path);
    }
}

TEST(PathIfSet, RootUnset_IsNothing) {
    for (const PathRow& row : kPathRows) {
        SCOPED_TRACE(row.name);
        setEnvironment(row.file.variable, row.value);
        const std::optional<std::string> found = config::pathIfSet(row.file);
        EXPECT_EQ(found.has_value(), row.value != nullptr);
        EXPECT_EQ(found.value_or(row.path), row.path);
    }
}

TEST(ReadJsonFile, WholeText_ReplacesTheValue) {
    writeFile(path(), kText);
    Json::Value value = "before";
    EXPECT_TRUE(config::readJsonFile(path(), value));
    EXPECT_EQ(value, expectedTree());
}

TEST(ReadJsonFile, AnyPath_IsReadThroughLinksAndSlashes) {
    writeFile(path("root/file.json"), kText);
    std::filesystem::create_symlink("root/file.json", path("link.json"));
    std::filesystem::current_path(testDirectory());
    for (const std::string& name : {path("root//file.json"), path("root/../root/./file.json"),
                                    path("link.json"), std::string("root/file.json")}) {
        SCOPED_TRACE(name);
        Json::Value value;
        EXPECT_TRUE(config::readJsonFile(name, value));
        EXPECT_EQ(value, expectedTree());
    }
}

TEST(ReadJsonFile, MissingFile_IsNotParsed) {
    expectNotParsed(path("missing.json"));
    expectNotParsed("");
    expectNotParsed(path("missing/file.json"));
    writeFile(path(), kText);
    expectNotParsed(path() + "/file.json");
    expectNotParsed(path(std::string(5000, 'x')));
}

TEST(ReadJsonFile, NotRegular_IsNeitherParsedNorRead) {
    std::filesystem::create_directory(path("directory.json"));
    ASSERT_EQ(::mkfifo(path("pipe.json").c_str(), 0600), 0);
    for (const std::string& name : {path("directory.json"), path("pipe.json"),
                                    std::string("/dev/null"), std::string("/dev/zero")}) {
        SCOPED_TRACE(name);
        std::size_t reads = 0;
        support::disturbReads(name, [&](std::size_t) {
            ++reads;
            return support::ReadStep{EIO};
        });
        expectNotParsed(name);
        EXPECT_EQ(reads, 0U);
    }
}

TEST(ReadJsonFile, MalformedText_IsNotParsed) {
    for (const std::string& text :
         {std::string("{} {}"), std::string("{}x"), std::string("{'a': 1}"), std::string("[1,]"),
          std::string("// c\n{}"), std::string("{} // c"), std::string("\xef\xbb\xbf{}"),
          std::string("{}\0", 3), std::string("{\"a\": 01}")}) {
        SCOPED_TRACE(text);
        writeFile(path(), text);
        expectNotParsed(path());
    }
}

TEST(ReadJsonFile, AnyLength_IsReadToItsEnd) {
    // Around the sizes of pages and buffers, and a large one.
    for (const std::size_t length : {2UL, 3UL, 511UL, 512UL, 4094UL, 4095UL, 4096UL, 4097UL, 8191UL,
                                     8192UL, 8193UL, 65536UL, 5000000UL}) {
        SCOPED_TRACE(length);
        writeFile(path(), '"' + std::string(length - 2, 'x') + '"');
        Json::Value value;
        EXPECT_TRUE(config::readJsonFile(path(), value));
        EXPECT_EQ(value.asString().size(), length - 2);
    }
}

TEST(ReadJsonFile, LongerThanAnyText_IsNotParsedNorRead) {
    writeFile(path(), kText);
    std::filesystem::resize_file(path(), (std::uintmax_t{1} << 30U) + 1);
    std::size_t reads = 0;
    support::disturbReads(path(), [&](std::size_t) {
        ++reads;
        return support::ReadStep{EIO};
    });
    expectNotParsed(path());
    EXPECT_EQ(reads, 0U);
    std::filesystem::resize_file(path(), std::uintmax_t{1} << 36U);
    expectNotParsed(path());
    EXPECT_EQ(reads, 0U);
    std::filesystem::resize_file(path(), kText.size());
    expectNotParsed(path());
    EXPECT_EQ(reads, 1U);
}

std::size_t peakMemory() {
    rusage usage{};
    EXPECT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

TEST(ReadJsonFile, SparseFileOfTheLargestSize_IsNotParsedAndTakesLittleMemory) {
    // A quarter of the file's size, because sanitizers need memory too.
    constexpr std::size_t kBound = std::size_t{256} << 20U;
    const std::size_t before = peakMemory();
    for (const std::string& start : {std::string(), kText, std::string(5000000, ' ')}) {
        writeFile(path(), start);
        std::filesystem::resize_file(path(), std::uintmax_t{1} << 30U);
        expectNotParsed(path());
    }
    EXPECT_LT(peakMemory() - before, kBound);
}

TEST(ReadJsonFile, ValidTextWithANulAfterIt_IsNotParsed) {
    for (const std::size_t nuls : {1UL, 2UL, 10000UL}) {
        writeFile(path(), kText + std::string(nuls, '\0'));
        expectNotParsed(path());
    }
}

TEST(ReadJsonFile, FileWithoutSizeOrEnd_IsNotParsedAfter16MiB) {
    constexpr std::size_t kStep = std::size_t{1} << 20U;
    std::size_t reads = 0;
    support::disturbReads("/proc/thread-self/comm", [&](std::size_t) {
        return support::ReadStep{0, kStep, ++reads > 1000 ? '\0' : ' '};
    });
    expectNotParsed("/proc/thread-self/comm");
    // The first reads are shorter, because the buffer starts small.
    EXPECT_GE(reads, 16U);
    EXPECT_LE(reads, 40U);
}

TEST(ReadJsonFile, RegularFileWithoutSize_IsReadToItsEnd) {
    // The kernel reports the size 0 for this file, which contains the name of the thread.
    ASSERT_EQ(::prctl(PR_SET_NAME, "[1, 2, 3]"), 0);
    const std::string name = "/proc/thread-self/comm";
    ASSERT_EQ(std::filesystem::file_size(name), 0U);
    Json::Value value;
    EXPECT_TRUE(config::readJsonFile(name, value));
    EXPECT_EQ(value.size(), 3U);
}

TEST(ReadJsonFile, ReadFailsHalfWay_IsNotParsed) {
    // The text that is read before the failure is valid.
    writeFile(path(), kText + std::string(20, ' '));
    for (const int error : {EIO, EISDIR, ENXIO}) {
        for (const std::size_t failing : {0UL, 1UL, 2UL}) {
            SCOPED_TRACE(testing::Message() << "error " << error << " at read " << failing);
            bool failed = false;
            support::disturbReads(path(), [&](std::size_t call) {
                failed = failed || call == failing;
                return call == failing ? support::ReadStep{error}
                                       : support::ReadStep{0, call == 0 ? kText.size() : 3};
            });
            expectNotParsed(path());
            EXPECT_TRUE(failed);
        }
    }
}

TEST(ReadJsonFile, GrowsWhileItIsRead_IsReadToItsEnd) {
    writeFile(path(), "[1");
    support::disturbReads(path(), [&](std::size_t call) {
        if (call == 1) {
            std::ofstream(path(), std::ios::app) << ", 2" << std::string(10000, ' ') << ", 3]";
        }
        return support::ReadStep{};
    });
    Json::Value value;
    EXPECT_TRUE(config::readJsonFile(path(), value));
    EXPECT_EQ(value.size(), 3U);
}

TEST(ReadJsonFile, ShrinksWhileItIsRead_IsReadToItsNewEnd) {
    writeFile(path(), "[1]" + std::string(10000, ' ') + "x");
    support::disturbReads(path(), [&](std::size_t call) {
        if (call == 0) {
            std::filesystem::resize_file(path(), 100);
        }
        return support::ReadStep{};
    });
    Json::Value value;
    EXPECT_TRUE(config::readJsonFile(path(), value));
    EXPECT_EQ(value.size(), 1U);
}

/// All these texts have the same length.
std::string listOf(std::size_t digit) {
    std::string text = "[";
    for (int i = 0; i < 500; ++i) {
        text += std::to_string(digit % 10) + ",";
    }
    return text + std::to_string(digit % 10) + "]";
}

void overwrite(const std::string& text) {
    std::fstream(path(), std::ios::in | std::ios::out | std::ios::binary) << text;
}

TEST(ReadJsonFile, OverwrittenWhileItIsRead_IsOneOfTheTwoTexts) {
    for (std::size_t moment = 1; moment <= 11; ++moment) {
        SCOPED_TRACE(moment);
        writeFile(path(), listOf(1));
        // Such a recent file is read twice, however slow the machine is.
        std::filesystem::last_write_time(path(), std::filesystem::file_time_type::clock::now() +
                                                     std::chrono::hours(1));
        bool overwritten = false;
        support::disturbReads(path(), [&](std::size_t call) {
            if (call == moment) {
                overwrite(listOf(2));
                overwritten = true;
            }
            return support::ReadStep{0, 200};
        });
        Json::Value value;
        EXPECT_TRUE(config::readJsonFile(path(), value));
        EXPECT_TRUE(overwritten);
        EXPECT_EQ(value[0], value[500]);
    }
}

TEST(ReadJsonFile, OverwrittenWithItsOldTimeStamp_IsOneOfTheTwoTexts) {
    const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000);
    for (std::size_t moment = 1; moment <= 5; ++moment) {
        SCOPED_TRACE(moment);
        writeFile(path(), listOf(1));
        std::filesystem::last_write_time(path(), longAgo);
        support::disturbReads(path(), [&](std::size_t call) {
            if (call == moment) {
                overwrite(listOf(2));
                std::filesystem::last_write_time(path(), longAgo);
            }
            return support::ReadStep{0, 200};
        });
        Json::Value value;
        EXPECT_TRUE(config::readJsonFile(path(), value));
        EXPECT_EQ(value[0], value[500]);
    }
}

TEST(ReadJsonFile, ChangingDuringEachRead_IsUnavailable) {
    writeFile(path(), listOf(0));
    support::disturbReads(path(), [&](std::size_t call) {
        overwrite(listOf(call));
        return support::ReadStep{0, 200};
    });
    Json::Value value = "before";
    EXPECT_TRUE(config::readJsonFile(path(), value).unavailable());
    EXPECT_EQ(value, Json::Value("before"));
}

TEST(ReadJsonFile, TouchedDuringEachRead_IsParsed) {
    writeFile(path(), kText);
    auto time = std::filesystem::file_time_type::clock::now();
    support::disturbReads(path(), [&](std::size_t) {
        std::filesystem::last_write_time(path(), time += std::chrono::seconds(1));
        return support::ReadStep{};
    });
    Json::Value value;
    EXPECT_TRUE(config::readJsonFile(path(), value));
    EXPECT_EQ(value, expectedTree());
}

/// Of the file at path().
int openDescriptor() {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closed;
        if (std::filesystem::read_symlink(entry, closed) == path()) {
            return std::stoi(entry.path().filename());
        }
    }
    throw std::runtime_error("the file is not open");
}

/// A daemon that closes all descriptors, and uses the numbers again.
TEST(ReadJsonFile, NumberReusedDuringTheRead_IsUnavailableAndTheOtherFileStaysOpen) {
    writeFile(path(), kText);
    writeFile(path("other.json"), kText);
    int ends[2]{};
    ASSERT_EQ(::pipe(ends), 0);
    for (const int other : {ends[0], ::open(path("other.json").c_str(), O_RDONLY)}) {
        int number = -1;
        support::disturbReads(path(), [&](std::size_t) {
            number = openDescriptor();
            ::dup2(other, number);
            return support::ReadStep{};
        });
        Json::Value value = "before";
        const config::ReadResult result = config::readJsonFile(path(), value);
        EXPECT_TRUE(result.unavailable());
        EXPECT_EQ(result.error(), EBADF);
        EXPECT_EQ(value, Json::Value("before"));
        EXPECT_EQ(::close(number), 0);
    }
}

TEST(ReadJsonFile, DescriptorClosedDuringTheRead_IsUnavailable) {
    writeFile(path(), kText);
    support::disturbReads(path(), [&](std::size_t) {
        ::close(openDescriptor());
        return support::ReadStep{};
    });
    Json::Value value;
    EXPECT_TRUE(config::readJsonFile(path(), value).unavailable());
}

TEST(ReadJsonFile, AnyOutcome_DescriptorIsCloseOnExecFromCreation) {
    writeFile(path(), kText);
    std::filesystem::create_directory(path("directory.json"));
    Json::Value value;
    config::readJsonFile(path(), value);
    config::readJsonFile(path("directory.json"), value);
    config::readJsonFile(path("missing.json"), value);
    const std::vector<support::OpenCall> calls = support::openCalls();
    EXPECT_EQ(calls.size(), 3U);
    for (const support::OpenCall& call : calls) {
        EXPECT_TRUE(call.closeOnExec) << call.path;
    }
}

TEST(ReadJsonFile, AThousandCallsOfEveryOutcome_LeaveNoDescriptorOpen) {
    writeFile(path("good.json"), kText);
    writeFile(path("bad.json"), "{");
    writeFile(path("failing.json"), kText);
    std::filesystem::create_directory(path("directory.json"));
    ASSERT_EQ(::mkfifo(path("pipe.json").c_str(), 0600), 0);
    support::disturbReads(path("failing.json"), [](std::size_t call) {
        return call % 2 == 0 ? support::ReadStep{0, 5} : support::ReadStep{EIO};
    });
    const std::size_t before = openDescriptors();
    Json::Value value;
    for (int round = 0; round < 1000; ++round) {
        EXPECT_TRUE(config::readJsonFile(path("good.json"), value));
        for (const char* name :
             {"bad.json", "failing.json", "directory.json", "pipe.json", "missing.json"}) {
            EXPECT_FALSE(config::readJsonFile(path(name), value)) << name;
        }
    }
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
