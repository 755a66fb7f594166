// SPDX-License-Identifier: Apache-2.0
#include "queries/Answer.h"

namespace Quarncommon::queries {

namespace {

Json::Value array(const List& texts) {
    Json::Value value(Json::arrayValue);
    for (const std::string& text : texts) {
        value.append(text);
    }
    return value;
}

} // namespace

Json::Value jsonOf(const Answer& answer) {
    return std::visit(Overloaded{
                          [](const NoAnswer&) { return Json::Value(); },
                          [](const List& list) { return array(list); },
                          [](const Map& map) {
                              Json::Value value(Json::objectValue);
                              for (const auto& [key, text] : map) {
                                  value[key] = text;
                              }
                              return value;
                          },
                          [](const Groups& groups) {
                              Json::Value value(Json::objectValue);
                              for (const auto& [key, texts] : groups) {
                                  value[key] = array(texts);
                              }
                              return value;
                          },
                          [](const auto& scalar) { return Json::Value(scalar); },
                      },
                      answer.value);
}

} // namespace Quarncommon::queries
