// The XML property-list format, read by a streaming parser (expat) straight
// into CoreFoundation values and written straight from them.
//
// Reading refuses what is not well-formed XML (a raw NUL byte included),
// entity declarations, unknown elements, text outside a value, and nesting
// deeper than kPropertyListMaxDepth. Writing produces the layout macOS
// writes (see PropertyListFile.h); a string holding a character that XML
// 1.0 cannot carry at all (U+0000 and the other control characters but tab,
// line feed and carriage return, U+FFFE, U+FFFF, a lone surrogate) is
// refused rather than written in a form no reader accepts.
#pragma once

#include <string>

#include "platform/corefoundation/CoreFoundation.h"

// A new tree (containers mutable) from the bytes of an XML property list,
// or nil with *fault set.
CFPropertyListRef XMLPropertyListCreate(const std::string& bytes, std::string* fault);

// Encodes the tree as an XML property list into *bytes; false with *fault
// set when the tree holds something XML cannot carry.
bool XMLPropertyListEncode(CFPropertyListRef root, std::string* bytes, std::string* fault);
