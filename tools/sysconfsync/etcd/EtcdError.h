// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

namespace sysconfsync {

enum class Failure {
    Unreachable, ///< no endpoint answers in time, or the members have no leader
    Denied,      ///< wrong user or password, or the user lacks the permission
    TooLarge,    ///< the request exceeds the limits of the members
    Compacted,   ///< the revision is too old: its history has been deleted
    Rejected,    ///< any other answer that is not a success
    Malformed,   ///< the answer or a stored value cannot be parsed
};

/// A request that failed. The message is one sentence for the user; values in it are escaped.
struct EtcdError : std::runtime_error {
    EtcdError(Failure why, const std::string& sentence)
        : std::runtime_error(sentence), reason(why) {}

    Failure reason;
    /// Whether a failed transaction may have been applied, now or later: it was sent, and no answer
    /// came.
    bool mayBeApplied = false;
    /// If the reason is Compacted: the oldest revision that can be read; 0 if unknown.
    std::int64_t compactRevision = 0;
};

/// The stop descriptor became readable while a request was in progress.
struct Cancelled : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};

} // namespace sysconfsync
