// SPDX-License-Identifier: Apache-2.0
#include "Recorder.h"

#include "EventConsumerCB.h"
#include "support/Resources.h"

#include <algorithm>
#include <fstream>
#include <utility>

namespace fs = std::filesystem;

Recorder::~Recorder() {
    const std::lock_guard<std::mutex> guard(m_mutex);
}

void Recorder::setHook(std::function<int()> hook) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_hook = std::move(hook);
}

int Recorder::subscribe() {
    const EventConsumerCallback callback = record();
    return EventConsumerCBInit("SysConfigEvent", "", &callback);
}

void Recorder::requestDelivery() {
    const EventConsumerCallback callback = record();
    EventConsumerCBRedeliver(&callback);
}

void Recorder::waitForText(const std::string& text) {
    std::unique_lock<std::mutex> guard(m_mutex);
    m_changed.wait(
        guard, [&] { return std::find(m_texts.begin(), m_texts.end(), text) != m_texts.end(); });
}

void Recorder::waitForCount(std::size_t callbacks) {
    std::unique_lock<std::mutex> guard(m_mutex);
    m_changed.wait(guard, [&] { return m_texts.size() >= callbacks; });
}

void Recorder::waitForLastText(const std::string& text) {
    std::unique_lock<std::mutex> guard(m_mutex);
    m_changed.wait(guard, [&] { return !m_texts.empty() && m_texts.back() == text; });
}

std::vector<std::string> Recorder::texts() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_texts;
}

int Recorder::called(const std::string& eventName, const std::string& /*second*/,
                     const std::string& /*third*/, void* userData) {
    Recorder& self = *static_cast<Recorder*>(userData);
    std::function<int()> hook;
    {
        const std::lock_guard<std::mutex> guard(self.m_mutex);
        self.m_texts.push_back(eventName == "SysConfigEvent" ? textOf(self.m_file)
                                                             : "another event: " + eventName);
        hook = self.m_hook;
        self.m_changed.notify_all();
    }
    // The callback acquires the lock at its end, as the destructor does: so everything that
    // callbacks do happens before the destruction.
    const struct LastAct {
        std::mutex& mutex;
        ~LastAct() { const std::lock_guard<std::mutex> guard(mutex); }
    } lastAct{self.m_mutex};
    return hook ? hook() : 0;
}

void Barrier::arrive() {
    std::unique_lock<std::mutex> guard(m_mutex);
    m_arrived = true;
    m_changed.notify_all();
    m_changed.wait(guard, [&] { return m_open; });
}

void Barrier::waitForArrival() {
    std::unique_lock<std::mutex> guard(m_mutex);
    m_changed.wait(guard, [&] { return m_arrived; });
}

void Barrier::letGo() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_open = true;
    m_changed.notify_all();
}

void endService() {
    EventConsumerCBFini();
    waitForServiceToEnd();
}

void writeInPlace(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}
