#pragma once

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace eventcbutil {

/// Owns a file descriptor.
class Descriptor {
public:
    /// @throws std::system_error with the error number of the failed call when there is none.
    Descriptor(int descriptor, const char* made) : m_descriptor(descriptor) {
        if (descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), made);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    /// -1 once it has been closed.
    int get() const { return m_descriptor; }

    void close() {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
            m_descriptor = -1;
        }
    }

private:
    int m_descriptor;
};

} // namespace eventcbutil
