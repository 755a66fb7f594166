// SPDX-License-Identifier: Apache-2.0
#include "etcd/Requests.h"

#include "etcd/Encoding.h"
#include "etcd/EtcdError.h"

#include <charconv>

namespace sysconfsync {
namespace {

/// Calls one of several functions by the type of the operation.
template <typename... Functions>
struct ByType : Functions... {
    using Functions::operator()...;
};
template <typename... Functions>
ByType(Functions...) -> ByType<Functions...>;

Json::Value keyJson(const std::string& key, const std::string& end) {
    Json::Value value;
    value["key"] = toBase64(key);
    if (!end.empty()) {
        value["range_end"] = toBase64(end);
    }
    return value;
}

Json::Value operationJson(const Operation& operation) {
    Json::Value value;
    std::visit(ByType{[&](const Range& range) { value["request_range"] = toJson(range); },
                      [&](const Put& put) {
                          value["request_put"] = keyJson(put.key, "");
                          value["request_put"]["value"] = toBase64(put.value);
                      },
                      [&](const Delete& deleted) {
                          value["request_delete_range"] = keyJson(deleted.key, deleted.end);
                      }},
               operation);
    return value;
}

Json::Value operationsJson(const std::vector<Operation>& operations) {
    Json::Value list(Json::arrayValue);
    for (const Operation& operation : operations) {
        list.append(operationJson(operation));
    }
    return list;
}

/// @throws EtcdError if there is a member of another type.
const Json::Value& memberAt(const Json::Value& object, const char* member, Json::ValueType type) {
    static const Json::Value objects(Json::objectValue);
    static const Json::Value arrays(Json::arrayValue);
    static const Json::Value texts(Json::stringValue);
    const Json::Value* value =
        object.isObject() ? object.find(member, member + std::char_traits<char>::length(member))
                          : nullptr;
    if (value == nullptr || value->isNull()) {
        return type == Json::arrayValue ? arrays : type == Json::stringValue ? texts : objects;
    }
    if (value->type() != type) {
        throw EtcdError(Failure::Malformed, std::string("an answer from etcd has a \"") + member +
                                                "\" of another type");
    }
    return *value;
}

KeyValue keyValue(const Json::Value& value) {
    return {fromBase64(memberAt(value, "key", Json::stringValue).asString()),
            fromBase64(memberAt(value, "value", Json::stringValue).asString()),
            integerAt(value, "mod_revision")};
}

std::int64_t revisionOf(const Json::Value& answer) {
    return integerAt(memberAt(answer, "header", Json::objectValue), "revision");
}

/// The size of a field with a length in etcd's encoding.
std::size_t fieldBytes(std::size_t size) {
    std::size_t lengthBytes = 1;
    for (std::size_t rest = size; rest >= 128; rest /= 128) {
        ++lengthBytes;
    }
    return size == 0 ? 0 : 1 + lengthBytes + size;
}

std::size_t operationBytes(const Operation& operation) {
    const std::size_t inner = std::visit(
        ByType{[](const Range& range) {
                   return fieldBytes(range.key.size()) + fieldBytes(range.end.size());
               },
               [](const Put& put) {
                   return fieldBytes(put.key.size()) + fieldBytes(put.value.size());
               },
               [](const Delete& deleted) {
                   return fieldBytes(deleted.key.size()) + fieldBytes(deleted.end.size());
               }},
        operation);
    return fieldBytes(fieldBytes(inner));
}

} // namespace

std::int64_t integerAt(const Json::Value& object, const char* member) {
    const Json::Value& value = object.isObject() ? object[member] : Json::Value::nullSingleton();
    if (value.isInt64()) {
        return value.asInt64();
    }
    std::int64_t number = 0;
    const std::string text = value.isString() ? value.asString() : "";
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string prefixEnd(std::string prefix) {
    // Keys are compared byte by byte. A prefix of valid UTF-8 has no byte 0xff.
    prefix.back() = static_cast<char>(prefix.back() + 1);
    return prefix;
}

Json::Value toJson(const Range& range) {
    Json::Value value = keyJson(range.key, range.end);
    value["keys_only"] = range.keysOnly;
    return value;
}

Json::Value toJson(const Transaction& transaction) {
    Json::Value value;
    value["compare"] = Json::Value(Json::arrayValue);
    for (const Compare& compare : transaction.compares) {
        Json::Value row;
        row["key"] = toBase64(compare.key);
        row["target"] = "MOD";
        row["result"] = "EQUAL";
        row["mod_revision"] = std::to_string(compare.modRevision);
        value["compare"].append(row);
    }
    value["success"] = operationsJson(transaction.success);
    value["failure"] = operationsJson(transaction.failure);
    return value;
}

RangeResult rangeResult(const Json::Value& answer) {
    RangeResult result{revisionOf(answer), {}};
    for (const Json::Value& row : memberAt(answer, "kvs", Json::arrayValue)) {
        result.keys.push_back(keyValue(row));
    }
    return result;
}

TransactionResult transactionResult(const Json::Value& answer) {
    TransactionResult result;
    const Json::Value& succeeded = answer["succeeded"];
    result.succeeded = succeeded.isBool() && succeeded.asBool();
    result.revision = revisionOf(answer);
    for (const Json::Value& row : memberAt(answer, "responses", Json::arrayValue)) {
        if (row.isObject() && row.isMember("response_range")) {
            result.ranges.push_back(rangeResult(row["response_range"]));
            result.ranges.back().revision = result.revision;
        }
    }
    return result;
}

std::vector<WatchEvent> watchEvents(const Json::Value& answer) {
    std::vector<WatchEvent> events;
    for (const Json::Value& row : memberAt(answer, "events", Json::arrayValue)) {
        events.push_back({keyValue(memberAt(row, "kv", Json::objectValue)),
                          memberAt(row, "type", Json::stringValue) == "DELETE"});
    }
    return events;
}

std::size_t requestBytes(const Transaction& transaction) {
    std::size_t bytes = 0;
    for (const Compare& compare : transaction.compares) {
        bytes += fieldBytes(compare.key.size()) + 16;
    }
    for (const auto* branch : {&transaction.success, &transaction.failure}) {
        for (const Operation& operation : *branch) {
            bytes += operationBytes(operation);
        }
    }
    return bytes;
}

} // namespace sysconfsync
