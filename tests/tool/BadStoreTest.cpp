// Stores that break the expected layout, files that are no store, and no
// store at all: the tool never crashes, hangs, damages or creates the file,
// passes over what it cannot read and exits with 0. What the store layer
// refuses is reported in one line naming the file and the fault.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "support/ProgramHarness.h"

namespace {

const std::vector<std::string> kNetwork = {"Sets", "S", "Network"};
std::vector<std::string> Under(std::vector<std::string> path, const std::vector<std::string>& more) {
    path.insert(path.end(), more.begin(), more.end());
    return path;
}

std::string Broken(const std::vector<std::string>& path, const Value& value) {
    Value store = ProxyOnStore();
    Put(store, path, value);
    return Encoded(store);
}

std::string DeepArrays(int levels) {
    std::string open, close;
    for (int i = 0; i < levels; ++i) open += "<array>", close += "</array>";
    return "<plist version=\"1.0\">" + open + close + "</plist>\n";
}

TEST(BadStoreTest, NothingIsDoneWithAStoreTheToolCannotUse) {
    const std::string kFIFO = "(a FIFO)";
    struct Row {
        const char* what;
        std::optional<std::string> file;  // none: no store at all
        const char* fault = nullptr;      // what the report on standard error says
    } rows[] = {
        {"no CurrentSet", Broken({"CurrentSet"}, nullptr)},
        {"CurrentSet names a missing set", Broken({"CurrentSet"}, Str("/Sets/Missing"))},
        {"CurrentSet is not a string", Broken({"CurrentSet"}, Number(0))},
        {"CurrentSet is not a set path", Broken({"CurrentSet"}, Str("S"))},
        {"Sets is an array", Broken({"Sets"}, Array({Str("S")}))},
        {"no ServiceOrder", Broken(Under(kNetwork, {"Global", "IPv4", "ServiceOrder"}), nullptr)},
        {"no global IPv4", Broken(Under(kNetwork, {"Global"}), Dict())},
        {"ServiceOrder is a string", Broken(Under(kNetwork, {"Global", "IPv4", "ServiceOrder"}), Str("A"))},
        {"link to a missing service", Broken({"NetworkServices"}, Dict())},
        {"service is a string", Broken({"NetworkServices", "A"}, Str("A"))},
        {"Proxies is a string", Broken({"NetworkServices", "A", "Proxies"}, Str("proxy"))},
        {"Proxies is an array", Broken({"NetworkServices", "A", "Proxies"}, Array())},
        {"link is not a link", Broken(Under(kNetwork, {"Service", "A"}), Dict())},
        {"Service is missing", Broken(Under(kNetwork, {"Service"}), nullptr)},
        {"not a property list", "this is not a property list\n", "malformed"},
        {"truncated XML", Encoded(ProxyOnStore()).substr(0, 300), "malformed"},
        {"root is an array", Encoded(Array({Str("A")})), "root"},
        {"truncated binary", "bplist00\xd1\x01\x02", ""},
        {"arrays 50,000 deep", DeepArrays(50000), "nested deeper than 512 levels"},
        {"a FIFO", kFIFO, "not a regular file but a FIFO"},
        {"no store", std::nullopt},
    };
    // The read-only walk, an editing walk run twice, and a URL command: -d
    // and -f walk the same way as -e and -u.
    const std::vector<std::string> commands[] = {{"-p"}, {"-e"}, {"-u", "http://w.example.com/p.pac"}};
    for (const Row& row : rows) {
        for (const auto& args : commands) {
            SCOPED_TRACE(std::string(row.what) + ", " + args[0]);
            TempRoot root;
            std::filesystem::path file = root.storePath();
            bool fifo = row.file == kFIFO;  // not to be read here either
            if (fifo) {
                std::filesystem::create_directories(file.parent_path());
                ASSERT_EQ(::mkfifo(file.c_str(), 0644), 0);
            } else if (row.file) {
                root.writeStore(*row.file);
            }
            std::string before = fifo ? "" : Stamp(file, true);

            ProgramRun run = RunTool(root, args);
            EXPECT_EQ(run.exitStatus, 0) << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(fifo ? "" : Stamp(file), before);
            EXPECT_EQ(std::filesystem::is_fifo(file), fifo);
            if (row.fault) {
                EXPECT_TRUE(run.err.starts_with("SCPreferences: cannot read " + file.string() + ": ")) << run.err;
                EXPECT_NE(run.err.substr(0, run.err.find('\n')).find(row.fault), std::string::npos) << run.err;
                EXPECT_TRUE(args[0] != "-p" || std::count(run.err.begin(), run.err.end(), '\n') == 1) << run.err;
                // A second step finds the session its failed open left, and reads nothing again.
                EXPECT_EQ(run.err.find("SCPreferences:", 1), std::string::npos) << run.err;
            }
        }
    }
}

// A service the walk cannot reach is passed over; the others are still
// handled and saved.
TEST(BadStoreTest, UnreachableServicesArePassedOver) {
    TempRoot root;
    Value pac = Dict({{"ProxyAutoConfigURLString", Str("http://w/p.pac")}});
    Value store = MakeStore({{"Broken", Dict()}, {"Good", pac}, {"Unlisted", CopyAt(pac, {})}});
    Put(store, Under(kNetwork, {"Service", "Broken"}), nullptr);  // "ServiceOrder" names it, but the set does not link it
    CFMutableArrayRef order = ArrayAt(store, Under(kNetwork, {"Global", "IPv4", "ServiceOrder"}));
    CFArrayRemoveValueAtIndex(order, 2);  // linked but not listed
    CFArrayAppendValue(order, Number(7).get());  // not even a string
    auto file = root.writeStore(Encoded(store));

    ProgramRun run = RunTool(root, {"-e"});
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "- Http Proxy does not exist - Good.\nOK - Enable PAC - Good.\n");
    Put(store, ProxiesKey("Good", "ProxyAutoConfigEnable"), Number(1));
    EXPECT_EQ(TempRoot::ReadFile(file), Encoded(store));
}

}  // namespace
