#include "cli/Completion.h"
#include "cli/Environment.h"
#include "cli/UsageError.h"
#include "commands/Commands.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "render/Text.h"

#include <csignal>
#include <exception>
#include <string_view>

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
    if (asksForJson(count, words)) {
        complainInJson();
    }
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
    if (count > 1 && std::string_view(words[1]) == kCompleteCommand) {
        return static_cast<int>(runComplete({words + 2, words + count}));
    }
    try {
        status = start(count, words);
    } catch (const UsageError& error) {
        complain(complaint::kUsage, error.what());
        status = ExitStatus::Usage;
    } catch (const OutputError& error) {
        complain(complaint::kOutput, error.what());
    } catch (const std::exception& error) {
        complain(complaint::kInternal, escaped(error.what()));
    } catch (...) {
        complain(complaint::kInternal, "an exception of unknown type");
    }
    return static_cast<int>(status);
}
