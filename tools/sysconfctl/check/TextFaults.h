// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

/// An IPv6 address may have a scope ("fe80::1%eth0").
bool isAddress(const std::string& text);
/// Whether a text is "0.0.0.0", "::" or another form of it.
bool isUnspecified(const std::string& text);
/// A text that looks like a malformed address is neither an address nor a host name.
bool isHost(const std::string& text);
/// "a leading blank", "a trailing blank", "an invisible character (U+200B)"; "" if all is visible.
std::string hiddenFault(const std::string& text);

} // namespace sysconfctl
