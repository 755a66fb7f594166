// bench-turns DIRECTORY: tells, as JSON, what a query takes while no writer waits: one that copies
// a value of the reader, one of the role reader, one that reads the node list. Run it by turns as
// it is and with LD_LIBRARY_PATH leading to benchmarks/without-turns, where the library's locks
// give writers no turn: the difference is what looking for a waiting writer costs.

#include "Environment.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <json/json.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <limits>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;

/// Of the calling thread; what other processes take does not count.
double processorNanoseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// Nanoseconds of processor time that one call takes, in the quickest of many blocks: whatever
/// disturbs only makes it slower.
template <typename Call>
double nanoseconds(int calls, Call call) {
    constexpr int kBlocks = 40;
    double least = std::numeric_limits<double>::max();
    for (int block = 0; block < kBlocks; ++block) {
        const double start = processorNanoseconds();
        for (int i = 0; i < calls; ++i) {
            if (call().empty()) {
                std::abort();
            }
        }
        least = std::min(least, (processorNanoseconds() - start) / calls);
    }
    return least;
}

Json::Value measure() {
    SysConfReader& reader = *SysConfReader::Instance();
    SysConfReaderImpl& roles = *SysConfReaderImpl::Instance();
    Json::Value told;
    told["getMaintenanceIPAddress_ns"] =
        nanoseconds(20'000, [&] { return reader.getMaintenanceIPAddress(); });
    told["GetMasterInternalServiceIP_ns"] =
        nanoseconds(20'000, [&] { return roles.GetMasterInternalServiceIP(); });
    told["getLocalServiceIP_ns"] = nanoseconds(5, [&] { return reader.getLocalServiceIP(); });
    return told;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        bench::enterDeployment(argv[1]);
        std::printf("%s", measure().toStyledString().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
