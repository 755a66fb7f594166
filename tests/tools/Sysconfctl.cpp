// SPDX-License-Identifier: Apache-2.0
#include "Sysconfctl.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <tuple>

namespace tool {

std::filesystem::path sourceDirectory() {
    return SYSCONF_SOURCE_DIRECTORY;
}

std::filesystem::path samplesDirectory() {
    return sourceDirectory() / "samples";
}

std::filesystem::path View::envFile() const {
    return samplesDirectory() / deployment / (name + ".env");
}

std::vector<View> views() {
    std::vector<View> views;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(samplesDirectory())) {
        if (entry.path().extension() == ".env") {
            views.push_back(
                {entry.path().parent_path().filename().string(), entry.path().stem().string()});
        }
    }
    std::sort(views.begin(), views.end(), [](const View& left, const View& right) {
        return std::tie(left.deployment, left.name) < std::tie(right.deployment, right.name);
    });
    return views;
}

support::Command sysconfctl(std::vector<std::string> arguments) {
    support::Command command(SYSCONFCTL, std::move(arguments));
    command.variable("PAGER", "cat"); // a pager would wait for a key
    return command;
}

CommandResult run(std::vector<std::string> arguments) {
    return sysconfctl(std::move(arguments)).run();
}

CommandResult run(const View& view, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--env-file", view.envFile().string()});
    return run(std::move(arguments));
}

Json::Value parsed(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors))
        << errors << text;
    return value;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool fits(const std::string& line, std::size_t columns) {
    const std::size_t word = line.find_first_not_of(' ');
    return line.size() <= columns ||
           (word != std::string::npos && line.find(' ', word) == std::string::npos);
}

} // namespace tool
