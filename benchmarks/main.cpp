// SPDX-License-Identifier: Apache-2.0
// bench-queries product|baseline|limit DIRECTORY [--compared] [--once] [Google Benchmark's
// options]: measures one variant, in its own process, because the heap of another would slow it
// down. Fails if product and baseline give different answers; --compared skips this check. --once
// runs each operation once.

#include "Environment.h"
#include "Suite.h"
#include "Variants.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Fill = void (*)(bench::Suite&);

Fill variantCalled(const std::string& name) {
    static const std::map<std::string, Fill> kVariants{{"product", bench::addProduct},
                                                       {"baseline", bench::addBaseline},
                                                       {"limit", bench::addLimit}};
    const auto variant = kVariants.find(name);
    if (variant == kVariants.end()) {
        throw std::invalid_argument("no such variant: " + name);
    }
    return variant->second;
}

void run(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) {
        throw std::invalid_argument("product, baseline or limit, and a directory, are needed");
    }
    const Fill fill = variantCalled(arguments[0]);
    std::set<std::string> options(arguments.begin() + 2, arguments.end());
    const bool compared = options.erase("--compared") != 0;
    const bool once = options.erase("--once") != 0;
    if (!options.empty()) {
        throw std::invalid_argument("unknown: " + *options.begin());
    }
    bench::enterDeployment(arguments[1]);
    if (!compared) {
        bench::compareAnswers();
    }
    bench::Suite suite;
    fill(suite);
    suite.registerAll(once);
    benchmark::RunSpecifiedBenchmarks();
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    try {
        run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
