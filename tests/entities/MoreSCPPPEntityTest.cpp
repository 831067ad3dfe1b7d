#include "entities/MoreSCPPPEntity.h"

#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "entities/MoreSCCreateEntity.h"
#include "support/SystemVersion.h"

using Names = std::vector<std::string>;

TEST(DefaultPPPOptions, ChosenBySystemVersion) {
    TempRoot root;
    // No version file: an older system, which has no PPPoE table.
    EXPECT_EQ(&kMoreSCPPPOptionsDefaultTenOne, MoreSCGetDefaultPPPOptions(false));
    EXPECT_EQ(&kMoreSCPPPOptionsDefaultTenOne, MoreSCGetDefaultPPPOptions(true));

    InstallSystemVersion(root, "10.1.5");
    EXPECT_EQ(&kMoreSCPPPOptionsDefaultTenOne, MoreSCGetDefaultPPPOptions(true));

    InstallSystemVersion(root, "10.2");
    EXPECT_EQ(&kMoreSCPPPOptionsDefaultTenTwoAndLater, MoreSCGetDefaultPPPOptions(false));
    EXPECT_EQ(&kMoreSCPPPoEOptionsDefaultTenTwoAndLater, MoreSCGetDefaultPPPOptions(true));
}

TEST(PPPEntity, NewerSystemKeysInOrder) {
    TempRoot root;
    InstallSystemVersion(root, "10.4.11");
    MoreSCPPPDigest digest{1, CFSTR("Dial-up"), CFSTR("jo"), CFSTR("secret"), CFSTR("555-0100"),
                           CFSTR("555-0199"), nullptr};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateEntity(CFSTR("PPP"), &digest, entity.out()));
    EXPECT_EQ((Names{"UserDefinedName", "DialOnDemand", "DisconnectOnIdle", "DisconnectOnIdleTimer",
                     "DisconnectOnLogout", "IdleReminder", "IdleReminderTimer", "Logfile", "VerboseLogging",
                     "AuthName", "AuthPassword", "CommAlternateRemoteAddress", "CommDisplayTerminalWindow",
                     "CommRedialCount", "CommRedialEnabled", "CommRedialInterval", "CommRemoteAddress",
                     "CommUseTerminalScript", "IPCPCompressionVJ", "LCPEchoEnabled", "LCPEchoFailure",
                     "LCPEchoInterval"}),
              Keys(entity.get()));
    EXPECT_EQ(600, NumberAt(entity.get(), "DisconnectOnIdleTimer"));
    EXPECT_EQ(4, NumberAt(entity.get(), "LCPEchoFailure"));
    EXPECT_EQ("/tmp/ppp.log", StringAt(entity.get(), "Logfile"));
    CFTypeRef password = ValueAt(entity.get(), "AuthPassword");
    ASSERT_EQ(CFDataGetTypeID(), CFGetTypeID(password));
    EXPECT_EQ(12, CFDataGetLength(static_cast<CFDataRef>(password)));
}

TEST(PPPEntity, OlderSystemAndInactiveMinimalDigest) {
    TempRoot root;  // no SystemVersion.plist: the version cannot be had
    MoreSCPPPDigest digest{};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreatePPPEntity(&digest, entity.out()));
    EXPECT_EQ((Names{"__INACTIVE__", "DialOnDemand", "DisconnectOnIdle", "DisconnectOnIdleTimer",
                     "DisconnectOnLogout", "IdleReminder", "IdleReminderTimer", "Logfile", "VerboseLogging",
                     "CommDisplayTerminalWindow", "CommRedialCount", "CommRedialEnabled", "CommRedialInterval",
                     "IPCPCompressionVJ", "LCPEchoEnabled", "LCPEchoFailure", "LCPEchoInterval"}),
              Keys(entity.get()));
    EXPECT_EQ(900, NumberAt(entity.get(), "DisconnectOnIdleTimer"));
}

TEST(PPPEntity, GivenOptionsWinOverDefaults) {
    TempRoot root;
    InstallSystemVersion(root, "10.3");
    MoreSCPPPOptions options = kMoreSCPPPoEOptionsDefaultTenTwoAndLater;
    options.verboseLogging = 1;
    MoreSCPPPDigest digest{1, nullptr, nullptr, nullptr, nullptr, nullptr, &options};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreatePPPEntity(&digest, entity.out()));
    EXPECT_EQ(0, NumberAt(entity.get(), "DisconnectOnIdle"));
    EXPECT_EQ(1800, NumberAt(entity.get(), "DisconnectOnIdleTimer"));
    EXPECT_EQ(1, NumberAt(entity.get(), "VerboseLogging"));
}

TEST(EncodedPPPPassword, BigEndianUTF16WithoutMarkOrTerminator) {
    CFRef<CFDataRef> encoded;
    ASSERT_EQ(noErr, MoreSCFCopyEncodedPPPPassword(CFSTR("ab"), encoded.out()));
    const UInt8 ab[] = {0x00, 0x61, 0x00, 0x62};
    ASSERT_EQ(4, CFDataGetLength(encoded.get()));
    EXPECT_EQ(0, memcmp(ab, CFDataGetBytePtr(encoded.get()), 4));
}
