// -d and -e: the HTTP proxy step over all services, then the PAC step over
// all services; a flag changes only where its setting is configured, and
// the store is written back exactly as macOS writes it, or not at all.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/ProgramHarness.h"

namespace {

Value SwitchStore() {
    return MakeStore({
        // Both configured, both to be switched.
        {"A", Dict({{"HTTPEnable", Number(0)}, {"HTTPProxy", Str("proxy.example.com")},
                    {"ProxyAutoConfigEnable", Number(1)}, {"ProxyAutoConfigURLString", Str("http://w/p.pac")}})},
        // Flags without settings, or with empty settings: left alone.
        {"B", Dict({{"HTTPEnable", Number(1)}, {"ProxyAutoConfigEnable", Number(1)}, {"ProxyAutoConfigURLString", Str("")}})},
        {"C", Dict({{"HTTPProxy", Str("")}})},
        // Already as -d wants them.
        {"D", Dict({{"HTTPEnable", Number(1)}, {"HTTPProxy", Str("proxy.example.com")},
                    {"ProxyAutoConfigEnable", Number(0)}, {"ProxyAutoConfigURLString", Str("http://w/p.pac")}})},
        // Values that are not exactly 0 or 1 are rewritten.
        {"E", Dict({{"HTTPEnable", Number(2)}, {"HTTPProxy", Str("proxy.example.com")},
                    {"ProxyAutoConfigEnable", Real(0.5)}, {"ProxyAutoConfigURLString", Str("http://w/p.pac")}})},
        // A setting without its flag: the flag is added.
        {"H", Dict({{"HTTPProxy", Str("proxy.example.com")}})},
        {"F", Dict({{"HTTPProxy", Str("proxy.example.com")}, {"ProxyAutoConfigEnable", Number(0)},
                    {"ProxyAutoConfigURLString", Str("http://w/p.pac")}}), true},
        {"G", nullptr},
    });
}

TEST(SwitchCommandsTest, DisablePACSwitchesEachServiceThatHasTheSetting) {
    TempRoot root;
    Value store = SwitchStore();
    auto file = root.writeStore(Encoded(store));

    ProgramRun run = RunTool(root, {"-d"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "OK - Enable Http Proxy - A.\n"
              "- Http Proxy does not exist - B.\n"
              "- Http Proxy is not available - C.\n"
              "- Http Proxy is already enabled - D.\n"
              "OK - Enable Http Proxy - E.\n"
              "OK - Enable Http Proxy - H.\n"
              "OK - Disable PAC - A.\n"
              "- PAC URL is not available - B.\n"
              "- PAC URL does not exist - C.\n"
              "- PAC Enable is already disabled - D.\n"
              "OK - Disable PAC - E.\n"
              "- PAC URL does not exist - H.\n");
    for (const char* id : {"A", "E", "H"}) Put(store, ProxiesKey(id, "HTTPEnable"), Number(1));
    for (const char* id : {"A", "E"}) Put(store, ProxiesKey(id, "ProxyAutoConfigEnable"), Number(0));
    EXPECT_EQ(TempRoot::ReadFile(file), Encoded(store));
}

// A run that finds everything as wanted neither saves nor applies.
TEST(SwitchCommandsTest, NothingToDoLeavesTheFileUntouched) {
    const std::pair<std::vector<std::string>, const char*> runs[] = {
        {{"-e"}, "- PAC Enable is already enabled - A.\n"},
        {{"-f", "http://w/p.pac"}, "- PAC is already set - A.\n"},
        {{"-u", "http://w/p.pac"}, "- PAC is ready for Orbel - A.\n"},
    };
    for (const auto& [args, pacLine] : runs) {
        SCOPED_TRACE(args[0]);
        TempRoot root;
        // Service A of the store above: HTTP proxy off, PAC on with the URL.
        Value proxies = CopyAt(SwitchStore(), {"NetworkServices", "A", "Proxies"});
        auto file = root.writeStore(Encoded(MakeStore({{"A", proxies}})));
        std::string before = Stamp(file, true);
        ProgramRun run = RunTool(root, args);
        EXPECT_EQ(run.out, std::string("- Http Proxy is already disabled - A.\n") + pacLine);
        EXPECT_EQ(Stamp(file), before);
        EXPECT_FALSE(std::filesystem::exists(root.path() / "var/run/SystemConfiguration/preferences.plist"));
    }
}

// When the running system cannot take a change, each step says the change
// was saved, but not applied.
TEST(SwitchCommandsTest, ASavedChangeTheSystemCannotTakeIsReportedAsNotApplied) {
    TempRoot root;
    Value store = ProxyOnStore();
    auto file = root.writeStore(Encoded(store));
    auto applied = root.write("/var/run/SystemConfiguration/preferences.plist/in-the-way", "").parent_path();

    ProgramRun run = RunTool(root, {"-e"});
    EXPECT_EQ(run.out, "OK - Disable Http Proxy - A.\nOK - Enable PAC - A.\n");
    Put(store, ProxiesKey("A", "HTTPEnable"), Number(0));
    Put(store, ProxiesKey("A", "ProxyAutoConfigEnable"), Number(1));
    EXPECT_EQ(TempRoot::ReadFile(file), Encoded(store));
    std::string line = "SCPreferences: " + file.string() + ": saved, but not applied: " + applied.string() +
                       ": cannot read it: Is a directory\n";
    EXPECT_EQ(run.err, line + line);
}

// Stores saved by real Macs keep their format: an XML store differs
// afterwards only in the switched flag, a binary one stays binary and reads
// back as written.
TEST(SwitchCommandsTest, RealStoresKeepTheirFormat) {
    struct Row {
        const char* store;
        std::vector<std::string> args;
        const char* line;  // one line of what the run prints
        const char* flag;  // the flag switched from 1 to 0 in an XML store
    } rows[] = {
        {"imac-ethernet-pac.plist", {"-d"}, "OK - Disable PAC - 1838D499-D1F7-4102-909F-EDFB6C16897B.\n",
         "ProxyAutoConfigEnable"},
        {"macbook-air-http-proxy-ppp.plist", {"-e"}, "OK - Disable Http Proxy - 622D9F75-98F0-4AF1-8FFC-C5A27462B0B6.\n",
         "HTTPEnable"},
        {"ios-binary.plist", {"-f", "http://wpad.example.com/proxy.pac"},
         "OK - Force PAC - DEADBEEF-BABE-CAFE-FACE-DEADFEEDFACE.\n", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.store);
        TempRoot root;
        auto file = root.installStore(row.store);
        std::string original = TempRoot::ReadFile(file);
        ProgramRun run = RunTool(root, row.args);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_NE(run.out.find(row.line), std::string::npos) << run.out;
        if (row.flag != nullptr) {
            std::string key = std::string("<key>") + row.flag + "</key>\n\t\t\t\t<integer>1";
            ASSERT_NE(original.find(key), std::string::npos);
            EXPECT_EQ(TempRoot::ReadFile(file), original.replace(original.find(key) + key.size() - 1, 1, "0"));
        } else {
            EXPECT_EQ(TempRoot::ReadFile(file).substr(0, 8), "bplist00");
            EXPECT_EQ(RunTool(root, {"-p"}).out,
                      "PACEnable : 1 - DEADBEEF-BABE-CAFE-FACE-DEADFEEDFACE\n"
                      "PACURL : http://wpad.example.com/proxy.pac - DEADBEEF-BABE-CAFE-FACE-DEADFEEDFACE\n"
                      "PACEnable : 1 - DB914B7E-ED15-483C-9FD8-82A614874711\n"
                      "PACURL : http://wpad.example.com/proxy.pac - DB914B7E-ED15-483C-9FD8-82A614874711\n");
        }
    }
}

}  // namespace
