// SPDX-License-Identifier: Apache-2.0
// bench-deployment DIRECTORY NODES indented|compact [SEED]: writes a generated deployment.

#include "generator/Deployment.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

generator::Layout layoutCalled(const std::string& name) {
    if (name == "indented") {
        return generator::Layout::Indented;
    }
    if (name == "compact") {
        return generator::Layout::Compact;
    }
    throw std::invalid_argument("no such layout: " + name);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4 && argc != 5) {
        std::fprintf(stderr, "usage: %s DIRECTORY NODES indented|compact [SEED]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        generator::Shape shape;
        shape.nodes = static_cast<unsigned>(std::stoul(argv[2]));
        shape.layout = layoutCalled(argv[3]);
        if (argc == 5) {
            shape.seed = std::stoull(argv[4]);
        }
        generator::writeDeployment(argv[1], shape);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
