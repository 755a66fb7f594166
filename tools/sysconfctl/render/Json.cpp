// SPDX-License-Identifier: Apache-2.0
#include "render/Json.h"

#include <queries/JsonText.h>

namespace sysconfctl {

using Quarncommon::queries::jsonText;

namespace {

Json::Value toJson(const Parameter& parameter) {
    Json::Value value;
    value["name"] = std::string(parameter.name);
    value["required"] = parameter.occurs != Occurs::AnyTimes;
    value["repeatable"] = parameter.occurs != Occurs::Once;
    return value;
}

} // namespace

std::string compactJson(const Json::Value& value) {
    return jsonText(value);
}

std::string indentedJson(const Json::Value& value) {
    return jsonText(value, "  ") + '\n';
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
