// Stores that break the expected layout, files that are no store, and no
// store at all: the tool never crashes, never damages or creates the file,
// passes over what it cannot read and exits with 0.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "tool/ToolHarness.h"

namespace {

// One service that every changing command would change.
Node GoodStore() {
    return MakeStore({{"A", Dict({{"HTTPEnable", Int(1)}, {"HTTPProxy", Str("proxy.example.com")},
                                  {"ProxyAutoConfigEnable", Int(0)},
                                  {"ProxyAutoConfigURLString", Str("http://old.example.com/p.pac")}})}});
}

Node& SetOf(Node& store) { return store["Sets"]["S"]; }

Node Broken(const std::function<void(Node&)>& breakStore) {
    Node store = GoodStore();
    breakStore(store);
    return store;
}

TEST(BadStoreTest, NothingIsDoneWithAStoreTheToolCannotUse) {
    struct Row {
        const char* what;
        std::optional<std::string> file;  // none: no store at all
        bool reported = false;            // the tool names the file on standard error
    } rows[] = {
        {"no CurrentSet", Broken([](Node& s) { s.erase("CurrentSet"); }).File()},
        {"CurrentSet names a missing set", Broken([](Node& s) { s["CurrentSet"] = Str("/Sets/Missing"); }).File()},
        {"CurrentSet is not a string", Broken([](Node& s) { s["CurrentSet"] = Int(0); }).File()},
        {"CurrentSet is not a set path", Broken([](Node& s) { s["CurrentSet"] = Str("S"); }).File()},
        {"Sets is an array", Broken([](Node& s) { s["Sets"] = Array({Str("S")}); }).File()},
        {"no ServiceOrder", Broken([](Node& s) { SetOf(s)["Network"]["Global"]["IPv4"].erase("ServiceOrder"); }).File()},
        {"no global IPv4", Broken([](Node& s) { SetOf(s)["Network"]["Global"] = Dict(); }).File()},
        {"ServiceOrder is a string",
         Broken([](Node& s) { SetOf(s)["Network"]["Global"]["IPv4"]["ServiceOrder"] = Str("A"); }).File()},
        {"link to a missing service", Broken([](Node& s) { s["NetworkServices"] = Dict(); }).File()},
        {"service is a string", Broken([](Node& s) { s["NetworkServices"]["A"] = Str("A"); }).File()},
        {"Proxies is a string", Broken([](Node& s) { ProxiesOf(s, "A") = Str("proxy"); }).File()},
        {"Proxies is an array", Broken([](Node& s) { ProxiesOf(s, "A") = Array(); }).File()},
        {"link is not a link", Broken([](Node& s) { SetOf(s)["Network"]["Service"]["A"] = Dict(); }).File()},
        {"Service is missing", Broken([](Node& s) { SetOf(s)["Network"].erase("Service"); }).File()},
        {"not a property list", "this is not a property list\n", true},
        {"truncated XML", GoodStore().File().substr(0, 300), true},
        {"root is an array", Array({Str("A")}).File(), true},
        {"truncated binary", "bplist00\xd1\x01\x02", true},
        {"no store", std::nullopt},
    };
    // The read-only walk, an editing walk run twice, and a URL command: -d
    // and -f walk the same way as -e and -u.
    const std::vector<std::string> commands[] = {{"-p"}, {"-e"}, {"-u", "http://w.example.com/p.pac"}};
    for (const Row& row : rows) {
        for (const auto& args : commands) {
            SCOPED_TRACE(std::string(row.what) + ", " + args[0]);
            TempRoot root;
            if (row.file) root.writeStore(*row.file);
            std::string before = Stamp(root.storePath(), true);

            ToolRun run = RunTool(root, args);
            EXPECT_TRUE(run.exitedWithZero) << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(Stamp(root.storePath()), before);
            if (row.reported) {
                EXPECT_NE(run.err.find(root.storePath().string()), std::string::npos) << run.err;
                EXPECT_TRUE(args[0] != "-p" || std::count(run.err.begin(), run.err.end(), '\n') == 1) << run.err;
            }
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

}  // namespace
