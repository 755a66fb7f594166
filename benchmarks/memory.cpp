// SPDX-License-Identifier: Apache-2.0
// bench-memory product|baseline DIRECTORY: prints, as JSON, the peak memory that one query of one
// node's address needs in a fresh process, and what is kept after a few more. The singletons are
// loaded without a node list, so that the query is the first to read it.

#include "Baseline.h"
#include "Environment.h"
#include "generator/Deployment.h"

#include <SysConfReader.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <malloc.h>
#include <stdexcept>
#include <string>

namespace {

long heapInUse() {
    const struct mallinfo2 heap = ::mallinfo2();
    return static_cast<long>(heap.uordblks + heap.hblkhd);
}

template <typename Reader>
void measure(const char* variant, const std::filesystem::path& directory) {
    Reader* reader = nullptr;
    {
        const bench::HiddenVariable nodes("APP_ROOT");
        const bench::HiddenVariable manager("TOLM_ROOT");
        reader = Reader::Instance();
    }
    const long heap = heapInUse();
    const long base = bench::peakMemory();
    const std::string address = reader->getLocalServiceIP();
    const long peak = bench::peakMemory();
    for (int query = 0; query < 8; ++query) {
        reader->getLocalServiceIP();
    }
    if (address != "127.0.0.1") {
        throw std::runtime_error("wrong answer: " + address);
    }
    std::printf("{\"variant\": \"%s\", \"file\": %ju, \"peak\": %ld, \"kept\": %ld}\n", variant,
                std::filesystem::file_size(directory / generator::kNodeListFile), peak - base,
                heapInUse() - heap);
}

} // namespace

int main(int argc, char** argv) {
    const std::string variant = argc == 3 ? argv[1] : "";
    if (variant != "product" && variant != "baseline") {
        std::fprintf(stderr, "usage: %s product|baseline DIRECTORY\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        bench::enterDeployment(argv[2]);
        if (variant == "product") {
            measure<Quarncommon::SysConfReader>("product", argv[2]);
        } else {
            measure<bench::Baseline>("baseline", argv[2]);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
