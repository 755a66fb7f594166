// SPDX-License-Identifier: Apache-2.0
#include "explain/ExplanationBuilder.h"

#include <fmt/format.h>

#include <variant>

namespace sysconfctl {
namespace {

struct Field {
    std::string_view query;
    std::initializer_list<const char*> path;
    std::variant<std::string Values::*, int Values::*> member;
};

const Field* fieldOf(std::string_view query) {
    static const Field kFields[] = {
        {"localhost-ip-address", {"local", "ip"}, &Values::localhostIp},
        {"local-port", {"local", "port"}, &Values::localPort},
        {"maintenance-ip-address", {"IR", "ip"}, &Values::maintenanceIp},
        {"wss-ip-address", {"wss", "ip"}, &Values::wssIp},
        {"wss-port", {"wss", "port"}, &Values::wssPort},
        {"corba-port", {"CORBA", "port"}, &Values::corbaPort},
        {"corba-ssl-port", {"CORBA_SSL", "port"}, &Values::corbaSslPort},
    };
    for (const Field& field : kFields) {
        if (field.query == query) {
            return &field;
        }
    }
    return nullptr;
}

Answer appRoot(ExplanationBuilder& builder) {
    const Variable& root = builder.sources.nodeList.variable;
    builder.variable(root);
    if (root.text().empty()) {
        builder.because(root.value ? "variable-empty" : "variable-unset",
                        root.name + (root.value ? " is empty" : " is not set"),
                        "set it to the root of the local configuration");
    }
    builder.conclude("read", root.name + " is " + named(root.text()),
                     "the node list is looked for in " + builder.sources.nodeList.path);
    return textAnswer(root.text());
}

void explainField(ExplanationBuilder& builder, const Field& field) {
    builder.explanation.moment = Moment::Load;
    builder.process();
    const located::Path path = builder.processSpot(field.path).path;
    const bool number = std::holds_alternative<int Values::*>(field.member);
    const bool alone = !builder.hasCause();
    if (alone && builder.sources.appConfig.loads) {
        if (builder.loaded.hasRead(LoadStep::AppConfig, path)) {
            builder.value(builder.sources.appConfig, path);
        } else {
            const Stop* const stop = builder.loaded.stop(LoadStep::AppConfig);
            builder.stopped(LoadStep::AppConfig);
            if (stop != nullptr && stop->path != path) {
                builder.step({.kind = "value",
                              .outcome = "not-reached",
                              .sentence = valueName(path) + " is not reached",
                              .weight = Weight::Deciding});
            }
        }
    }
    const std::string text =
        number ? std::to_string(builder.values.*std::get<int Values::*>(field.member))
               : builder.values.*std::get<std::string Values::*>(field.member);
    builder.conclude("read", fmt::format("{} is {}", valueName(path), text),
                     number  ? "the answer is " + text
                     : alone ? "the answer is empty"
                             : "");
}

} // namespace

bool explainProcess(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    if (name == "app-root") {
        answer = appRoot(builder);
        return true;
    }
    const Field* const field = fieldOf(name);
    if (field == nullptr) {
        return false;
    }
    explainField(builder, *field);
    answer =
        std::visit(Overloaded{
                       [&](std::string Values::*text) { return textAnswer(builder.values.*text); },
                       [&](int Values::*number) { return numberAnswer(builder.values.*number); },
                   },
                   field->member);
    return true;
}

} // namespace sysconfctl
