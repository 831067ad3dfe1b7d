// Finding a set by its name (first in the store's order, exact equality, no
// match is no error, a nameless set before a match is), and writing an
// entity built from a digest, or from an all-zero one, or nothing.
#include <arpa/inet.h>

#include <tuple>

#include "entities/MoreSCCreateEntity.h"
#include "helpers/HelpersStore.h"
#include "helpers/MoreSCFindSet.h"
#include "helpers/SetupEntity.h"

namespace {

using FindSet = HelpersTest;
using SetupEntityTest = HelpersTest;

TEST_F(FindSet, FirstSetWithExactlyThatNameInStoreOrder) {
    const std::pair<CFStringRef, const char*> rows[] = {
        {CFSTR("Home"), "0"}, {CFSTR("Lab"), "3"}, {CFSTR("home"), "(nil)"}, {CFSTR("Lab "), "(nil)"}};
    for (const auto& [name, expected] : rows) {
        CFRef<CFStringRef> setID;
        EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(name, setID.out()), noErr) << Text(name);
        EXPECT_EQ(Text(setID.get()), expected) << Text(name);
    }

    root_.writeStore(HelpersStoreXML(""));  // set 1 has no name
    CFRef<CFStringRef> setID;
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(CFSTR("Home"), setID.out()), noErr);
    EXPECT_EQ(Text(setID.get()), "0");
    setID.reset();
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(CFSTR("Lab"), setID.out()), coreFoundationUnknownErr);
    EXPECT_EQ(setID.get(), nullptr);
}

TEST_F(SetupEntityTest, WritesTheBuiltEntityOrNothing) {
    MoreSCIPv4Digest ipv4 = {CFSTR("Manual"), htonl(0x0A000002), htonl(0xFFFFFF00), htonl(0x0A000001), nullptr};
    MoreSCDNSDigest zeroDNS = {};
    // Protocol, the digest handed over, the digest the saved entity is built from.
    const std::tuple<CFStringRef, const void*, const void*> rows[] = {{CFSTR("IPv4"), &ipv4, &ipv4},
                                                                      {CFSTR("DNS"), nullptr, &zeroDNS}};
    for (const auto& [protocol, given, expected] : rows) {
        EXPECT_EQ(SetupEntity(CFSTR("0"), CFSTR("M"), protocol, given), noErr) << Text(protocol);
        CFRef<CFDictionaryRef> built;
        ASSERT_EQ(MoreSCCreateEntity(protocol, expected, built.out()), noErr);
        CFRef<CFDictionaryRef> saved = Saved("/NetworkServices/M/" + Text(protocol));
        EXPECT_TRUE(saved && CFEqual(saved.get(), built.get())) << Text(protocol);
    }

    const std::string before = FileText();
    StderrCapture reports;
    EXPECT_EQ(SetupEntity(CFSTR("0"), CFSTR("M"), CFSTR("Bogus"), nullptr), -1);
    EXPECT_EQ(reports.text(), "MoreAssertQ failure: false\n");
    EXPECT_EQ(FileText(), before);
}

}  // namespace
