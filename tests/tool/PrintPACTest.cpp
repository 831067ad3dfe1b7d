// -p: the PAC lines of every active service with a "Proxies" entity, in
// "ServiceOrder" order, and never a write.
#include <gtest/gtest.h>

#include "tool/ToolHarness.h"

namespace {

TEST(PrintPACTest, PrintsEachFormOfTheTwoValuesInServiceOrder) {
    TempRoot root;
    std::string longURL = "http://wpad.example.com/" + std::string(280, 'p') + ".pac";
    std::string longID(300, 'L');  // a label is cut to 254 bytes, like a URL
    // Listed out of key order, so that the walk's order shows.
    Node store = MakeStore({
        {"Z", Dict({{"ProxyAutoConfigEnable", Int(1)}, {"ProxyAutoConfigURLString", Str("http://a.example/p.pac")}})},
        {"Inactive", Dict({{"ProxyAutoConfigEnable", Int(1)}}), true},
        {"Y", Dict({{"ProxyAutoConfigEnable", Real("1.5")}, {"ProxyAutoConfigURLString", Str("")}})},
        {"NoProxies", NoProxies()},
        {"X", Dict()},
        {"W", Dict({{"ProxyAutoConfigEnable", Int(4294967296)}, {"ProxyAutoConfigURLString", Int(3)}})},
        {"V", Dict({{"ProxyAutoConfigEnable", Str("1")}, {"ProxyAutoConfigURLString", Str(longURL)}})},
        {"U", Dict({{"ProxyAutoConfigEnable", Int(-2)}, {"ProxyAutoConfigURLString", Str("http://caf\xc3\xa9/p.pac")}})},
        {longID, Dict({{"ProxyAutoConfigEnable", Int(0)}})},
    });
    auto file = root.writeStore(store.File());
    std::string before = Stamp(file, true);

    ToolRun run = RunTool(root, {"-p", "extra", "-d"});  // arguments after -p are ignored
    EXPECT_TRUE(run.exitedWithZero);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "PACEnable : 1 - Z\nPACURL : http://a.example/p.pac - Z\n"
              "PACEnable : N/A - Y\nPACURL : N/A - Y\n"
              "PACEnable : None - X\nPACURL : None - X\n"
              "PACEnable : N/A - W\nPACURL : N/A - W\n"
              "PACEnable : N/A - V\nPACURL : " + longURL.substr(0, 254) + " - V\n"
              "PACEnable : -2 - U\nPACURL : http://caf - U\n"
              "PACEnable : 0 - " + longID.substr(0, 254) + "\nPACURL : None - " + longID.substr(0, 254) + "\n");
    EXPECT_EQ(Stamp(file), before);
}

// The bundled sample root: the README runs exactly this.
TEST(PrintPACTest, SampleRoot) {
    TempRoot root;
    std::filesystem::copy(std::filesystem::path(TARNWICK_SOURCE_DIR) / "examples/root", root.path(),
                          std::filesystem::copy_options::recursive);
    std::string before = Stamp(root.storePath(), true);
    ToolRun run = RunTool(root, {"-p"});
    EXPECT_TRUE(run.exitedWithZero);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "PACEnable : 1 - 5F1C4A2E-8B3D-4E6F-9A17-3C2D8E4B6A01\n"
              "PACURL : http://wpad.corp.example.com/proxy.pac - 5F1C4A2E-8B3D-4E6F-9A17-3C2D8E4B6A01\n"
              "PACEnable : None - 9B7E2D14-6C5A-4F38-B1E9-7D0A3F6C2E55\n"
              "PACURL : None - 9B7E2D14-6C5A-4F38-B1E9-7D0A3F6C2E55\n");
    EXPECT_EQ(Stamp(root.storePath()), before);
}

}  // namespace
