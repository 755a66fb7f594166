// SPDX-License-Identifier: Apache-2.0
// where-am-i [MILLISECONDS]: a service that prints its place, and again after each change, until
// SIGINT or SIGTERM. It checks once per interval, every second by default.

#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>

namespace {

/// The values that a service acts on. All are loaded values, so the calls read no file. The two
/// readers reload one after the other, so for a moment old and new values may be mixed.
std::string place() {
    auto& reader = *Quarncommon::SysConfReader::Instance();
    const auto& roles = *Quarncommon::SysConfReader_i::Instance();
    return "tenancy " + roles.GetProductName() + ", answering for " + reader.getFloatNodeId() +
           " (" + reader.getLocalHostTagName() + "), master at " +
           roles.GetMasterInternalServiceIP() + ", standby at " +
           roles.GetStandbyInternalServiceIP();
}

/// Waits for one of the signals or the timeout. Returns true if a signal arrived.
bool ended(const sigset_t& signals, long milliseconds) {
    const timespec interval{milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    return ::sigtimedwait(&signals, nullptr, &interval) > 0;
}

} // namespace

int main(int argc, char** argv) {
    const long milliseconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1000;
    if (milliseconds <= 0) {
        std::cerr << "usage: where-am-i [MILLISECONDS]\n";
        return 2;
    }
    // Blocked before the first use, because a thread of the event library inherits the mask.
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    // Change events reload both readers on the event library's thread. The program is not notified
    // and sees a change by querying again.
    std::string known;
    do {
        if (std::string now = place(); now != known) {
            std::cout << now << std::endl;
            known = std::move(now);
        }
    } while (!ended(signals, milliseconds));

    // Also ends the subscription and the event library's thread. No thread may use the readers now.
    Quarncommon::SysConfReader::Destory();
    std::cout << "ended" << std::endl;
}
