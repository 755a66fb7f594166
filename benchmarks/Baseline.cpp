// SPDX-License-Identifier: Apache-2.0
#include "Baseline.h"

#include "Operations.h"
#include "Variants.h"

#include <QuarnCommonUtils_i.h>
#include <json/reader.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace bench {

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

naive::File parsedFile(const std::string& path) {
    std::ifstream file(path.c_str());
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["rejectDupKeys"] = false;
    builder["strictRoot"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    naive::File value{Json::Value()};
    if (!reader->parse(text.data(), text.data() + text.size(), &*value, nullptr)) {
        value.reset();
    }
    return value;
}

std::unique_ptr<Baseline> g_instance;

} // namespace

Baseline::Baseline()
    : NaiveReader(variable("PROCESS_INSTANCE_ID"),
                  {[] { return parsedFile(variable("APP_CONF_FILE")); },
                   [] { return parsedFile(variable("APP_ROOT") + "/etc/sysconf/nodelist.json"); },
                   [] { return parsedFile(variable("TOLM_ROOT") + "/etc/sysconf/nodelists.json"); },
                   [] {
                       std::list<std::string> addresses;
                       QuarnCommonUtils_i::getAllIPAddr(addresses);
                       return addresses;
                   }}) {
    Reload();
}

Baseline* Baseline::Instance() {
    if (g_instance == nullptr) {
        g_instance.reset(new Baseline);
    }
    return g_instance.get();
}

void Baseline::Destory() {
    g_instance.reset();
}

void addBaseline(Suite& suite) {
    addOperations<Baseline, Baseline>(suite);
}

void compareAnswers() {
    const std::string found = difference(answersApart(addProduct), answersApart(addBaseline));
    if (!found.empty()) {
        throw std::runtime_error("product and baseline differ: " + found);
    }
}

} // namespace bench
