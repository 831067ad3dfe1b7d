// Text between the command line, the terminal and the library's strings.
#pragma once

#include <string>

#include "MoreSC.h"

// The UTF-8 text of a string value, every character kept (U+0000
// included; a lone UTF-16 surrogate becomes U+FFFD); "" for nil or a value
// that is not a string.
std::string TextOf(CFTypeRef value);

// text with its control characters escaped, so that printed it stays on
// one line and one field: "\\" for a backslash, "\t", "\n" and "\r", and
// "\xHH" for the other bytes below 0x20 and for 0x7f. Other bytes are kept.
std::string Escaped(const std::string& text);

// A string holding the UTF-8 text; nil when text is not valid UTF-8. The
// caller owns the result.
CFStringRef CreateStringFromText(const std::string& text);

// text escaped and in double quotes, as messages name what the user typed
// or what the store holds.
std::string Quoted(const std::string& text);

class Outcome;

// Ends a subcommand that made a set or service: prints its ID (once the
// session that made it has saved) when the outcome is a success, and
// returns the outcome's exit status.
int FinishWithNewID(Outcome* outcome, CFStringRef newID);

// The string for a name typed on the command line, for a set or service
// to be called by. An empty name, or one that is not valid UTF-8, is
// refused as bad input (the outcome records it) and gives nil.
CFRef<CFStringRef> NameArgument(Outcome* outcome, const std::string& text);
