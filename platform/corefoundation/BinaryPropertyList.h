// The binary property-list format ("bplist00") read into and written
// directly from a CoreFoundation tree, in time linear in the size of the
// tree.
//
// The file is a header, the objects (each once; equal strings, numbers and
// data are stored once and shared), a table of the objects' offsets and a
// trailer that says where the table is and which object is the root.
#pragma once

#include <string>

#include "platform/corefoundation/CoreFoundation.h"

// Encodes the tree into *bytes. Returns false with *fault set when the tree
// holds something a property list cannot carry (a key that is not a
// string, an object of another type).
bool BinaryPropertyListEncode(CFPropertyListRef root, std::string* bytes, std::string* fault);

// A new tree (containers mutable) from the bytes of a binary property list,
// or nil with *fault set. Strings keep every character, U+0000 included.
// Keyed-archive UIDs are refused unless keyedArchiveUIDs is set; then each
// becomes a CFKeyedArchiverUID (see CFKeyedArchiverUID.h).
CFPropertyListRef BinaryPropertyListCreate(const std::string& bytes, std::string* fault,
                                           bool keyedArchiveUIDs = false);
