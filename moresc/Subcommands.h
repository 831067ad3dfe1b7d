// The subcommands of moresc: their names, arguments, help texts and the
// functions that run them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

struct Subcommand;

// One run of a subcommand, its options already taken apart.
struct Invocation {
    const Subcommand* subcommand;
    std::vector<std::string> arguments;  // the positional arguments, in order
    std::optional<std::string> set;      // --set SET, for the subcommands that take it
};

// Runs a subcommand and returns the exit status.
using SubcommandFunction = int (*)(const Invocation& invocation);

struct Subcommand {
    const char* name;
    const char* arguments;    // as the usage line shows them, after the name
    const char* summary;      // one line for the command's list
    const char* description;  // the rest of the subcommand's help, lines ending in "\n"
    int minArguments;
    int maxArguments;
    bool takesSet;            // accepts --set SET
    SubcommandFunction run;
};

// Every subcommand, in the order the command's help lists them.
std::span<const Subcommand> AllSubcommands();
// The subcommand called name, or nil.
const Subcommand* FindSubcommand(const std::string& name);

// "moresc <name> [--set SET] <arguments>"
std::string UsageLine(const Subcommand& subcommand);

// The subcommands' functions, by the files that hold them.
// Ports (PortCommands.cpp).
int ListPorts(const Invocation& invocation);
// Sets (SetCommands.cpp).
int ListSets(const Invocation& invocation);
int PrintCurrentSet(const Invocation& invocation);
int SwitchSet(const Invocation& invocation);
int NewSet(const Invocation& invocation);
int DuplicateSet(const Invocation& invocation);
int RenameSet(const Invocation& invocation);
int DeleteSet(const Invocation& invocation);
// Services (ServiceCommands.cpp).
int ListServices(const Invocation& invocation);
int EnableService(const Invocation& invocation);
int DisableService(const Invocation& invocation);
int RenameService(const Invocation& invocation);
int DuplicateService(const Invocation& invocation);
int DeleteService(const Invocation& invocation);
int NewService(const Invocation& invocation);
// Entities (EntityCommands.cpp).
int PrintEntity(const Invocation& invocation);
int WriteEntity(const Invocation& invocation);
// Configuration helpers (HelperCommands.cpp).
int AppleTalk(const Invocation& invocation);
int ListDHCPServices(const Invocation& invocation);
int ReleaseDHCP(const Invocation& invocation);
int NewDialupSet(const Invocation& invocation);
