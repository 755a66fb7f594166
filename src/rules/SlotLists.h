#pragma once

#include "rules/NodeList.h"

#include <list>
#include <map>
#include <string>

/// How addresses are joined into one text, slot by slot, and what such a text contains.
namespace Quarncommon::rules {

/// The northbound list: numbers 0, 2, 3, 4 each followed by ";", then all others in ascending order
/// joined by ";". Without any number: "service;service2", "service", or `maintenance`.
std::string northSlotList(const std::map<int, std::string>& byNumber, const std::string& service,
                          const std::string& service2, const std::string& maintenance);
std::string sharedNorthSlotList(const std::map<int, SharedAddress>& byNumber,
                                const std::string& service, const std::string& service2,
                                const std::string& maintenance);

/// The southbound list: slots 1 to 10 joined by ";", then each non-empty later one after a ";".
std::string southSlotList(const std::map<int, std::string>& bySlot);
std::string sharedSouthSlotList(const std::map<int, SharedAddress>& bySlot);

/// The fallback for a slot list: "service;service2", "service", or `maintenance` if there is no
/// service address.
std::string serviceList(const std::string& service, const std::string& service2,
                        const std::string& maintenance);

/// IP protocol families of the pieces of a slot list: 0 IPv4 only, 1 IPv6 only, 2 both.
int protocolFamily(const std::list<std::string>& pieces);

} // namespace Quarncommon::rules
