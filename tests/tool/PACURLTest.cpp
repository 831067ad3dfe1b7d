// -f and -u: forcing and updating the PAC URL, case by case, after the HTTP
// proxy step. Any non-zero flag counts as PAC on, and the flag is only ever
// written when it was 0.
#include <gtest/gtest.h>

#include "support/ProgramHarness.h"

namespace {

const std::string kURL = "http://new.example.com/conf/proxy.pac";
const std::string kSameFile = "http://old.example.com/proxy.pac";
const std::string kOtherFile = "http://old.example.com/other.pac";

Value PAC(long enable, const std::string& url) {
    return Dict({{"ProxyAutoConfigEnable", Number(enable)}, {"ProxyAutoConfigURLString", Str(url)}});
}

struct Row {
    const char* id;
    Value proxies;
    const char* lines;  // what the URL step prints for the service ("%s" is its ID)
    long enable;        // the flag afterwards
    std::string url;    // the URL afterwards
};

// Runs option with the URL on one store of all rows; the proxy step says
// "does not exist" for every service (none has a proxy host).
void ExpectRows(const char* option, const std::vector<Row>& rows) {
    TempRoot root;
    std::vector<ServiceSpec> services;
    for (const Row& row : rows) services.push_back({row.id, row.proxies});
    Value store = MakeStore(services);
    auto file = root.writeStore(Encoded(store));

    ProgramRun run = RunTool(root, {option, kURL});
    std::string expected;
    for (const Row& row : rows) expected += "- Http Proxy does not exist - " + std::string(row.id) + ".\n";
    for (const Row& row : rows) {
        std::string lines = row.lines;
        for (size_t at; (at = lines.find("%s")) != std::string::npos;) lines.replace(at, 2, row.id);
        expected += lines;
        Put(store, ProxiesKey(row.id, "ProxyAutoConfigEnable"), Number(row.enable));
        Put(store, ProxiesKey(row.id, "ProxyAutoConfigURLString"), Str(row.url));
    }
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, expected);
    EXPECT_EQ(TempRoot::ReadFile(file), Encoded(store));
}

TEST(PACURLTest, ForceSetsTheURLAndSwitchesPACOn) {
    ExpectRows("-f", {
        {"Same", PAC(1, kURL), "- PAC is already set - %s.\n", 1, kURL},
        {"Two", PAC(2, kURL), "- PAC is already set - %s.\n", 2, kURL},
        {"Case", PAC(1, "http://NEW.example.com/conf/proxy.pac"), "OK - Force PAC - %s.\n", 1, kURL},
        {"Minus", PAC(-1, kOtherFile), "OK - Force PAC - %s.\n", -1, kURL},
        {"Off", PAC(0, kURL), "OK - Force PAC - %s.\n", 1, kURL},
        {"Nothing", Dict(), "OK - Force PAC - %s.\n", 1, kURL},
        {"Empty", PAC(1, ""), "OK - Force PAC - %s.\n", 1, kURL},
    });
}

TEST(PACURLTest, UpdateReplacesOnlyAURLForTheSameFile) {
    ExpectRows("-u", {
        {"Same", PAC(1, kURL), "- PAC is ready for Orbel - %s.\n", 1, kURL},
        {"SameFile", PAC(1, kSameFile), "OK - Update PAC - %s.\n", 1, kURL},
        {"Two", PAC(2, kSameFile), "OK - Update PAC - %s.\n", 2, kURL},
        {"OtherFile", PAC(1, kOtherFile), "- PAC is ready for Orbel - %s.\n", 1, kOtherFile},
        {"Minus", PAC(-1, kOtherFile), "- PAC is ready for Orbel - %s.\n", -1, kOtherFile},
        {"NoSlash", PAC(1, "wpad"), "- PAC is ready for Orbel - %s.\n", 1, "wpad"},
        {"OffSame", PAC(0, kURL), "- PAC URL is already set - %s.\nOK - Update PAC - %s.\n", 1, kURL},
        {"OffOther", PAC(0, kOtherFile), "- PAC URL is already set - %s.\nOK - Update PAC - %s.\n", 1, kOtherFile},
        {"NoURL", Dict(), "OK - Update PAC - %s.\n", 1, kURL},
        {"Empty", Dict({{"ProxyAutoConfigURLString", Str("")}}), "OK - Update PAC - %s.\n", 1, kURL},
    });
}

}  // namespace
