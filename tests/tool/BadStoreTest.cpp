// Stores that break the expected layout: the tool never crashes, never
// damages the file, passes over what it cannot read and exits with 0.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tool/ToolHarness.h"

namespace {

// The read-only walk, an editing walk run twice, and a URL command: -d and
// -f walk the same way as -e and -u.
const std::vector<std::vector<std::string>> kCommands = {{"-p"}, {"-e"}, {"-u", "http://w.example.com/p.pac"}};

// One service that every changing command would change.
Node GoodStore() {
    return MakeStore({{"A", Dict({{"HTTPEnable", Int(1)}, {"HTTPProxy", Str("proxy.example.com")},
                                  {"ProxyAutoConfigEnable", Int(0)},
                                  {"ProxyAutoConfigURLString", Str("http://old.example.com/p.pac")}})}});
}

Node& SetOf(Node& store) { return store["Sets"]["S"]; }

TEST(BadStoreTest, StoresWithoutAUsableSetOrServiceListChangeNothing) {
    const std::vector<std::pair<const char*, std::function<void(Node&)>>> breakages = {
        {"no CurrentSet", [](Node& s) { s.erase("CurrentSet"); }},
        {"CurrentSet names a missing set", [](Node& s) { s["CurrentSet"] = Str("/Sets/Missing"); }},
        {"CurrentSet is not a string", [](Node& s) { s["CurrentSet"] = Int(0); }},
        {"CurrentSet is not a set path", [](Node& s) { s["CurrentSet"] = Str("S"); }},
        {"Sets is an array", [](Node& s) { s["Sets"] = Array({Str("S")}); }},
        {"no ServiceOrder", [](Node& s) { SetOf(s)["Network"]["Global"]["IPv4"].erase("ServiceOrder"); }},
        {"no global IPv4", [](Node& s) { SetOf(s)["Network"]["Global"] = Dict(); }},
        {"ServiceOrder is a string", [](Node& s) { SetOf(s)["Network"]["Global"]["IPv4"]["ServiceOrder"] = Str("A"); }},
        {"link to a missing service", [](Node& s) { s["NetworkServices"] = Dict(); }},
        {"service is a string", [](Node& s) { s["NetworkServices"]["A"] = Str("A"); }},
        {"Proxies is a string", [](Node& s) { ProxiesOf(s, "A") = Str("proxy"); }},
        {"Proxies is an array", [](Node& s) { ProxiesOf(s, "A") = Array(); }},
        {"link is not a link", [](Node& s) { SetOf(s)["Network"]["Service"]["A"] = Dict(); }},
        {"Service is missing", [](Node& s) { SetOf(s)["Network"].erase("Service"); }},
    };
    for (const auto& [name, breakStore] : breakages) {
        for (const auto& args : kCommands) {
            SCOPED_TRACE(std::string(name) + ", " + args[0]);
            TempRoot root;
            Node store = GoodStore();
            breakStore(store);
            auto file = root.writeStore(store.File());
            FileStamp before = FileStamp::Take(file);

            ToolRun run = RunTool(root, args);
            EXPECT_TRUE(run.exitedWithZero) << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_TRUE(FileStamp::Read(file) == before);
        }
    }
}

// A service the walk cannot reach is passed over; the others are still
// handled and saved.
TEST(BadStoreTest, UnreachableServicesArePassedOver) {
    TempRoot root;
    Node store = MakeStore({{"Broken", Dict()}, {"Good", Dict({{"ProxyAutoConfigURLString", Str("http://w/p.pac")}})},
                            {"Unlisted", Dict({{"ProxyAutoConfigURLString", Str("http://w/p.pac")}})}});
    Node& network = SetOf(store)["Network"];
    network["Service"].erase("Broken");  // "ServiceOrder" names it, but the set does not link it
    network["Global"]["IPv4"]["ServiceOrder"].array.pop_back();  // linked but not listed
    network["Global"]["IPv4"]["ServiceOrder"].array.push_back(Int(7));  // not even a string
    auto file = root.writeStore(store.File());

    ToolRun run = RunTool(root, {"-e"});
    EXPECT_TRUE(run.exitedWithZero) << run.err;
    EXPECT_EQ(run.out, "- Http Proxy does not exist - Good.\nOK - Enable PAC - Good.\n");
    ProxiesOf(store, "Good")["ProxyAutoConfigEnable"] = Int(1);
    EXPECT_EQ(TempRoot::ReadFile(file), store.File());
}

TEST(BadStoreTest, UnreadableFilesAreReportedAndKept) {
    const std::vector<std::pair<const char*, std::string>> files = {
        {"not a property list", "this is not a property list\n"},
        {"truncated XML", GoodStore().File().substr(0, 300)},
        {"root is an array", Array({Str("A")}).File()},
        {"truncated binary", "bplist00\xd1\x01\x02"},
    };
    for (const auto& [name, text] : files) {
        for (const auto& args : kCommands) {
            SCOPED_TRACE(std::string(name) + ", " + args[0]);
            TempRoot root;
            auto file = root.writeStore(text);
            FileStamp before = FileStamp::Take(file);

            ToolRun run = RunTool(root, args);
            EXPECT_TRUE(run.exitedWithZero) << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_NE(run.err.find(file.string()), std::string::npos) << run.err;
            if (args[0] == "-p") {
                EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
            }
            EXPECT_TRUE(FileStamp::Read(file) == before);
        }
    }
}

TEST(BadStoreTest, MissingStoreIsEmptyAndNotCreated) {
    for (const auto& args : kCommands) {
        SCOPED_TRACE(args[0]);
        TempRoot root;
        ToolRun run = RunTool(root, args);
        EXPECT_TRUE(run.exitedWithZero) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(std::filesystem::exists(root.storePath()));
    }
}

}  // namespace
