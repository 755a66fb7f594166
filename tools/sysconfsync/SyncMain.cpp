// SPDX-License-Identifier: Apache-2.0
#include "cli/SyncCommandLine.h"
#include "cli/SyncDiagnostics.h"
#include "cli/UsageError.h"
#include "etcd/EtcdError.h"
#include "render/Output.h"
#include "render/Text.h"

#include <csignal>
#include <exception>

namespace {

using namespace sysconfsync;
using sysconfctl::reportError;
namespace diagnostic = sysconfctl::diagnostic;

SyncStatus start(int argc, const char* const* argv) {
    const SyncRequest request = parseSyncCommandLine(argc, argv);
    if (request.run == nullptr) {
        sysconfctl::writeOutput(request.text);
        return SyncStatus::Done;
    }
    if (request.options.format == sysconfctl::Format::Json) {
        sysconfctl::useJsonDiagnostics();
    }
    return request.run(request.options);
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a closed connection or pipe is an error of its operation
    sysconfctl::useToolName("sysconfsync");
    SyncStatus status = SyncStatus::Internal;
    try {
        status = start(argc, argv);
    } catch (const sysconfctl::UsageError& error) {
        reportError(diagnostic::kUsage, error.what());
        status = SyncStatus::Usage;
    } catch (const EtcdError& error) {
        reportError(diagnostic::kStore, error.what());
        status = SyncStatus::StoreFailed;
    } catch (const Cancelled&) {
        reportError(diagnostic::kInterrupted, "interrupted");
        status = SyncStatus::Refused;
    } catch (const sysconfctl::OutputError& error) {
        reportError(diagnostic::kOutput, error.what());
    } catch (const std::exception& error) {
        reportError(diagnostic::kInternal, sysconfctl::escaped(error.what()));
    } catch (...) {
        reportError(diagnostic::kInternal, "an exception of unknown type");
    }
    return static_cast<int>(status);
}
