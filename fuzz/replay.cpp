// SPDX-License-Identifier: Apache-2.0
// replay-TARGET FOLDER...: runs a fuzz target once on each file of the folders.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string text(std::istreambuf_iterator<char>(file), {});
            // Printed first, so that the last name is that of a file that ends the process.
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
    return inputs != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
