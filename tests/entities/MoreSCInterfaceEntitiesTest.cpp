#include "entities/MoreSCInterfaceEntities.h"

#include <gtest/gtest.h>

#include "entities/EntityChecks.h"

// The keys come in the order the store shows them.
TEST(InterfaceAndHardwareEntities, InterfaceKeysInTheirOrder) {
    const MoreSCInterfaceDigest modem = {CFSTR("modem"), CFSTR("Modem"), CFSTR("V.92"), CFSTR("PPP"), CFSTR("PPPSerial"),
                                         CFSTR("Internal Modem")};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(MoreSCCreateInterfaceEntity(&modem, entity.out()), noErr);
    EXPECT_EQ(Keys(entity.get()),
              (std::vector<std::string>{"DeviceName", "UserDefinedName", "Hardware", "Type", "SubType", "HardwareVariant"}));
}

TEST(InterfaceAndHardwareEntities, KeysAndValues) {
    MoreSCModemDigest defaultModem = kMoreSCModemDigestDefault;
    defaultModem.connectionScript = CFSTR("S");
    ExpectBuilds({
        {"plain interface",
         By(MoreSCCreateInterfaceEntity, MoreSCInterfaceDigest{CFSTR("en0"), CFSTR("Ethernet"), nullptr,
                                                               CFSTR("Ethernet"), nullptr, CFSTR("Built-in Ethernet")}),
         {{"DeviceName", "en0"}, {"Hardware", "Ethernet"}, {"Type", "Ethernet"}, {"UserDefinedName", "Built-in Ethernet"}}},
        {"modem interface",
         By(CFSTR("Interface"), MoreSCInterfaceDigest{CFSTR("modem"), CFSTR("Modem"), CFSTR("V.92"), CFSTR("PPP"),
                                                      CFSTR("PPPSerial"), CFSTR("Internal Modem")}),
         {{"DeviceName", "modem"}, {"Hardware", "Modem"}, {"HardwareVariant", "V.92"}, {"SubType", "PPPSerial"},
          {"Type", "PPP"}, {"UserDefinedName", "Internal Modem"}}},
        // A variant on non-modem hardware and a sub-type on an Ethernet type.
        {"inconsistent interface, reported and built all the same",
         By(MoreSCCreateInterfaceEntity, MoreSCInterfaceDigest{CFSTR("en1"), CFSTR("Token Ring"), CFSTR("x"),
                                                               CFSTR("Ethernet"), CFSTR("PPPoE"), CFSTR("Port")}),
         {{"DeviceName", "en1"}, {"Hardware", "Token Ring"}, {"HardwareVariant", "x"}, {"SubType", "PPPoE"},
          {"Type", "Ethernet"}, {"UserDefinedName", "Port"}},
         "MoreAssertQ failure: CFEqual(digest->hardware, kSCEntNetAirPort) || CFEqual(digest->hardware, "
         "kSCEntNetEthernet) || CFEqual(digest->hardware, kSCEntNetModem)\nMoreAssertQ failure: CFEqual(digest->type, "
         "kSCValNetInterfaceTypePPP)\nMoreAssertQ failure: CFEqual(digest->hardware, kSCEntNetModem)\n"},
        {"Ethernet", By(CFSTR("Ethernet"), MoreSCEthernetDigest{{0, 0x0A, 0x95, 0x9D, 0x68, 0x16}}),
         {{"MACAddress", "00:0a:95:9d:68:16"}}},
        {"AirPort", By(MoreSCCreateAirPortEntity, MoreSCAirPortDigest{{0, 0x30, 0x65, 1, 2, 3}, nullptr}),
         {{"MACAddress", "00:30:65:01:02:03"}}},
        {"AirPort with a network", By(CFSTR("AirPort"), MoreSCAirPortDigest{{0, 0x30, 0x65, 1, 2, 3}, CFSTR("Home")}),
         {{"MACAddress", "00:30:65:01:02:03"}, {"PreferredNetwork", "Home"}}},
        // Compression also sets error correction; the other switches each
        // go to their own key (the rows tell every pair of them apart).
        {"default modem", By(MoreSCCreateModemEntity, defaultModem),
         {{"ConnectionScript", "S"}, {"DataCompression", "1"}, {"DialMode", "WaitForDialTone"},
          {"ErrorCorrection", "1"}, {"PulseDial", "0"}, {"Speaker", "1"}}},
        {"modem without compression", By(CFSTR("Modem"), MoreSCModemDigest{CFSTR("S"), 0, 1, 1, 0}),
         {{"ConnectionScript", "S"}, {"DataCompression", "0"}, {"DialMode", "IgnoreDialTone"},
          {"ErrorCorrection", "0"}, {"PulseDial", "1"}, {"Speaker", "1"}}},
        {"quiet modem", By(MoreSCCreateModemEntity, MoreSCModemDigest{CFSTR("S"), 1, 0, 0, 0}),
         {{"ConnectionScript", "S"}, {"DataCompression", "1"}, {"DialMode", "IgnoreDialTone"},
          {"ErrorCorrection", "1"}, {"PulseDial", "0"}, {"Speaker", "0"}}},
    });
}
