// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReaderEvent.h"

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// Records its callbacks: the contents of the file at each one.
class Recorder {
public:
    explicit Recorder(std::filesystem::path file) : m_file(std::move(file)) {}
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    /// The service must have ended, see `endService`.
    ~Recorder();

    /// Runs in every callback after the file is read. The callback returns or throws what it does.
    void setHook(std::function<int()> hook);

    EventConsumerCallback record() { return {&Recorder::called, this}; }
    int subscribe();
    void requestDelivery();

    /// "" for a missing file.
    void waitForText(const std::string& text);
    void waitForCount(std::size_t callbacks);
    void waitForLastText(const std::string& text);

    std::vector<std::string> texts();
    std::size_t callbacks() { return texts().size(); }

private:
    static int called(const std::string& eventName, const std::string& second,
                      const std::string& third, void* userData);

    std::filesystem::path m_file;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<int()> m_hook;
    std::vector<std::string> m_texts;
};

class Barrier {
public:
    /// Called by the callback. Waits only the first time.
    void arrive();
    void waitForArrival();
    void letGo();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_arrived = false;
    bool m_open = false;
};

/// Waits until no callback runs, so that what callbacks use can be destroyed.
void endService();

void writeInPlace(const std::filesystem::path& file, const std::string& text);
