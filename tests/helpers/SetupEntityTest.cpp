// Writing an entity built from a digest, or from an all-zero digest when
// none is given; a failed build writes nothing.
#include "helpers/SetupEntity.h"

#include <arpa/inet.h>

#include "entities/MoreSCCreateEntity.h"
#include "helpers/HelpersStore.h"

namespace {

using SetupEntityTest = HelpersTest;

TEST_F(SetupEntityTest, WritesTheBuiltEntityInPlaceOfTheOldOne) {
    MoreSCIPv4Digest ipv4 = {CFSTR("Manual"), htonl(0x0A000002), htonl(0xFFFFFF00), htonl(0x0A000001), nullptr};
    MoreSCDNSDigest zeroDNS = {};
    const struct {
        CFStringRef protocol;
        const void* given;     // what SetupEntity is handed
        const void* expected;  // the digest the saved entity is built from
    } rows[] = {
        {CFSTR("IPv4"), &ipv4, &ipv4},
        {CFSTR("DNS"), nullptr, &zeroDNS},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SetupEntity(CFSTR("0"), CFSTR("M"), row.protocol, row.given), noErr) << Text(row.protocol);
        CFRef<CFDictionaryRef> expected;
        ASSERT_EQ(MoreSCCreateEntity(row.protocol, row.expected, expected.out()), noErr);
        std::string path = "/NetworkServices/M/" + Text(row.protocol);
        CFRef<CFDictionaryRef> saved = Saved(path.c_str());
        ASSERT_TRUE(saved) << path;
        EXPECT_TRUE(CFEqual(saved.get(), expected.get())) << path;
    }
}

TEST_F(SetupEntityTest, AFailedBuildWritesNothing) {
    const std::string before = FileText();
    testing::internal::CaptureStderr();
    EXPECT_EQ(SetupEntity(CFSTR("0"), CFSTR("M"), CFSTR("Bogus"), nullptr), -1);
    EXPECT_EQ(SetupEntity(CFSTR("0"), CFSTR("M"), nullptr, nullptr), paramErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MoreAssertQ failure: false\nMoreAssertQ failure: protocol != nil\n");
    EXPECT_EQ(FileText(), before);
}

}  // namespace
