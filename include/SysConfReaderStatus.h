// SPDX-License-Identifier: Apache-2.0
#ifndef SYSCONFREADERSTATUS_H
#define SYSCONFREADERSTATUS_H

namespace Quarncommon {

/// The last loads, why a file was not loaded, and the change events; notifications of loads.
///
/// SysConfReader and SysConfReaderImpl (the role reader) load files. A first use, a change event
/// and the role reader's Reload() load both; SysConfReader::Reload() loads only that reader. Each
/// load gets the next number of one sequence when it ends. The number of the last load is the
/// generation: queries that begin after a program has seen it answer from that load or a later one.
///
/// The status is a plain copy. Getting it creates no instance, reads no file, allocates nothing and
/// waits for no load. Address queries do not affect it.
///
/// Threads. Any thread may call every operation, also while the process exits. Nothing throws.
///
/// Forks. A forked child inherits the status, without the subscription, and the callbacks. A
/// descriptor that it inherits is only notified by the parent: in the child, close it
/// (closeDescriptor) and open a new one.
class [[gnu::visibility("default")]] SysConfReaderStatus {
public:
    /// @name Contents
    /// @{

    /// What became of a file in a load.
    enum class Outcome {
        /// The load ended before it, or this reader does not use the file.
        NotRead,
        /// Read and parsed, and all values that the load needed were taken.
        Loaded,
        /// No such file. An empty path too: the environment variable is unset.
        Missing,
        /// The process may not read it.
        NotPermitted,
        /// A folder, a pipe, a socket or a device.
        NotRegular,
        /// More than 1 GiB, or more than 16 MiB of a file that reports no size.
        TooLarge,
        /// Another error of a system call, see File::error.
        Unreadable,
        /// Not one valid JSON text, see File::line.
        Malformed,
        /// A value has another type than the load needs, see File::pointer. The reader's load, or
        /// the step of the role reader's load, ended there.
        WrongType,
        /// Memory, descriptors or the storage failed, or the file changed during each attempt to
        /// read it. See docs/embed.md.
        Shortage
    };

    /// A file in a load. If the load read it several times, the first failure.
    struct File {
        Outcome outcome = Outcome::NotRead;
        /// The error number of a system call that failed, else 0.
        int error = 0;
        /// Where a malformed text fails: the first character that no valid text can have there,
        /// from 1. Columns are characters of UTF-8. 0 if unknown: only the platform's JSON library
        /// has read the text, or it has numbers out of range.
        unsigned int line = 0;
        /// See `line`.
        unsigned int column = 0;
        /// The JSON pointer (RFC 6901) of the value of the wrong type. A longer one ends with
        /// "...". "" is the whole text, or unknown because memory ran out.
        char pointer[256] = "";
    };

    /// The last load of a reader. All zeros before the first one.
    struct Load {
        /// Its number in the sequence of both readers, from 1.
        unsigned long long number = 0;
        /// When it began to read files, in nanoseconds since 1970 (CLOCK_REALTIME).
        long long startedAt = 0;
        /// How long it took from there, in nanoseconds.
        long long duration = 0;
        /// Whether it met a shortage, of a file or of anything else.
        bool shortage = false;
        /// The file of `APP_CONF_FILE`.
        File appConfig;
        /// The node list under `APP_ROOT`.
        File nodeList;
        /// The manager node list under `TOLM_ROOT`. SysConfReader does not load it.
        File managerNodeList;
    };

    /// Whether the library is subscribed to change events.
    enum class Subscription {
        /// Not tried yet, ended by Destory(), or made by the parent of this process.
        None,
        /// There is a subscription, see `eventLibrary`.
        Subscribed,
        /// Disabled by the environment, or impossible in this forked child.
        SwitchedOff,
        /// "libeventcbutil.so" cannot be loaded.
        NoLibrary,
        /// `eventLibrary` has no "EventConsumerCBInit".
        NoEntryPoint,
        /// `eventLibrary` refused, or threw an exception.
        Refused
    };

    /// The number of the last load of either reader, 0 before the first one.
    unsigned long long lastLoad = 0;
    /// The last load of SysConfReader. Kept after Destory().
    Load reader;
    /// The last load of SysConfReaderImpl. Kept after Destory().
    Load roles;
    /// The last attempt of either reader.
    Subscription subscription = Subscription::None;
    /// The file of the event library, "" for none. A longer path ends with "...".
    char eventLibrary[1024] = "";
    /// Events that reloaded both readers.
    unsigned long long eventsApplied = 0;
    /// Events whose reload, or the load of a callback, met a shortage or an exception; an event
    /// library delivers them again.
    unsigned long long eventsFailed = 0;
    /// Events that reloaded nothing: refused, or during a subscription or a destruction.
    unsigned long long eventsDropped = 0;
    /// @}

    /// @name Queries
    /// @{

    /// Returns the present status.
    static SysConfReaderStatus read() noexcept;

    /// Returns the number of the last load, 0 before the first one. As cheap as reading a variable.
    static unsigned long long generation() noexcept;

    /// Returns an outcome in a few English words, such as "no such file". Never null.
    static const char* text(Outcome outcome) noexcept;
    /// Returns a state of the subscription in a few English words. Never null.
    static const char* text(Subscription subscription) noexcept;
    /// @}

    /// @name Notifications
    /// Each notification is sent after its load is visible. Loads of one operation, such as the
    /// two of an event, cause one notification.
    /// @{

    /// What to call after a load, with the generation at that time.
    using Callback = void(unsigned long long generation, void* userData);

    /// Calls `callback` with `userData` after each load, until unsubscribe() or the library's exit
    /// handler. Returns an id above 0, or 0 if there are 64 callbacks already.
    ///
    /// The callback runs on the thread that has loaded, possibly on several at once, and under no
    /// lock of the library: it may call every operation. Loads that it makes itself notify
    /// descriptors, but no callbacks. Its exceptions are dropped.
    ///
    /// Destory() waits for callbacks that run for a change event, so those must not wait for a
    /// thread that calls it. If such a callback calls Destory(), the destruction follows the event.
    static unsigned long long subscribe(Callback * callback, void* userData) noexcept;

    /// Ends the subscription with that id; 0 and unknown ids are ignored. Waits until the callback
    /// runs on no other thread, so the user data may be freed then. Within any callback it returns
    /// at once: the ended one may still be running on other threads.
    static void unsubscribe(unsigned long long id) noexcept;

    /// Opens a descriptor that becomes readable (poll, epoll, select) after each load, until it is
    /// read. Reading it gives 8 bytes, the number of notifications as a native `unsigned long
    /// long`, and never blocks. Opens an eventfd(2), close-on-exec, above the standard streams.
    ///
    /// After closing all descriptors (closefrom), open a new one. The library recognizes its
    /// descriptor before it uses it and does not touch another file under the same number.
    ///
    /// @return The descriptor, or -1 with the reason in `errno`: EMFILE if 64 are open already.
    static int openDescriptor() noexcept;

    /// Closes a descriptor of openDescriptor(). Any other is ignored.
    static void closeDescriptor(int descriptor) noexcept;
    /// @}
};

} // namespace Quarncommon

#endif // SYSCONFREADERSTATUS_H
