// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "cli/UsageError.h"
#include "deployment/KeepUntilExit.h"
#include "exec/LibraryThread.h"
#include "exec/PassedSignals.h"
#include "exec/Program.h"
#include "exec/Supervisor.h"
#include "query/Variables.h"
#include "render/Diagnostics.h"
#include "render/Text.h"

#include <SysConfReaderStatus.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <poll.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace sysconfctl {
namespace {

using Quarncommon::SysConfReaderStatus;
using Action = Supervisor::Action;
using Time = Supervisor::Time;

/// Polling is necessary because answers that are read from the files on every call, and those that
/// depend on the addresses of the host, change without a load.
constexpr std::chrono::seconds kCompareInterval{1};
/// How long the library may take to end its subscription.
constexpr std::chrono::seconds kDestroyLimit{2};
constexpr int kNoLimit = -1;

enum class OnChange { Restart, Signal, None };

/// The number of "HUP" or "SIGHUP".
/// @throws UsageError if there is no such signal.
int signalNamed(std::string_view name) {
    const std::string_view shortName = name.substr(name.starts_with("SIG") ? 3 : 0);
    for (int number = 1; number < SIGRTMIN; ++number) {
        const char* const known = ::sigabbrev_np(number);
        if (known != nullptr && shortName == known) {
            return number;
        }
    }
    throw UsageError(fmt::format("--on-change: {} is not restart, none or a signal such as HUP",
                                 shellWord(name)));
}

/// The other two can mean anything to the program if a process sends them.
bool asksToStop(const signalfd_siginfo& signal) {
    return signal.ssi_signo == SIGTSTP ||
           (fromTerminal(signal) && (signal.ssi_signo == SIGTTIN || signal.ssi_signo == SIGTTOU));
}

std::chrono::milliseconds remaining(Time until) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(until - Supervisor::Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

class Execution {
public:
    explicit Execution(const Options& options)
        : m_options(options), m_asked(variableQueries(options.only, options.revealSecrets, "exec")),
          m_onChange(options.onChange == "restart" ? OnChange::Restart
                     : options.onChange == "none"  ? OnChange::None
                                                   : OnChange::Signal),
          m_signal(m_onChange == OnChange::Signal ? signalNamed(options.onChange) : 0),
          m_program(options.program, m_signals.inherited()),
          m_loads(m_onChange == OnChange::None ? -1 : SysConfReaderStatus::openDescriptor()) {}
    ~Execution() { SysConfReaderStatus::closeDescriptor(m_loads); }
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;

    /// @return The status to end with, as from waitpid(2).
    int run() {
        m_library.ask(m_asked, m_options.revealSecrets);
        while (!m_ended) {
            waitForEvent();
        }
        return m_supervisor.status();
    }

    /// @return False if the library hangs.
    bool destroyLibrary() { return m_library.destroyInstances(kDestroyLimit); }

private:
    static bool threw(const std::vector<AnswerVariable>& variables) {
        return std::any_of(variables.begin(), variables.end(),
                           [](const AnswerVariable& variable) { return variable.threw; });
    }

    /// Reports each trouble when it begins, not on every poll.
    void reportTroubles(const std::vector<AnswerVariable>& variables) {
        std::vector<std::string> troubles;
        for (const AnswerVariable& variable : variables) {
            if (!variable.trouble.empty()) {
                troubles.push_back(variable.trouble);
            }
        }
        if (troubles != m_troubles) {
            m_troubles = std::move(troubles);
            for (const std::string& trouble : m_troubles) {
                reportError(diagnostic::kNoVariable, trouble);
            }
        }
    }

    void reportSubscription() const {
        const auto subscription = SysConfReaderStatus::read().subscription;
        if (m_onChange != OnChange::None &&
            subscription != SysConfReaderStatus::Subscription::Subscribed) {
            reportNotice(diagnostic::kNotSubscribed,
                         fmt::format("not subscribed to changes, so loaded answers do not change: "
                                     "{}",
                                     SysConfReaderStatus::text(subscription)));
        }
    }

    void start() {
        m_supervisor.started(Supervisor::Clock::now());
        const int error = m_program.start(environmentWith(m_variables, environ));
        if (error != 0) {
            reportError(diagnostic::kCannotRun,
                        fmt::format("cannot run {}: {}", shellWord(m_options.program.front()),
                                    std::system_category().message(error)));
            const auto status = error == ENOENT ? ExitStatus::NoProgram : ExitStatus::CannotRun;
            ended(W_EXITCODE(static_cast<int>(status), 0));
        }
    }

    void ended(int status) {
        const Action action = m_supervisor.ended(status, Supervisor::Clock::now());
        if (action == Action::None) {
            reportNotice(
                diagnostic::kEndedEarly,
                fmt::format(
                    "{} failed soon after its restart; it is started again in {} s",
                    shellWord(m_options.program.front()),
                    std::chrono::ceil<std::chrono::seconds>(remaining(*m_supervisor.deadline()))
                        .count()));
        }
        act(action);
    }

    void act(Action action, int signal = 0) {
        switch (action) {
        case Action::Start:
            start();
            break;
        case Action::Terminate:
            m_program.send(SIGTERM);
            m_program.send(SIGCONT); // a stopped program would not end
            break;
        case Action::Kill:
            reportNotice(diagnostic::kNotEnded,
                         fmt::format("{} has not ended {} s after SIGTERM; it gets SIGKILL",
                                     shellWord(m_options.program.front()),
                                     Supervisor::kGrace.count()));
            m_program.send(SIGKILL);
            break;
        case Action::Pass:
            m_program.send(signal);
            break;
        case Action::End:
            m_ended = true;
            break;
        case Action::None:
            break;
        }
    }

    void waitForEvent() {
        std::array<pollfd, 3> ready = {pollfd{m_signals.descriptor(), POLLIN, 0},
                                       pollfd{m_loads, POLLIN, 0},
                                       pollfd{m_library.descriptor(), POLLIN, 0}};
        if (::poll(ready.data(), ready.size(), timeout()) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        takeSignals();
        if (!m_ended) {
            takeAnswers();
        }
        const auto deadline = m_supervisor.deadline();
        if (!m_ended && deadline && *deadline <= Supervisor::Clock::now()) {
            act(m_supervisor.timeReached());
        }
        if (!m_ended && m_onChange != OnChange::None) {
            askAgain(ready[1].revents != 0);
        }
    }

    /// Milliseconds until something is to be done without an event.
    int timeout() const {
        std::optional<Time> next = m_supervisor.deadline();
        const bool polling = m_onChange != OnChange::None && !m_library.isAsking();
        if (polling && (!next || m_nextPoll < *next)) {
            next = m_nextPoll;
        }
        return next ? static_cast<int>(remaining(*next).count()) : kNoLimit;
    }

    void takeSignals() {
        while (const auto signal = m_signals.next()) {
            const int number = static_cast<int>(signal->ssi_signo);
            if (number != SIGCHLD) {
                act(m_supervisor.signalled(number, fromTerminal(*signal), m_program.isInOwnGroup()),
                    number);
            }
            if (number == SIGCONT) {
                m_supervisor.continued(Supervisor::Clock::now());
            }
            m_toStop = asksToStop(*signal) || (m_toStop && number != SIGCONT);
        }
        // After the signals: one of them may be the reason for the end.
        if (const auto status = m_program.reap(); status && !m_ended) {
            m_toStop = false;
            ended(*status);
        }
        // A program that ignores the signal continues to need this process.
        if (m_toStop && !m_program.isActive()) {
            m_toStop = false;
            stopUntilContinued();
        }
    }

    /// Asks after each load and once a second.
    void askAgain(bool loaded) {
        std::uint64_t loads = 0;
        [[maybe_unused]] const ssize_t size = loaded ? ::read(m_loads, &loads, sizeof loads) : 0;
        m_loaded = m_loaded || loaded;
        if (!m_library.isAsking() && (m_loaded || Supervisor::Clock::now() >= m_nextPoll)) {
            m_askedAfterLoad = std::exchange(m_loaded, false);
            m_library.ask(m_asked, m_options.revealSecrets);
        }
    }

    void takeAnswers() {
        auto variables = m_library.answers();
        if (!variables) {
            return;
        }
        m_nextPoll = Supervisor::Clock::now() + kCompareInterval;
        reportTroubles(*variables);
        if (m_started) {
            compare(*variables);
        } else if (threw(*variables)) {
            ended(W_EXITCODE(static_cast<int>(ExitStatus::LibraryThrew), 0));
        } else {
            m_started = true;
            m_variables = std::move(*variables);
            m_lastVariables = m_variables;
            reportSubscription();
            start();
        }
    }

    /// Without a load, a change takes effect if the next comparison finds the same: a file may have
    /// been read while it was being replaced. The loads before the first comparison are those of
    /// the first use.
    void compare(const std::vector<AnswerVariable>& variables) {
        if (threw(variables)) {
            return;
        }
        const bool loaded = m_askedAfterLoad && m_compared;
        m_compared = true;
        const bool lasts = loaded || changedNames(m_lastVariables, variables).empty();
        m_lastVariables = variables;
        const std::vector<std::string> changed = changedNames(m_variables, variables);
        if (changed.empty() || !lasts) {
            return;
        }
        m_variables = variables;
        reportNotice(diagnostic::kChanged, fmt::format("changed: {}", joined(changed, ", ")));
        if (m_onChange == OnChange::Signal) {
            m_program.send(m_signal);
        } else {
            act(m_supervisor.changed(Supervisor::Clock::now()));
        }
    }

    const Options& m_options;
    std::vector<const Query*> m_asked;
    OnChange m_onChange;
    int m_signal;
    /// Before the second thread, which blocks the same signals.
    PassedSignals m_signals;
    LibraryThread& m_library = makeUntilExit<LibraryThread>();
    Program m_program;
    /// Readable after a load.
    int m_loads;
    /// There was a load since the last request for answers.
    bool m_loaded = false;
    bool m_askedAfterLoad = false;
    bool m_compared = false;
    Time m_nextPoll;
    std::vector<AnswerVariable> m_variables;
    /// Of the last comparison.
    std::vector<AnswerVariable> m_lastVariables;
    std::vector<std::string> m_troubles;
    Supervisor m_supervisor;
    /// A signal that stops processes has arrived, and the program has not stopped yet.
    bool m_toStop = false;
    bool m_started = false;
    bool m_ended = false;
};

} // namespace

ExitStatus runExec(const Options& options) {
    Execution execution(options);
    const int status = execution.run();
    const bool destroyed = execution.destroyLibrary();
    if (WIFSIGNALED(status)) {
        endBySignal(WTERMSIG(status));
    }
    constexpr int kStatusOfSignals = 128; // as in a shell
    const int number =
        WIFEXITED(status) ? WEXITSTATUS(status) : kStatusOfSignals + WTERMSIG(status);
    if (!destroyed) {
        std::_Exit(number); // exit() waits for the library
    }
    return static_cast<ExitStatus>(number);
}

} // namespace sysconfctl
