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

// Each row: arguments, exit status, the start of the one line on standard
// error. None of them may open the store (it is not a property list).
TEST(MorescCommandLineTest, BadCommandLinesTouchNothing) {
    struct Row {
        std::vector<std::string> args;
        int exitStatus;
        std::string message;
    };
    const Row rows[] = {
        {{}, 2, "moresc: usage: moresc SUBCOMMAND"},
        {{"frob"}, 2, "moresc: frob: unknown subcommand"},
        {{"sets", "extra"}, 2, "moresc: sets: wrong number of arguments (usage: moresc sets)"},
        {{"rename-set", "--bogus", "1", "x"}, 2, "moresc: rename-set: unknown option --bogus"},
        {{"switch-set", "--set", "1"}, 2, "moresc: switch-set: unknown option --set"},
        {{"entity", "10", "Proxies", "--set"}, 2, "moresc: entity: --set needs a set"},
        {{"rename-set", "1", "\xff"}, 2, "moresc: rename-set: \"\xff\" is not valid UTF-8"},
        {{"appletalk", "on", "off"}, 2, "moresc: appletalk: wrong number of arguments"},
        {{"ports", "--set", "1"}, 2, "moresc: ports: unknown option --set"},
        {{"switch-set", "-x1"}, 2, "moresc: switch-set: unknown option -x1"},
        {{"sets", "--off"}, 2, "moresc: sets: unknown option --off"},
        {{"rename-set", "1", "x", "--json"}, 2, "moresc: rename-set: unknown option --json"},
        {{"sets", "--json=yes"}, 2, "moresc: sets: unknown option --json=yes"},
        {{"switch-set", "1", "--wait", "soon"}, 2, "moresc: switch-set: --wait needs a number of seconds"},
        {{"switch-set", "1", "--wait=86401"}, 2, "moresc: switch-set: --wait needs a number of seconds"},
        {{"appletalk", "on", "--json"}, 2, "moresc: appletalk: --json is for the question"},
        {{"set-proxy", "10", "web", "h", "1", "extra"}, 2, "moresc: set-proxy: wrong number of arguments"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        TempRoot root;
        root.writeStore("");
        ProgramRun run = RunMoresc(root, row.args);
        EXPECT_EQ(run.exitStatus, row.exitStatus);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.starts_with(row.message)) << run.err;
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
