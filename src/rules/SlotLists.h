// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeIPs.h"

#include <list>
#include <map>
#include <string>

namespace Quarncommon::rules {

using SlotMap = std::map<int, SharedAddress>;

/// Numbers 0, 2, 3, 4 each followed by ";", then all others joined by ";"; or serviceList.
std::string northSlotList(const SlotMap& byNumber, const std::string& service,
                          const std::string& service2, const std::string& maintenance,
                          Trace* trace = nullptr);

/// Slots 1 to 10 joined by ";", then non-empty later ones each after a ";"; or serviceList.
std::string southSlotList(const SlotMap& bySlot, const TagWalk& seen,
                          const std::string& maintenance, Trace* trace = nullptr);

/// "service;service2", "service", or `maintenance` if there is no service address.
std::string serviceList(const std::string& service, const std::string& service2,
                        const std::string& maintenance, Trace* trace = nullptr);

/// IP protocol families of the pieces of a slot list: 0 IPv4 only, 1 IPv6 only, 2 both.
int protocolFamily(const std::list<std::string>& pieces);

} // namespace Quarncommon::rules
