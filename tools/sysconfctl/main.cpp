#include "Commands.h"
#include "Environment.h"
#include "Output.h"
#include "UsageError.h"

#include <csignal>
#include <exception>
#include <string>

namespace {

using namespace sysconfctl;

ExitStatus run(const Options& options) {
    if (options.command == Command::List) {
        return runList(options);
    }
    applyEnvironment(options.envFile, options.sets);
    switch (options.command) {
    case Command::Get:
        return runGet(options);
    case Command::Watch:
        return runWatch(options);
    case Command::Explain:
        return runExplain(options);
    case Command::Check:
        return runCheck(options);
    case Command::Nodes:
        return runNodes(options);
    case Command::Map:
        return runMap(options);
    default:
        return runShow(options);
    }
}

ExitStatus start(int count, const char* const* words) {
    const ParsedCommandLine line = parseCommandLine(count, words);
    if (line.text) {
        writeOutput(*line.text);
        return ExitStatus::Answered;
    }
    return run(line.options);
}

} // namespace

int main(int count, char** words) {
    // A reader that goes away is an output error like a full disk, not a death by signal.
    std::signal(SIGPIPE, SIG_IGN);
    ExitStatus status = ExitStatus::Internal;
    try {
        status = start(count, words);
    } catch (const UsageError& error) {
        complain(error.what());
        status = ExitStatus::Usage;
    } catch (const std::exception& error) {
        complain(error.what());
    } catch (...) {
        complain("an exception of unknown type");
    }
    return static_cast<int>(status);
}
