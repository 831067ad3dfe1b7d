#include "entities/MoreSCAddresses.h"

#include <gtest/gtest.h>

#include "entities/EntityChecks.h"

TEST(MacAddressText, FormatsLowerCaseWithoutTrailingColon) {
    const UInt8 apple[6] = {0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16};
    const UInt8 broadcast[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    CFRef<CFStringRef> text;
    ASSERT_EQ(noErr, MoreSCFCreateStringWithMacAddress(apple, text.out()));
    EXPECT_EQ("00:0a:95:9d:68:16", Text(text.get()));
    text.reset();
    ASSERT_EQ(noErr, MoreSCFCreateStringWithMacAddress(broadcast, text.out()));
    EXPECT_EQ("ff:ff:ff:ff:ff:ff", Text(text.get()));
}

TEST(MacAddressText, ParsesEitherCaseAndShortFields) {
    const UInt8 expected[6] = {0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16};
    for (CFStringRef text : {CFSTR("00:0a:95:9d:68:16"), CFSTR("00:0A:95:9D:68:16"), CFSTR("0:a:95:9d:68:16")}) {
        UInt8 mac[6] = {};
        EXPECT_EQ(noErr, MoreSCFStringToMacAddress(text, mac)) << Text(text);
        EXPECT_EQ(0, memcmp(expected, mac, 6)) << Text(text);
    }
}

TEST(MacAddressText, RejectsLongTextAndMissingFieldsLeavingAddressUntouched) {
    UInt8 mac[6] = {1, 2, 3, 4, 5, 6};
    const UInt8 untouched[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(-4960, MoreSCFStringToMacAddress(CFSTR("00:0a:95:9d:68:16:"), mac));
    EXPECT_EQ(-1, MoreSCFStringToMacAddress(CFSTR("00:0a:95:9d:68"), mac));
    EXPECT_EQ(-1, MoreSCFStringToMacAddress(CFSTR("not a mac"), mac));
    EXPECT_EQ(0, memcmp(untouched, mac, 6));
}
