// SPDX-License-Identifier: Apache-2.0
#include "cli/Address.h"
#include "cli/Completion.h"
#include "cli/Environment.h"
#include "cli/ProcessEnvironment.h"
#include "cli/UsageError.h"
#include "commands/Commands.h"
#include "deployment/ProcessAge.h"
#include "exec/PassedSignals.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "render/Text.h"

#include <csignal>
#include <exception>
#include <string_view>

namespace {

using namespace sysconfctl;

/// The answers may differ from those of a process that started earlier.
bool showsAnswers(Command command) {
    return command == Command::Get || command == Command::Show || command == Command::Explain ||
           command == Command::Who || command == Command::Report;
}

void parseAddresses(Options& options) {
    for (std::string& address : options.localAddresses) {
        address = parseAddress(address);
    }
}

ExitStatus run(Options options) {
    if (options.command == Command::List) {
        return runList(options);
    }
    if (options.command == Command::Diff) {
        parseAddresses(options);
        return runDiff(options);
    }
    if (options.pid) {
        applyProcess(*options.pid);
    }
    applyEnvironment(options.envFile, options.sets);
    parseAddresses(options);
    if (options.pid && showsAnswers(options.command)) {
        reportNewer(newerThanProcess(*options.pid, options.localAddresses.empty()));
    }
    switch (options.command) {
    case Command::Get:
        return runGet(options);
    case Command::Watch:
        return runWatch(options);
    case Command::Exec:
        return runExec(options);
    case Command::Explain:
        return runExplain(options);
    case Command::Who:
        return runWho(options);
    case Command::Check:
        return runCheck(options);
    case Command::Nodes:
        return runNodes(options);
    case Command::Map:
        return runMap(options);
    case Command::Report:
        return runReport(options);
    default:
        return runShow(options);
    }
}

ExitStatus start(int argc, const char* const* argv) {
    if (asksForJson(argc, argv)) {
        useJsonDiagnostics();
    }
    const ParsedCommandLine line = parseCommandLine(argc, argv);
    if (!line.options.noPager && (line.text || line.options.command != Command::Watch)) {
        allowPager();
    }
    if (line.text) {
        writeOutput(*line.text);
        return ExitStatus::Answered;
    }
    return run(line.options);
}

/// Ends like a process that does not handle SIGPIPE: without a message.
int endByClosedPipe() {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    constexpr int kStatusOfSignals = 128; // as in a shell; reached if the signal is blocked
    return kStatusOfSignals + SIGPIPE;
}

} // namespace

int main(int argc, char** argv) {
    // A closed pipe is a write error, so that the tool can unsubscribe before it exits.
    ignorePipeSignal();
    ExitStatus status = ExitStatus::Internal;
    if (argc > 1 && std::string_view(argv[1]) == kCompleteCommand) {
        return static_cast<int>(runComplete({argv + 2, argv + argc}));
    }
    try {
        status = start(argc, argv);
    } catch (const UsageError& error) {
        reportError(diagnostic::kUsage, error.what());
        status = ExitStatus::Usage;
    } catch (const OutputClosed&) {
        return endByClosedPipe();
    } catch (const OutputError& error) {
        reportError(diagnostic::kOutput, error.what());
    } catch (const std::exception& error) {
        reportError(diagnostic::kInternal, escaped(error.what()));
    } catch (...) {
        reportError(diagnostic::kInternal, "an exception of unknown type");
    }
    return static_cast<int>(status);
}
