#include "entities/MoreSCInterfaceEntities.h"

#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "entities/MoreSCCreateEntity.h"

using Names = std::vector<std::string>;

TEST(InterfaceEntity, OptionalKeysOnlyWhenGiven) {
    MoreSCInterfaceDigest digest{CFSTR("en0"), CFSTR("Ethernet"), nullptr, CFSTR("Ethernet"), nullptr,
                                 CFSTR("Built-in Ethernet")};
    CFRef<CFDictionaryRef> entity;
    testing::internal::CaptureStderr();
    ASSERT_EQ(noErr, MoreSCCreateInterfaceEntity(&digest, entity.out()));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ((Names{"DeviceName", "UserDefinedName", "Hardware", "Type"}), Keys(entity.get()));

    digest = MoreSCInterfaceDigest{CFSTR("modem"), CFSTR("Modem"), CFSTR("V.92"), CFSTR("PPP"), CFSTR("PPPSerial"),
                                   CFSTR("Internal Modem")};
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateInterfaceEntity(&digest, entity.out()));
    EXPECT_EQ((Names{"DeviceName", "UserDefinedName", "Hardware", "Type", "SubType", "HardwareVariant"}),
              Keys(entity.get()));
    EXPECT_EQ("V.92", StringAt(entity.get(), "HardwareVariant"));
}

TEST(InterfaceEntity, InconsistentDigestIsReportedAndStillBuilt) {
    // A variant on non-modem hardware and a sub-type on an Ethernet type.
    MoreSCInterfaceDigest digest{CFSTR("en1"), CFSTR("Token Ring"), CFSTR("x"), CFSTR("Ethernet"), CFSTR("PPPoE"),
                                 CFSTR("Port")};
    CFRef<CFDictionaryRef> entity;
    testing::internal::CaptureStderr();
    ASSERT_EQ(noErr, MoreSCCreateInterfaceEntity(&digest, entity.out()));
    std::string reports = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos,
              reports.find("MoreAssertQ failure: CFEqual(digest->hardware, kSCEntNetAirPort) || "
                           "CFEqual(digest->hardware, kSCEntNetEthernet) || CFEqual(digest->hardware, kSCEntNetModem)"));
    EXPECT_EQ(6u, Keys(entity.get()).size());
}

TEST(HardwareEntities, EthernetAndAirPortCarryTheMacText) {
    MoreSCEthernetDigest ethernet{{0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16}};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateEntity(CFSTR("Ethernet"), &ethernet, entity.out()));
    EXPECT_EQ((Names{"MACAddress"}), Keys(entity.get()));
    EXPECT_EQ("00:0a:95:9d:68:16", StringAt(entity.get(), "MACAddress"));

    MoreSCAirPortDigest airPort{{0, 0x30, 0x65, 1, 2, 3}, nullptr};
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateEntity(CFSTR("AirPort"), &airPort, entity.out()));
    EXPECT_EQ((Names{"MACAddress"}), Keys(entity.get()));
    airPort.preferredNetwork = CFSTR("Home");
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateEntity(CFSTR("AirPort"), &airPort, entity.out()));
    EXPECT_EQ((Names{"MACAddress", "PreferredNetwork"}), Keys(entity.get()));
    EXPECT_EQ("00:30:65:01:02:03", StringAt(entity.get(), "MACAddress"));
}

TEST(HardwareEntities, ModemCompressionAlsoSetsErrorCorrection) {
    MoreSCModemDigest digest = kMoreSCModemDigestDefault;
    digest.connectionScript = CFSTR("Apple Internal 56K Modem (v.90)");
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateModemEntity(&digest, entity.out()));
    EXPECT_EQ((Names{"ConnectionScript", "DataCompression", "DialMode", "ErrorCorrection", "PulseDial", "Speaker"}),
              Keys(entity.get()));
    EXPECT_EQ(1, NumberAt(entity.get(), "DataCompression"));
    EXPECT_EQ(1, NumberAt(entity.get(), "ErrorCorrection"));
    EXPECT_EQ(0, NumberAt(entity.get(), "PulseDial"));
    EXPECT_EQ(1, NumberAt(entity.get(), "Speaker"));
    EXPECT_EQ("WaitForDialTone", StringAt(entity.get(), "DialMode"));

    digest = MoreSCModemDigest{CFSTR("Script"), 0, 0, 1, 0};
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateModemEntity(&digest, entity.out()));
    EXPECT_EQ(0, NumberAt(entity.get(), "DataCompression"));
    EXPECT_EQ(0, NumberAt(entity.get(), "ErrorCorrection"));
    EXPECT_EQ(1, NumberAt(entity.get(), "PulseDial"));
    EXPECT_EQ("IgnoreDialTone", StringAt(entity.get(), "DialMode"));
}
