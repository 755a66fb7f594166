// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "query/AskedQuery.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Output.h"
#include "render/Table.h"
#include "render/Text.h"
#include "watch/Causes.h"
#include "watch/Changes.h"
#include "watch/EndSignals.h"
#include "watch/Events.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace sysconfctl {
namespace {

/// Answers that are read from the files on every call change without an event.
constexpr int kPollInterval = 1000; // milliseconds
/// The library may apply a change shortly after the tool has received the event.
constexpr int kPollIntervalAfterEvent = 100;

/// How long the library may take to answer and to end its subscription.
constexpr std::chrono::seconds kEndLimit{2};

/// Ends the process in time after a termination signal, even if the library hangs in the file
/// system or in the event library.
void limitTimeToEnd(const EndSignals& signals) {
    std::thread([descriptor = signals.descriptor()] {
        pollfd signal{descriptor, POLLIN, 0};
        while (::poll(&signal, 1, -1) < 0) {
        }
        std::this_thread::sleep_for(kEndLimit);
        std::_Exit(static_cast<int>(ExitStatus::Answered));
    }).detach();
}

/// The library subscribes on first use. Each reply reports an exception.
void useLibrary() {
    try {
        library::reader();
    } catch (...) {
        return;
    }
}

void reportSubscription(const Events& events) {
    if (events.subscribed()) {
        reportNotice(diagnostic::kSubscribed,
                     "subscribed to changes through " + escaped(events.report()));
    } else {
        reportNotice(diagnostic::kNotSubscribed,
                     "not subscribed to changes: " + escaped(events.report()));
    }
}

/// @return False if a termination signal has arrived.
/// @throws OutputClosed if the reader of the output has closed it.
bool waitForNextPoll(const EndSignals& signals, Events& events, bool& event) {
    std::array<pollfd, 3> ready = {pollfd{signals.descriptor(), POLLIN, 0},
                                   pollfd{events.descriptor(), POLLIN, 0},
                                   pollfd{STDOUT_FILENO, 0, 0}};
    if (::poll(ready.data(), ready.size(), event ? kPollIntervalAfterEvent : kPollInterval) < 0 &&
        errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    if (ready[0].revents == 0 && ready[2].revents != 0) {
        throw OutputClosed("the reader of the output has closed it");
    }
    event = ready[1].revents != 0;
    events.clear();
    return ready[0].revents == 0;
}

std::string written(const std::vector<Observation>& observations, const Options& options) {
    if (options.format == Format::Table) {
        std::vector<Reply> replies;
        replies.reserve(observations.size());
        for (const Observation& observation : observations) {
            replies.push_back(observation.reply);
        }
        return tableOf(replies, outputWidth(), colorWanted(options.color)) + '\n';
    }
    const WallTime now = std::chrono::system_clock::now();
    std::string text;
    for (const Observation& observation : observations) {
        text += options.format == Format::Json ? answerLine(observation.reply, now)
                                               : answerPlain(observation.reply, now);
    }
    return text;
}

std::string written(const Change& change, WallTime now, const std::vector<Cause>& causes,
                    const Options& options) {
    switch (options.format) {
    case Format::Json:
        return changeLine(change, now, causes);
    case Format::Plain:
        return changePlain(change, now);
    default:
        return changeText(change, now, outputWidth(), colorWanted(options.color));
    }
}

std::string written(const Cause& cause, const Options& options) {
    switch (options.format) {
    case Format::Json:
        return causeLine(cause);
    case Format::Plain:
        return causePlain(cause);
    default:
        return causeText(cause, outputWidth(), colorWanted(options.color));
    }
}

class Reporter {
public:
    explicit Reporter(const Options& options) : m_options(options) {}

    void report(const std::vector<Change>& found) {
        const WallTime now = std::chrono::system_clock::now();
        const std::vector<Cause> latest = m_causes.update();
        const std::vector<Cause> causes =
            found.empty() ? std::vector<Cause>{} : m_causes.ofChanges();
        std::string text;
        // A loaded answer changes later than its file: then the cause is written again.
        const bool repeated =
            m_options.format != Format::Json && latest.empty() && !m_causesWrittenLast;
        for (const Cause& cause : repeated ? causes : latest) {
            text += written(cause, m_options);
        }
        for (const Change& change : found) {
            text += written(change, now, causes, m_options);
        }
        writeOutput(text);
        if (!text.empty()) {
            m_causesWrittenLast = found.empty();
        }
    }

private:
    const Options& m_options;
    Causes m_causes;
    bool m_causesWrittenLast = false;
};

} // namespace

ExitStatus runWatch(const Options& options) {
    std::vector<AskedQuery> asked;
    for (const std::string& word : options.queries) {
        asked.push_back(askedQuery(word, "watch"));
    }
    const EndSignals signals;
    limitTimeToEnd(signals);
    const library::Session session;
    Reporter reporter(options);
    useLibrary();
    Events events;
    reportSubscription(events);
    std::vector<Observation> last = observe(asked, options.revealSecrets);
    writeOutput(written(last, options));
    bool event = false;
    while (waitForNextPoll(signals, events, event)) {
        std::vector<Observation> next = observe(asked, options.revealSecrets);
        reporter.report(changes(last, next));
        last = std::move(next);
    }
    const bool threw = std::any_of(last.begin(), last.end(), [](const Observation& observation) {
        return observation.reply.error.has_value();
    });
    return threw ? ExitStatus::LibraryThrew : ExitStatus::Answered;
}

} // namespace sysconfctl
