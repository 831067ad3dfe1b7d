#include <tuple>

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

// On a machine with en0, an AirPort card and two modems, only the first
// modem's service stays active and gets the settings given; a digest not
// given leaves the entity the new set made. No modem to dial with, or a
// failure while writing the modem's settings, leaves nothing and hands out
// no ID. PPP settings that are not active are reported, in the words of
// the check.
TEST_F(Dialup, OnlyTheModemServiceIsActiveAndSetUpOrNothingIsLeft) {
    const MoreSCModemDigest noScript = {nullptr, 1, 1, 1, 0};
    MoreSCPPPDigest inactive = kPPP;
    inactive.active = false;
    const struct { bool withModem; CFStringRef bsdName; const MoreSCModemDigest* modem; const MoreSCIPv4Digest* ipv4;
                   const MoreSCDNSDigest* dns; const MoreSCPPPDigest* ppp; OSStatus status; std::string report; } rows[] = {
        {true, nullptr, nullptr, nullptr, nullptr, &kPPP, noErr, ""},
        {true, CFSTR("modem"), &kModem, &kIPv4, &kDNS, &kPPP, noErr, ""},
        {true, nullptr, nullptr, nullptr, nullptr, &inactive, noErr, "MoreAssertQ failure: pppSettings->active\n"},
        {false, nullptr, nullptr, nullptr, nullptr, &kPPP, kSCStatusNoKey, ""},
        {true, nullptr, &noScript, nullptr, nullptr, &kPPP, paramErr, "MoreAssertQ failure: digest->connectionScript != nil\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        RegistrySnapshot registry;
        registry.AddBuiltInEthernet();
        registry.AddAirPort();
        if (row.withModem) registry.AddInternalModem(), registry.AddUSBModem("");
        registry.Install(root_);
        root_.writeStore(HelpersStoreXML());
        const std::string before = FileText();
        const SInt64 generation = Generation();
        StderrCapture warnings;
        CFRef<CFStringRef> setID;
        ASSERT_EQ(MoreSCMakeNewDialupSet(CFSTR("Dial"), row.bsdName, row.modem, row.ppp, row.ipv4, row.dns, setID.out()),
                  row.status);
        std::string reports;  // the broken checks among the warnings
        for (std::size_t at = warnings.text().find("MoreAssert"); at != std::string::npos;
             at = warnings.text().find("MoreAssert", at + 1))
            reports += warnings.text().substr(at, warnings.text().find('\n', at) + 1 - at);
        EXPECT_EQ(reports, row.report);
        if (row.status != noErr) {
            EXPECT_EQ(setID.get(), nullptr);
            EXPECT_EQ(FileText(), before);
            continue;
        }
        EXPECT_EQ(Generation(), generation + 1);  // saved and applied once
        CFRef<CFArrayRef> serviceIDs;
        ASSERT_EQ(MoreSCCopyServiceIDs(setID.get(), serviceIDs.out(), nullptr), noErr);
        const std::vector<std::string> ids = Texts(serviceIDs.get());
        ASSERT_EQ(ids.size(), 4u);
        for (const std::string& id : ids) {  // the internal modem sorts first
            EXPECT_EQ(SavedActive("/NetworkServices/" + id), id == ids[0]) << id;
        }
        const std::tuple<CFStringRef, const void*, bool> entities[] = {{CFSTR("PPP"), row.ppp, true},
            {CFSTR("Modem"), &kModem, row.modem}, {CFSTR("IPv4"), &kIPv4, row.ipv4}, {CFSTR("DNS"), &kDNS, row.dns}};
        for (const auto& [protocol, digest, given] : entities) {
            CFRef<CFDictionaryRef> built;
            EXPECT_EQ(MoreSCCreateEntity(protocol, digest, built.out()), noErr);
            EXPECT_EQ(CFEqual(Saved("/NetworkServices/" + ids[0] + "/" + Text(protocol)).get(), built.get()), given)
                << Text(protocol);
        }
    }
}

}  // namespace
