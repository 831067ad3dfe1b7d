// The registry as read from one source: a table of entries, each with its
// class, its properties and its place in the "IOService" plane. Internal to
// the I/O registry stand-in; callers use IOKitLib.h.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/iokit/IOReturn.h"

struct IORegistryEntry {
    std::string className;
    CFRef<CFMutableDictionaryRef> properties;
    std::size_t parent;
    std::vector<std::size_t> children;
};

class IORegistry {
public:
    static constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);

    // Adds an entry under parent (kNoParent for the root, which must come
    // first) and returns its index. properties may be nil (no properties).
    std::size_t AddEntry(std::size_t parent, std::string className, CFRef<CFMutableDictionaryRef> properties);

    std::size_t size() const { return entries_.size(); }
    const IORegistryEntry& entry(std::size_t index) const { return entries_[index]; }

    // Every entry in registry order: depth first, parents before children,
    // children in the order they were added.
    std::vector<std::size_t> DepthFirstOrder() const;

private:
    std::vector<IORegistryEntry> entries_;
};

// Whether className is ancestor or derives from it in the platform's class
// tree; a class the tree does not know derives directly from IOService.
bool IOClassConformsTo(const std::string& className, const std::string& ancestor);

// Reads a registry snapshot written by "ioreg -a -l" (XML or binary). On
// failure returns nil with *status (kIOReturnNotReadable or kIOReturnError)
// and *fault, a short description of what is wrong.
std::shared_ptr<IORegistry> IORegistryReadSnapshot(const std::string& path, IOReturn* status, std::string* fault);

// Builds the registry of this machine's network interfaces and serial
// ports from sysfs mounted at sysDir. A missing or unreadable sysfs gives a
// registry with its root alone.
std::shared_ptr<IORegistry> IORegistryReadSysfs(const std::string& sysDir);
