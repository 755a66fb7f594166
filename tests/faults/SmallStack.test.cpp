// Callers whose stack is small, and texts that are nested as deep as is read, and deeper.

#include "faults/Operations.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/HostAddresses.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

#ifdef SANITIZED
// A sanitizer has frames and thread-local data of its own; what is seen then is the memory.
constexpr std::size_t kStack = std::size_t{2048} * 1024;
#else
constexpr std::size_t kStack = std::size_t{64} * 1024;
#endif

/// A stack with nothing but a guard below it.
class Stack {
public:
    Stack()
        : m_guard(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
          m_memory(
              static_cast<unsigned char*>(::mmap(nullptr, m_guard + kStack, PROT_READ | PROT_WRITE,
                                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        ::mprotect(m_memory, m_guard, PROT_NONE);
    }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack() { ::munmap(m_memory, m_guard + kStack); }

    void run(const std::function<void()>& work) {
        std::fill_n(bottom(), kStack, kUntouched);
        pthread_attr_t attributes{};
        ASSERT_EQ(::pthread_attr_init(&attributes), 0);
        ASSERT_EQ(::pthread_attr_setstack(&attributes, bottom(), kStack), 0);
        pthread_t thread{};
        ASSERT_EQ(::pthread_create(&thread, &attributes, &call,
                                   const_cast<void*>(static_cast<const void*>(&work))),
                  0);
        ::pthread_attr_destroy(&attributes);
        ASSERT_EQ(::pthread_join(thread, nullptr), 0);
    }

    /// How much of it the last work has used, with what belongs to the thread itself.
    std::size_t used() const {
        const unsigned char* const end = bottom() + kStack;
        return static_cast<std::size_t>(
            end - std::find_if(const_cast<const unsigned char*>(bottom()), end,
                               [](unsigned char byte) { return byte != kUntouched; }));
    }

private:
    static constexpr unsigned char kUntouched = 0xA5;

    static void* call(void* work) {
        (*static_cast<const std::function<void()>*>(work))();
        return nullptr;
    }
    unsigned char* bottom() const { return m_memory + m_guard; }

    std::size_t m_guard;
    unsigned char* m_memory;
};

std::string nested(std::size_t depth, bool objects) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += objects ? "{\"a\":" : "[";
    }
    text += "1";
    return text + std::string(depth, objects ? '}' : ']');
}

/// `text` with the first value of that member replaced.
std::string withMember(std::string text, const std::string& name, const std::string& value) {
    const std::size_t at = text.find("\"" + name + "\":");
    EXPECT_NE(at, std::string::npos) << name;
    return text.insert(at, "\"" + name + "\":" + value + ",\"before " + name + "\":0,");
}

class SmallStack : public testing::Test {
protected:
    SmallStack() {
        support::setHostAddresses({faults::kSourceAddress});
        support::installEventLibrary("recording");
    }

    /// Everything on the small stack answers as on the large one of this thread.
    void expectAlike() {
        const faults::Answers first = answersAfterAll();
        faults::Answers there;
        m_stack.run([&] { there = answersAfterAll(); });
        m_most = std::max(m_most, m_stack.used());
        EXPECT_EQ(faults::differences(there, first), "");
    }

    static faults::Answers answersAfterAll() {
        faults::destroyAll();
        for (const faults::Operation& operation : faults::operations()) {
            faults::createAll();
            try {
                faults::Outputs outputs;
                operation.call(outputs);
            } catch (const std::exception&) {
                // What a database of a wrong type promises to throw.
            }
        }
        faults::reloadAll();
        return faults::answers();
    }

    void writeNested(std::size_t depth, bool objects) {
        const std::string value = nested(depth, objects);
        files.appConfig(withMember(faults::appConfig("standby"), "another database", value));
        files.nodeList(withMember(faults::nodeList("standby"), "IPAddresses", value));
        files.managerNodeList(withMember(faults::managerNodeList("standby"), "usage", value));
    }

    support::Deployment files;
    Stack m_stack;
    std::size_t m_most = 0;
};

TEST_F(SmallStack, OrdinaryFiles_EveryOperationAnswers) {
    faults::writeFiles(files, "standby");
    expectAlike();
    RecordProperty("most_stack_used", static_cast<int>(m_most));
}

TEST_F(SmallStack, NestingUpToTheLimitAndBeyond_EveryOperationAnswers) {
    for (const bool objects : {false, true}) {
        // The places where the values stand are two to six levels deep.
        for (const std::size_t depth : {1U, 15U, 16U, 17U, 18U, 19U, 20U, 21U, 22U, 23U, 24U, 25U,
                                        26U, 100U, 1000U, 100000U}) {
            SCOPED_TRACE(testing::Message() << depth << (objects ? " objects" : " arrays"));
            writeNested(depth, objects);
            expectAlike();
        }
    }
    RecordProperty("most_stack_used", static_cast<int>(m_most));
}

TEST_F(SmallStack, NestingBeyondTheLimit_CountsAsUnreadable) {
    faults::writeFiles(files, "standby");
    for (const auto& path : faults::paths(files)) {
        std::filesystem::remove(path);
    }
    faults::createAll();
    const faults::Answers none = faults::answers();
    writeNested(1000, true);
    faults::reloadAll();
    EXPECT_EQ(faults::differences(faults::answers(), none), "");
}

TEST_F(SmallStack, WideAndDeep_EveryOperationAnswers) {
    // Twenty levels with a hundred children each.
    std::string value = "1";
    for (int level = 0; level < 18; ++level) {
        std::string wide = "{";
        for (int child = 0; child < 100; ++child) {
            wide += "\"" + std::to_string(child) + "\":0,";
        }
        value = wide + "\"deeper\":" + value + "}";
    }
    files.appConfig(withMember(faults::appConfig("standby"), "another database", value));
    files.nodeList(withMember(faults::nodeList("standby"), "HOSTID", value));
    files.managerNodeList(withMember(faults::managerNodeList("standby"), "usage", value));
    expectAlike();
    RecordProperty("most_stack_used", static_cast<int>(m_most));
}

} // namespace
