// The "Setup:" domain as the configuration daemon derives it from the
// preferences store: what the current set configures, and only what is on.
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCDynamicStoreInternal.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

namespace {

// More hops than this through links means a cycle.
const int kMaxLinkHops = 16;

using Components = std::vector<CFRef<CFStringRef>>;

bool IsDictionary(CFTypeRef value) { return value != nil && CFGetTypeID(value) == CFDictionaryGetTypeID(); }
bool IsString(CFTypeRef value) { return value != nil && CFGetTypeID(value) == CFStringGetTypeID(); }

// Appends the non-empty "/"-separated keys of path to *components.
void AppendPathKeys(CFStringRef path, Components* components) {
    CFRef<CFArrayRef> pieces(CFStringCreateArrayBySeparatingStrings(kCFAllocatorDefault, path, CFSTR("/")));
    CFIndex count = pieces ? CFArrayGetCount(pieces.get()) : 0;
    for (CFIndex i = 0; i < count; ++i) {
        CFStringRef piece = static_cast<CFStringRef>(CFArrayGetValueAtIndex(pieces.get(), i));
        if (CFStringGetLength(piece) > 0) components->push_back(CFRef<CFStringRef>::Retain(piece));
    }
}

bool IsAbsolutePath(CFTypeRef path) {
    return IsString(path) && CFStringGetLength(static_cast<CFStringRef>(path)) > 0 &&
           CFStringGetCharacterAtIndex(static_cast<CFStringRef>(path), 0) == '/';
}

// The dictionary at path, following links ("__LINK__") wherever they
// appear, as the preferences store's own lookups do; nil when there is
// none. *resolved receives the link-free chain of keys that leads there.
CFDictionaryRef ResolvePath(CFDictionaryRef root, CFTypeRef path, Components* resolved) {
    resolved->clear();
    if (!IsAbsolutePath(path)) return nil;
    Components pending;
    AppendPathKeys(static_cast<CFStringRef>(path), &pending);
    int hops = 0;
    CFTypeRef current = root;
    std::size_t next = 0;
    while (next < pending.size()) {
        if (!IsDictionary(current)) return nil;
        CFTypeRef child = CFDictionaryGetValue(static_cast<CFDictionaryRef>(current), pending[next].get());
        CFTypeRef link = IsDictionary(child) ? CFDictionaryGetValue(static_cast<CFDictionaryRef>(child), kSCResvLink)
                                             : nil;
        if (link == nil) {
            resolved->push_back(std::move(pending[next++]));
            current = child;
            continue;
        }
        // Start again from the root at the link's target, with the keys
        // still to come after it.
        if (++hops > kMaxLinkHops || !IsAbsolutePath(link)) return nil;
        Components target;
        AppendPathKeys(static_cast<CFStringRef>(link), &target);
        for (std::size_t rest = next + 1; rest < pending.size(); ++rest) target.push_back(std::move(pending[rest]));
        pending = std::move(target);
        resolved->clear();
        current = root;
        next = 0;
    }
    return IsDictionary(current) ? static_cast<CFDictionaryRef>(current) : nil;
}

CFDictionaryRef ChildDictionary(CFDictionaryRef parent, CFStringRef key) {
    CFTypeRef child = parent != nil ? CFDictionaryGetValue(parent, key) : nil;
    return IsDictionary(child) ? static_cast<CFDictionaryRef>(child) : nil;
}

bool IsInactive(CFDictionaryRef dict) { return CFDictionaryContainsKey(dict, kSCResvInactive); }

// Adds "<prefix>/<entity>" for every entity of entities that is not
// inactive; other values (names, markers) are not entities.
void AddEntities(CFMutableDictionaryRef keys, CFStringRef prefix, CFDictionaryRef entities) {
    CFIndex count = CFDictionaryGetCount(entities);
    std::vector<const void*> names(static_cast<std::size_t>(count));
    std::vector<const void*> values(static_cast<std::size_t>(count));
    CFDictionaryGetKeysAndValues(entities, names.data(), values.data());
    for (CFIndex i = 0; i < count; ++i) {
        if (!IsString(names[i]) || !IsDictionary(values[i])) continue;
        if (IsInactive(static_cast<CFDictionaryRef>(values[i]))) continue;
        CFRef<CFStringRef> key(CFStringCreateWithFormat(kCFAllocatorDefault, nil, CFSTR("%@/%@"), prefix, names[i]));
        if (key) CFDictionarySetValue(keys, key.get(), values[i]);
    }
}

}  // namespace

CFMutableDictionaryRef SCDynamicStoreCreateSetupKeys(CFDictionaryRef preferences) {
    CFMutableDictionaryRef keys = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks);
    if (keys == nil || !IsDictionary(preferences)) return keys;

    Components resolved;
    CFDictionaryRef set = ResolvePath(preferences, CFDictionaryGetValue(preferences, kSCPrefCurrentSet), &resolved);
    CFDictionaryRef network = ChildDictionary(set, kSCCompNetwork);

    CFDictionaryRef globals = ChildDictionary(network, kSCCompGlobal);
    if (globals != nil) AddEntities(keys, CFSTR("Setup:/Network/Global"), globals);

    // Each entry of the set's "Service" dictionary links a service; the
    // service is named by its own key under "NetworkServices", whatever the
    // set calls it.
    CFDictionaryRef links = ChildDictionary(network, kSCCompService);
    CFIndex count = links != nil ? CFDictionaryGetCount(links) : 0;
    std::vector<const void*> entries(static_cast<std::size_t>(count));
    if (count > 0) CFDictionaryGetKeysAndValues(links, nil, entries.data());
    for (const void* entry : entries) {
        if (!IsDictionary(entry)) continue;
        CFTypeRef target = CFDictionaryGetValue(static_cast<CFDictionaryRef>(entry), kSCResvLink);
        CFDictionaryRef service = ResolvePath(preferences, target, &resolved);
        if (service == nil || IsInactive(service)) continue;
        if (resolved.size() != 2 || !CFEqual(resolved[0].get(), kSCPrefNetworkServices)) continue;
        CFRef<CFStringRef> prefix(CFStringCreateWithFormat(kCFAllocatorDefault, nil, CFSTR("Setup:/%@/%@/%@"),
                                                           kSCCompNetwork, kSCCompService, resolved[1].get()));
        if (prefix) AddEntities(keys, prefix.get(), service);
    }
    return keys;
}
