// SPDX-License-Identifier: Apache-2.0
#include "CTexts.h"

#include <queries/JsonText.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>

namespace sysconfreader_c {

namespace {

using Quarncommon::queries::Groups;
using Quarncommon::queries::jsonText;
using Quarncommon::queries::Map;
using Quarncommon::queries::Overloaded;

/// Fixed, so that storing an error needs no memory.
constinit thread_local char t_error[256] = "";

void* allocated(std::size_t size) {
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

std::string lines(const List& texts) {
    std::string all;
    for (const std::string& text : texts) {
        // Up to the first NUL, which would end the other lines too.
        all += text.c_str();
        all += '\n';
    }
    return all;
}

List keysWithTexts(const Groups& groups) {
    List rows;
    for (const auto& [key, texts] : groups) {
        rows.emplace_back(key.c_str());
        for (const std::string& text : texts) {
            rows.back() += '\t';
            rows.back() += text.c_str();
        }
    }
    return rows;
}

} // namespace

int failed(int result, const char* what) noexcept {
    const std::size_t length = std::min(std::strlen(what), sizeof t_error - 1);
    std::memcpy(t_error, what, length);
    t_error[length] = '\0';
    return result;
}

int succeeded(int result) noexcept {
    t_error[0] = '\0';
    return result;
}

int resultOfException() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return failed(SYSCONFREADER_OUT_OF_MEMORY, "out of memory");
    } catch (const Json::LogicError& error) {
        return failed(SYSCONFREADER_WRONG_TYPE, error.what());
    } catch (const Json::RuntimeError&) {
        // How jsoncpp reports that it has no memory for a text.
        return failed(SYSCONFREADER_OUT_OF_MEMORY, "out of memory");
    } catch (const Quarncommon::queries::library::BadIndex&) {
        return failed(SYSCONFREADER_BAD_ARGUMENT, "the index must be a number from 0 on");
    } catch (const BadArgument& error) {
        return failed(SYSCONFREADER_BAD_ARGUMENT, error.what());
    } catch (const UnknownQuery& error) {
        return failed(SYSCONFREADER_UNKNOWN_QUERY, error.what());
    } catch (const std::exception& error) {
        return failed(SYSCONFREADER_INTERNAL, error.what());
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return failed(SYSCONFREADER_INTERNAL, "an exception of unknown type");
    }
}

char* copied(const std::string& text) {
    auto* copy = static_cast<char*>(allocated(text.size() + 1));
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

char** copied(const List& texts) {
    std::size_t size = (texts.size() + 1) * sizeof(char*);
    for (const std::string& text : texts) {
        size += text.size() + 1;
    }
    auto** pointers = static_cast<char**>(allocated(size));
    char* end = reinterpret_cast<char*>(pointers + texts.size() + 1);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        pointers[i] = end;
        std::memcpy(end, texts[i].c_str(), texts[i].size() + 1);
        end += texts[i].size() + 1;
    }
    pointers[texts.size()] = nullptr;
    return pointers;
}

std::string formatted(const Answer& answer, enum sysconfreader_format format) {
    if (format == SYSCONFREADER_JSON) {
        return jsonText(jsonOf(answer));
    }
    return std::visit(Overloaded{
                          [](const std::string& text) { return text; },
                          [](int number) { return std::to_string(number); },
                          [](const List& list) { return lines(list); },
                          [](const Map& map) {
                              List rows;
                              for (const auto& [key, text] : map) {
                                  rows.push_back(key.c_str() + ('\t' + text));
                              }
                              return lines(rows);
                          },
                          [](const Groups& groups) { return lines(keysWithTexts(groups)); },
                          [&](const auto& /*value*/) { return jsonText(jsonOf(answer)); },
                      },
                      answer.value);
}

List flat(const Answer& answer) {
    List all;
    if (const Map* map = std::get_if<Map>(&answer.value)) {
        for (const auto& [key, text] : *map) {
            all.push_back(key);
            all.push_back(text);
        }
        return all;
    }
    if (const Groups* groups = std::get_if<Groups>(&answer.value)) {
        for (const auto& [key, texts] : *groups) {
            all.push_back(key);
            all.push_back(std::to_string(texts.size()));
            all.insert(all.end(), texts.begin(), texts.end());
        }
        return all;
    }
    return std::get<List>(answer.value);
}

} // namespace sysconfreader_c

const char* sysconfreader_error(void) {
    return sysconfreader_c::t_error;
}

void sysconfreader_free(void* stored) {
    const int errnoBefore = errno;
    std::free(stored);
    errno = errnoBefore;
}

const char* sysconfreader_result_text(int result) {
    switch (result) {
    case SYSCONFREADER_OK:
        return "ok";
    case SYSCONFREADER_NO_ANSWER:
        return "no answer";
    case SYSCONFREADER_WRONG_TYPE:
        return "a value of the wrong type";
    case SYSCONFREADER_UNKNOWN_QUERY:
        return "unknown query";
    case SYSCONFREADER_BAD_ARGUMENT:
        return "invalid argument";
    case SYSCONFREADER_OUT_OF_MEMORY:
        return "out of memory";
    case SYSCONFREADER_INTERNAL:
        return "internal failure";
    default:
        return "unknown";
    }
}
