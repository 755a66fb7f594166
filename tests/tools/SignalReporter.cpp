// SPDX-License-Identifier: Apache-2.0
// signal-reporter VARIABLE STATUS: prints the variable, then each signal that arrives. Stops
// itself on SIGTSTP. Ends with the status on SIGTERM; with the status "never" it does not end.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL); // for tests that fail
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    const char* const value = std::getenv(argv[1]);
    std::printf("started %s\n", value != nullptr ? value : "(unset)");
    for (;;) {
        std::fflush(stdout);
        int number = 0;
        ::sigwait(&all, &number);
        const char* const name = ::sigabbrev_np(number);
        std::printf("signal %s\n", name != nullptr ? name : std::to_string(number).c_str());
        if (number == SIGTSTP) {
            std::fflush(stdout);
            std::raise(SIGSTOP);
        }
        if (number == SIGTERM && std::string_view(argv[2]) != "never") {
            std::printf("ended\n");
            std::fflush(stdout);
            // Without the leak check of a sanitizer, which can hang while all cores are busy.
            ::_exit(std::atoi(argv[2]));
        }
    }
}
