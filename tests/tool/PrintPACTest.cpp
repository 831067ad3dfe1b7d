// -p: the PAC lines of every active service with a "Proxies" entity, in
// "ServiceOrder" order, and never a write.
#include <gtest/gtest.h>

#include "support/ProgramHarness.h"

namespace {

TEST(PrintPACTest, PrintsEachFormOfTheTwoValuesInServiceOrder) {
    TempRoot root;
    std::string longURL = "http://wpad.example.com/" + std::string(280, 'p') + ".pac";
    std::string longID(300, 'L');  // a label is cut to 254 bytes, like a URL
    // Listed out of key order, so that the walk's order shows.
    Value store = MakeStore({
        {"Z", Dict({{"ProxyAutoConfigEnable", Number(1)}, {"ProxyAutoConfigURLString", Str("http://a.example/p.pac")}})},
        {"Inactive", Dict({{"ProxyAutoConfigEnable", Number(1)}}), true},
        {"Y", Dict({{"ProxyAutoConfigEnable", Real(1.5)}, {"ProxyAutoConfigURLString", Str("")}})},
        {"NoProxies", nullptr},
        {"X", Dict()},
        {"W", Dict({{"ProxyAutoConfigEnable", Number(4294967296)}, {"ProxyAutoConfigURLString", Number(3)}})},
        {"V", Dict({{"ProxyAutoConfigEnable", Str("1")}, {"ProxyAutoConfigURLString", Str(longURL)}})},
        {"U", Dict({{"ProxyAutoConfigEnable", Number(-2)}, {"ProxyAutoConfigURLString", Str("http://caf\xc3\xa9/p.pac")}})},
        {longID, Dict({{"ProxyAutoConfigEnable", Number(0)}})},
    });
    auto file = root.writeStore(Encoded(store));
    std::string before = Stamp(file, true);

    ProgramRun run = RunTool(root, {"-p", "extra", "-d"});  // arguments after -p are ignored
    EXPECT_EQ(run.exitStatus, 0);
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

}  // namespace
