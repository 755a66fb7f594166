// SPDX-License-Identifier: Apache-2.0
// bench-reload reader|roles DIRECTORY [THREADS [RELOADS]]: prints, as JSON, how long a reload waits
// for its lock while threads query without pause, and how long one of these queries takes.

#include "Environment.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <json/json.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;

thread_local Clock::duration t_wait{};

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

Json::Value quantiles(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const auto at = [&](std::size_t percent) {
        return times.at((times.size() - 1) * percent / 100);
    };
    Json::Value value;
    value["median_ms"] = at(50);
    value["p99_ms"] = at(99);
    value["worst_ms"] = at(100);
    return value;
}

constexpr std::size_t kMostTimes = 10'000;

class Crowd {
public:
    Crowd(std::size_t threads, const std::function<std::string()>& query) {
        for (std::size_t i = 0; i < threads; ++i) {
            m_threads.emplace_back([this, query](const std::stop_token& stop) {
                std::vector<double> times;
                while (!stop.stop_requested()) {
                    const Clock::time_point start = Clock::now();
                    if (query().empty()) {
                        std::abort();
                    }
                    if (times.size() < kMostTimes) {
                        times.push_back(milliseconds(Clock::now() - start));
                    }
                    ++m_queries;
                }
                const std::lock_guard<std::mutex> guard(m_mutex);
                m_times.insert(m_times.end(), times.begin(), times.end());
            });
        }
    }

    void waitForQueries(std::size_t more) const {
        const std::size_t enough = m_queries + more;
        while (m_queries < enough) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::vector<double> finish() {
        m_threads.clear();
        return m_times;
    }

private:
    std::atomic<std::size_t> m_queries{0};
    std::mutex m_mutex;
    std::vector<double> m_times;
    std::vector<std::jthread> m_threads;
};

Json::Value measure(bool roles, std::size_t threads, int reloads) {
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReaderImpl& roleReader = *SysConfReaderImpl::Instance();
    Crowd crowd(threads, [&] {
        return roles ? roleReader.GetMasterInternalServiceIP() : reader.getLocalServiceIP();
    });
    std::vector<double> waits;
    for (int i = 0; i < reloads; ++i) {
        crowd.waitForQueries(threads);
        t_wait = {};
        if (roles) {
            roleReader.Reload();
        } else {
            reader.Reload();
        }
        waits.push_back(milliseconds(t_wait));
    }
    Json::Value value;
    value["threads"] = Json::UInt64(threads);
    value["reloads"] = reloads;
    value["query"] = quantiles(crowd.finish());
    value["wait"] = quantiles(waits);
    return value;
}

} // namespace

extern "C" [[gnu::visibility("default")]] int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    static auto* const real =
        reinterpret_cast<int (*)(pthread_rwlock_t*)>(::dlsym(RTLD_NEXT, "pthread_rwlock_wrlock"));
    const Clock::time_point start = Clock::now();
    const int result = real(lock);
    t_wait = std::max(t_wait, Clock::now() - start);
    return result;
}

int main(int argc, char** argv) {
    const std::string which = argc > 1 ? argv[1] : "";
    if (argc < 3 || argc > 5 || (which != "reader" && which != "roles")) {
        std::fprintf(stderr, "usage: %s reader|roles DIRECTORY [THREADS [RELOADS]]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        bench::enterDeployment(argv[2]);
        const std::size_t threads = argc > 3 ? std::stoul(argv[3]) : 32;
        const int reloads = argc > 4 ? std::stoi(argv[4]) : 100;
        const Json::Value measured = measure(which == "roles", threads, reloads);
        std::printf("%s", measured.toStyledString().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
