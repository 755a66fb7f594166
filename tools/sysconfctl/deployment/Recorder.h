// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rules/Trace.h>

#include <optional>
#include <set>
#include <vector>

namespace sysconfctl {

class Recorder : public Quarncommon::rules::Trace {
public:
    void report(const Quarncommon::rules::TraceEvent& event) override { events.push_back(event); }

    std::vector<Quarncommon::rules::TraceEvent> events;
};

/// Stores the paths that a load step has read, and the value of the wrong type that stopped it.
class LoadRecorder : public Quarncommon::rules::Trace {
public:
    explicit LoadRecorder(std::set<Quarncommon::rules::Path>& reads) : m_reads(reads) {}

    void report(const Quarncommon::rules::TraceEvent& event) override {
        if (const auto* found = std::get_if<Quarncommon::rules::TypeMismatch>(&event)) {
            mismatch = *found;
        } else if (const auto* read = std::get_if<Quarncommon::rules::ValueRead>(&event)) {
            m_reads.insert(read->path);
        }
    }

    std::optional<Quarncommon::rules::TypeMismatch> mismatch;

private:
    std::set<Quarncommon::rules::Path>& m_reads;
};

} // namespace sysconfctl
