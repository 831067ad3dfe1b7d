#include "entities/MoreSCCreateEntity.h"
#include "entities/MoreSCPPPEntity.h"
#include "helpers/HelpersStore.h"
#include "helpers/MoreSCDialup.h"
#include "netconfig/MoreSCServices.h"
#include "support/RegistrySnapshot.h"
#include "support/StderrCapture.h"

namespace {

using Dialup = HelpersTest;

const MoreSCPPPDigest kPPP = {true, CFSTR("Dial-up"), CFSTR("user"), CFSTR("secret"), CFSTR("5551234"), nullptr, nullptr};
const MoreSCModemDigest kModem = {CFSTR("Generic"), 0, 0, 1, 0};
const MoreSCIPv4Digest kIPv4 = {CFSTR("PPP"), 0x0A000002, 0, 0, nullptr};
const CFStringRef kDomains[] = {CFSTR("example.com")};
const MoreSCDNSDigest kDNS = {0, nullptr, 1, kDomains};

CFRef<CFDictionaryRef> Built(CFStringRef protocol, const void* digest) {
    CFRef<CFDictionaryRef> entity;
    EXPECT_EQ(MoreSCCreateEntity(protocol, digest, entity.out()), noErr);
    return entity;
}

// On a machine with en0, an AirPort card and an internal modem, only the
// modem's service stays active and gets the settings given.
TEST_F(Dialup, OnlyTheModemServiceIsActiveAndSetUp) {
    RegistrySnapshot registry;
    registry.AddBuiltInEthernet();
    registry.AddAirPort();
    registry.AddInternalModem();
    registry.Install(root_);
    const struct {
        CFStringRef bsdName;
        const MoreSCModemDigest* modem;
        const MoreSCIPv4Digest* ipv4;
        const MoreSCDNSDigest* dns;
    } rows[] = {
        {nullptr, nullptr, nullptr, nullptr},
        {CFSTR("modem"), &kModem, &kIPv4, &kDNS},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        root_.writeStore(HelpersStoreXML());
        const SInt64 generation = Generation();
        StderrCapture warnings;
        CFRef<CFStringRef> setID;
        ASSERT_EQ(MoreSCMakeNewDialupSet(CFSTR("Dial"), row.bsdName, row.modem, &kPPP, row.ipv4, row.dns, setID.out()),
                  noErr);
        EXPECT_EQ(Generation(), generation + 1);  // saved and applied once
        CFRef<CFArrayRef> serviceIDs;
        ASSERT_EQ(MoreSCCopyServiceIDs(setID.get(), serviceIDs.out(), nullptr), noErr);
        ASSERT_EQ(CFArrayGetCount(serviceIDs.get()), 3);
        for (CFIndex i = 0; i < 3; i++) {
            const std::string path = "/NetworkServices/" + Text(CFArrayGetValueAtIndex(serviceIDs.get(), i));
            CFRef<CFDictionaryRef> service = Saved(path);
            const bool isModem = i == 0;  // the internal modem sorts first
            EXPECT_EQ(CFDictionaryContainsKey(service.get(), CFSTR("__INACTIVE__")), !isModem) << path;
            if (!isModem) continue;
            EXPECT_TRUE(CFEqual(Saved(path + "/PPP").get(), Built(CFSTR("PPP"), &kPPP).get()));
            // A digest not given leaves the entity the new set made.
            CFRef<CFDictionaryRef> modem = Saved(path + "/Modem");
            EXPECT_EQ(CFEqual(modem.get(), Built(CFSTR("Modem"), &kModem).get()), row.modem != nullptr);
            CFRef<CFDictionaryRef> ipv4 = Saved(path + "/IPv4"), dns = Saved(path + "/DNS");
            EXPECT_EQ(CFEqual(ipv4.get(), Built(CFSTR("IPv4"), &kIPv4).get()), row.ipv4 != nullptr);
            EXPECT_EQ(CFEqual(dns.get(), Built(CFSTR("DNS"), &kDNS).get()), row.dns != nullptr);
        }
    }
}

// No modem to dial with, or a failure while writing the modem's settings:
// nothing is left, and no ID is handed out.
TEST_F(Dialup, FailuresLeaveNoSetBehind) {
    const MoreSCModemDigest noScript = {nullptr, 1, 1, 1, 0};
    const struct { bool withModem; const MoreSCModemDigest* modem; OSStatus status; } rows[] = {
        {false, nullptr, kSCStatusNoKey},
        {true, &noScript, paramErr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        RegistrySnapshot registry;
        registry.AddBuiltInEthernet();
        if (row.withModem) registry.AddInternalModem();
        registry.Install(root_);
        const std::string before = FileText();
        StderrCapture reports;
        CFRef<CFStringRef> setID;
        EXPECT_EQ(MoreSCMakeNewDialupSet(CFSTR("Dial"), nullptr, row.modem, &kPPP, nullptr, nullptr, setID.out()),
                  row.status);
        EXPECT_EQ(setID.get(), nullptr);
        EXPECT_EQ(FileText(), before);
    }
}

}  // namespace
