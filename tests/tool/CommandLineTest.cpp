// The command line: which arguments run which commands, the usage text, and
// that bad usage leaves the store alone.
#include <gtest/gtest.h>

#include "support/ProgramHarness.h"

namespace {

const char* const kUsage =
    "Tarnwick 1.0 - Utility for PAC on SystemConfiguration.\n\n"
    "Usage : Tarnwick [ -defpu ] [ url ]\n\n"
    "   The options are as follows:\n\n"
    "   -d   disable PAC, and enable HTTP Proxy.\n"
    "   -e   enable PAC, and disable HTTP Proxy.\n"
    "   -p   print PAC settings.\n"
    "   -f   force PAC URL with url specified in arguments,\n"
    "        enable PAC, and enable HTTP Proxy.\n"
    "   -u   update PAC URL with url specified in arguments,\n"
    "        enable PAC, and enable HTTP Proxy.\n"
    "        If the different file url already exists,\n"
    "        dont replace it.\n";

TEST(CommandLineTest, BadUsagePrintsUsageOnlyAndChangesNothing) {
    const std::vector<std::vector<std::string>> cases = {
        {},     {"-x"}, {"-pp"}, {"-D"},  {"--p"},       {"-"},       {"p"},
        {"-f"}, {"-u"}, {"-fx", "http://a/b.pac"},       {"-f", "http://a/b.pac", "extra"},
        {"-u", "http://a/b.pac", "extra"},
    };
    for (const auto& args : cases) {
        SCOPED_TRACE(args.empty() ? "(no arguments)" : args[0] + " with " + std::to_string(args.size()) + " args");
        TempRoot root;
        auto store = root.writeStore(Encoded(ProxyOnStore()));
        std::string before = Stamp(store, true);

        ProgramRun run = RunTool(root, args);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.err, kUsage);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(Stamp(store), before);
    }
}

// A URL outside ASCII cannot be stored: the proxy step has already run and
// saved, then the usage text is shown and PAC is left as it was.
TEST(CommandLineTest, NonASCIIURLStopsAfterTheProxyStep) {
    for (const char* option : {"-f", "-u"}) {
        SCOPED_TRACE(option);
        TempRoot root;
        Value store = ProxyOnStore();
        auto file = root.writeStore(Encoded(store));

        ProgramRun run = RunTool(root, {option, "http://ex\xc3\xa4mple.com/proxy.pac"});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.out, "OK - Disable Http Proxy - A.\n");
        EXPECT_EQ(run.err, kUsage);
        Put(store, ProxiesKey("A", "HTTPEnable"), Number(0));
        EXPECT_EQ(TempRoot::ReadFile(file), Encoded(store));
    }
}

}  // namespace
