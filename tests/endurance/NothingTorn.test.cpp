// SPDX-License-Identifier: Apache-2.0

#include "History.h"
#include "Rounds.h"
#include "SysConfReaderImpl.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

namespace {

using endurance::History;
using Quarncommon::SysConfReaderImpl;

constexpr std::size_t kThreads = 32;

/// A round is a query.
TEST(NothingTorn, FilesReplacedAndReloadedDuringQueries_EachAnswerIsFromOneGeneration) {
    History history;
    endurance::Watchdog watchdog;
    const int questions = endurance::rounds(20'000);
    constexpr int kLeastGenerations = 20;
    std::atomic<int> asked{0};
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::mutex mutex;
    std::string firstWrong;
    const auto check = [&](const std::string& complaint) {
        if (!complaint.empty() && ++wrong == 1) {
            const std::lock_guard<std::mutex> guard(mutex);
            firstWrong = complaint;
        }
    };
    int generation = 1;
    support::runTogether(1 + kThreads, [&](std::size_t thread) {
        if (thread == 0) {
            while (asked < questions || generation < kLeastGenerations) {
                history.write(++generation);
                SysConfReaderImpl::Instance()->Reload();
                history.noteLoaded(generation);
                watchdog.progress();
            }
            done = true;
            return;
        }
        const std::vector<queries::ReaderQuery>& all = queries::ofReader();
        for (std::size_t i = thread; !done; ++i, ++asked) {
            if (i % (all.size() + 1) == 0) {
                check(history.wrongWithRoles());
            } else if (const queries::ReaderQuery& query = all[i % (all.size() + 1) - 1];
                       query.name != std::string("GetAppRoot")) {
                check(history.wrongWith(query));
            }
        }
    });
    EXPECT_EQ(wrong, 0) << firstWrong;
    EXPECT_GE(asked, questions);
    RecordProperty("queries", asked);
    RecordProperty("generations", generation);
}

} // namespace
