// SPDX-License-Identifier: Apache-2.0
// bench-handoff DIRECTORY: prints, as JSON, the CPU time of three queries while no writer waits: a
// value of the reader, a value of the role reader, a query that reads the node list. Alternate runs
// with and without LD_LIBRARY_PATH set to benchmarks/without-handoff, whose readers never wait for
// writers: the difference is the cost of checking for a waiting writer.

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

double processorNanoseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// CPU time of one call in the fastest of many blocks.
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
    Json::Value times;
    times["getMaintenanceIPAddress_ns"] =
        nanoseconds(20'000, [&] { return reader.getMaintenanceIPAddress(); });
    times["GetMasterInternalServiceIP_ns"] =
        nanoseconds(20'000, [&] { return roles.GetMasterInternalServiceIP(); });
    times["getLocalServiceIP_ns"] = nanoseconds(5, [&] { return reader.getLocalServiceIP(); });
    return times;
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
