// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderStatus.h"
#include "support/EventLibrary.h"
#include "support/InChild.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <poll.h>
#include <semaphore>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Quarncommon::SysConfReader;
using Status = Quarncommon::SysConfReaderStatus;
using support::inChild;

bool readable(int descriptor) {
    pollfd polled{descriptor, POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1 && polled.revents == POLLIN;
}

void reload() {
    SysConfReader::Instance()->Reload();
}

class StatusOfAChild : public testing::Test {
protected:
    StatusOfAChild() {
        support::installEventLibrary("recording");
        writeGeneration(m_files, 1);
        SysConfReader::Instance();
    }

    support::Deployment m_files;
};

TEST_F(StatusOfAChild, AfterTheFork_IsThatOfTheParentWithoutTheSubscription) {
    EXPECT_EQ(Status::read().subscription, Status::Subscription::Subscribed);
    EXPECT_EQ(inChild([] {
                  const Status status = Status::read();
                  if (status.lastLoad != 2 || status.reader.number != 2 ||
                      status.subscription != Status::Subscription::None ||
                      std::strlen(status.eventLibrary) != 0) {
                      return 1;
                  }
                  reload();
                  return Status::generation() == 3 ? 0 : 2;
              }),
              0);
    EXPECT_EQ(Status::generation(), 2U);
    EXPECT_EQ(Status::read().subscription, Status::Subscription::Subscribed);
}

TEST_F(StatusOfAChild, LoadsOfTheChild_CallCallbacksAndNotifyItsDescriptorsOnly) {
    static int calls = 0;
    Status::subscribe([](unsigned long long, void*) { ++calls; }, nullptr);
    const int inherited = Status::openDescriptor();
    EXPECT_EQ(inChild([&] {
                  const int own = Status::openDescriptor();
                  reload();
                  if (calls != 1 || own == inherited || !readable(own)) {
                      return 1;
                  }
                  Status::closeDescriptor(inherited);
                  return readable(inherited) ? 2 : 0;
              }),
              0);
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(readable(inherited));
    reload();
    EXPECT_TRUE(readable(inherited));
}

TEST_F(StatusOfAChild, ForkedWithinACallback_ReturnsFromItAndUnsubscribes) {
    static unsigned long long id = 0;
    static int status = -1;
    static pid_t parent = ::getpid();
    id = Status::subscribe(
        [](unsigned long long, void*) {
            const pid_t child = ::fork();
            if (child != 0) {
                ::waitpid(child, &status, 0);
            } else {
                ::alarm(support::kPatience);
            }
        },
        nullptr);
    reload();
    if (::getpid() != parent) {
        Status::unsubscribe(id);
        reload();
        ::_exit(0);
    }
    EXPECT_EQ(status, 0);
}

TEST_F(StatusOfAChild, ForkedWhileAnotherThreadRunsACallback_DoesNotWaitForIt) {
    static std::binary_semaphore inside{0};
    static std::binary_semaphore leave{0};
    static std::atomic<bool> blocks{true};
    const auto id = Status::subscribe(
        [](unsigned long long, void*) {
            if (blocks) {
                inside.release();
                leave.acquire();
            }
        },
        nullptr);
    std::jthread loading(&reload);
    inside.acquire();
    EXPECT_EQ(inChild([id] {
                  blocks = false;
                  Status::unsubscribe(id);
                  reload();
                  return 0;
              }),
              0);
    leave.release();
}

TEST_F(StatusOfAChild, ForkedBesideLoadsAndSubscriptions_FindsAWholeStatus) {
    std::atomic<bool> done{false};
    std::vector<std::jthread> threads;
    threads.emplace_back([&] {
        while (!done) {
            reload();
        }
    });
    threads.emplace_back([&] {
        while (!done) {
            Status::closeDescriptor(Status::openDescriptor());
            Status::unsubscribe(Status::subscribe([](unsigned long long, void*) {}, nullptr));
        }
    });
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(inChild([] {
                      const Status status = Status::read();
                      if (status.lastLoad < 2 || status.reader.number != status.lastLoad ||
                          status.reader.nodeList.outcome != Status::Outcome::Loaded) {
                          return 1;
                      }
                      const int descriptor = Status::openDescriptor();
                      reload();
                      return readable(descriptor) ? 0 : 2;
                  }),
                  0);
    }
    done = true;
}

TEST_F(StatusOfAChild, LoadAfterTheExitHandler_CallsNoCallback) {
    EXPECT_EQ(inChild([]() -> int {
                  static int calls = 0;
                  // Handlers run in the reverse order of their registration.
                  std::atexit([] {
                      reload();
                      ::_exit(calls);
                  });
                  Status::subscribe([](unsigned long long, void*) { ++calls; }, nullptr);
                  reload();
                  calls = calls == 1 ? 10 : 20;
                  std::exit(3);
              }),
              10);
}

} // namespace
