// -f and -u: forcing and updating the PAC URL, case by case, after the HTTP
// proxy step.
#include <gtest/gtest.h>

#include "tool/ToolHarness.h"

namespace {

const std::string kURL = "http://new.example.com/conf/proxy.pac";

Node PAC(long enable, const std::string& url) {
    return Dict({{"ProxyAutoConfigEnable", Int(enable)}, {"ProxyAutoConfigURLString", Str(url)}});
}
Node URLOnly(const std::string& url) { return Dict({{"ProxyAutoConfigURLString", Str(url)}}); }

void SetPAC(Node& store, const std::string& id, long enable, const std::string& url) {
    ProxiesOf(store, id)["ProxyAutoConfigEnable"] = Int(enable);
    ProxiesOf(store, id)["ProxyAutoConfigURLString"] = Str(url);
}

// Runs the option; the proxy step says "does not exist" for every service
// (none has a proxy host), and the rest of stdout must be urlLines.
void ExpectRun(const TempRoot& root, const char* option, const std::vector<std::string>& ids,
               const std::string& urlLines) {
    std::string proxyLines;
    for (const std::string& id : ids) proxyLines += "- Http Proxy does not exist - " + id + ".\n";
    ToolRun run = RunTool(root, {option, kURL});
    EXPECT_TRUE(run.exitedWithZero);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, proxyLines + urlLines);
}

TEST(PACURLTest, ForceSetsTheURLAndSwitchesPACOn) {
    TempRoot root;
    Node store = MakeStore({
        {"Same", PAC(1, kURL)},
        {"Case", PAC(1, "http://NEW.example.com/conf/proxy.pac")},
        {"Off", PAC(0, kURL)},
        {"Nothing", Dict()},
        {"Empty", PAC(1, "")},
    });
    auto file = root.writeStore(store.File());

    ExpectRun(root, "-f", {"Same", "Case", "Off", "Nothing", "Empty"},
              "- PAC is already set - Same.\n"
              "OK - Force PAC - Case.\n"
              "OK - Force PAC - Off.\n"
              "OK - Force PAC - Nothing.\n"
              "OK - Force PAC - Empty.\n");
    for (const char* id : {"Case", "Off", "Nothing", "Empty"}) SetPAC(store, id, 1, kURL);
    EXPECT_EQ(TempRoot::ReadFile(file), store.File());
}

TEST(PACURLTest, UpdateReplacesOnlyAURLForTheSameFile) {
    TempRoot root;
    Node store = MakeStore({
        {"Same", PAC(1, kURL)},
        {"SameFile", PAC(1, "http://old.example.com/proxy.pac")},
        {"OtherFile", PAC(1, "http://old.example.com/other.pac")},
        {"NoSlash", PAC(1, "wpad")},
        {"OffSame", PAC(0, kURL)},
        {"OffOther", PAC(0, "http://old.example.com/other.pac")},
        {"NoURL", Dict()},
        {"Empty", URLOnly("")},
    });
    auto file = root.writeStore(store.File());

    ExpectRun(root, "-u", {"Same", "SameFile", "OtherFile", "NoSlash", "OffSame", "OffOther", "NoURL", "Empty"},
              "- PAC is ready for Orbel - Same.\n"
              "OK - Update PAC - SameFile.\n"
              "- PAC is ready for Orbel - OtherFile.\n"
              "- PAC is ready for Orbel - NoSlash.\n"
              "- PAC URL is already set - OffSame.\n"
              "OK - Update PAC - OffSame.\n"
              "- PAC URL is already set - OffOther.\n"
              "OK - Update PAC - OffOther.\n"
              "OK - Update PAC - NoURL.\n"
              "OK - Update PAC - Empty.\n");
    for (const char* id : {"SameFile", "OffSame", "NoURL", "Empty"}) SetPAC(store, id, 1, kURL);
    SetPAC(store, "OffOther", 1, "http://old.example.com/other.pac");
    EXPECT_EQ(TempRoot::ReadFile(file), store.File());
}

TEST(PACURLTest, NothingToDoLeavesTheFileUntouched) {
    for (const char* option : {"-f", "-u"}) {
        SCOPED_TRACE(option);
        TempRoot root;
        auto file = root.writeStore(MakeStore({{"A", PAC(1, kURL)}}).File());
        FileStamp before = FileStamp::Take(file);
        ExpectRun(root, option, {"A"},
                  option[1] == 'f' ? "- PAC is already set - A.\n" : "- PAC is ready for Orbel - A.\n");
        EXPECT_TRUE(FileStamp::Read(file) == before);
    }
}

}  // namespace
