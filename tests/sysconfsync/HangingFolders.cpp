// SPDX-License-Identifier: Apache-2.0
// Preloaded into a program: reading a folder never ends. Instead, the program says so.

#include <dirent.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) dirent* readdir(DIR*) {
    constexpr char kText[] = "hangs\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kText, sizeof(kText) - 1);
    for (;;) {
        ::pause();
    }
}
