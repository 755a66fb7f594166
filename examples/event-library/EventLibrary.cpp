// SPDX-License-Identifier: Apache-2.0
// A minimal event library, libeventcbutil.so. Events are lines from the named pipe in EVENT_PIPE,
// one pipe per process. After changing the configuration files, send an event:
//
//     echo SysConfigEvent >"$EVENT_PIPE"
//
// To use a real event service, replace nextEvent. Not for programs that use the library in a forked
// child: the thread does not exist there.

#include <SysConfReaderEvent.h>

#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

struct Subscription {
    std::string eventName;
    EventConsumerCallback callback;
};

class Service {
public:
    /// Returns false if there is no pipe to read from.
    bool subscribe(const Subscription& subscription) {
        const std::lock_guard<std::mutex> only(m_lifecycle);
        if (!m_thread.joinable() && !start()) {
            return false;
        }
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_subscriptions.push_back(subscription);
        return true;
    }

    /// Waits for a running callback. This cannot deadlock with the library, which rejects its
    /// callbacks before it unsubscribes.
    void unsubscribeAll() {
        const std::lock_guard<std::mutex> only(m_lifecycle);
        if (!m_thread.joinable()) {
            return;
        }
        ::eventfd_write(m_stop, 1);
        m_thread.join();
        ::close(m_stop);
        ::close(m_pipe);
        m_subscriptions.clear();
    }

private:
    bool start() {
        const char* path = std::getenv("EVENT_PIPE");
        // Open for writing too, so that there is no end of file when a writer closes the pipe.
        m_pipe = path != nullptr ? ::open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK) : -1;
        if (m_pipe < 0) {
            return false;
        }
        m_stop = ::eventfd(0, EFD_CLOEXEC);
        m_received.clear();
        m_thread = std::thread([this] {
            for (std::string name; nextEvent(name);) {
                deliver(name);
            }
        });
        return true;
    }

    /// Waits for a whole line. Returns false if the service must stop.
    bool nextEvent(std::string& name) {
        std::size_t end = 0;
        while ((end = m_received.find('\n')) == std::string::npos) {
            pollfd ready[] = {{m_stop, POLLIN, 0}, {m_pipe, POLLIN, 0}};
            ::poll(ready, 2, -1);
            if (ready[0].revents != 0) {
                return false;
            }
            char text[256];
            const ssize_t length = ::read(m_pipe, text, sizeof text);
            m_received.append(text, length > 0 ? static_cast<std::size_t>(length) : 0);
        }
        name = m_received.substr(0, end);
        m_received.erase(0, end + 1);
        return true;
    }

    /// Holds no lock during a callback, which loads the files and may subscribe.
    void deliver(const std::string& name) {
        std::unique_lock<std::mutex> guard(m_mutex);
        const std::vector<Subscription> subscriptions = m_subscriptions;
        guard.unlock();
        for (const Subscription& subscription : subscriptions) {
            if (subscription.eventName == name) {
                subscription.callback.callback(name, "", "", subscription.callback.userData);
            }
        }
    }

    /// Held while the thread is started or stopped. Protects everything below but the
    /// subscriptions.
    std::mutex m_lifecycle;
    /// Protects the subscriptions.
    std::mutex m_mutex;
    std::vector<Subscription> m_subscriptions;
    std::thread m_thread;
    int m_pipe = -1;
    int m_stop = -1;
    std::string m_received;
};

/// Never destroyed: its thread may run while the process exits.
Service& service() {
    static Service& instance = *new Service;
    return instance;
}

} // namespace

extern "C" [[gnu::visibility("default")]] int
EventConsumerCBInit(const std::string& eventName, const std::string& /*second*/,
                    const EventConsumerCallback* callback) {
    return service().subscribe({eventName, *callback}) ? 0 : -1;
}

extern "C" [[gnu::visibility("default")]] void EventConsumerCBFini() {
    service().unsubscribeAll();
}
