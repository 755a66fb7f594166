// SPDX-License-Identifier: Apache-2.0
#include "render/Plain.h"

#include "render/Json.h"
#include "render/Text.h"

namespace sysconfctl {

std::vector<std::string> plainLines(const Answer& answer) {
    using Lines = std::vector<std::string>;
    return std::visit(Overloaded{
                          [](const NoAnswer&) { return Lines{}; },
                          [](const std::string& text) { return Lines{escaped(text)}; },
                          [](int number) { return Lines{std::to_string(number)}; },
                          [](const List& list) {
                              Lines lines;
                              for (const std::string& item : list) {
                                  lines.push_back(escaped(item));
                              }
                              return lines;
                          },
                          [](const Map& map) {
                              Lines lines;
                              for (const auto& [key, text] : map) {
                                  lines.push_back(escaped(key) + '\t' + escaped(text));
                              }
                              return lines;
                          },
                          [](const Groups& groups) {
                              Lines lines;
                              for (const auto& [key, texts] : groups) {
                                  std::string line = escaped(key);
                                  for (const std::string& text : texts) {
                                      line += '\t' + escaped(text);
                                  }
                                  lines.push_back(line);
                              }
                              return lines;
                          },
                          [](const Json::Value& value) { return Lines{compactJson(value)}; },
                      },
                      answer.value);
}

std::string errorText(const std::string& message) {
    return "error: " + escaped(message);
}

std::vector<std::string> shownLines(const Reply& reply) {
    if (reply.error) {
        return {errorText(*reply.error)};
    }
    std::vector<std::string> lines = plainLines(reply.answer);
    if (lines.empty()) {
        lines.emplace_back(reply.answer.isAnswered() ? kEmptyText : kNoAnswerText);
    }
    return lines;
}

} // namespace sysconfctl
