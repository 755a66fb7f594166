// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/HostAddresses.h"
#include "support/Operations.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace faults {

#ifdef SANITIZED
// Sanitizers have larger frames and thread-local data, so that such a build checks only the memory.
inline constexpr std::size_t kSmallStack = std::size_t{2048} * 1024;
#else
inline constexpr std::size_t kSmallStack = std::size_t{64} * 1024;
#endif

class Stack {
public:
    Stack()
        : m_guard(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
          m_memory(static_cast<unsigned char*>(::mmap(nullptr, m_guard + kSmallStack,
                                                      PROT_READ | PROT_WRITE,
                                                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        ::mprotect(m_memory, m_guard, PROT_NONE);
    }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack() { ::munmap(m_memory, m_guard + kSmallStack); }

    void run(const std::function<void()>& work) {
        std::fill_n(bottom(), kSmallStack, kUntouched);
        pthread_attr_t attributes{};
        ASSERT_EQ(::pthread_attr_init(&attributes), 0);
        ASSERT_EQ(::pthread_attr_setstack(&attributes, bottom(), kSmallStack), 0);
        pthread_t thread{};
        ASSERT_EQ(::pthread_create(&thread, &attributes, &call,
                                   const_cast<void*>(static_cast<const void*>(&work))),
                  0);
        ::pthread_attr_destroy(&attributes);
        ASSERT_EQ(::pthread_join(thread, nullptr), 0);
    }

    /// Thread-local data included.
    std::size_t used() const {
        const unsigned char* const end = bottom() + kSmallStack;
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

class SmallStackTest : public testing::Test {
protected:
    SmallStackTest() {
        support::setHostAddresses({operations::kSourceAddress});
        support::installEventLibrary("recording");
    }

    void expectAlike() { expectOnSmallStack(answersAfterAll()); }

    void expectOnSmallStack(const operations::Answers& expected) {
        operations::Answers there;
        m_stack.run([&] { there = answersAfterAll(); });
        RecordProperty("stack_used", static_cast<int>(m_stack.used()));
        EXPECT_EQ(operations::differences(there, expected), "");
    }

    static operations::Answers answersAfterAll() {
        operations::destroyAll();
        for (const operations::Operation& operation : operations::all()) {
            operations::createAll();
            try {
                operations::Outputs outputs = operations::outputs();
                operation.call(outputs);
            } catch (const std::exception&) {
                // A database of the wrong type throws.
            }
        }
        operations::reloadAll();
        return operations::answers();
    }

    support::Deployment files;
    Stack m_stack;
};

inline std::string nested(std::size_t depth, bool objects) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += objects ? "{\"a\":" : "[";
    }
    text += "1";
    return text + std::string(depth, objects ? '}' : ']');
}

inline std::string withMember(std::string text, const std::string& before, const std::string& name,
                              const std::string& value) {
    const std::size_t at = text.find("\"" + before + "\":");
    EXPECT_NE(at, std::string::npos) << before;
    return text.insert(at, "\"" + name + "\":" + value + ",");
}

} // namespace faults
