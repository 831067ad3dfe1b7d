// Reading and writing the values of a "Proxies" entity as the commands see
// them: flags are 32-bit integer numbers, the PAC URL and the proxy host are
// strings. Values of another type than expected never count as usable.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

enum class FlagReading {
    kAbsent,      // the key is not there
    kExact,       // a number whose value fits a 32-bit integer exactly
    kUnreadable,  // a number with a fraction or out of range, or not a number
};

// Reads the flag under key. *value receives the number converted to a 32-bit
// integer (truncated when inexact), or 0 when there is no number.
FlagReading ReadFlag(CFDictionaryRef proxies, CFStringRef key, SInt32* value);

// Stores a new 32-bit integer number holding value under key.
void WriteFlag(CFMutableDictionaryRef proxies, CFStringRef key, SInt32 value);

enum class TextReading {
    kAbsent,  // the key is not there
    kEmpty,   // a string of length 0, or a value that is not a string
    kText,    // a string with at least one character
};

// Reads the string under key; *text receives it (borrowed) for kText, nil
// otherwise.
TextReading ReadText(CFDictionaryRef proxies, CFStringRef key, CFStringRef* text);
