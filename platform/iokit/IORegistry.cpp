#include "platform/iokit/IORegistry.h"

#include <algorithm>
#include <utility>

#include "platform/iokit/IOKitKeys.h"

namespace {

// Entries left out are named one a line up to this many; the rest are
// counted in one more line, so that no dump floods standard error.
constexpr std::size_t kMaxNamedNotes = 5;

bool HasString(CFDictionaryRef properties, CFStringRef key) {
    const void* value = properties != nullptr ? CFDictionaryGetValue(properties, key) : nullptr;
    return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID();
}

}  // namespace

std::size_t IORegistry::AddEntry(std::size_t parent, std::string className, CFRef<CFMutableDictionaryRef> properties,
                                 std::string name) {
    std::size_t index = entries_.size();
    entries_.push_back(IORegistryEntry{std::move(className), std::move(name), std::move(properties), parent, {}, {}, {},
                                       true});
    if (parent != kNoParent) entries_[parent].children.push_back(index);
    return index;
}

std::vector<std::size_t> IORegistry::DepthFirstOrder() const {
    std::vector<std::size_t> order;
    if (entries_.empty()) return order;
    order.reserve(entries_.size());
    // An explicit stack, so that a deep tree cannot exhaust the call stack.
    std::vector<std::size_t> pending{0};
    while (!pending.empty()) {
        std::size_t index = pending.back();
        pending.pop_back();
        order.push_back(index);
        const std::vector<std::size_t>& children = entries_[index].children;
        for (auto child = children.rbegin(); child != children.rend(); ++child) pending.push_back(*child);
    }
    return order;
}

std::string IORegistry::PathOf(std::size_t index) const {
    std::vector<const IORegistryEntry*> line;
    for (std::size_t at = index; at != kNoParent && entries_[at].parent != kNoParent; at = entries_[at].parent) {
        line.push_back(&entries_[at]);
    }
    std::string path = "IOService:";
    for (auto entry = line.rbegin(); entry != line.rend(); ++entry) {
        path += '/';
        path += (*entry)->name.empty() ? (*entry)->className : (*entry)->name;
    }
    return line.empty() ? path + "/" : path;
}

void IORegistry::Finish(IORegistryNotes* notes) {
    // The root stands for the registry itself, whatever a dump calls it.
    if (!entries_.empty()) entries_.front().matchable = false;
    for (IORegistryEntry& entry : entries_) {
        if (entry.superclasses.empty()) entry.treeClass = IOClassInTree(entry.className, entry.properties.get());
    }
    // The provider of an Ethernet interface is its controller, whatever the
    // driver called its class.
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        std::size_t parent = entries_[index].parent;
        if (parent == kNoParent || !ConformsTo(index, kIOEthernetInterfaceClass)) continue;
        IORegistryEntry& provider = entries_[parent];
        if (provider.superclasses.empty() && provider.treeClass == "IOService" && provider.className != "IOService") {
            provider.treeClass = "IOEthernetController";
        }
    }

    std::size_t leftOut = 0;
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        IORegistryEntry& entry = entries_[index];
        const char* missing = nullptr;
        if (ConformsTo(index, kIOEthernetInterfaceClass) && !HasString(entry.properties.get(), CFSTR(kIOBSDNameKey))) {
            missing = kIOBSDNameKey;
        } else if (ConformsTo(index, kIOSerialBSDServiceValue) &&
                   !HasString(entry.properties.get(), CFSTR(kIOTTYDeviceKey))) {
            missing = kIOTTYDeviceKey;
        }
        if (missing == nullptr) continue;
        entry.matchable = false;
        if (++leftOut <= kMaxNamedNotes) {
            notes->push_back("left out the " + entry.className + " at " + PathOf(index) + ": it has no \"" + missing +
                             "\" string");
        }
    }
    if (leftOut > kMaxNamedNotes) {
        notes->push_back("left out " + std::to_string(leftOut - kMaxNamedNotes) + " more ports without their names");
    }
}
