// where-am-i [MILLISECONDS]: a service that tells where it runs, and again whenever that changes,
// until SIGINT or SIGTERM. Looks every second, or as often as told.

#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>

namespace {

/// What the service would have to act upon. All of these are values that the library has loaded:
/// asking for them reads no file. The two readers reload one after the other, so an answer may for
/// a moment be half old and half new.
std::string place() {
    auto& reader = *Quarncommon::SysConfReader::Instance();
    const auto& roles = *Quarncommon::SysConfReader_i::Instance();
    return "tenancy " + roles.GetProductName() + ", answering for " + reader.getFloatNodeId() +
           " (" + reader.getLocalHostTagName() + "), master at " +
           roles.GetMasterInternalServiceIP() + ", standby at " +
           roles.GetStandbyInternalServiceIP();
}

/// Sleeps until one of the signals comes, and answers true, or until the time is over.
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
    // Before the first use: an event library may start a thread, which is to have them blocked,
    // too.
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    // A change event has both readers reload on a thread of the event library's. Nobody tells the
    // program, which sees it by asking again.
    std::string known;
    do {
        if (std::string now = place(); now != known) {
            std::cout << now << std::endl;
            known = std::move(now);
        }
    } while (!ended(signals, milliseconds));

    // Ends the subscription, and with it the event library's thread. Nobody may be asking any more.
    Quarncommon::SysConfReader::Destory();
    std::cout << "ended" << std::endl;
}
