// Text to MAC address; the other way is checked through the Ethernet and
// AirPort entities.
#include "entities/MoreSCAddresses.h"

#include <gtest/gtest.h>

#include <cstring>

#include "entities/EntityChecks.h"

// Either case and one-digit fields are read; longer text and missing fields
// are refused and leave the address untouched.
TEST(MacAddressText, ParsesWhatItCanAndRefusesTheRest) {
    const std::pair<CFStringRef, OSStatus> rows[] = {
        {CFSTR("00:0a:95:9d:68:16"), noErr},       {CFSTR("00:0A:95:9D:68:16"), noErr},
        {CFSTR("0:a:95:9d:68:16"), noErr},         {CFSTR("00:0a:95:9d:68:16:"), -4960},
        {CFSTR("00:0a:95:9d:68"), -1},             {CFSTR("not a mac"), -1},
    };
    const UInt8 parsed[6] = {0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16};
    const UInt8 untouched[6] = {1, 2, 3, 4, 5, 6};
    for (const auto& [text, status] : rows) {
        UInt8 mac[6] = {1, 2, 3, 4, 5, 6};
        EXPECT_EQ(status, MoreSCFStringToMacAddress(text, mac)) << Text(text);
        EXPECT_EQ(0, std::memcmp(status == noErr ? parsed : untouched, mac, 6)) << Text(text);
    }
}
