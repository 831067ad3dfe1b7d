// moresc: reads and changes the network configuration in the preferences
// store, one library operation (or a short sequence of them) a subcommand.
//
//   moresc SUBCOMMAND [--set SET] [ARGUMENTS]
//   moresc --help | --version
//   moresc SUBCOMMAND --help

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"

namespace {

const char kVersion[] = MORESC_VERSION;

// The text of the notes that the help of subcommands taking a set or a
// service ends with.
const char kNamingNote[] =
    "SET and SERVICE are IDs or user-visible names. An ID is taken first; a\n"
    "name shared by several sets or services is refused with their IDs.\n";
const char kSetOptionNote[] = "  --set SET          work in SET instead of the current set\n";
const char kJsonOptionNote[] = "  --json             print one JSON document (see \"man moresc\" for its shape)\n";
const char kDuplicateOptionNote[] = "  --allow-duplicate  take a name that another one already has\n";
const char kChangeOptionsNote[] =
    "  --create           make the store when there is none\n"
    "  --wait SECONDS     wait so long for another program's lock (default 10)\n";

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
    std::string options;
    if (subcommand.takes(kSetOption)) options += kSetOptionNote;
    if (subcommand.takes(kJsonOption)) options += kJsonOptionNote;
    if (subcommand.takes(kDuplicateOption)) options += kDuplicateOptionNote;
    if (subcommand.takes(kChangeOptions)) options += kChangeOptionsNote;
    if (!options.empty()) std::printf("\n%s", options.c_str());
    std::string arguments = subcommand.arguments;
    bool namesSetOrService = subcommand.takes(kSetOption) || arguments.find("SET") != std::string::npos ||
                             arguments.find("SERVICE") != std::string::npos;
    if (namesSetOrService) std::printf("\n%s", kNamingNote);
}

int UsageError(const std::string& subject, const std::string& message) {
    ReportError(subject, message);
    return kExitUsage;
}

// A word that is an option: it starts with "-" and is more than that. A
// word of "-" and a digit is an argument (the IDs a store keyed by UUIDs
// gives new sets and services are negative numbers), as is "-" alone.
bool IsOptionWord(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !std::isdigit(static_cast<unsigned char>(word[1]));
}

// The seconds of --wait: a whole number from 0 to a day.
bool ParseWaitSeconds(const std::string& text, int* seconds) {
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos) return false;
    *seconds = std::stoi(text);
    return *seconds <= 86400;
}

// Takes the arguments after the subcommand's name apart: --help, the
// options the subcommand takes ("--set SET" or "--set=SET", likewise
// --wait and the other options with a value; --search takes the
// arguments after it up to the next option),
// "--" (everything after it is an argument, even if it starts with "-"),
// and the arguments. Options may stand anywhere before "--". Returns -1
// when the subcommand is to run, otherwise the exit status.
int ParseArguments(const Subcommand& subcommand, const std::vector<std::string>& words, Invocation* invocation) {
    const std::string name = subcommand.name;
    const std::string usage = " (usage: " + UsageLine(subcommand) + ")";
    bool options = true;
    std::vector<std::string>* positional = &invocation->arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (!options || !IsOptionWord(word)) {
            positional->push_back(word);
            continue;
        }
        if (word == "--") {
            options = false;
            continue;
        }
        if (word == "--help" || word == "-h") {
            PrintSubcommandHelp(subcommand);
            return FinishOutput(kExitSuccess);
        }
        positional = &invocation->arguments;
        std::size_t equals = word.find('=');
        const std::string option = word.substr(0, equals);
        std::optional<std::string> value;
        if (equals != std::string::npos) value = word.substr(equals + 1);
        auto takeValue = [&]() -> bool {
            if (!value && i + 1 < words.size()) value = words[++i];
            return value.has_value();
        };
        const bool exportOption = option == "--identifier" || option == "--name" || option == "--output" ||
                                  option == "-o";
        if (option == "--set" && subcommand.takes(kSetOption)) {
            if (!takeValue()) return UsageError(name, "--set needs a set" + usage);
            invocation->set = *value;
        } else if (option == "--service" && subcommand.takes(kServiceOption)) {
            if (!takeValue()) return UsageError(name, "--service needs a service" + usage);
            invocation->services.push_back(*value);
        } else if (exportOption && subcommand.takes(kExportOptions)) {
            if (!takeValue()) return UsageError(name, option + " needs a value" + usage);
            std::optional<std::string>& slot = option == "--identifier" ? invocation->identifier
                                               : option == "--name"     ? invocation->displayName
                                                                        : invocation->output;
            slot = *value;
        } else if (option == "--verify" && subcommand.takes(kApplyOptions)) {
            if (!takeValue()) return UsageError(name, "--verify needs a file of CA certificates" + usage);
            invocation->caFile = *value;
        } else if (option == "--wait" && subcommand.takes(kChangeOptions)) {
            if (!takeValue() || !ParseWaitSeconds(*value, &invocation->waitSeconds)) {
                return UsageError(name, "--wait needs a number of seconds from 0 to 86400" + usage);
            }
        } else if (value) {
            return UsageError(name, "unknown option " + word + usage);
        } else if (option == "--json" && subcommand.takes(kJsonOption)) {
            invocation->json = true;
        } else if (option == "--off" && subcommand.takes(kOffOption)) {
            invocation->off = true;
        } else if (option == "--allow-duplicate" && subcommand.takes(kDuplicateOption)) {
            invocation->allowDuplicate = true;
        } else if (option == "--create" && subcommand.takes(kChangeOptions)) {
            invocation->create = true;
        } else if (option == "--global" && subcommand.takes(kExportOptions)) {
            invocation->global = true;
        } else if (option == "--dry-run" && subcommand.takes(kApplyOptions)) {
            invocation->dryRun = true;
        } else if (option == "--search" && subcommand.takes(kSearchOption)) {
            invocation->search.emplace();
            positional = &*invocation->search;
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

    Invocation invocation;
    invocation.subcommand = subcommand;
    int exitStatus = ParseArguments(*subcommand, {words.begin() + 1, words.end()}, &invocation);
    if (exitStatus >= 0) return exitStatus;
    Session::SetStoreOptions(invocation.create, invocation.waitSeconds);
    InstallPortNameCallback();
    return subcommand->run(invocation);
}
