// bench-turns DIRECTORY [PAIRS]: tells, as JSON, what it costs a query to see whether a writer
// waits for its turn, while none does. A value is copied under the lock as the library takes it and
// under the bare lock, in blocks by turns; the difference of each pair of blocks is what counts,
// because the machine is never twice the same. Then two queries, to compare with: one that copies a
// value, one that reads the deployment's node list.

#include "Environment.h"
#include "sysconfreader/Guards.h"

#include <SysConfReader.h>

#include <ace/RW_Thread_Mutex.h>
#include <json/json.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

namespace {

using Quarncommon::SysConfReader;

/// What a read side was before writers had their turn.
class BareGuard : public ACE_Read_Guard<ACE_RW_Thread_Mutex> {
public:
    explicit BareGuard(ACE_RW_Thread_Mutex& mutex)
        : ACE_Read_Guard<ACE_RW_Thread_Mutex>(mutex), m_error(locked() ? 0 : errno) {}
    BareGuard(const BareGuard&) = delete;
    BareGuard& operator=(const BareGuard&) = delete;
    ~BareGuard() {
        if (m_error != 0) {
            errno = m_error;
        }
    }

private:
    int m_error;
};

ACE_RW_Thread_Mutex g_mutex;
constinit Quarncommon::WriterTurns g_turns;
const std::string g_value = "10.123.45.67";

[[gnu::noinline]] std::string copyInTurn() {
    const Quarncommon::ReadGuard guard(g_mutex, g_turns);
    return g_value;
}

[[gnu::noinline]] std::string copyUnderBareLock() {
    const BareGuard guard(g_mutex);
    return g_value;
}

/// Of the calling thread; what other processes take does not count.
double processorNanoseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// Nanoseconds of processor time that one call takes, over so many of them.
template <typename Call>
double nanoseconds(int calls, Call call) {
    const double start = processorNanoseconds();
    for (int i = 0; i < calls; ++i) {
        if (call().empty()) {
            std::abort();
        }
    }
    return (processorNanoseconds() - start) / calls;
}

double at(std::vector<double>& sorted, double part) {
    std::sort(sorted.begin(), sorted.end());
    return sorted.at(static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * part));
}

Json::Value quartiles(std::vector<double> values) {
    Json::Value told;
    told["lower"] = at(values, 0.25);
    told["median"] = at(values, 0.5);
    told["upper"] = at(values, 0.75);
    return told;
}

Json::Value measure(int pairs) {
    constexpr int kCalls = 50'000;
    std::vector<double> inTurn;
    std::vector<double> bare;
    std::vector<double> differences;
    for (int pair = 0; pair < pairs; ++pair) {
        // Neither is always the first.
        double first = 0;
        double second = 0;
        if (pair % 2 == 0) {
            first = nanoseconds(kCalls, copyInTurn);
            second = nanoseconds(kCalls, copyUnderBareLock);
        } else {
            second = nanoseconds(kCalls, copyUnderBareLock);
            first = nanoseconds(kCalls, copyInTurn);
        }
        inTurn.push_back(first);
        bare.push_back(second);
        differences.push_back(first - second);
    }
    SysConfReader& reader = *SysConfReader::Instance();
    std::vector<double> copies;
    std::vector<double> reads;
    for (int pair = 0; pair < pairs; ++pair) {
        copies.push_back(nanoseconds(kCalls, [&] { return reader.getMaintenanceIPAddress(); }));
        reads.push_back(nanoseconds(20, [&] { return reader.getLocalServiceIP(); }));
    }
    Json::Value told;
    told["pairs"] = pairs;
    told["in_turn_ns"] = quartiles(inTurn);
    told["bare_lock_ns"] = quartiles(bare);
    told["difference_ns"] = quartiles(differences);
    told["getMaintenanceIPAddress_ns"] = quartiles(copies);
    told["getLocalServiceIP_ns"] = quartiles(reads);
    const double cost = at(differences, 0.5);
    told["getMaintenanceIPAddress_percent"] = 100 * cost / at(copies, 0.5);
    told["getLocalServiceIP_percent"] = 100 * cost / at(reads, 0.5);
    return told;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s DIRECTORY [PAIRS]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        bench::enterDeployment(argv[1]);
        std::printf(
            "%s",
            measure(argc > 2 ? std::max(std::atoi(argv[2]), 1) : 101).toStyledString().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
