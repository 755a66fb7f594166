#include "Comparison.h"

#include "support/HostAddresses.h"
#include "support/LockFaults.h"

#include <JsonReader.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace comparison {

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using questions::Answers;

const std::vector<std::string> kHostAddresses{"127.0.0.1", "10.0.0.1", "10.0.0.7", "fe80::7"};

naive::File parsed(const std::string& text) {
    Json::Value value;
    return JsonReader(false).parse(text, value) ? naive::File(value) : std::nullopt;
}

void prepare() {
    static const bool done = [] {
        support::setHostAddresses(kHostAddresses);
        files::setEnvironment();
        return true;
    }();
    static_cast<void>(done);
}

void expectSame(const char* when, const Answers& answers, const Answers& expected) {
    if (answers == expected) {
        return;
    }
    const auto [answer, wanted] =
        std::mismatch(answers.begin(), answers.end(), expected.begin(), expected.end());
    const auto show = [](const char* who, const auto& at, const auto& end) {
        if (at == end) {
            std::fprintf(stderr, "%s: nothing more\n", who);
        } else {
            std::fprintf(stderr, "%s: %s: %s\n", who, at->first.c_str(), at->second.c_str());
        }
    };
    std::fprintf(stderr, "%s\n", when);
    show("library", answer, answers.end());
    show("expected", wanted, expected.end());
    std::abort();
}

void expectNoLockHeld() {
    const support::LockCounts held = support::locksHeldHere();
    if (held.read + held.write + held.unlock != 0) {
        std::fprintf(stderr, "locks are held, or were released once too often\n");
        std::abort();
    }
}

class Library {
public:
    explicit Library(const Asking& asking) : m_asking(asking) {}

    static void load(const files::Texts& texts) {
        SysConfReader::Destory();
        files::write(texts);
        SysConfReader::Instance();
    }

    static void reload(const files::Texts& texts) {
        files::write(texts);
        SysConfReaderImpl::Instance()->Reload();
    }

    static Answers loaded() {
        Answers answers;
        questions::putLoaded(*SysConfReader::Instance(), *SysConfReaderImpl::Instance(), answers);
        expectNoLockHeld();
        return answers;
    }

    Answers all() const {
        Answers answers = loaded();
        m_asking.library(*SysConfReader::Instance(), answers);
        expectNoLockHeld();
        return answers;
    }

private:
    const Asking& m_asking;
};

Answers loadedBy(NaiveReader& reader) {
    Answers answers;
    questions::putLoaded(reader, reader, answers);
    return answers;
}

NaiveReader naiveReader() {
    return {files::kInstanceId, {kHostAddresses.begin(), kHostAddresses.end()}};
}

NaiveReader::Files parsed(const files::Texts& texts) {
    return {parsed(texts.appConfig), parsed(texts.nodeList), parsed(texts.managerNodeList)};
}

void collect(const Json::Value& value, std::set<std::string>& texts) {
    constexpr std::size_t kMost = 6;
    if (texts.size() >= kMost) {
        return;
    }
    if (value.isString()) {
        texts.insert(value.asString());
    }
    for (const Json::Value& child : value) {
        collect(child, texts);
    }
}

} // namespace

void compare(const files::Texts& before, const files::Texts& texts, const Asking& asking) {
    prepare();
    const Library library(asking);
    const NaiveReader::Files read = parsed(texts);

    Library::load(before);
    Library::reload(texts);
    NaiveReader reloaded = naiveReader();
    reloaded.load(parsed(before));
    reloaded.load(read);
    expectSame("after a reload", Library::loaded(), loadedBy(reloaded));

    Library::load(texts);
    NaiveReader loaded = naiveReader();
    loaded.load(read);
    Answers expected = loadedBy(loaded);
    asking.naive(loaded, expected);
    expectSame("after a first load", library.all(), expected);
    expectSame("asked once more", library.all(), expected);

    // Nothing of one input is left to the next.
    SysConfReader::Destory();
    files::write(before);
}

std::set<std::string> someTexts(const std::string& text) {
    std::set<std::string> texts{"service", "Northbound", "southbound2", "internal_service"};
    if (const naive::File tree = parsed(text)) {
        std::set<std::string> found;
        collect(*tree, found);
        texts.merge(found);
    }
    return texts;
}

} // namespace comparison
