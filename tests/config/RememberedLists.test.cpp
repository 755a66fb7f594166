// SPDX-License-Identifier: Apache-2.0
// After any change of a file, the next query answers from the new bytes.

#include "SysConfReader.h"
#include "support/Deployment.h"
#include "support/Sanitizers.h"
#include "support/Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// Added to the time of day. A file that seems old is read only once.
std::atomic<time_t> g_later{0};

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = ::syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && clock == CLOCK_REALTIME) {
        time->tv_sec += g_later;
    }
    return static_cast<int>(result);
}

namespace {

using Quarncommon::SysConfReader;
using support::Deployment;
using support::rounds;

/// After this number of queries of one text, its parse has its final form.
constexpr int kQueriesUntilKept = 8;

constexpr const char* kAppConfig = R"({"processes":{"p1":{"nodeId":"n1"}}})";

/// All addresses have the same length, so lists with the same number of nodes have it too.
std::string address(int number) {
    const std::string block = std::to_string(100 + number / 100);
    return "10." + block + "." + std::to_string(100 + number % 100) + ".1";
}

std::string listOf(int number, int others = 30) {
    const auto node = [&](const std::string& id) {
        return "\n    \"" + id + R"(": {"IPAddresses": [{"usage": ["service", "float"], "IP": ")" +
               address(number) + R"("}, {"usage": ["service2"], "IP": ")" + address(number) +
               R"("}], "assignedToTenancy": "t", "weight": 7, "label": "\u00e4\n"})";
    };
    std::string text = R"({"nodeList": {)";
    for (int i = 0; i < others / 2; ++i) {
        text += node("a" + std::to_string(i)) + ",";
    }
    text += node("n1");
    for (int i = others / 2; i < others; ++i) {
        text += "," + node("z" + std::to_string(i));
    }
    return text + "}}\n";
}

class RememberedLists : public testing::Test {
protected:
    RememberedLists() {
        deployment.appConfig(kAppConfig).nodeList(listOf(0)).managerNodeList(listOf(0));
        reader = SysConfReader::Instance();
        for (int i = 0; i < kQueriesUntilKept; ++i) {
            expectAnswer(0);
        }
    }

    std::string service() { return reader->getLocalIPByUsage("service"); }

    void expectAnswer(int number) { EXPECT_EQ(service(), address(number)); }

    std::string path() const { return deployment.nodeListPath(); }

    void overwrite(const std::string& text) const {
        const int file = ::open(path().c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(::pwrite(file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
        ::close(file);
    }

    Deployment deployment;
    SysConfReader* reader = nullptr;
};

TEST_F(RememberedLists, StoredThroughAMapping_AnswersFromTheNewBytes) {
    // Such a store may change the time stamps only after half a minute.
    g_later = 3600;
    const std::string list = listOf(0);
    const int file = ::open(path().c_str(), O_RDWR | O_CLOEXEC);
    void* const mapped = ::mmap(nullptr, list.size(), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    ASSERT_NE(mapped, MAP_FAILED);
    for (int round = 1; round <= 50; ++round) {
        const std::string changed = listOf(round);
        ASSERT_EQ(changed.size(), list.size());
        std::copy(changed.begin(), changed.end(), static_cast<char*>(mapped));
        for (int i = 0; i < 1 + round % (2 * kQueriesUntilKept); ++i) {
            expectAnswer(round);
        }
    }
    ::munmap(mapped, list.size());
}

TEST_F(RememberedLists, WrittenInPlaceWithinOneTickOfTheClock_AnswersFromTheNewBytes) {
    for (int round = 1; round <= rounds(400); ++round) {
        overwrite(listOf(round));
        expectAnswer(round);
        expectAnswer(round);
    }
}

TEST_F(RememberedLists, OneByteDiffersAtTheEnd_AnswersFromTheNewBytes) {
    // Longer than the pieces that are read and compared.
    std::string text = listOf(1, 600);
    ASSERT_GT(text.size(), 100'000U);
    deployment.nodeList(text);
    expectAnswer(1);
    for (int i = 0; i < kQueriesUntilKept; ++i) {
        text.back() = text.back() == '\n' ? 'x' : '\n';
        overwrite(text);
        EXPECT_EQ(service(), text.back() == '\n' ? address(1) : "");
    }
}

TEST_F(RememberedLists, ReplacedByAFileOfTheSameSizeAndTime_AnswersFromTheNewBytes) {
    g_later = 3600;
    struct stat status {};
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    const timespec times[] = {status.st_atim, status.st_mtim};
    for (int round = 1; round <= 20; ++round) {
        deployment.nodeList(listOf(round));
        ASSERT_EQ(::utimensat(AT_FDCWD, path().c_str(), times, 0), 0);
        expectAnswer(round);
    }
}

TEST_F(RememberedLists, TextsAlternate_AnswersFromEach) {
    for (int round = 0; round < 60; ++round) {
        deployment.nodeList(listOf(round % 3, round % 2 == 0 ? 30 : 31));
        for (int i = 0; i <= round % kQueriesUntilKept; ++i) {
            expectAnswer(round % 3);
        }
    }
}

TEST_F(RememberedLists, Touched_AnswersAreUnchanged) {
    for (int round = 0; round < 20; ++round) {
        g_later = 3600 * (round % 2);
        ASSERT_EQ(::utimensat(AT_FDCWD, path().c_str(), nullptr, 0), 0);
        expectAnswer(0);
    }
}

TEST_F(RememberedLists, TruncatedRemovedAndBack_AnswersFollow) {
    for (const off_t length : {0, 1, 4096, static_cast<int>(listOf(0).size()) - 2}) {
        ASSERT_EQ(::truncate(path().c_str(), length), 0);
        EXPECT_EQ(service(), "") << length;
        overwrite(listOf(0));
        expectAnswer(0);
    }
    std::filesystem::remove(path());
    EXPECT_EQ(service(), "");
    deployment.nodeList(listOf(0));
    expectAnswer(0);
    deployment.nodeList(listOf(0) + std::string(1, '\0'));
    EXPECT_EQ(service(), "");
}

TEST_F(RememberedLists, PathSwitchedByTheEnvironment_AnswersFromThatPath) {
    Deployment other;
    const std::filesystem::path root = deployment.appRoot().parent_path() / "other";
    support::writeFile(root / "etc/sysconf/nodelist.json", listOf(7));
    for (int round = 0; round < 40; ++round) {
        const bool there = round % 3 == 1;
        support::setEnvironment("APP_ROOT", there ? root.c_str() : deployment.appRoot().c_str());
        expectAnswer(there ? 7 : 0);
    }
}

TEST_F(RememberedLists, ManagerNodeList_IsRememberedSeparately) {
    const auto answers = [&] {
        std::map<std::string, std::set<std::string>> byNode;
        EXPECT_EQ(reader->getAllFloatIP({"float"}, byNode), 0);
        return byNode;
    };
    for (int i = 0; i < 2 * kQueriesUntilKept; ++i) {
        EXPECT_EQ(answers().size(), 31U);
        EXPECT_EQ(answers()["n1"], std::set<std::string>{address(0)});
        expectAnswer(0);
    }
    deployment.managerNodeList(listOf(9, 4));
    EXPECT_EQ(answers().size(), 5U);
    EXPECT_EQ(answers()["a0"], std::set<std::string>{address(9)});
    expectAnswer(0);
}

TEST_F(RememberedLists, ListWithBytesOutsideUnicode_AnswersLikeAnyOther) {
    std::string text = listOf(3);
    text.replace(text.find("\\u00e4\\n"), 8, "\xff\xfe\xed\xa0\x80\xc0\x80\xf4");
    deployment.nodeList(text);
    for (int i = 0; i < 2 * kQueriesUntilKept; ++i) {
        expectAnswer(3);
    }
}

TEST_F(RememberedLists, Destroyed_NextReaderAnswersFromTheFile) {
    for (int round = 1; round <= 5; ++round) {
        SysConfReader::Destory();
        deployment.nodeList(listOf(round));
        reader = SysConfReader::Instance();
        for (int i = 0; i < kQueriesUntilKept; ++i) {
            expectAnswer(round);
        }
    }
}

TEST_F(RememberedLists, ReplacedWhileThreadsQuery_EachAnswerIsFromOneText) {
    const int last = rounds(800);
    std::atomic<int> written{0};
    support::runTogether(5, [&](std::size_t thread) {
        if (thread == 0) {
            for (int round = 1; round <= last; ++round) {
                deployment.nodeList(listOf(round, round % 40));
                written = round;
            }
            return;
        }
        while (written < last) {
            const int before = written;
            std::map<int, std::string> byNumber;
            std::string first;
            std::string second;
            reader->getLocalNodeIPs("float", byNumber, first, second);
            ASSERT_EQ(first, second);
            ASSERT_EQ(byNumber[0], first);
            // Addresses ascend with the rounds.
            ASSERT_GE(first, address(before));
        }
    });
    expectAnswer(last);
}

TEST_F(RememberedLists, WrittenByOneLongCallWhileThreadsQuery_AnswersAreFromEitherText) {
    const std::string texts[] = {listOf(1, 600), listOf(2, 600)};
    std::atomic<bool> done{false};
    std::array<std::atomic<int>, 2> answers{};
    overwrite(texts[0]);
    support::runTogether(3, [&](std::size_t thread) {
        if (thread == 0) {
            for (int round = 0; round < rounds(160); ++round) {
                overwrite(texts[round % 2]);
                // A file that changes during each of several reads is unreadable.
                for (const std::atomic<int>& given : answers) {
                    const int before = given;
                    while (given < before + 2) {
                        std::this_thread::yield();
                    }
                }
            }
            done = true;
            return;
        }
        while (!done) {
            EXPECT_THAT(service(), testing::AnyOf(address(1), address(2)));
            ++answers.at(thread - 1);
        }
    });
    expectAnswer(2);
}

#ifndef SANITIZED // their allocators may remain locked in a child of a process with threads
TEST_F(RememberedLists, ChildForkedWhileThreadsQueryAndTextsChange_AnswersFromTheFile) {
    std::atomic<bool> done{false};
    std::vector<std::jthread> threads;
    threads.emplace_back([&] {
        for (int round = 1; !done; ++round) {
            deployment.managerNodeList(listOf(round % 90));
        }
    });
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!done) {
                std::list<std::string> addresses;
                reader->getIPAddresses("assignedToTenancy", "t", addresses);
                service();
            }
        });
    }
    for (int i = 0; i < rounds(80); ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            std::list<std::string> addresses;
            const bool right = service() == address(0) && service() == address(0) &&
                               reader->getIPAddresses("assignedToTenancy", "t", addresses) == 0 &&
                               addresses.size() == 62;
            ::_exit(right ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    done = true;
}
#endif

} // namespace
