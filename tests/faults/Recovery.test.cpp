// SPDX-License-Identifier: Apache-2.0
// A call fails, once or for a while, in each operation, at first use, and during events,
// destructions and subscriptions. Afterwards everything works and nothing is leaked.

#include "faults/Recovery.h"

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Deployment.h"
#include "support/Operations.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

using faults::Repair;
using faults::Scenario;
using operations::Effect;
using support::Deployment;

std::size_t everyAllocationOr(std::size_t step) {
    return faults::takesItsTime() ? 1 : step;
}

void nothing(Deployment& /*files*/) {}

void createAll(Deployment& /*files*/) {
    operations::createAll();
}

std::vector<Scenario> firstUses() {
    std::vector<Scenario> all{
        {"first SysConfReader::Instance", &nothing,
         [](Deployment&) { Quarncommon::SysConfReader::Instance(); }},
        {"first SysConfReaderImpl::Instance", &nothing,
         [](Deployment&) { Quarncommon::SysConfReaderImpl::Instance(); }},
        {"first GetProductName", &nothing,
         [](Deployment&) { Quarncommon::SysConfReader_i::Instance()->GetProductName(); }},
    };
    for (Scenario& scenario : all) {
        scenario.leavesWork = true;
    }
    return all;
}

/// A step of a load, or an event that the caller delivers.
bool isRepeatedByItsCaller(const operations::Operation& operation) {
    const std::string symbol = operation.symbol();
    return symbol.find("::init") != std::string::npos ||
           symbol.find("::Init") != std::string::npos || symbol == "SysConfReaderEventProcessCB";
}

std::vector<Scenario> eachOperation(Effect effect) {
    std::vector<Scenario> all;
    for (const operations::Operation& operation : operations::all()) {
        if (operation.effect != effect) {
            continue;
        }
        Scenario scenario;
        scenario.name = operation.name;
        scenario.prepare = [&operation](Deployment&) { operations::prepare(operation); };
        // Created in advance, so that the operation does not allocate the outputs.
        scenario.act = [&operation,
                        outputs = std::make_shared<operations::Outputs>(operations::outputs())](
                           Deployment&) { operation.call(*outputs); };
        scenario.repair = isRepeatedByItsCaller(operation) ? Repair::Reload
                          : operation.name.find("::Reload") != std::string::npos
                              ? Repair::ReloadIfThrown
                              : Repair::None;
        scenario.leavesWork = effect == Effect::Changes;
        all.push_back(scenario);
    }
    return all;
}

std::vector<Scenario> events() {
    return {{"event",
             [](Deployment& files) {
                 operations::writeFiles(files, "before");
                 operations::createAll();
             },
             [](Deployment& files) { operations::writeFiles(files, "standby"); },
             Scenario::Thread::Other}};
}

template <typename Function>
Function* entryPoint(const char* name) {
    void* library = ::dlopen("libeventcbutil.so", RTLD_LAZY | RTLD_NOLOAD);
    return reinterpret_cast<Function*>(::dlsym(library, name));
}

EventConsumerCBInitFunction* g_init = nullptr;
EventConsumerCBFiniFunction* g_fini = nullptr;

void findEntryPoints(Deployment& files) {
    createAll(files);
    g_init = entryPoint<EventConsumerCBInitFunction>("EventConsumerCBInit");
    g_fini = entryPoint<EventConsumerCBFiniFunction>("EventConsumerCBFini");
}

int ignoreEvent(const std::string& /*event*/, const std::string& /*second*/,
                const std::string& /*third*/, void* /*userData*/) {
    return 0;
}

/// Another part of the program calls the event library's entry points.
std::vector<Scenario> entryPoints() {
    static const std::string event = "SysConfigEvent";
    static const std::string none;
    return {{"EventConsumerCBInit and EventConsumerCBFini", &findEntryPoints,
             [](Deployment&) {
                 const EventConsumerCallback callback{&ignoreEvent, nullptr};
                 g_init(event, none, &callback);
                 g_fini();
                 // The reader's subscription has ended too, but the reader does not know that.
                 Quarncommon::SysConfReader::Destory();
             },
             Scenario::Thread::Caller, Repair::None, true},
            {"EventConsumerCBFini during a change",
             [](Deployment& files) {
                 operations::writeFiles(files, "before");
                 findEntryPoints(files);
                 operations::writeFiles(files, "standby");
             },
             [](Deployment&) {
                 g_fini();
                 Quarncommon::SysConfReader::Destory();
             },
             Scenario::Thread::Caller, Repair::None, true}};
}

TEST(Recovery, FirstUseWhileSystemCallsFail_AnswersAndFollowsChanges) {
    faults::expectRecovery(firstUses(), faults::failingSystemCalls(), 100);
}

TEST(Recovery, FirstUseWithoutMemory_AnswersAndFollowsChanges) {
    faults::expectRecovery(firstUses(), faults::failingAllocations(everyAllocationOr(5)), 50);
}

TEST(Recovery, EventWhileSystemCallsFail_IsAppliedAndTheNextOneToo) {
    faults::expectRecovery(events(), faults::failingSystemCalls(), 100);
}

TEST(Recovery, EventWithoutMemory_IsAppliedAndTheNextOneToo) {
    faults::expectRecovery(events(), faults::failingAllocations(everyAllocationOr(3)), 50);
}

TEST(Recovery, LoadsAndDestructionsWhileSystemCallsFail_NextLoadIsComplete) {
    faults::expectRecovery(eachOperation(Effect::Changes), faults::failingSystemCalls(), 100);
}

TEST(Recovery, LoadsAndDestructionsWithoutMemory_NextLoadIsComplete) {
    faults::expectRecovery(eachOperation(Effect::Changes),
                           faults::failingAllocations(everyAllocationOr(23)), 100);
}

TEST(Recovery, QueriesWhileSystemCallsFail_NextAnswersAreRight) {
    faults::expectRecovery(eachOperation(Effect::Answers), faults::failingSystemCalls(), 40);
}

TEST(Recovery, QueriesWithoutMemory_NextAnswersAreRight) {
    faults::expectRecovery(eachOperation(Effect::Answers),
                           faults::failingAllocations(everyAllocationOr(17)), 100);
}

TEST(Recovery, EntryPointsWhileSystemCallsFail_NextSubscriptionWorks) {
    faults::expectRecovery(entryPoints(), faults::failingSystemCalls(), 20);
}

TEST(Recovery, EntryPointsWithoutMemory_NextSubscriptionWorks) {
    faults::expectRecovery(entryPoints(), faults::failingAllocations(everyAllocationOr(3)), 20);
}

} // namespace
