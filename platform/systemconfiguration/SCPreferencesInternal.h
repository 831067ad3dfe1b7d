// The inside of a preferences store handle, shared by the files that
// implement the store (the handle and its file, and the path operations).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CFRuntime.h"
#include "platform/posix/AtomicFile.h"
#include "platform/posix/FileLock.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/systemconfiguration/SCPreferences.h"

// The link lookups a handle has answered, so that asking again for the same
// link (a walk over a set's services asks for each service's link several
// times) takes no walk through the tree. Only lookups whose way went
// through no other link are kept: their answer depends on nothing but the
// nodes on that way, so a write drops exactly the answers whose way it
// crossed (see SCPreferencesPath.cpp).
struct SCLinkIndex {
    // The links of one dictionary: the keys of the way to it, and the
    // path hashes of the links known in it.
    struct Group {
        std::string path;                     // "/Sets/0/Network/Service"
        std::vector<std::string> parentKeys;  // "Sets", "0", "Network", "Service"
        std::vector<std::uint64_t> links;
    };
    struct Link {
        std::size_t group;          // the index of its group
        CFRef<CFStringRef> key;     // the link's key in the dictionary
        CFRef<CFStringRef> target;  // the path the link holds
    };
    std::vector<Group> groups;
    std::unordered_map<std::uint64_t, Link> links;  // by the hash of the path's text
};

struct __SCPreferences : __CFRuntimeBase {
    __SCPreferences() : __CFRuntimeBase(SCPreferencesGetTypeID()) {}
    // Hands its text buffer on to the next read or save (see TakeTextBuffer).
    ~__SCPreferences() override;

    std::string name;  // the client's name, for messages
    std::string file;  // absolute path of the store file

    // The store as this handle sees it. Every dictionary and array in it is
    // mutable; one that anybody else has retained (a caller, or the saved
    // tree below) is copied before it is changed, so nothing handed out or
    // remembered ever changes under its holder.
    CFRef<CFMutableDictionaryRef> tree;

    // The store as it is on disk: the tree as read or last committed. It
    // shares every unchanged node with tree.
    CFRef<CFMutableDictionaryRef> saved;
    bool savedExists = false;  // whether there was a file at all
    FileStamp savedStamp;      // the file as read or last written
    std::size_t savedHash = 0;  // and a hash of its bytes
    // The bytes of the last commit, kept for the apply that follows it;
    // empty after a load (the bytes read are let go once parsed).
    std::string savedBytes;
    PropertyListFormat format = PropertyListFormat::XML;

    SCLinkIndex links;  // answers of link lookups in tree

    FileLock lock;
};

inline __SCPreferences* SCPreferencesInside(SCPreferencesRef prefs) { return const_cast<__SCPreferences*>(prefs); }

// Records the status that SCError() reports.
void _SCErrorSet(int status);

// The status of a file that the system refused with error (errno): an
// access error when permissions or a read-only file system forbid, a
// failure otherwise.
int StatusForFileError(int error);

// The root dictionary, made the handle's own first so that it may be
// changed.
CFMutableDictionaryRef SCPreferencesWritableRoot(__SCPreferences* prefs);

// Forgets the link lookups that a change of tree may have made wrong: all
// of them for a tree replaced whole (keys empty), otherwise those whose way
// went through the node at keys (a link-free chain of keys from the root),
// or to it.
void SCPreferencesForgetLinks(__SCPreferences* prefs, const std::vector<std::string_view>& keys);

