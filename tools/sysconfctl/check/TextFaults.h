// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sysconfctl {

/// Whether a text is an IPv4 or IPv6 address; the latter may have a scope ("fe80::1%eth0").
bool isAddress(const std::string& text);
/// Whether a text is "0.0.0.0", "::" or another form of it.
bool isUnspecified(const std::string& text);
/// Whether a text is an address or a host name. A text that looks like a malformed address is
/// neither.
bool isHost(const std::string& text);
/// Describes what cannot be seen in a text: "a leading blank", "a trailing blank", "an invisible
/// character (U+200B)". Returns "" if everything is visible.
std::string hiddenFault(const std::string& text);

} // namespace sysconfctl
