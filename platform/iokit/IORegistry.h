// The registry as read from one source: a table of entries, each with its
// class, its properties and its place in the "IOService" plane. Internal to
// the I/O registry stand-in; callers use IOKitLib.h.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/iokit/IOReturn.h"

// Containers nested deeper than this, in a dump's text or a save file's
// tree of entries, are refused, as property-list files refuse them.
enum : int { kIORegistryMaxDepth = 512 };

// Registry dumps larger than this are refused before they are read (the
// preferences store's own limit).
enum : unsigned long { kIORegistryMaxDumpSize = 64UL * 1024 * 1024 };

// What a reader has to say about entries it read but left out of the
// matches (a port without the name it needs): one line each, no newline.
using IORegistryNotes = std::vector<std::string>;

struct IORegistryEntry {
    std::string className;
    // "name@location" in the "IOService" plane, as ioreg shows it; empty
    // when the source does not say.
    std::string name;
    CFRef<CFMutableDictionaryRef> properties;
    std::size_t parent;
    std::vector<std::size_t> children;
    // The classes className derives from, nearest first, when the source
    // says (a save file carries them); empty otherwise.
    std::vector<std::string> superclasses;
    // Without superclasses: the class of the built-in tree the entry is
    // taken for (className itself when the tree knows it). Set by Finish.
    std::string_view treeClass;
    // False for an entry left out of every match.
    bool matchable = true;
};

class IORegistry {
public:
    static constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);

    // Adds an entry under parent (kNoParent for the root, which must come
    // first) and returns its index. properties may be nil (no properties).
    std::size_t AddEntry(std::size_t parent, std::string className, CFRef<CFMutableDictionaryRef> properties,
                         std::string name = std::string());

    std::size_t size() const { return entries_.size(); }
    const IORegistryEntry& entry(std::size_t index) const { return entries_[index]; }
    IORegistryEntry& entry(std::size_t index) { return entries_[index]; }

    // Every entry in registry order: depth first, parents before children,
    // children in the order they were added.
    std::vector<std::size_t> DepthFirstOrder() const;

    // Whether the entry's class is ancestor or derives from it. Call
    // Finish first.
    bool ConformsTo(std::size_t index, std::string_view ancestor) const;

    // The entry's path in the "IOService" plane, for messages:
    // "IOService:/AppleACPIPlatformExpert/PCI0@0/.../en0".
    std::string PathOf(std::size_t index) const;

    // Settles each entry's place in the class tree (a class the tree does
    // not know is taken for what its properties show it to be), then leaves
    // out of the matches every port that lacks the name it is used by: an
    // Ethernet interface without a "BSD Name" string, a serial port without
    // an "IOTTYDevice" string. Each one left out adds a line to notes.
    void Finish(IORegistryNotes* notes);

private:
    std::vector<IORegistryEntry> entries_;
};

// Whether className is ancestor or derives from it in the built-in class
// tree; a class the tree does not know derives directly from IOService.
bool IOClassConformsTo(std::string_view className, std::string_view ancestor);

// The class of the built-in tree an entry of className is, going by its
// properties when the tree does not know the class: "IOEthernetInterface"
// for an interface of type 6 with a 6-byte address and a "BSD Name",
// "IOSerialBSDClient" for an entry with a client type and a base name,
// "IOService" otherwise.
std::string_view IOClassInTree(const std::string& className, CFDictionaryRef properties);

// Reads a registry dump file: at most kIORegistryMaxDumpSize bytes of a
// regular file, read with IORegistryCreateFromDump. On failure returns nil
// with *status (kIOReturnNotReadable when the file cannot be read,
// kIOReturnError when it is not a registry) and *fault, a short
// description of what is wrong.
std::shared_ptr<IORegistry> IORegistryReadSnapshot(const std::string& path, IOReturn* status, std::string* fault,
                                                   IORegistryNotes* notes);

// The registry of a dump in one of three forms, told apart by its bytes:
// the property list that "ioreg -a -l" writes (XML or binary), the text of
// "ioreg -l" at any width, or a save file of IORegistryExplorer (a keyed
// archive). Finished (see IORegistry::Finish); nil with *fault when the
// bytes are none of these.
std::shared_ptr<IORegistry> IORegistryCreateFromDump(const std::string& bytes, std::string* fault,
                                                     IORegistryNotes* notes);

// The readers of the three forms, before Finish. Each refuses what is not
// a whole registry with nil and *fault.
std::shared_ptr<IORegistry> IORegistryCreateFromPropertyList(CFMutableDictionaryRef root, std::string* fault);
std::shared_ptr<IORegistry> IORegistryCreateFromText(std::string_view text, std::string* fault,
                                                     IORegistryNotes* notes);
std::shared_ptr<IORegistry> IORegistryCreateFromArchive(CFDictionaryRef archive, std::string* fault);

// Builds the registry of this machine's network interfaces and serial
// ports from sysfs mounted at sysDir. A missing or unreadable sysfs gives a
// registry with its root alone; a port whose files cannot be read is left
// out, with a line in notes naming the file.
std::shared_ptr<IORegistry> IORegistryReadSysfs(const std::string& sysDir, IORegistryNotes* notes);
