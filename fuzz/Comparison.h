#pragma once

#include "Files.h"
#include "NaiveReader.h"
#include "Questions.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <functional>

/// The library beside its naive telling. Whatever the texts of the three files are, both answer
/// alike: after a first load of them, and, what the load decides, after a reload of them over
/// `before`. To ask changes nothing, so the library answers alike when it is asked once more. No
/// lock is held afterwards. A difference ends the process.
namespace comparison {

/// Puts a target's questions to the library, and to its naive telling.
struct Asking {
    std::function<void(Quarncommon::SysConfReader&, questions::Answers&)> library;
    std::function<void(NaiveReader&, questions::Answers&)> naive;
};

template <typename Ask>
Asking asking(Ask ask) {
    return {ask, ask};
}

void compare(const files::Texts& before, const files::Texts& texts, const Asking& asking);

/// Texts that stand in the JSON text, up to a few: tags and ids to ask for.
std::set<std::string> someTexts(const std::string& text);

} // namespace comparison
