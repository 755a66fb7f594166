// SPDX-License-Identifier: Apache-2.0
#include "SysConfReaderStatus.h"

#include "status/LoadNotices.h"
#include "status/StatusBoard.h"

namespace Quarncommon {

SysConfReaderStatus SysConfReaderStatus::read() noexcept {
    return status::current();
}

unsigned long long SysConfReaderStatus::generation() noexcept {
    return status::generation();
}

const char* SysConfReaderStatus::text(Outcome outcome) noexcept {
    switch (outcome) {
    case Outcome::NotRead:
        return "not read";
    case Outcome::Loaded:
        return "loaded";
    case Outcome::Missing:
        return "no such file";
    case Outcome::NotPermitted:
        return "permission denied";
    case Outcome::NotRegular:
        return "not a regular file";
    case Outcome::TooLarge:
        return "too large";
    case Outcome::Unreadable:
        return "not readable";
    case Outcome::Malformed:
        return "malformed";
    case Outcome::WrongType:
        return "a value of the wrong type";
    case Outcome::Shortage:
        return "a shortage of memory, descriptors or storage";
    }
    return "unknown";
}

const char* SysConfReaderStatus::text(Subscription subscription) noexcept {
    switch (subscription) {
    case Subscription::None:
        return "none";
    case Subscription::Subscribed:
        return "subscribed";
    case Subscription::SwitchedOff:
        return "switched off";
    case Subscription::NoLibrary:
        return "no event library";
    case Subscription::NoEntryPoint:
        return "not an event library";
    case Subscription::Refused:
        return "refused by the event library";
    }
    return "unknown";
}

unsigned long long SysConfReaderStatus::subscribe(Callback* callback, void* userData) noexcept {
    return status::addCallback(callback, userData);
}

void SysConfReaderStatus::unsubscribe(unsigned long long id) noexcept {
    status::removeCallback(id);
}

int SysConfReaderStatus::openDescriptor() noexcept {
    return status::openNoticeDescriptor();
}

void SysConfReaderStatus::closeDescriptor(int descriptor) noexcept {
    status::closeNoticeDescriptor(descriptor);
}

} // namespace Quarncommon
