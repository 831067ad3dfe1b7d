// Reading a file that the user names on the command line ("-": standard
// input), bounded as the store is: no input moresc takes may be larger
// than a store may hold, and no input may keep moresc waiting for ever.
#pragma once

#include <optional>
#include <string>

#include "moresc/Outcome.h"

// Reads all of path ("-": standard input), but no more than the store's
// size limit (kSCPreferencesMaxFileSize). A regular file is measured
// before it is read; a pipe or device is read up to one byte past the
// limit. A FIFO is opened without waiting for a writer, so one that no
// program writes to reads as empty. An input that cannot be read is a
// failure of the outcome ("cannot read <path>: <reason>"), a longer one
// input the subcommand does not take; either gives nothing.
std::optional<std::string> ReadInputFile(Outcome* outcome, const std::string& path);

// How messages name the input of path: "standard input" for "-".
std::string InputName(const std::string& path);
