// SPDX-License-Identifier: Apache-2.0
// The main program of every test executable. It runs the tests in a child process, in a new
// directory and without the library's environment variables, and removes the directory at the end,
// also after a crash. The dynamic loader searches that directory first, so that a test can install
// an event library; then the folder SYSCONF_TEST_LIBRARY, which can hold another build of the
// library under test.

#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kReadersVariables[] = {"APP_CONF_FILE", "PROCESS_INSTANCE_ID",
                                             "APP_ROOT",      "TOLM_ROOT",
                                             "NO_EM_CLIENT",  "NO_EM_CLIENT_CONSUMER"};

[[noreturn]] void becomeTestProcess(const std::string& directory, char** arguments) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const char* variable : kReadersVariables) {
        ::unsetenv(variable);
    }
    ::setenv(support::kTestDirectoryVariable, directory.c_str(), 1);
    std::string searchPath = directory;
    for (const char* variable : {"SYSCONF_TEST_LIBRARY", "LD_LIBRARY_PATH"}) {
        const char* folders = std::getenv(variable);
        searchPath += folders != nullptr ? std::string(":") + folders : "";
    }
    ::setenv("LD_LIBRARY_PATH", searchPath.c_str(), 1);
    ::execv("/proc/self/exe", arguments);
    std::perror("execv");
    std::_Exit(EXIT_FAILURE);
}

int runInDirectory(char** arguments) {
    std::string directory = (std::filesystem::temp_directory_path() / "sysconf-XXXXXX").string();
    if (::mkdtemp(directory.data()) == nullptr) {
        std::perror("mkdtemp");
        return EXIT_FAILURE;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        becomeTestProcess(directory, arguments);
    }
    int status = 0;
    const bool waited = child > 0 && ::waitpid(child, &status, 0) == child;
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
    if (waited && WIFSIGNALED(status)) {
        std::fprintf(stderr, "test process ended by signal %d\n", WTERMSIG(status));
    }
    return waited && WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    // Copied, because GoogleTest removes its flags from argv and the child process needs them.
    std::vector<char*> arguments(argv, argv + argc + 1);
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    if (std::getenv(support::kTestDirectoryVariable) == nullptr) {
        return runInDirectory(arguments.data());
    }
    return RUN_ALL_TESTS();
}
