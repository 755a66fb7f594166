#pragma once

#include <rules/Trace.h>

#include <optional>
#include <vector>

namespace sysconfctl {

/// Stores what a rule reports.
class Recorder : public Quarncommon::rules::Trace {
public:
    void report(const Quarncommon::rules::TraceEvent& event) override { events.push_back(event); }

    std::vector<Quarncommon::rules::TraceEvent> events;
};

/// Stores the value that ended a rule, if one did.
class MismatchRecorder : public Quarncommon::rules::Trace {
public:
    void report(const Quarncommon::rules::TraceEvent& event) override {
        if (const auto* found = std::get_if<Quarncommon::rules::TypeMismatch>(&event)) {
            mismatch = *found;
        }
    }

    std::optional<Quarncommon::rules::TypeMismatch> mismatch;
};

} // namespace sysconfctl
