#include "render/Diagnostics.h"

#include "render/Json.h"
#include "render/Output.h"

#include <string>

namespace sysconfctl {
namespace {

/// Set once, before anything can be complained of.
bool inJson = false;

void say(const char* kind, std::string_view name, std::string_view sentence) {
    if (!inJson) {
        writeErrors("sysconfctl: " + std::string(sentence) + '\n');
        return;
    }
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["kind"] = kind;
    value["name"] = std::string(name);
    value["text"] = std::string(sentence);
    writeErrors(compactJson(value) + '\n');
}

} // namespace

void complainInJson() {
    inJson = true;
}

void complain(std::string_view name, std::string_view sentence) {
    say("error", name, sentence);
}

void notify(std::string_view name, std::string_view sentence) {
    say("notice", name, sentence);
}

} // namespace sysconfctl
