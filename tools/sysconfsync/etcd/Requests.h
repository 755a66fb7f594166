// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// The requests and answers of etcd's JSON gateway. Keys and values are bytes here and base64 text
/// in the JSON.
namespace sysconfsync {

struct KeyValue {
    std::string key;
    std::string value;
    std::int64_t modRevision = 0;
};

/// Reads one key or, if `end` is not empty, all keys from `key` up to but not including `end`.
struct Range {
    std::string key;
    std::string end = {};
    bool keysOnly = false;
};
struct Put {
    std::string key;
    std::string value;
};
struct Delete {
    std::string key;
    std::string end = {};
};
using Operation = std::variant<Range, Put, Delete>;

/// Requires the key to have that revision of its last change; 0: the key does not exist.
struct Compare {
    std::string key;
    std::int64_t modRevision = 0;
};

/// If all comparisons hold, etcd applies `success`, otherwise `failure`.
struct Transaction {
    std::vector<Compare> compares;
    std::vector<Operation> success;
    std::vector<Operation> failure;
};

struct RangeResult {
    /// The revision of the store that was read.
    std::int64_t revision = 0;
    std::vector<KeyValue> keys;
};

struct TransactionResult {
    bool succeeded = false;
    /// The revision of the store after the transaction.
    std::int64_t revision = 0;
    /// The results of the Range operations of the applied branch, in their order.
    std::vector<RangeResult> ranges;
};

struct WatchEvent {
    KeyValue key;
    bool deleted = false;
};

/// The end of the range of all keys that begin with the prefix.
std::string prefixEnd(std::string prefix);

Json::Value toJson(const Range& range);
Json::Value toJson(const Transaction& transaction);
/// @throws EtcdError (Malformed) if the answer does not have the expected form. So do the others.
RangeResult rangeResult(const Json::Value& answer);
TransactionResult transactionResult(const Json::Value& answer);
std::vector<WatchEvent> watchEvents(const Json::Value& answer);

/// The bytes of a transaction in etcd's own encoding, within 1 %. The members compare it with their
/// limit --max-request-bytes.
std::size_t requestBytes(const Transaction& transaction);

/// An integer; the gateway writes most of them as texts. 0 if it is absent or out of range.
std::int64_t integerAt(const Json::Value& object, const char* member);

} // namespace sysconfsync
