// SPDX-License-Identifier: Apache-2.0

#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/HostAddresses.h"
#include "support/LocksFree.h"
#include "support/Operations.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using operations::Answers;

struct Fault {
    std::string name;
    std::function<void(const fs::path&)> make;
    std::function<void(const fs::path&)> end = [](const fs::path&) {};
};

class SystemCalls : public testing::Test {
protected:
    SystemCalls() {
        support::setHostAddresses({operations::kSourceAddress});
        support::installEventLibrary("recording");
    }

    struct Loads {
        Answers first;
        Answers again;
    };

    static void expectAlike(const Loads& loads, const Loads& expected) {
        EXPECT_EQ(operations::differences(loads.first, expected.first), "") << "first load";
        EXPECT_EQ(operations::differences(loads.again, expected.again), "") << "reload";
    }

    Loads loadsUnder(const Fault& fault, const fs::path& path) {
        Loads loads;
        operations::destroyAll();
        writeAll("standby");
        fault.make(path);
        loads.first = operations::answers();
        fault.end(path);

        operations::destroyAll();
        writeAll("before");
        operations::createAll();
        writeAll("standby");
        fault.make(path);
        operations::reloadAll();
        loads.again = operations::answers();
        fault.end(path);
        support::expectLocksFree();
        return loads;
    }

    void writeAll(const std::string& mark) {
        for (const fs::path& path : operations::paths(files)) {
            fs::remove_all(path);
        }
        operations::writeFiles(files, mark);
    }

    void expectLikeWithoutTheFile(const std::vector<Fault>& all) {
        const Fault absent{"absent", [](const fs::path& path) { fs::remove(path); }};
        const Fault none{"none", [](const fs::path&) {}};
        for (const fs::path& path : operations::paths(files)) {
            const Loads without = loadsUnder(absent, path);
            const Loads whole = loadsUnder(none, path);
            EXPECT_NE(without.first, whole.first);
            EXPECT_NE(without.again, whole.again);
            for (const Fault& fault : all) {
                SCOPED_TRACE(fault.name + " of " + path.filename().string());
                expectAlike(loadsUnder(fault, path), without);
                writeAll("standby");
                operations::reloadAll();
                EXPECT_EQ(operations::differences(operations::answers(), whole.again), "")
                    << "after it";
            }
        }
    }

    void expectLikeWithTheFile(const std::vector<Fault>& all) {
        for (const fs::path& path : operations::paths(files)) {
            const Loads whole = loadsUnder({"none", [](const fs::path&) {}}, path);
            for (const Fault& fault : all) {
                SCOPED_TRACE(fault.name + " of " + path.filename().string());
                expectAlike(loadsUnder(fault, path), whole);
            }
        }
    }

    support::Deployment files;
};

Fault failingOpen(int error) {
    return {"open, " + std::to_string(error),
            [error](const fs::path& path) {
                support::failOpens(path, [error](std::size_t) { return error; });
            },
            [](const fs::path& path) { support::failOpens(path, nullptr); }};
}

Fault failingStat(int error, std::size_t which) {
    return {"fstat " + std::to_string(which) + ", " + std::to_string(error),
            [=](const fs::path& path) {
                support::failStats(path, [=](std::size_t call) {
                    return which == 0 || call % 2 == 1 ? error : 0;
                });
            },
            [](const fs::path& path) { support::failStats(path, nullptr); }};
}

using ReadScript = std::function<support::ReadStep(std::size_t)>;

Fault disturbedReads(const std::string& name, const ReadScript& script) {
    return {name, [script](const fs::path& path) { support::disturbReads(path, script); },
            [](const fs::path& path) { support::disturbReads(path, nullptr); }};
}

TEST_F(SystemCalls, OpenFails_AnswerLikeWithoutTheFile) {
    std::vector<Fault> all;
    for (const int error :
         {EACCES, EPERM, ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG, EMFILE, ENFILE, ENOMEM, EIO, ENXIO,
          ENODEV, EOVERFLOW, ETXTBSY, EBUSY, EINVAL, ESTALE, EDQUOT, EWOULDBLOCK}) {
        all.push_back(failingOpen(error));
    }
    expectLikeWithoutTheFile(all);
}

TEST_F(SystemCalls, FstatFails_AnswerLikeWithoutTheFile) {
    std::vector<Fault> all;
    for (const int error : {EBADF, EIO, ENOMEM, EOVERFLOW, EACCES, ESTALE}) {
        all.push_back(failingStat(error, 0));
        all.push_back(failingStat(error, 1));
    }
    expectLikeWithoutTheFile(all);
}

TEST_F(SystemCalls, ReadFailsAtOnceOrHalfWay_AnswerLikeWithoutTheFile) {
    std::vector<Fault> all;
    for (const int error : {EIO, EISDIR, EINVAL, ENXIO, EAGAIN, EBADF, ENOMEM, EOVERFLOW, ESTALE,
                            ENOBUFS, ETIMEDOUT}) {
        const std::string name = "read, " + std::to_string(error);
        all.push_back(disturbedReads(name + " at once",
                                     [error](std::size_t) { return support::ReadStep{error}; }));
        all.push_back(disturbedReads(name + " half-way", [error](std::size_t call) {
            return call % 2 == 0 ? support::ReadStep{0, 100} : support::ReadStep{error};
        }));
    }
    expectLikeWithoutTheFile(all);
}

TEST_F(SystemCalls, InterruptedOrShort_AnswerLikeUndisturbed) {
    const Fault interruptedOpens{
        "interrupted opens",
        [](const fs::path& path) {
            support::failOpens(path, [](std::size_t call) { return call % 4 != 3 ? EINTR : 0; });
        },
        [](const fs::path& path) { support::failOpens(path, nullptr); }};
    const Fault leased{"interrupted while the holder of a lease is waited for",
                       [](const fs::path& path) {
                           support::failOpens(path, [](std::size_t call) {
                               constexpr int kErrors[] = {EWOULDBLOCK, EINTR, 0};
                               return kErrors[call % 3];
                           });
                       },
                       [](const fs::path& path) { support::failOpens(path, nullptr); }};
    expectLikeWithTheFile(
        {interruptedOpens, leased,
         disturbedReads("reads of one byte",
                        [](std::size_t) {
                            return support::ReadStep{0, 1};
                        }),
         disturbedReads("interrupted reads", [](std::size_t call) {
             return call % 3 != 2 ? support::ReadStep{EINTR} : support::ReadStep{0, 50};
         })});
}

void makeSocket(const fs::path& path) {
    // The address of a socket has no room for a long path.
    const fs::path before = fs::current_path();
    fs::current_path(path.parent_path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.filename().string().copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(socket);
    fs::current_path(before);
}

Fault inPlace(const std::string& name, const std::function<void(const fs::path&)>& make) {
    return {name, [make](const fs::path& path) {
                fs::remove(path);
                make(path);
            }};
}

TEST_F(SystemCalls, NoRegularFile_AnswerLikeWithoutTheFile) {
    const auto link = [](const char* target) {
        return inPlace(std::string("link to ") + target,
                       [target](const fs::path& path) { fs::create_symlink(target, path); });
    };
    expectLikeWithoutTheFile({
        inPlace("directory", [](const fs::path& path) { fs::create_directory(path); }),
        inPlace("pipe", [](const fs::path& path) { EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0); }),
        inPlace("socket", makeSocket),
        inPlace("link to itself",
                [](const fs::path& path) { fs::create_symlink(path.filename(), path); }),
        link("nowhere"),
        link("/dev/null"),
        link("/dev/zero"),
        link("/dev/full"),
        link("/dev/tty"),
        link("/proc/self/mem"),
        link("/"),
    });
}

TEST_F(SystemCalls, TextCutShortOrEmptied_AnswerLikeWithoutTheFile) {
    const auto resized = [](std::size_t length) {
        return Fault{"first " + std::to_string(length) + " bytes",
                     [=](const fs::path& path) { fs::resize_file(path, length); }};
    };
    expectLikeWithoutTheFile({resized(0), resized(1), resized(100), resized(300)});
}

std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(SystemCalls, EachSampleCutAtEachByte_LoadsLikeWithoutTheFile) {
    std::size_t cuts = 0;
    for (const auto& entry : fs::recursive_directory_iterator(SYSCONF_SAMPLES)) {
        const std::string text = entry.path().extension() == ".json" ? textOf(entry.path()) : "";
        const std::size_t valuable = text.find_last_not_of(" \n") + 1;
        // The file is identified by its name.
        for (const fs::path& path : operations::paths(files)) {
            if (text.empty() || path.filename() != entry.path().filename()) {
                continue;
            }
            SCOPED_TRACE(entry.path().string());
            operations::destroyAll();
            writeAll("standby");
            fs::remove(path);
            const Answers without = operations::answers();
            std::ofstream(path, std::ios::binary) << text;
            for (std::size_t length = valuable; length-- > 0 && !HasFailure();) {
                SCOPED_TRACE(length);
                fs::resize_file(path, length);
                // Too many lengths for all queries at each: the operations alternate.
                const auto& all = operations::all();
                const operations::Operation& operation = all[length % all.size()];
                if (operation.effect == operations::Effect::Answers) {
                    operations::Outputs outputs = operations::outputs();
                    operation.call(outputs);
                    EXPECT_EQ(outputs.toText(), without.at(operation.name)) << operation.name;
                } else if (length % 3 == 0) {
                    operations::reloadAll();
                }
                ++cuts;
            }
            EXPECT_EQ(operations::differences(operations::answers(), without), "");
        }
    }
    EXPECT_GT(cuts, 10000U);
}

TEST_F(SystemCalls, GetifaddrsFails_FloatNodeIsTheOwnNode) {
    operations::writeFiles(files, "standby");
    const Answers standingIn = operations::answers();
    operations::destroyAll();
    support::setHostAddresses({});
    const Answers alone = operations::answers();
    EXPECT_NE(alone, standingIn);
    support::setHostAddresses({operations::kSourceAddress});
    for (const int error : {EACCES, EPERM, EMFILE, ENFILE, ENOBUFS, ENOMEM, EAFNOSUPPORT, EINTR,
                            EINVAL, EIO, ENODEV, ENOSYS}) {
        SCOPED_TRACE(error);
        operations::destroyAll();
        support::failHostAddresses(error);
        EXPECT_EQ(operations::differences(operations::answers(), alone), "");
        operations::reloadAll();
        EXPECT_EQ(operations::differences(operations::answers(), alone), "");
        support::failHostAddresses(0);
        operations::reloadAll();
        EXPECT_EQ(operations::differences(operations::answers(), standingIn), "");
    }
}

} // namespace
