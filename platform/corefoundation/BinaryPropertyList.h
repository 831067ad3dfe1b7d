// The binary property-list format ("bplist00") read into and written
// directly from a CoreFoundation tree, in time linear in the size of the
// tree.
//
// The file is a header, the objects (each once; equal strings, numbers and
// data are stored once and shared), a table of the objects' offsets and a
// trailer that says where the table is and which object is the root.
#pragma once

#include <string>
#include <string_view>

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

// Makes room for `room` bytes of the caller's right after the 8-byte header
// of bytes, a binary property list, where no reader looks: the header, the
// room, bytes[8, *objectsEnd) and *tableAndTrailer are then the same
// property list (its offset table and trailer moved by room). False when
// bytes is not a binary property list.
bool BinaryPropertyListMakeRoomAfterHeader(std::string_view bytes, std::size_t room, std::size_t* objectsEnd,
                                           std::string* tableAndTrailer);
