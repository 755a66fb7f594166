// SPDX-License-Identifier: Apache-2.0
// Lists that are replaced, rewritten or deleted between calls and during a call. Every answer is
// from the old list, from the new one, or that without a list; never a mixture.

#include "FileWatch.h"
#include "SysConfReader.h"
#include "support/Deployment.h"
#include "support/SampleQueries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using Quarncommon::SysConfReader;

enum class Motion { Renamed, TruncatedAndRewritten, Overwritten, Deleted };

const std::pair<Motion, const char*> kMotions[] = {
    {Motion::Renamed, "renamed"},
    {Motion::TruncatedAndRewritten, "truncated and rewritten"},
    {Motion::Overwritten, "overwritten"},
    {Motion::Deleted, "deleted"},
};

void writeInPlace(const std::filesystem::path& path, const std::string& text, int flags) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0600);
    ASSERT_GE(file, 0);
    // In two pieces, like a program with a buffer.
    const std::size_t half = text.size() / 2;
    ASSERT_EQ(::write(file, text.data(), half), static_cast<ssize_t>(half));
    ASSERT_EQ(::write(file, text.data() + half, text.size() - half),
              static_cast<ssize_t>(text.size() - half));
    ASSERT_EQ(::ftruncate(file, static_cast<off_t>(text.size())), 0);
    ::close(file);
}

void move(Motion motion, const std::filesystem::path& path, const std::string& text) {
    switch (motion) {
    case Motion::Renamed:
        support::writeFile(path, text);
        break;
    case Motion::TruncatedAndRewritten:
        writeInPlace(path, text, O_TRUNC);
        break;
    case Motion::Overwritten:
        writeInPlace(path, text, 0);
        break;
    case Motion::Deleted:
        std::filesystem::remove(path);
        break;
    }
}

/// Now, long ago, or a fixed future moment, as if written twice within one tick of the clock.
enum class Stamp { JustNow, LongAgo, OneTick };

void stamp(const std::filesystem::path& path, Stamp kind) {
    const std::time_t moment = kind == Stamp::LongAgo ? 1000000000 : 4000000000; // in 2001, in 2096
    const timespec times[2] = {{moment, 0}, {moment, 0}};
    if (kind != Stamp::JustNow) {
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
}

struct Lists {
    support::Deployment files;

    Lists() {
        files.appConfig(queries::appConfig("m"));
        SysConfReader::Instance();
    }

    std::filesystem::path pathFor(const queries::ReaderQuery& query) const {
        return query.reads == queries::Reads::NodeList ? files.nodeListPath()
                                                       : files.managerNodeListPath();
    }
};

std::vector<queries::ReaderQuery> listQueries() {
    std::vector<queries::ReaderQuery> both = queries::reading(queries::Reads::NodeList);
    for (const queries::ReaderQuery& query : queries::reading(queries::Reads::ManagerNodeList)) {
        both.push_back(query);
    }
    return both;
}

TEST(FilesInMotion, MovedBetweenCalls_AnswerOfTheNewListAtOnce) {
    const Lists lists;
    const std::string texts[] = {queries::nodeList("a"), queries::nodeList("bb"),
                                 queries::nodeList("c")};
    for (const queries::ReaderQuery& query : listQueries()) {
        const std::filesystem::path path = lists.pathFor(query);
        std::filesystem::remove(path);
        const std::string none = queries::ask(query);
        for (const auto& [motion, name] : kMotions) {
            for (const std::string& text : texts) {
                support::writeFile(path, text);
                const std::string expected = motion == Motion::Deleted ? none : queries::ask(query);
                support::writeFile(path, texts[0]);
                queries::ask(query);
                move(motion, path, text);
                EXPECT_EQ(queries::ask(query), expected) << query.name << ", " << name;
            }
        }
    }
}

struct Answers {
    std::string oldOne;
    std::string newOne;
    std::string none;

    testing::Matcher<std::string> oneOfThem() const { return testing::AnyOf(oldOne, newOne, none); }
};

Answers quietAnswers(const queries::ReaderQuery& query, const std::filesystem::path& path,
                     const std::string& oldText, const std::string& newText) {
    Answers answers;
    std::filesystem::remove(path);
    answers.none = queries::ask(query);
    support::writeFile(path, newText);
    answers.newOne = queries::ask(query);
    support::writeFile(path, oldText);
    answers.oldOne = queries::ask(query);
    return answers;
}

/// Changes the file before the query's file call number `at` (from 0). Returns the answer and
/// whether the query made that many calls.
std::pair<std::string, bool> askWhileMoving(const queries::ReaderQuery& query, std::size_t at,
                                            const std::function<void()>& moveIt) {
    std::size_t calls = 0;
    support::FileWatch watch([&](support::FileCall, const std::string&) {
        if (calls++ == at) {
            moveIt();
        }
    });
    watch.limitReads(150); // several reads for each file
    std::string answer = queries::ask(query);
    return {std::move(answer), calls > at};
}

void moveAtEachFileCall(Motion motion, const std::string& oldText, const std::string& newText,
                        Stamp kind) {
    const Lists lists;
    for (const queries::ReaderQuery& query : listQueries()) {
        const std::filesystem::path path = lists.pathFor(query);
        const Answers answers = quietAnswers(query, path, oldText, newText);
        bool reached = true;
        std::size_t at = 0;
        for (; reached; ++at) {
            support::writeFile(path, oldText);
            stamp(path, kind);
            const auto [answer, made] = askWhileMoving(query, at, [&] {
                move(motion, path, newText);
                if (kind == Stamp::OneTick) {
                    stamp(path, kind);
                }
            });
            EXPECT_THAT(answer, answers.oneOfThem()) << query.name << ", file call " << at;
            reached = made;
        }
        EXPECT_GT(at, 4U) << query.name;
    }
}

TEST(FilesInMotion, RenamedDuringACall_AnswerIsOfOneList) {
    for (const Stamp kind : {Stamp::JustNow, Stamp::LongAgo, Stamp::OneTick}) {
        moveAtEachFileCall(Motion::Renamed, queries::nodeList("a"), queries::nodeList("b"), kind);
        moveAtEachFileCall(Motion::Renamed, queries::nodeList("a"), queries::nodeList("b", 3),
                           kind);
    }
}

TEST(FilesInMotion, DeletedDuringACall_AnswerIsOfTheListOrNone) {
    moveAtEachFileCall(Motion::Deleted, queries::nodeList("a"), "", Stamp::JustNow);
    moveAtEachFileCall(Motion::Deleted, queries::nodeList("a"), "", Stamp::LongAgo);
}

TEST(FilesInMotion, RewrittenDuringACallToTheSameLength_AnswerIsOfOneListOrNone) {
    for (const Stamp kind : {Stamp::JustNow, Stamp::LongAgo, Stamp::OneTick}) {
        for (const Motion motion : {Motion::TruncatedAndRewritten, Motion::Overwritten}) {
            moveAtEachFileCall(motion, queries::nodeList("a"), queries::nodeList("b"), kind);
        }
    }
}

TEST(FilesInMotion, RewrittenDuringACallToAnotherLength_AnswerIsOfOneListOrNone) {
    for (const Motion motion : {Motion::TruncatedAndRewritten, Motion::Overwritten}) {
        moveAtEachFileCall(motion, queries::nodeList("a"), queries::nodeList("bbb"),
                           Stamp::LongAgo);
        moveAtEachFileCall(motion, queries::nodeList("aaa"), queries::nodeList("b"),
                           Stamp::LongAgo);
        moveAtEachFileCall(motion, queries::nodeList("a"), queries::nodeList("b", 3),
                           Stamp::JustNow);
        moveAtEachFileCall(motion, queries::nodeList("a", 3), queries::nodeList("b"),
                           Stamp::JustNow);
        // Differs by white space, which the parser accepts.
        moveAtEachFileCall(motion, queries::nodeList("a"),
                           queries::nodeList("b") + std::string(500, ' '), Stamp::LongAgo);
    }
}

TEST(FilesInMotion, TruncatedDuringACall_AnswerIsOfTheListOrNone) {
    for (const Stamp kind : {Stamp::JustNow, Stamp::LongAgo, Stamp::OneTick}) {
        moveAtEachFileCall(Motion::TruncatedAndRewritten, queries::nodeList("a"), "", kind);
    }
}

std::string markOf(std::size_t number) {
    return std::to_string(10000 + number);
}

std::string withMark(std::string answer, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = answer.find(from, at)) != std::string::npos; at += to.size()) {
        answer.replace(at, from.size(), to);
    }
    return answer;
}

// With two texts that alternate in step with the reads, each pass could give the same mixture.
TEST(FilesInMotion, RewrittenBeforeEachFileCall_AnswerIsOfOneListOrNone) {
    const Lists lists;
    for (const Motion motion : {Motion::TruncatedAndRewritten, Motion::Overwritten}) {
        for (const queries::ReaderQuery& query : listQueries()) {
            const std::filesystem::path path = lists.pathFor(query);
            const std::string first = queries::nodeList(markOf(0));
            const Answers answers = quietAnswers(query, path, first, first);
            for (const std::size_t limit : {70U, 100U, 130U, 170U, 200U, 250U, 300U, 400U}) {
                std::size_t calls = 0;
                support::FileWatch watch([&](support::FileCall, const std::string&) {
                    move(motion, path, queries::nodeList(markOf(++calls)));
                });
                watch.limitReads(limit);
                const std::string answer = queries::ask(query);
                std::set<std::string> whole{answers.none};
                for (std::size_t n = 0; n <= calls; ++n) {
                    whole.insert(withMark(answers.oldOne, markOf(0), markOf(n)));
                }
                EXPECT_TRUE(whole.contains(answer)) << query.name << ' ' << limit << ' ' << answer;
                EXPECT_GT(calls, 4U);
            }
        }
    }
}

struct Race {
    Motion motion;
    std::size_t furtherNodes;
    int questions;
};

/// Not for overwriting, during which the file itself is a mixture.
void ask(const Race& race) {
    const Lists lists;
    const std::string texts[] = {queries::nodeList("a", race.furtherNodes),
                                 queries::nodeList("b", race.furtherNodes)};
    for (const queries::ReaderQuery& query : listQueries()) {
        const std::filesystem::path path = lists.pathFor(query);
        const Answers answers = quietAnswers(query, path, texts[0], texts[1]);
        std::atomic<bool> done{false};
        std::thread writer([&] {
            for (std::size_t n = 0; !done; ++n) {
                if (race.motion == Motion::Deleted && n % 2 == 0) {
                    move(Motion::Deleted, path, "");
                } else {
                    move(race.motion == Motion::Deleted ? Motion::Renamed : race.motion, path,
                         texts[n / 2 % 2]);
                }
            }
        });
        for (int question = 0; question < race.questions; ++question) {
            const std::string answer = queries::ask(query);
            EXPECT_THAT(answer, answers.oneOfThem()) << query.name;
            if (race.motion == Motion::Renamed) {
                // There is a complete list at any moment.
                EXPECT_THAT(answer, testing::AnyOf(answers.oldOne, answers.newOne)) << query.name;
            }
        }
        done = true;
        writer.join();
    }
}

constexpr std::size_t kLarge = 900; // about 300 KiB

TEST(FilesInMotionRace, SmallListRenamed_AnswerIsOfOneList) {
    ask({Motion::Renamed, 0, 200});
}
TEST(FilesInMotionRace, LargeListRenamed_AnswerIsOfOneList) {
    ask({Motion::Renamed, kLarge, 3});
}
TEST(FilesInMotionRace, SmallListRewritten_AnswerIsOfOneListOrNone) {
    ask({Motion::TruncatedAndRewritten, 0, 200});
}
TEST(FilesInMotionRace, LargeListRewritten_AnswerIsOfOneListOrNone) {
    ask({Motion::TruncatedAndRewritten, kLarge, 3});
}
TEST(FilesInMotionRace, SmallListDeletedAndBack_AnswerIsOfOneListOrNone) {
    ask({Motion::Deleted, 0, 200});
}
TEST(FilesInMotionRace, LargeListDeletedAndBack_AnswerIsOfOneListOrNone) {
    ask({Motion::Deleted, kLarge, 3});
}

} // namespace
