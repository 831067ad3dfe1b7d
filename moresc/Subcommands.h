// The subcommands of moresc: their names, arguments, options, help texts
// and the functions that run them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

struct Subcommand;

// One run of a subcommand, its options already taken apart.
struct Invocation {
    const Subcommand* subcommand = nullptr;
    std::vector<std::string> arguments;  // the positional arguments, in order
    std::optional<std::string> set;      // --set SET
    bool json = false;                   // --json
    bool off = false;                    // --off
    bool allowDuplicate = false;         // --allow-duplicate
    bool create = false;                 // --create
    int waitSeconds = 10;                // --wait SECONDS
    // --search DOMAIN...: the words after it, up to the next option.
    std::optional<std::vector<std::string>> search;
    std::vector<std::string> services;       // --service SERVICE, each time it is given
    std::optional<std::string> identifier;   // --identifier ID
    std::optional<std::string> displayName;  // --name NAME
    std::optional<std::string> output;       // -o FILE, --output FILE
    bool global = false;                     // --global
    bool dryRun = false;                     // --dry-run
    std::optional<std::string> caFile;       // --verify CAFILE
};

// Runs a subcommand and returns the exit status.
using SubcommandFunction = int (*)(const Invocation& invocation);

// The options a subcommand takes besides --help, one bit each.
enum SubcommandOption : unsigned {
    kSetOption = 1U << 0,        // --set SET: work in another set than the current one
    kJsonOption = 1U << 1,       // --json: print one JSON document
    kOffOption = 1U << 2,        // --off: switch off instead of setting
    kSearchOption = 1U << 3,     // --search DOMAIN...
    kDuplicateOption = 1U << 4,  // --allow-duplicate: let a name that is taken through
    kChangeOptions = 1U << 5,    // --create and --wait SECONDS, of the subcommands that change the store
    kServiceOption = 1U << 6,    // --service SERVICE, which may be given more than once
    kExportOptions = 1U << 7,    // --identifier ID, --name NAME, -o FILE and --global, of export-profile
    kApplyOptions = 1U << 8,     // --dry-run and --verify CAFILE, of apply-profile
};

struct Subcommand {
    const char* name;
    const char* arguments;    // as the usage line shows them, after the name
    const char* summary;      // one line for the command's list
    const char* description;  // the rest of the subcommand's help, lines ending in "\n"
    int minArguments;
    int maxArguments;
    unsigned options;         // SubcommandOption bits
    SubcommandFunction run;

    bool takes(SubcommandOption option) const { return (options & option) != 0; }
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
int OrderServices(const Invocation& invocation);
// A service's configuration at a glance (ServiceInfo.cpp).
int PrintServiceInfo(const Invocation& invocation);
// Entities (EntityCommands.cpp).
int PrintEntity(const Invocation& invocation);
int WriteEntity(const Invocation& invocation);
// Proxies (ProxyCommands.cpp).
int PrintProxies(const Invocation& invocation);
int SetProxy(const Invocation& invocation);
int SetProxyBypass(const Invocation& invocation);
int SetPAC(const Invocation& invocation);
// IPv4 and DNS (AddressCommands.cpp).
int SetIPv4(const Invocation& invocation);
int SetDNS(const Invocation& invocation);
// Configuration profiles (ProfileCommands.cpp).
int ExportProfile(const Invocation& invocation);
int ApplyProfile(const Invocation& invocation);
// Configuration helpers (HelperCommands.cpp).
int AppleTalk(const Invocation& invocation);
int ListDHCPServices(const Invocation& invocation);
int ReleaseDHCP(const Invocation& invocation);
int NewDialupSet(const Invocation& invocation);
