// Registry dumps in the form "ioreg -a -l" writes: a property list. Each
// entry is a dictionary holding its class ("IOObjectClass"), its properties,
// a few keys ioreg adds about the entry itself, and its children in the
// "IOService" plane ("IORegistryEntryChildren"). The root dictionary is the
// registry's root entry.
#include <unordered_set>
#include <utility>

#include "platform/iokit/IORegistry.h"

namespace {

// Removes the keys ioreg writes about an entry rather than properties of it.
void RemoveAnnotations(CFMutableDictionaryRef dict) {
    static const CFStringRef keys[] = {
        CFSTR("IOObjectClass"),           CFSTR("IOObjectRetainCount"),     CFSTR("IORegistryEntryID"),
        CFSTR("IORegistryEntryName"),     CFSTR("IORegistryEntryLocation"), CFSTR("IORegistryEntryChildren"),
        CFSTR("IOServiceBusyState"),      CFSTR("IOServiceBusyTime"),       CFSTR("IOServiceState"),
    };
    for (CFStringRef key : keys) CFDictionaryRemoveValue(dict, key);
}

std::string ClassText(CFStringRef className) {
    char text[256];
    if (!CFStringGetCString(className, text, sizeof(text), kCFStringEncodingUTF8)) return {};
    return text;
}

// "name@location" from ioreg's keys about the entry; "" without a name.
std::string NameText(CFDictionaryRef dict) {
    const void* name = CFDictionaryGetValue(dict, CFSTR("IORegistryEntryName"));
    const void* location = CFDictionaryGetValue(dict, CFSTR("IORegistryEntryLocation"));
    if (name == nullptr || CFGetTypeID(name) != CFStringGetTypeID()) return {};
    std::string text = ClassText(static_cast<CFStringRef>(name));
    if (!text.empty() && location != nullptr && CFGetTypeID(location) == CFStringGetTypeID()) {
        std::string where = ClassText(static_cast<CFStringRef>(location));
        if (!where.empty()) text += "@" + where;
    }
    return text;
}

// Turns the tree of entry dictionaries under rootDict into registry entries,
// walking it with an explicit stack so that nesting depth cannot exhaust the
// call stack. Each entry keeps its dictionary, less ioreg's own keys, as its
// properties.
bool BuildEntries(CFMutableDictionaryRef rootDict, IORegistry* registry, std::string* fault) {
    struct Pending {
        CFMutableDictionaryRef dict;
        std::size_t parent;
    };
    // The children arrays taken out of their entries, kept alive until the
    // walk has visited every child.
    std::vector<CFRef<CFArrayRef>> childArrays;
    // A dictionary met a second time would make the walk endless.
    std::unordered_set<const void*> visited;
    std::vector<Pending> pending{{rootDict, IORegistry::kNoParent}};
    while (!pending.empty()) {
        Pending next = pending.back();
        pending.pop_back();
        if (!visited.insert(next.dict).second) {
            *fault = "an entry appears twice in the tree";
            return false;
        }

        const void* className = CFDictionaryGetValue(next.dict, CFSTR("IOObjectClass"));
        if (className == nullptr || CFGetTypeID(className) != CFStringGetTypeID()) {
            *fault = "an entry has no \"IOObjectClass\" string";
            return false;
        }
        std::string classText = ClassText(static_cast<CFStringRef>(className));
        if (classText.empty()) {
            *fault = "an entry has an empty or overlong \"IOObjectClass\"";
            return false;
        }
        const void* children = CFDictionaryGetValue(next.dict, CFSTR("IORegistryEntryChildren"));
        if (children != nullptr) {
            if (CFGetTypeID(children) != CFArrayGetTypeID()) {
                *fault = "the children of a " + classText + " entry are not an array";
                return false;
            }
            childArrays.push_back(CFRef<CFArrayRef>::Retain(static_cast<CFArrayRef>(children)));
        }
        std::string name = NameText(next.dict);
        RemoveAnnotations(next.dict);

        std::size_t index = registry->AddEntry(next.parent, std::move(classText),
                                               CFRef<CFMutableDictionaryRef>::Retain(next.dict), std::move(name));
        if (children == nullptr) continue;
        CFArrayRef childArray = static_cast<CFArrayRef>(children);
        for (CFIndex i = CFArrayGetCount(childArray) - 1; i >= 0; --i) {
            const void* child = CFArrayGetValueAtIndex(childArray, i);
            if (CFGetTypeID(child) != CFDictionaryGetTypeID()) {
                *fault = "a child of a " + registry->entry(index).className + " entry is not a dictionary";
                return false;
            }
            // The reader makes every dictionary of the tree mutable.
            pending.push_back({static_cast<CFMutableDictionaryRef>(const_cast<void*>(child)), index});
        }
    }
    return true;
}

}  // namespace

std::shared_ptr<IORegistry> IORegistryCreateFromPropertyList(CFMutableDictionaryRef root, std::string* fault) {
    auto registry = std::make_shared<IORegistry>();
    if (!BuildEntries(root, registry.get(), fault)) return nullptr;
    return registry;
}
