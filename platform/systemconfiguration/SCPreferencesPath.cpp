// Path access to the store: "/"-separated chains of dictionary keys from the
// root, through link dictionaries ("__LINK__" holding another path).
#include <algorithm>
#include <utility>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"
#include "platform/corefoundation/CFStringInternal.h"
#include "platform/systemconfiguration/SCPreferencesInternal.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

namespace {

// More hops than this through links means a cycle, or a chain no sane
// store holds.
const int kMaxLinkHops = 16;

using PathComponents = std::vector<CFRef<CFStringRef>>;

// Splits a path into its keys; empty components ("//", a trailing "/") are
// skipped, so "/" is the root. False when the path does not start with "/".
bool SplitPath(CFStringRef path, PathComponents* components) {
    components->clear();
    if (path == nil || CFGetTypeID(path) != CFStringGetTypeID()) return false;
    if (CFStringGetLength(path) == 0 || CFStringGetCharacterAtIndex(path, 0) != '/') return false;
    CFRef<CFArrayRef> pieces(CFStringCreateArrayBySeparatingStrings(kCFAllocatorDefault, path, CFSTR("/")));
    if (!pieces) return false;
    CFIndex count = CFArrayGetCount(pieces.get());
    components->reserve(static_cast<std::size_t>(count));
    for (CFIndex i = 0; i < count; ++i) {
        CFStringRef piece = static_cast<CFStringRef>(CFArrayGetValueAtIndex(pieces.get(), i));
        if (CFStringGetLength(piece) > 0) components->push_back(CFRef<CFStringRef>::Retain(piece));
    }
    return true;
}

bool IsDictionary(CFTypeRef value) { return value != nil && CFGetTypeID(value) == CFDictionaryGetTypeID(); }

// The target path of a link dictionary, or nil when value is not a link.
CFStringRef LinkTarget(CFTypeRef value) {
    if (!IsDictionary(value)) return nil;
    CFTypeRef link = CFDictionaryGetValue(static_cast<CFDictionaryRef>(value), kSCResvLink);
    return (link != nil && CFGetTypeID(link) == CFStringGetTypeID()) ? static_cast<CFStringRef>(link) : nil;
}

enum class Walk {
    Lookup,  // every node on the way must exist; links are followed throughout
    Write,   // the path may end in missing nodes; the last node's link is not followed
};

// Walks the tree from the root along components, following links. On
// success *resolved holds the same place as a link-free chain of keys and
// *node the node there (nil when a write walk ran into missing nodes, whose
// keys are then the tail of *resolved). followLast says whether a link in
// the last component is followed too.
int WalkPath(CFDictionaryRef root, PathComponents components, Walk walk, bool followLast, PathComponents* resolved,
             CFTypeRef* node) {
    int hops = 0;
    bool restart = true;
    while (restart) {
        restart = false;
        resolved->clear();
        CFTypeRef current = root;
        for (std::size_t i = 0; i < components.size() && !restart; ++i) {
            if (!IsDictionary(current)) return walk == Walk::Write ? kSCStatusFailed : kSCStatusNoKey;
            CFTypeRef child = CFDictionaryGetValue(static_cast<CFDictionaryRef>(current), components[i].get());
            if (child == nil) {
                if (walk == Walk::Lookup) return kSCStatusNoKey;
                for (std::size_t rest = i; rest < components.size(); ++rest) {
                    resolved->push_back(std::move(components[rest]));
                }
                *node = nil;
                return kSCStatusOK;
            }
            CFStringRef link = LinkTarget(child);
            bool last = i + 1 == components.size();
            if (link != nil && (!last || followLast)) {
                // Continue from the root at the link's target, with the keys
                // that were still to come appended.
                if (++hops > kMaxLinkHops) return kSCStatusMaxLink;
                PathComponents target;
                if (!SplitPath(link, &target)) return kSCStatusNoKey;
                for (std::size_t rest = i + 1; rest < components.size(); ++rest) {
                    target.push_back(std::move(components[rest]));
                }
                components = std::move(target);
                restart = true;
            } else {
                resolved->push_back(CFRef<CFStringRef>::Retain(components[i].get()));
                current = child;
            }
        }
        if (!restart) *node = current;
    }
    return kSCStatusOK;
}

// The same lookup walk as WalkPath, for paths of one-byte text, without
// making a string or a list for any component: keys are looked up by their
// text, and a link's target is walked in place. Returns false when it
// cannot decide (a path or link of wide text, a dictionary with other key
// callbacks, a path of more components than it keeps), and the caller then
// takes WalkPath; otherwise *status and *node are WalkPath's results.
bool WalkOneBytePath(CFDictionaryRef root, CFStringRef path, bool followLast, int* status, CFTypeRef* node) {
    if (path == nil || CFGetTypeID(path) != CFStringGetTypeID()) return false;
    __CFString::View text = path->view();
    if (text.wide || text.length == 0 || text.narrow()[0] != '/') return false;

    // The components still to walk, as pieces of the path or of link targets
    // (which the tree holds unchanged for the length of the walk).
    struct Piece {
        const UInt8* text;
        std::size_t length;
    };
    const std::size_t kMaxPieces = 32;
    Piece pieces[kMaxPieces];
    std::size_t count = 0;
    auto split = [&](const UInt8* bytes, std::size_t length, const Piece* rest, std::size_t restCount) {
        Piece joined[kMaxPieces];
        std::size_t n = 0;
        for (std::size_t i = 0; i < length;) {
            std::size_t end = i;
            while (end < length && bytes[end] != '/') ++end;
            if (end > i) {
                if (n == kMaxPieces) return false;
                joined[n++] = Piece{bytes + i, end - i};
            }
            i = end + 1;
        }
        for (std::size_t k = 0; k < restCount; ++k) {
            if (n == kMaxPieces) return false;
            joined[n++] = rest[k];
        }
        std::copy(joined, joined + n, pieces);
        count = n;
        return true;
    };
    if (!split(text.narrow(), text.length, nullptr, 0)) return false;

    int hops = 0;
    CFTypeRef current = root;
    for (std::size_t i = 0; i < count;) {
        if (!IsDictionary(current)) {
            *status = kSCStatusNoKey;
            return true;
        }
        bool searched = false;
        CFTypeRef child = cfrt::DictionaryGetValueForText(static_cast<CFDictionaryRef>(current), pieces[i].text,
                                                          pieces[i].length, &searched);
        if (!searched) return false;
        if (child == nil) {
            *status = kSCStatusNoKey;
            return true;
        }
        CFStringRef link = LinkTarget(child);
        bool last = i + 1 == count;
        if (link != nil && (!last || followLast)) {
            if (++hops > kMaxLinkHops) {
                *status = kSCStatusMaxLink;
                return true;
            }
            __CFString::View target = link->view();
            if (target.wide) return false;
            if (target.length == 0 || target.narrow()[0] != '/') {
                *status = kSCStatusNoKey;
                return true;
            }
            Piece rest[kMaxPieces];
            std::size_t restCount = count - (i + 1);
            std::copy(pieces + i + 1, pieces + count, rest);
            if (!split(target.narrow(), target.length, rest, restCount)) return false;
            current = root;
            i = 0;
            continue;
        }
        current = child;
        ++i;
    }
    *status = kSCStatusOK;
    *node = current;
    return true;
}

// The child dictionary of parent at key, made parent's own first: when
// someone else has retained it, a mutable copy takes its place. A missing
// child is created.
CFMutableDictionaryRef WritableChild(CFMutableDictionaryRef parent, CFStringRef key) {
    CFTypeRef child = CFDictionaryGetValue(parent, key);
    if (child != nil && CFGetRetainCount(child) == 1) {
        return static_cast<CFMutableDictionaryRef>(const_cast<void*>(child));
    }
    CFRef<CFMutableDictionaryRef> own(
        child != nil ? CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, static_cast<CFDictionaryRef>(child))
                     : CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                 &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(parent, key, own.get());
    return own.get();  // parent holds it now
}

// The dictionary at a link-free chain of keys, made the handle's own along
// the whole way (missing dictionaries are created), so it may be changed.
CFMutableDictionaryRef WritableDictionary(__SCPreferences* prefs, const PathComponents& keys, std::size_t count) {
    CFMutableDictionaryRef current = SCPreferencesWritableRoot(prefs);
    for (std::size_t i = 0; i < count; ++i) current = WritableChild(current, keys[i].get());
    return current;
}

Boolean Finish(int status) {
    _SCErrorSet(status);
    return status == kSCStatusOK;
}

// Stores a private copy of value (a dictionary) at path; links are followed
// in every component but the last, and missing dictionaries on the way are
// created.
Boolean StoreAtPath(SCPreferencesRef ref, CFStringRef path, CFDictionaryRef value) {
    PathComponents components;
    if (ref == nil || !IsDictionary(value)) return Finish(kSCStatusInvalidArgument);
    if (!SplitPath(path, &components)) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    PathComponents resolved;
    CFTypeRef node = nil;
    int status = WalkPath(prefs->tree.get(), std::move(components), Walk::Write, false, &resolved, &node);
    if (status != kSCStatusOK) return Finish(status);

    CFRef<CFMutableDictionaryRef> copy(static_cast<CFMutableDictionaryRef>(const_cast<void*>(
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, value, kCFPropertyListMutableContainers))));
    if (!copy) return Finish(kSCStatusInvalidArgument);
    if (resolved.empty()) {
        // "/" names the root itself: the value becomes the whole store.
        prefs->tree = std::move(copy);
        return Finish(kSCStatusOK);
    }
    CFMutableDictionaryRef parent = WritableDictionary(prefs, resolved, resolved.size() - 1);
    CFDictionarySetValue(parent, resolved.back().get(), copy.get());
    return Finish(kSCStatusOK);
}

}  // namespace

CFDictionaryRef SCPreferencesPathGetValue(SCPreferencesRef ref, CFStringRef path) {
    int status = kSCStatusOK;
    CFTypeRef node = nil;
    if (ref != nil && WalkOneBytePath(SCPreferencesInside(ref)->tree.get(), path, true, &status, &node)) {
        if (status == kSCStatusOK && !IsDictionary(node)) status = kSCStatusNoKey;
        _SCErrorSet(status);
        return status == kSCStatusOK ? static_cast<CFDictionaryRef>(node) : nil;
    }
    PathComponents components;
    if (ref == nil || !SplitPath(path, &components)) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    PathComponents resolved;
    status = WalkPath(SCPreferencesInside(ref)->tree.get(), std::move(components), Walk::Lookup, true, &resolved,
                      &node);
    if (status == kSCStatusOK && !IsDictionary(node)) status = kSCStatusNoKey;
    _SCErrorSet(status);
    return status == kSCStatusOK ? static_cast<CFDictionaryRef>(node) : nil;
}

CFStringRef SCPreferencesPathGetLink(SCPreferencesRef ref, CFStringRef path) {
    int status = kSCStatusOK;
    CFTypeRef node = nil;
    if (ref != nil && WalkOneBytePath(SCPreferencesInside(ref)->tree.get(), path, false, &status, &node)) {
        CFStringRef link = status == kSCStatusOK ? LinkTarget(node) : nil;
        if (status == kSCStatusOK && link == nil) status = kSCStatusNoKey;
        _SCErrorSet(status);
        return link;
    }
    PathComponents components;
    if (ref == nil || !SplitPath(path, &components)) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    PathComponents resolved;
    status = WalkPath(SCPreferencesInside(ref)->tree.get(), std::move(components), Walk::Lookup, false, &resolved,
                      &node);
    CFStringRef link = status == kSCStatusOK ? LinkTarget(node) : nil;
    if (status == kSCStatusOK && link == nil) status = kSCStatusNoKey;
    _SCErrorSet(status);
    return link;
}

Boolean SCPreferencesPathSetValue(SCPreferencesRef ref, CFStringRef path, CFDictionaryRef value) {
    return StoreAtPath(ref, path, value);
}

Boolean SCPreferencesPathRemoveValue(SCPreferencesRef ref, CFStringRef path) {
    PathComponents components;
    if (ref == nil || !SplitPath(path, &components)) return Finish(kSCStatusInvalidArgument);
    // The root itself cannot be removed.
    if (components.empty()) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    PathComponents resolved;
    CFTypeRef node = nil;
    int status = WalkPath(prefs->tree.get(), std::move(components), Walk::Lookup, false, &resolved, &node);
    if (status != kSCStatusOK) return Finish(status);
    CFMutableDictionaryRef parent = WritableDictionary(prefs, resolved, resolved.size() - 1);
    CFDictionaryRemoveValue(parent, resolved.back().get());
    return Finish(kSCStatusOK);
}
