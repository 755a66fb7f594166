// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderEvent.h"

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// A subscriber that keeps a record of its callbacks: each time what the watched file reads.
class Recorder {
public:
    explicit Recorder(std::filesystem::path file) : m_file(std::move(file)) {}
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    /// The service must have ended, see `endService`.
    ~Recorder();

    /// Runs in every callback, after the record; the callback answers or throws what it does.
    void setHook(std::function<int()> hook);

    EventConsumerCallback record() { return {&Recorder::called, this}; }
    /// What EventConsumerCBInit answers.
    int subscribe();

    /// Returns when the file has been read with that text, "" for a missing file.
    void waitForText(const std::string& text);
    /// Returns when there have been that many callbacks.
    void waitForCount(std::size_t count);

    /// Returns when that text is the last one read.
    void waitForLastText(const std::string& text);

    std::vector<std::string> texts();
    std::size_t count() { return texts().size(); }

private:
    static int called(const std::string& eventName, const std::string& second,
                      const std::string& third, void* userData);

    std::filesystem::path m_file;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<int()> m_hook;
    std::vector<std::string> m_texts;
};

/// A point at which a callback waits until the test lets it continue.
class Barrier {
public:
    /// Called by the callback; waits only the first time.
    void arrive();
    void waitForArrival();
    void letGo();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_arrived = false;
    bool m_open = false;
};

/// Ends all subscriptions and returns when no callback is running any more, so that what callbacks
/// use can be destroyed.
void endService();

void writeInPlace(const std::filesystem::path& file, const std::string& text);
