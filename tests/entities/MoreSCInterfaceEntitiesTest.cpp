#include "entities/MoreSCInterfaceEntities.h"

#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "entities/MoreSCCreateEntity.h"

namespace {

OSStatus BuildInterface(MoreSCInterfaceDigest digest, CFDictionaryRef* entity) {
    return MoreSCCreateInterfaceEntity(&digest, entity);
}
OSStatus BuildModem(MoreSCModemDigest digest, CFDictionaryRef* entity) { return MoreSCCreateModemEntity(&digest, entity); }
template <class Digest>
OSStatus Build(CFStringRef name, Digest digest, CFDictionaryRef* entity) {
    return MoreSCCreateEntity(name, &digest, entity);
}

}  // namespace

TEST(InterfaceAndHardwareEntities, KeysAndValues) {
    using D = CFDictionaryRef*;
    ExpectBuilds({
        {"plain interface",
         [](D e) { return BuildInterface({CFSTR("en0"), CFSTR("Ethernet"), nullptr, CFSTR("Ethernet"), nullptr,
                                          CFSTR("Built-in Ethernet")}, e); },
         {{"DeviceName", "en0"}, {"Hardware", "Ethernet"}, {"Type", "Ethernet"}, {"UserDefinedName", "Built-in Ethernet"}}},
        {"modem interface",
         [](D e) { return BuildInterface({CFSTR("modem"), CFSTR("Modem"), CFSTR("V.92"), CFSTR("PPP"),
                                          CFSTR("PPPSerial"), CFSTR("Internal Modem")}, e); },
         {{"DeviceName", "modem"}, {"Hardware", "Modem"}, {"HardwareVariant", "V.92"}, {"SubType", "PPPSerial"},
          {"Type", "PPP"}, {"UserDefinedName", "Internal Modem"}}},
        {"Ethernet", [](D e) { return Build(CFSTR("Ethernet"), MoreSCEthernetDigest{{0, 0x0A, 0x95, 0x9D, 0x68, 0x16}}, e); },
         {{"MACAddress", "00:0a:95:9d:68:16"}}},
        {"AirPort", [](D e) { return Build(CFSTR("AirPort"), MoreSCAirPortDigest{{0, 0x30, 0x65, 1, 2, 3}, nullptr}, e); },
         {{"MACAddress", "00:30:65:01:02:03"}}},
        {"AirPort with a network",
         [](D e) { return Build(CFSTR("AirPort"), MoreSCAirPortDigest{{0, 0x30, 0x65, 1, 2, 3}, CFSTR("Home")}, e); },
         {{"MACAddress", "00:30:65:01:02:03"}, {"PreferredNetwork", "Home"}}},
        // Compression also sets error correction; the other switches each
        // go to their own key (the rows tell every pair of them apart).
        {"default modem",
         [](D e) { MoreSCModemDigest d = kMoreSCModemDigestDefault; d.connectionScript = CFSTR("S"); return BuildModem(d, e); },
         {{"ConnectionScript", "S"}, {"DataCompression", "1"}, {"DialMode", "WaitForDialTone"},
          {"ErrorCorrection", "1"}, {"PulseDial", "0"}, {"Speaker", "1"}}},
        {"modem without compression", [](D e) { return Build(CFSTR("Modem"), MoreSCModemDigest{CFSTR("S"), 0, 1, 1, 0}, e); },
         {{"ConnectionScript", "S"}, {"DataCompression", "0"}, {"DialMode", "IgnoreDialTone"},
          {"ErrorCorrection", "0"}, {"PulseDial", "1"}, {"Speaker", "1"}}},
        {"quiet modem", [](D e) { return BuildModem({CFSTR("S"), 1, 0, 0, 0}, e); },
         {{"ConnectionScript", "S"}, {"DataCompression", "1"}, {"DialMode", "IgnoreDialTone"},
          {"ErrorCorrection", "1"}, {"PulseDial", "0"}, {"Speaker", "0"}}},
    });
}

TEST(InterfaceAndHardwareEntities, InconsistentDigestIsReportedAndStillBuilt) {
    // A variant on non-modem hardware and a sub-type on an Ethernet type.
    MoreSCInterfaceDigest digest{CFSTR("en1"), CFSTR("Token Ring"), CFSTR("x"), CFSTR("Ethernet"), CFSTR("PPPoE"),
                                 CFSTR("Port")};
    CFRef<CFDictionaryRef> entity;
    StderrCapture reports;
    ASSERT_EQ(noErr, MoreSCCreateInterfaceEntity(&digest, entity.out()));
    EXPECT_NE(std::string::npos,
              reports.text().find("MoreAssertQ failure: CFEqual(digest->hardware, kSCEntNetAirPort) || "
                                  "CFEqual(digest->hardware, kSCEntNetEthernet) || CFEqual(digest->hardware, kSCEntNetModem)"));
    EXPECT_EQ(6, CFDictionaryGetCount(entity.get()));
}
