// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderStatus.h"
#include "base/Exceptions.h"
#include "config/JsonFiles.h"
#include "config/Shortages.h"
#include "rules/LocatedNode.h"

#include <chrono>
#include <new>
#include <utility>

/// The steps of a load with a record of what became of each file. After a failure the rule runs, or
/// the text is parsed, again to find the place.
namespace Quarncommon::status {

using Load = SysConfReaderStatus::Load;
using File = SysConfReaderStatus::File;

/// The record of the load that this thread is in the middle of, else null.
inline constinit thread_local Load* t_load = nullptr;

class LoadRecording {
public:
    explicit LoadRecording(Load SysConfReaderStatus::*reader) noexcept;
    LoadRecording(const LoadRecording&) = delete;
    LoadRecording& operator=(const LoadRecording&) = delete;
    ~LoadRecording() { t_load = m_outer; }

    void publish() noexcept;

private:
    Load SysConfReaderStatus::*m_reader;
    Load m_load;
    Load* m_outer;
    unsigned int m_shortagesBefore;
    std::chrono::steady_clock::time_point m_start;
};

template <typename Class, typename Steps>
void recordLoad(Load SysConfReaderStatus::*reader, Steps&& steps) {
    LoadRecording recording(reader);
    load<Class>(std::forward<Steps>(steps));
    recording.publish();
}

/// Records how reading a file ended, unless an earlier failure of the file is recorded.
void recordRead(File& file, config::ReadResult result, config::TextPlace fault) noexcept;
void recordShortage(File& file) noexcept;
void recordWrongType(File& file, const rules::Path& path) noexcept;

template <typename Rule>
void applyRecorded(const rules::Node& root, File& file, Rule& rule) {
    try {
        rule(root);
    } catch (const Json::LogicError&) {
        rules::Path path;
        runDroppingExceptions([&] { rule(rules::LocatedNode(root, path)); });
        recordWrongType(file, path);
        throw;
    }
}

/// Reads a file of a load and, if it was parsed, runs `rule(root)`: with a rules::Node and, to find
/// a value of the wrong type, again with a rules::LocatedNode, with the same results.
template <typename Document, typename Read, typename Rule>
void loadFile(File Load::*which, Read read, Rule rule) {
    if (t_load == nullptr) { // a query, or a step that is called alone
        Document document;
        if (parsedForLoad(read(document, nullptr))) {
            rule(document.root());
        }
        return;
    }
    File& file = t_load->*which;
    try {
        Document document;
        config::TextPlace fault;
        const config::ReadResult result = read(document, &fault);
        recordRead(file, result, fault);
        if (parsedForLoad(result)) {
            applyRecorded(document.root(), file, rule);
        }
    } catch (const std::bad_alloc&) {
        recordShortage(file);
        throw;
    } catch (const Json::RuntimeError&) {
        recordShortage(file);
        throw;
    }
}

} // namespace Quarncommon::status
