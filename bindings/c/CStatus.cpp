// SPDX-License-Identifier: Apache-2.0
#include "CTexts.h"

#include <algorithm>
#include <cstring>

using Status = Quarncommon::SysConfReaderStatus;
using sysconfreader_c::failed;
using sysconfreader_c::succeeded;

namespace {

// The numbers of the two interfaces are the same.
static_assert(static_cast<int>(Status::Outcome::NotRead) == SYSCONFREADER_NOT_READ);
static_assert(static_cast<int>(Status::Outcome::Loaded) == SYSCONFREADER_LOADED);
static_assert(static_cast<int>(Status::Outcome::Missing) == SYSCONFREADER_MISSING);
static_assert(static_cast<int>(Status::Outcome::NotPermitted) == SYSCONFREADER_NOT_PERMITTED);
static_assert(static_cast<int>(Status::Outcome::NotRegular) == SYSCONFREADER_NOT_REGULAR);
static_assert(static_cast<int>(Status::Outcome::TooLarge) == SYSCONFREADER_TOO_LARGE);
static_assert(static_cast<int>(Status::Outcome::Unreadable) == SYSCONFREADER_UNREADABLE);
static_assert(static_cast<int>(Status::Outcome::Malformed) == SYSCONFREADER_MALFORMED);
static_assert(static_cast<int>(Status::Outcome::WrongType) == SYSCONFREADER_VALUE_OF_WRONG_TYPE);
static_assert(static_cast<int>(Status::Outcome::Shortage) == SYSCONFREADER_SHORTAGE);
using Subscription = Status::Subscription;
static_assert(static_cast<int>(Subscription::None) == SYSCONFREADER_NOT_SUBSCRIBED);
static_assert(static_cast<int>(Subscription::Subscribed) == SYSCONFREADER_SUBSCRIBED);
static_assert(static_cast<int>(Subscription::SwitchedOff) == SYSCONFREADER_SWITCHED_OFF);
static_assert(static_cast<int>(Subscription::NoLibrary) == SYSCONFREADER_NO_EVENT_LIBRARY);
static_assert(static_cast<int>(Subscription::NoEntryPoint) == SYSCONFREADER_NO_ENTRY_POINT);
static_assert(static_cast<int>(Subscription::Refused) == SYSCONFREADER_REFUSED);

template <std::size_t size>
void copyText(const char (&from)[size], char (&to)[size]) {
    std::memcpy(to, from, size);
}

void copyFile(const Status::File& from, sysconfreader_file& to) {
    to.outcome = static_cast<int>(from.outcome);
    to.error = from.error;
    to.line = from.line;
    to.column = from.column;
    copyText(from.pointer, to.pointer);
}

void copyLoad(const Status::Load& from, sysconfreader_load& to) {
    to.number = from.number;
    to.started_at = from.startedAt;
    to.duration = from.duration;
    to.shortage = from.shortage ? 1 : 0;
    copyFile(from.appConfig, to.app_config);
    copyFile(from.nodeList, to.node_list);
    copyFile(from.managerNodeList, to.manager_node_list);
}

} // namespace

int sysconfreader_get_status(struct sysconfreader_status* status, size_t size) {
    if (status == nullptr) {
        return failed(SYSCONFREADER_BAD_ARGUMENT, "invalid argument");
    }
    const Status present = Status::read();
    sysconfreader_status known{};
    known.last_load = present.lastLoad;
    known.events_applied = present.eventsApplied;
    known.events_failed = present.eventsFailed;
    known.events_dropped = present.eventsDropped;
    known.subscription = static_cast<int>(present.subscription);
    copyText(present.eventLibrary, known.event_library);
    copyLoad(present.reader, known.reader);
    copyLoad(present.roles, known.roles);
    std::memset(status, 0, size);
    std::memcpy(status, &known, std::min(size, sizeof known));
    return succeeded();
}

unsigned long long sysconfreader_generation(void) {
    return Status::generation();
}

const char* sysconfreader_outcome_text(int outcome) {
    return Status::text(static_cast<Status::Outcome>(outcome));
}

const char* sysconfreader_subscription_text(int subscription) {
    return Status::text(static_cast<Status::Subscription>(subscription));
}

int sysconfreader_open_changes(void) {
    return Status::openDescriptor();
}

void sysconfreader_close_changes(int descriptor) {
    Status::closeDescriptor(descriptor);
}
