// SPDX-License-Identifier: Apache-2.0
#include "QuarnCommonUtils_i.h"
#include "MadeInterfaces.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <list>
#include <string>
#include <vector>

namespace {

using Addresses = std::list<std::string>;

Addresses allAddresses() {
    Addresses addresses;
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    return addresses;
}

bool contains(const Addresses& addresses, const std::string& address) {
    return std::find(addresses.begin(), addresses.end(), address) != addresses.end();
}

TEST(QuarnCommonUtilsGetAllIPAddr, OfThisHost_ListsLoopbackAndOnlyAddresses) {
    const Addresses addresses = allAddresses();
    EXPECT_TRUE(contains(addresses, "127.0.0.1"));
    for (const std::string& address : addresses) {
        in6_addr bytes{};
        EXPECT_TRUE(inet_pton(AF_INET, address.c_str(), &bytes) == 1 ||
                    inet_pton(AF_INET6, address.c_str(), &bytes) == 1)
            << address;
        EXPECT_EQ(address.find('%'), std::string::npos) << address;
    }
    EXPECT_EQ(MadeInterfaces::unfreed(), 0);
}

TEST(QuarnCommonUtilsGetAllIPAddr, EveryAddress_ListedInTheKernelsOrder) {
    const MadeInterfaces made({"127.0.0.1", "10.1.2.3", "::1", "fd00::1:2", "10.1.2.3",
                               "255.255.255.255", "::ffff:10.0.0.1",
                               "2001:db8:1111:2222:3333:4444:5555:6666"});
    EXPECT_EQ(allAddresses(),
              (Addresses{"127.0.0.1", "10.1.2.3", "::1", "fd00::1:2", "10.1.2.3", "255.255.255.255",
                         "::ffff:10.0.0.1", "2001:db8:1111:2222:3333:4444:5555:6666"}));
    EXPECT_EQ(MadeInterfaces::unfreed(), 0);
}

TEST(QuarnCommonUtilsGetAllIPAddr, InterfaceDownOrPointToPoint_ListedLikeAnyOther) {
    MadeInterfaces made({"10.0.0.1", "10.0.0.2"});
    made[0].ifa_flags = 0;
    made[1].ifa_flags = IFF_UP | IFF_RUNNING | IFF_POINTOPOINT;
    EXPECT_EQ(allAddresses(), (Addresses{"10.0.0.1", "10.0.0.2"}));
}

TEST(QuarnCommonUtilsGetAllIPAddr, LinkLocalAddress_ListedWithoutItsScope) {
    MadeInterfaces made({"fe80::1", "fe80::1"});
    made.v6(0).sin6_scope_id = 1;
    made.v6(1).sin6_scope_id = 2;
    EXPECT_EQ(allAddresses(), (Addresses{"fe80::1", "fe80::1"}));
}

TEST(QuarnCommonUtilsGetAllIPAddr, EntryWithoutAnIpAddress_Skipped) {
    const MadeInterfaces made({"none", "link", "10.0.0.1", "none", "link", "fd00::1", "none"});
    EXPECT_EQ(allAddresses(), (Addresses{"10.0.0.1", "fd00::1"}));
    EXPECT_EQ(MadeInterfaces::unfreed(), 0);
}

TEST(QuarnCommonUtilsGetAllIPAddr, ListNotEmpty_IsAppendedTo) {
    const MadeInterfaces made({"10.0.0.1"});
    Addresses addresses{"before"};
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    EXPECT_EQ(addresses, (Addresses{"before", "10.0.0.1", "10.0.0.1"}));
}

TEST(QuarnCommonUtilsGetAllIPAddr, ErrorOrNoAddress_AppendsNothing) {
    Addresses addresses{"before"};
    {
        const MadeInterfaces refused = MadeInterfaces::refused();
        QuarnCommonUtils_i::getAllIPAddr(addresses);
        EXPECT_EQ(addresses, Addresses{"before"});
        EXPECT_EQ(MadeInterfaces::unfreed(), 0);
    }
    const MadeInterfaces none(std::vector<std::string>{});
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    EXPECT_EQ(addresses, Addresses{"before"});
}

} // namespace
