// SPDX-License-Identifier: Apache-2.0
#include "render/Json.h"

#include <json/writer.h>

namespace sysconfctl {
namespace {

std::string written(const Json::Value& value, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    // Writes "name": value, without a blank before the colon.
    builder["enableYAMLCompatibility"] = *indentation != '\0';
    std::string text = Json::writeString(builder, value);
    // The only control character that jsoncpp does not escape; it can only be inside a string.
    for (std::size_t at = 0; (at = text.find('\x7f', at)) != std::string::npos;) {
        text.replace(at, 1, "\\u007f");
    }
    return text;
}

Json::Value toJson(const Parameter& parameter) {
    Json::Value value;
    value["name"] = std::string(parameter.name);
    value["required"] = parameter.occurs != Occurs::AnyTimes;
    value["repeatable"] = parameter.occurs != Occurs::Once;
    return value;
}

} // namespace

std::string compactJson(const Json::Value& value) {
    return written(value, "");
}

std::string indentedJson(const Json::Value& value) {
    return written(value, "  ") + '\n';
}

Json::Value toJson(const Reply& reply) {
    Json::Value value;
    value["query"] = std::string(reply.query->name);
    value["operation"] = std::string(reply.query->operation);
    value["arguments"] = jsonOf(Answer{reply.arguments});
    value["answered"] = reply.answer.isAnswered();
    value["value"] = jsonOf(reply.answer);
    if (reply.answer.masked) {
        value["masked"] = true;
    }
    if (reply.error) {
        value["error"] = *reply.error;
    }
    return value;
}

Json::Value toJson(const std::vector<Reply>& replies) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["answers"] = Json::Value(Json::arrayValue);
    for (const Reply& reply : replies) {
        value["answers"].append(toJson(reply));
    }
    return value;
}

Json::Value toJson(const std::vector<Query>& queries) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["queries"] = Json::Value(Json::arrayValue);
    for (const Query& query : queries) {
        Json::Value row;
        row["name"] = std::string(query.name);
        row["operation"] = std::string(query.operation);
        row["section"] = std::string(query.section);
        row["help"] = std::string(query.help);
        row["arguments"] = Json::Value(Json::arrayValue);
        for (const Parameter& parameter : query.parameters) {
            row["arguments"].append(toJson(parameter));
        }
        value["queries"].append(row);
    }
    return value;
}

} // namespace sysconfctl
