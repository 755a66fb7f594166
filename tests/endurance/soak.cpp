// SPDX-License-Identifier: Apache-2.0
// soak EVENT_LIBRARY minutes N | rounds N: some threads query, one replaces the files and either
// reloads or waits for an event, one destroys the singletons, one calls Instance(). At intervals
// all threads pause, the singletons are created again, and the resources of the process are
// printed. Fails if they grow, if an answer is wrong, or if there is no progress for two minutes.

#include "History.h"
#include "Rounds.h"
#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Resources.h"
#include "support/Sanitizers.h"
#include "support/TestDirectory.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using endurance::History;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;

#ifdef SANITIZED
constexpr bool kHeapIsOurs = false;
#else
constexpr bool kHeapIsOurs = true;
#endif

constexpr int kAskers = 8;

/// Caches of the dynamic loader and the C library.
constexpr std::size_t kHeapTolerance = 64U * 1024U;
/// After warming up, by fragmentation.
constexpr long kResidentTolerance = 4096; // KiB

/// An instance in use must not be destroyed. The mutex keeps users from starving the destruction.
class Instances {
public:
    template <typename Work>
    void use(Work work) {
        std::unique_lock<std::mutex> myTurn(m_turn);
        const std::shared_lock<std::shared_mutex> guard(m_alive);
        myTurn.unlock();
        work();
    }
    template <typename Work>
    void destroy(Work work) {
        const std::lock_guard<std::mutex> myTurn(m_turn);
        const std::lock_guard<std::shared_mutex> guard(m_alive);
        work();
    }

private:
    std::mutex m_turn;
    std::shared_mutex m_alive;
};

struct Totals {
    std::atomic<long> queries{0};
    std::atomic<long> generations{1};
    std::atomic<long> reloads{0};
    std::atomic<long> events{0};
    std::atomic<long> destructions{0};
    std::atomic<long> instances{0};
    std::atomic<long> wrong{0};
};

long residentKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stol(line.substr(6));
        }
    }
    throw std::runtime_error("no VmRSS");
}

struct Sample {
    Resources resources;
    std::size_t heap;
    long resident;
};

class Soak {
public:
    Soak() {
        m_threads.emplace_back(&Soak::write, this);
        m_threads.emplace_back(&Soak::destroy, this);
        m_threads.emplace_back(&Soak::askForInstances, this);
        for (std::size_t i = 0; i < kAskers; ++i) {
            m_threads.emplace_back([this, i] { ask(i); });
        }
    }
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;
    ~Soak() {
        m_done = true;
        m_threads.clear();
        destroyAll();
    }

    const Totals& totals() const { return m_totals; }

    /// Memory without an instance, everything else with a new one.
    Sample sample() {
        Sample sample{};
        const std::lock_guard<std::mutex> nobodyAsks(m_asking);
        m_instances.destroy([&] {
            destroyAll();
            waitForServiceToEnd();
            sample.heap = ::mallinfo2().uordblks;
            sample.resident = residentKilobytes();
            SysConfReader::Instance();
            sample.resources = resourcesAtRest();
        });
        return sample;
    }

    void waitForGenerations(long number) const {
        while (m_totals.generations < number) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    static void destroyAll() {
        SysConfReader_i::Destory();
        SysConfReader::Destory();
    }

    void check(const std::string& wrong) {
        ++m_totals.queries;
        if (!wrong.empty() && ++m_totals.wrong <= 3) {
            std::fprintf(stderr, "%s\n", wrong.c_str());
        }
    }

    void ask(std::size_t first) {
        const std::vector<queries::ReaderQuery>& all = queries::ofReader();
        for (std::size_t i = first; !m_done; ++i) {
            m_instances.use([&] {
                if (i % (all.size() + 1) == all.size()) {
                    check(m_history.wrongWithRoles());
                } else {
                    check(m_history.wrongWith(all[i % (all.size() + 1)]));
                }
            });
        }
    }

    void write() {
        for (int generation = 2; !m_done; ++generation) {
            const bool reload = generation % 2 == 0;
            m_instances.use([&] {
                m_history.write(generation);
                if (reload) {
                    SysConfReaderImpl::Instance()->Reload();
                }
            });
            while (!reload && !m_done && !answersAreOf(generation)) {
                std::this_thread::yield();
            }
            if (m_done) {
                return;
            }
            m_history.noteLoaded(generation);
            ++(reload ? m_totals.reloads : m_totals.events);
            m_totals.generations = generation;
            m_watchdog.progress();
        }
    }

    bool answersAreOf(int generation) {
        bool theyAre = false;
        m_instances.use([&] { theyAre = m_history.answersAreOf(generation); });
        return theyAre;
    }

    void destroy() {
        for (int round = 0; !m_done; ++round) {
            m_instances.destroy([&] {
                switch (round % 3) {
                case 0:
                    SysConfReader::Destory();
                    break;
                case 1:
                    SysConfReader_i::Destory();
                    break;
                default:
                    SysConfReaderImpl::Destory();
                    break;
                }
                // Without a subscription the reader has missed changes.
                SysConfReaderImpl::Instance()->Reload();
            });
            ++m_totals.destructions;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    /// Needs no lock, because it does not use the instances.
    void askForInstances() {
        while (!m_done) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            const std::lock_guard<std::mutex> guard(m_asking);
            if (SysConfReader::Instance() == nullptr || SysConfReaderImpl::Instance() == nullptr ||
                SysConfReader_i::Instance() == nullptr) {
                ++m_totals.wrong;
            }
            ++m_totals.instances;
        }
    }

    endurance::Watchdog m_watchdog;
    History m_history;
    Totals m_totals;
    Instances m_instances;
    /// Held during calls of Instance() without `Instances`.
    std::mutex m_asking;
    std::atomic<bool> m_done{false};
    std::vector<std::jthread> m_threads;
};

void tellHead() {
    std::printf("%8s %9s %11s %8s %8s %12s %8s %9s %10s %11s %8s\n", "seconds", "queries",
                "generations", "reloads", "events", "destructions", "threads", "RSS KiB",
                "heap bytes", "descriptors", "watches");
}

void printSample(Clock::time_point start, const Totals& totals, const Sample& sample) {
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count();
    std::printf("%8ld %9ld %11ld %8ld %8ld %12ld %8zu %9ld %10zu %11zu %8zu\n",
                static_cast<long>(seconds), totals.queries.load(), totals.generations.load(),
                totals.reloads.load(), totals.events.load(), totals.destructions.load(),
                sample.resources.threads, sample.resident, sample.heap,
                sample.resources.descriptors, sample.resources.watches);
    std::fflush(stdout);
}

bool flat(const std::vector<Sample>& samples, bool residentToo) {
    bool flat = true;
    for (const Sample& sample : samples) {
        flat = flat && sample.resources == samples.front().resources;
        flat = flat && (!kHeapIsOurs || sample.heap <= samples.front().heap + kHeapTolerance);
    }
    const std::size_t warm = samples.size() / 4;
    for (std::size_t i = warm; i < samples.size() && residentToo && kHeapIsOurs; ++i) {
        flat = flat && samples[i].resident <= samples[warm].resident + kResidentTolerance;
    }
    return flat;
}

bool soak(const std::string& unit, long amount) {
    constexpr std::chrono::seconds kInterval{10};
    constexpr long kGenerationsASample = 10;
    const Clock::time_point start = Clock::now();
    const Clock::time_point end = start + std::chrono::minutes(amount);
    const bool timed = unit == "minutes";
    std::vector<Sample> samples;
    samples.reserve(10'000);
    Soak soak;
    tellHead();
    soak.waitForGenerations(kGenerationsASample);
    for (long round = 0; timed ? Clock::now() < end : round < amount; ++round) {
        if (timed) {
            std::this_thread::sleep_for(kInterval);
        }
        soak.waitForGenerations((round + 2) * kGenerationsASample);
        samples.push_back(soak.sample());
        printSample(start, soak.totals(), samples.back());
    }
    const bool isFlat = flat(samples, timed);
    std::printf("%s, %ld answers wrong\n", isFlat ? "flat" : "NOT FLAT",
                soak.totals().wrong.load());
    return isFlat && soak.totals().wrong == 0;
}

/// Restarts the process without caches per thread, which malloc reports as memory in use.
void withoutThreadCaches(char** argv) {
    constexpr const char* kTunables = "GLIBC_TUNABLES";
    if (std::getenv(kTunables) == nullptr) {
        ::setenv(kTunables, "glibc.malloc.tcache_count=0", 1);
        ::execv("/proc/self/exe", argv);
        throw std::runtime_error("cannot restart");
    }
}

class Folder {
public:
    Folder() {
        std::string folder = (fs::temp_directory_path() / "soak-XXXXXX").string();
        if (::mkdtemp(folder.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_folder = folder;
        ::setenv(support::kTestDirectoryVariable, folder.c_str(), 1);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

private:
    fs::path m_folder;
};

} // namespace

int main(int argc, char** argv) {
    const std::string unit = argc == 4 ? argv[2] : "";
    if (unit != "minutes" && unit != "rounds") {
        std::fprintf(stderr, "usage: %s EVENT_LIBRARY minutes N | rounds N\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        withoutThreadCaches(argv);
        // Later found by its name.
        if (::dlopen(argv[1], RTLD_LAZY | RTLD_GLOBAL) == nullptr) {
            throw std::runtime_error(::dlerror());
        }
        ::setenv("SYSCONF_EVENT_QUIET_MS", "1", 1);
        const Folder folder;
        return soak(unit, std::stol(argv[3])) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
