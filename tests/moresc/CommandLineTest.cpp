// The command line of moresc: help for the command and each subcommand,
// usage errors, and a failed write of standard output.
#include <gtest/gtest.h>

#include <sstream>

#include "support/ProgramHarness.h"

namespace {

// The command's help lists the subcommands, two spaces in, one a line,
// up to an empty line; each of them has help of its own.
TEST(MorescCommandLineTest, EverySubcommandListedHasItsOwnHelp) {
    TempRoot root;
    ProgramRun help = RunMoresc(root, {"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    std::istringstream lines(help.out.substr(help.out.find("Subcommands:\n") + 13));
    int listed = 0;
    for (std::string line; std::getline(lines, line) && !line.empty(); ++listed) {
        std::string name = line.substr(2, line.find(' ', 2) - 2);
        ProgramRun own = RunMoresc(root, {name, "--help"});
        EXPECT_EQ(own.exitStatus, 0);
        EXPECT_TRUE(own.out.starts_with("Usage: moresc " + name)) << own.out;
    }
    EXPECT_EQ(listed, 31);
}

// Each row: arguments and the start of the one line on standard error,
// after "moresc: SUBCOMMAND: "; the exit status is 2. None of them may open
// the store (it is not a property list), malformed values included.
TEST(MorescCommandLineTest, BadCommandLinesTouchNothing) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{}, "usage: moresc SUBCOMMAND"},
        {{"frob"}, "unknown subcommand"},
        {{"sets", "extra"}, "wrong number of arguments (usage: moresc sets)"},
        {{"rename-set", "--bogus", "1", "x"}, "unknown option --bogus"},
        {{"switch-set", "--set", "1"}, "unknown option --set"},
        {{"entity", "10", "Proxies", "--set"}, "--set needs a set"},
        {{"rename-set", "1", "\xff"}, "\"\xff\" is not valid UTF-8"},
        {{"appletalk", "on", "off"}, "wrong number of arguments"},
        {{"ports", "--set", "1"}, "unknown option --set"},
        {{"switch-set", "-x1"}, "unknown option -x1"},
        {{"sets", "--off"}, "unknown option --off"},
        {{"rename-set", "1", "x", "--json"}, "unknown option --json"},
        {{"sets", "--json=yes"}, "unknown option --json=yes"},
        {{"switch-set", "1", "--wait", "soon"}, "--wait needs a number of seconds"},
        {{"switch-set", "1", "--wait=86401"}, "--wait needs a number of seconds"},
        {{"appletalk", "on", "--json"}, "--json is for the question"},
        {{"set-proxy", "10", "web", "h", "1", "extra"}, "wrong number of arguments"},
        {{"set-proxy", "10", "web", "proxy example", "80"}, "\"proxy example\" is not a host name or address"},
        {{"set-proxy", "10", "web", "10.0.0.256", "80"}, "\"10.0.0.256\" is not a host name or address"},
        {{"set-proxy", "10", "web", "proxy.example.com", "0"}, "\"0\" is not a port (1 to 65535)"},
        {{"set-proxy", "10", "web", "proxy.example.com", "65536"}, "\"65536\" is not a port"},
        {{"set-proxy", "10", "http", "proxy.example.com", "80"}, "\"http\" is not a kind of proxy"},
        {{"set-proxy", "10", "web", "proxy.example.com"}, "give the HOST and PORT, or --off"},
        {{"set-proxy", "10", "web", "--off", "proxy.example.com", "80"}, "--off takes no HOST and PORT"},
        {{"set-proxy-bypass", "10", "a b"}, "\"a b\" is not a host, domain or network to bypass"},
        {{"set-pac", "10", "wpad.example.com/proxy.pac"}, "\"wpad.example.com/proxy.pac\" is not a URL"},
        {{"set-ipv4", "10", "manual", "10.0.0", "255.255.255.0"}, "the address \"10.0.0\" is not an IPv4 address"},
        {{"set-ipv4", "10", "manual", "10.0.0.2", "255.0.255.0"}, "\"255.0.255.0\" is not a subnet mask"},
        {{"set-ipv4", "10", "manual", "10.0.0.2", "255.0.0.0", "0.0.0.0"},
         "the router \"0.0.0.0\" is not an IPv4 address"},
        {{"set-ipv4", "10", "dhcp", "10.0.0.2"}, "dhcp takes no addresses"},
        {{"set-ipv4", "10", "manual", "10.0.0.2"}, "manual needs ADDRESS and MASK"},
        {{"set-dns", "10", "8.8.8"}, "the DNS server \"8.8.8\" is not"},
        {{"set-dns", "10", "--search", "a b"}, "\"a b\" is not a domain name"},
    };
    for (const auto& [args, message] : rows) {
        SCOPED_TRACE(message);
        TempRoot root;
        root.writeStore("");
        ProgramRun run = RunMoresc(root, args);
        EXPECT_EQ(run.exitStatus, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.starts_with("moresc: " + (args.empty() ? "" : args[0] + ": ") + message)) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

TEST(MorescCommandLineTest, DoubleDashEndsTheOptions) {
    TempRoot root;
    root.installStore("imac-ethernet-pac.plist");
    ProgramRun run = RunMoresc(root, {"switch-set", "--", "--help"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.err, "moresc: switch-set: no set has the ID or name \"--help\"\n");
}

TEST(MorescCommandLineTest, FailedWriteOfStandardOutputIsAFailure) {
    TempRoot root;
    root.installStore("imac-ethernet-pac.plist");
    ProgramRun run = RunMoresc(root, {"sets"}, "", "/dev/full");
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.err, "moresc: standard output: No space left on device\n");
}

}  // namespace
