// SPDX-License-Identifier: Apache-2.0
#include "status/LoadRecord.h"

#include "status/LoadNotices.h"
#include "status/StatusBoard.h"
#include "status/StatusText.h"

#include <cerrno>
#include <string>

namespace Quarncommon::status {

namespace {

using Outcome = SysConfReaderStatus::Outcome;
using ReadOutcome = config::ReadResult::Outcome;

Outcome outcomeOfCall(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return Outcome::Missing;
    case EACCES:
    case EPERM:
        return Outcome::NotPermitted;
    case ENXIO: // a socket
    case ENODEV:
        return Outcome::NotRegular;
    default:
        return Outcome::Unreadable;
    }
}

Outcome outcomeOf(config::ReadResult result) {
    switch (result.outcome()) {
    case ReadOutcome::Parsed:
        return Outcome::Loaded;
    case ReadOutcome::NotRegular:
        return Outcome::NotRegular;
    case ReadOutcome::TooLarge:
        return Outcome::TooLarge;
    case ReadOutcome::Malformed:
        return Outcome::Malformed;
    case ReadOutcome::Unavailable:
        return Outcome::Shortage;
    case ReadOutcome::Unreadable:
        break;
    }
    return outcomeOfCall(result.error());
}

bool hasFailed(const File& file) {
    return file.outcome != Outcome::NotRead && file.outcome != Outcome::Loaded;
}

std::string pointer(const rules::Path& path) {
    std::string text;
    for (const std::string& step : path) {
        text += '/';
        for (const char c : step) {
            const char* const escaped = c == '~' ? "~0" : c == '/' ? "~1" : nullptr;
            escaped != nullptr ? text.append(escaped) : text.append(1, c);
        }
    }
    return text;
}

} // namespace

LoadRecording::LoadRecording(Load SysConfReaderStatus::*reader) noexcept
    : m_reader(reader), m_outer(t_load), m_shortagesBefore(t_shortageCount),
      m_start(std::chrono::steady_clock::now()) {
    m_load.startedAt =
        std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
    t_load = &m_load;
}

void LoadRecording::publish() noexcept {
    m_load.duration = std::chrono::nanoseconds(std::chrono::steady_clock::now() - m_start).count();
    m_load.shortage = t_shortageCount != m_shortagesBefore;
    status::publish(m_reader, m_load);
    t_loadToAnnounce = true;
}

void recordRead(File& file, config::ReadResult result, config::TextPlace fault) noexcept {
    if (!hasFailed(file)) {
        file.outcome = outcomeOf(result);
        file.error = result.error();
        file.line = fault.line;
        file.column = fault.column;
    }
}

void recordShortage(File& file) noexcept {
    if (!hasFailed(file)) {
        file.outcome = Outcome::Shortage;
        file.error = ENOMEM;
    }
}

void recordWrongType(File& file, const rules::Path& path) noexcept {
    if (!hasFailed(file)) {
        file.outcome = Outcome::WrongType;
        runDroppingExceptions([&] { store(pointer(path), file.pointer); });
    }
}

} // namespace Quarncommon::status
