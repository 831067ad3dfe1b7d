// moresc: reads and changes the network configuration in the preferences
// store, one library operation (or a short sequence of them) a subcommand.
//
//   moresc SUBCOMMAND [--set SET] [ARGUMENTS]
//   moresc --help | --version
//   moresc SUBCOMMAND --help

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Subcommands.h"

namespace {

const char kVersion[] = MORESC_VERSION;

// The text of the notes that the help of subcommands taking a set or a
// service ends with.
const char kNamingNote[] =
    "SET and SERVICE are IDs or user-visible names. An ID is taken first; a\n"
    "name shared by several sets or services is refused with their IDs.\n";
const char kSetOptionNote[] = "  --set SET   work in SET instead of the current set\n";

void PrintCommandHelp() {
    std::printf(
        "Usage: moresc SUBCOMMAND [ARGUMENTS]\n"
        "       moresc SUBCOMMAND --help\n"
        "       moresc --help | --version\n"
        "\n"
        "Reads and changes the network configuration (sets, services and their\n"
        "entities) in the preferences store under $TARNWICK_ROOT (default /).\n"
        "\n"
        "Subcommands:\n");
    for (const Subcommand& subcommand : AllSubcommands()) {
        std::string left = std::string(subcommand.name) + " " + subcommand.arguments;
        std::printf("  %-36s %s\n", left.c_str(), subcommand.summary);
    }
    std::printf("\n%s", kNamingNote);
    std::printf("Run \"moresc SUBCOMMAND --help\" for one subcommand, \"man moresc\" for more.\n");
}

void PrintSubcommandHelp(const Subcommand& subcommand) {
    std::printf("Usage: %s\n\n%s", UsageLine(subcommand).c_str(), subcommand.description);
    if (subcommand.takesSet) std::printf("\n%s", kSetOptionNote);
    std::string arguments = subcommand.arguments;
    bool namesSetOrService = subcommand.takesSet || arguments.find("SET") != std::string::npos ||
                             arguments.find("SERVICE") != std::string::npos;
    if (namesSetOrService) std::printf("\n%s", kNamingNote);
}

int UsageError(const std::string& subject, const std::string& message) {
    ReportError(subject, message);
    return kExitUsage;
}

// Takes the arguments after the subcommand's name apart: --help, --set SET
// (or --set=SET) where the subcommand takes it, "--" (everything after it
// is an argument, even if it starts with "-"), and the arguments. Options
// may stand anywhere before "--". Returns -1 when the subcommand is to run,
// otherwise the exit status.
int ParseArguments(const Subcommand& subcommand, const std::vector<std::string>& words, Invocation* invocation) {
    const std::string name = subcommand.name;
    const std::string usage = " (usage: " + UsageLine(subcommand) + ")";
    bool options = true;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (!options || word == "-" || word.empty() || word[0] != '-') {
            invocation->arguments.push_back(word);
        } else if (word == "--") {
            options = false;
        } else if (word == "--help" || word == "-h") {
            PrintSubcommandHelp(subcommand);
            return FinishOutput(kExitSuccess);
        } else if (subcommand.takesSet && word == "--set") {
            if (i + 1 == words.size()) return UsageError(name, "--set needs a set" + usage);
            invocation->set = words[++i];
        } else if (subcommand.takesSet && word.starts_with("--set=")) {
            invocation->set = word.substr(std::strlen("--set="));
        } else {
            return UsageError(name, "unknown option " + word + usage);
        }
    }
    int count = static_cast<int>(invocation->arguments.size());
    if (count < subcommand.minArguments || count > subcommand.maxArguments) {
        return UsageError(name, "wrong number of arguments" + usage);
    }
    return -1;
}

}  // namespace

int main(int argc, char* argv[]) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) {
        return UsageError("usage", "moresc SUBCOMMAND [ARGUMENTS], or moresc --help for the subcommands");
    }
    const std::string& first = words.front();
    if (first == "--help" || first == "-h") {
        PrintCommandHelp();
        return FinishOutput(kExitSuccess);
    }
    if (first == "--version") {
        std::printf("moresc %s\n", kVersion);
        return FinishOutput(kExitSuccess);
    }
    const Subcommand* subcommand = FindSubcommand(first);
    if (subcommand == nullptr) {
        return UsageError(first, "unknown subcommand; \"moresc --help\" lists them");
    }

    Invocation invocation{subcommand, {}, {}};
    int exitStatus = ParseArguments(*subcommand, {words.begin() + 1, words.end()}, &invocation);
    if (exitStatus >= 0) return exitStatus;
    InstallPortNameCallback();
    return subcommand->run(invocation);
}
