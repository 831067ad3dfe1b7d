// Property-list files: the bytes of a file turned into a tree of
// CoreFoundation values and back, in the two formats macOS stores them in.
//
// XML is written exactly as macOS writes it (its header, tab indentation,
// "<dict/>" for an empty dictionary, dictionary keys in sorted order), so an
// unchanged file read and written again keeps its bytes. Binary files
// ("bplist00") are read and written as binary (see BinaryPropertyList.h).
#pragma once

#include <string>

#include "platform/corefoundation/CoreFoundation.h"

// Containers nested deeper than this are refused by the readers and the
// writers, so that no file (and no tree) can exhaust the stack.
enum : int { kPropertyListMaxDepth = 512 };

enum class PropertyListFormat {
    XML,
    Binary,
};

// Parses the contents of a property-list file whose root is a dictionary.
// Returns an owned tree in which every dictionary and array is mutable, and
// sets *format to the format of the bytes. Strings, numbers (integers as
// 64-bit, reals as double), booleans and data are the leaves; dates and
// keyed-archive UIDs are not accepted. Strings keep every character,
// U+0000 included. On failure returns nil and sets *fault to a short
// description of what is wrong ("empty file", "malformed property list",
// "root is not a dictionary", ...).
CFMutableDictionaryRef PropertyListCreateFromFileBytes(const std::string& bytes, PropertyListFormat* format,
                                                       std::string* fault);

// Encodes a tree of property-list values in the given format into *bytes.
// Dictionary keys must be strings. Returns false with *fault set when the
// tree holds something a property-list file cannot carry.
bool PropertyListEncodeFileBytes(CFPropertyListRef root, PropertyListFormat format, std::string* bytes,
                                 std::string* fault);
