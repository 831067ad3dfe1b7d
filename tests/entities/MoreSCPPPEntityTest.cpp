#include "entities/MoreSCPPPEntity.h"

#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "support/SystemVersion.h"

namespace {

// The keys of the option fields, in the order of the record.
const char* const kOptionKeys[] = {"DialOnDemand", "IdleReminder", "IdleReminderTimer", "DisconnectOnIdle",
    "DisconnectOnIdleTimer", "DisconnectOnLogout", "CommRedialEnabled", "CommRedialCount", "CommRedialInterval",
    "LCPEchoEnabled", "IPCPCompressionVJ", "CommDisplayTerminalWindow", "VerboseLogging"};

// A PPP entity of an empty digest: the option values (in record order) and
// the fixed keys, which depend on the system.
Contents Entity(const std::vector<const char*>& options, bool newerSystem) {
    Contents contents{{"Logfile", "/tmp/ppp.log"}, {"LCPEchoFailure", newerSystem ? "4" : "3"}, {"LCPEchoInterval", "10"}};
    if (newerSystem) contents.emplace("CommUseTerminalScript", "0");
    for (size_t i = 0; i < options.size(); i++) contents.emplace(kOptionKeys[i], options[i]);
    return contents;
}

const std::vector<const char*> kTenOne = {"0", "0", "1800", "1", "900", "1", "1", "1", "30", "1", "1", "0", "0"};
const std::vector<const char*> kTenTwo = {"0", "0", "1800", "1", "600", "1", "1", "1", "5", "1", "1", "0", "0"};
const std::vector<const char*> kPPPoE = {"0", "0", "1800", "0", "1800", "1", "1", "1", "5", "1", "1", "0", "0"};

}  // namespace

// Which table the system version chooses, and every value of each table as
// the entity writes it.
TEST(PPPEntity, DefaultOptionTables) {
    // The system version (nullptr: none to be had, an older system), PPPoE or not, the table and its values.
    const struct { const char* version; Boolean forPPPoE; const MoreSCPPPOptions* table;
                   const std::vector<const char*>& values; bool newer; } rows[] = {
        {nullptr, true, &kMoreSCPPPOptionsDefaultTenOne, kTenOne, false},  // no PPPoE table before 10.2
        {"10.1.5", false, &kMoreSCPPPOptionsDefaultTenOne, kTenOne, false},
        {"10.2", false, &kMoreSCPPPOptionsDefaultTenTwoAndLater, kTenTwo, true},
        {"10.4.11", true, &kMoreSCPPPoEOptionsDefaultTenTwoAndLater, kPPPoE, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.version ? row.version : "no version");
        TempRoot root;
        if (row.version) InstallSystemVersion(root, row.version);
        EXPECT_EQ(MoreSCGetDefaultPPPOptions(row.forPPPoE), row.table);
        MoreSCPPPDigest digest{1, nullptr, nullptr, nullptr, nullptr, nullptr, MoreSCGetDefaultPPPOptions(row.forPPPoE)};
        CFRef<CFDictionaryRef> entity;
        ASSERT_EQ(noErr, MoreSCCreatePPPEntity(&digest, entity.out()));
        EXPECT_EQ(ContentsOf(entity.get()), Entity(row.values, row.newer));
    }
}

// Without options the entity takes the system's PPP table, never the PPPoE
// one; the digest's strings and the password, encoded as big-endian UTF-16
// without mark or terminator, come with it.
TEST(PPPEntity, DigestWithoutOptions) {
    TempRoot root;
    Contents inactive = Entity(kTenOne, false);
    inactive.emplace("__INACTIVE__", "1");
    ExpectBuilds({{"older system, inactive", By(MoreSCCreatePPPEntity, MoreSCPPPDigest{}), inactive}});

    InstallSystemVersion(root, "10.4.11");
    Contents full = Entity(kTenTwo, true);
    full.insert({{"UserDefinedName", "Dial-up"}, {"AuthName", "jo"}, {"AuthPassword", "<00e90062>"},
                 {"CommRemoteAddress", "555-0100"}, {"CommAlternateRemoteAddress", "555-0199"}});
    ExpectBuilds({{"newer system", By(CFSTR("PPP"), MoreSCPPPDigest{1, CFSTR("Dial-up"), CFSTR("jo"), CFSTR("\u00e9b"),
                                                                   CFSTR("555-0100"), CFSTR("555-0199"), nullptr}),
                   full}});
}
