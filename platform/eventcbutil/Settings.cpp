// SPDX-License-Identifier: Apache-2.0
#include "Settings.h"

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace eventcbutil {
namespace {

/// Long enough for a configuration system to replace three files.
constexpr std::chrono::milliseconds kQuietTime{50};

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string absolute(const std::string& path) {
    return path.starts_with('/') ? path : std::filesystem::current_path().string() + "/" + path;
}

std::chrono::milliseconds quietTime(std::string_view text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool understood = error == std::errc() && stop == end && !text.empty();
    return understood && number >= 0 && number <= kLongestWait.count()
               ? std::chrono::milliseconds(number)
               : kQuietTime;
}

} // namespace

Settings settingsFromEnvironment() {
    Settings settings{{}, quietTime(variable("SYSCONF_EVENT_QUIET_MS"))};
    if (const std::string appConfig = variable("APP_CONF_FILE"); !appConfig.empty()) {
        settings.files.push_back(absolute(appConfig));
    }
    settings.files.push_back(absolute(variable("APP_ROOT") + "/etc/sysconf/nodelist.json"));
    settings.files.push_back(absolute(variable("TOLM_ROOT") + "/etc/sysconf/nodelists.json"));
    return settings;
}

} // namespace eventcbutil
