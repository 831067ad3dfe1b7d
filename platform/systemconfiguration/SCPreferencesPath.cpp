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

// The same walk as WalkPath, for paths of one-byte text, without making a
// string or a list for any component on the way: keys are looked up by
// their text, and a link's target is walked in place. Returns false when
// it cannot decide (a path or link of wide text, a dictionary with other
// key callbacks, a path of more components than it keeps), and the caller
// then takes WalkPath; otherwise *status and *node are WalkPath's results,
// *hops the number of links followed and, when resolved is given, the
// chain of keys WalkPath would give (missing keys of a write walk made
// from their text, the others the dictionaries' own key objects).
struct TextWalk {
    Walk walk = Walk::Lookup;
    bool followLast = true;
    int status = kSCStatusOK;
    CFTypeRef node = nil;
    int hops = 0;
    PathComponents* resolved = nullptr;
    const void* lastKey = nil;  // the key object of the last component walked
};

bool WalkOneBytePath(CFDictionaryRef root, CFStringRef path, TextWalk* w) {
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

    const void* keys[kMaxPieces];  // the key objects of the pieces walked so far
    w->hops = 0;
    CFTypeRef current = root;
    for (std::size_t i = 0; i < count;) {
        if (!IsDictionary(current)) {
            w->status = w->walk == Walk::Write ? kSCStatusFailed : kSCStatusNoKey;
            return true;
        }
        bool searched = false;
        const void* key = nil;
        CFTypeRef child = cfrt::DictionaryGetEntryForText(static_cast<CFDictionaryRef>(current), pieces[i].text,
                                                          pieces[i].length, &searched, &key);
        if (!searched) return false;
        if (child == nil) {
            if (w->walk == Walk::Lookup) {
                w->status = kSCStatusNoKey;
                return true;
            }
            // A write makes the missing dictionaries: the rest of the keys
            // are new.
            if (w->resolved != nullptr) {
                w->resolved->clear();
                w->resolved->reserve(count);
                for (std::size_t k = 0; k < count; ++k) {
                    w->resolved->push_back(k < i ? CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(keys[k]))
                                                 : CFRef<CFStringRef>(cfstring::MakeNarrow(pieces[k].text,
                                                                                          pieces[k].length)));
                }
            }
            w->status = kSCStatusOK;
            w->node = nil;
            return true;
        }
        CFStringRef link = LinkTarget(child);
        bool last = i + 1 == count;
        if (link != nil && (!last || w->followLast)) {
            if (++w->hops > kMaxLinkHops) {
                w->status = kSCStatusMaxLink;
                return true;
            }
            __CFString::View target = link->view();
            if (target.wide) return false;
            if (target.length == 0 || target.narrow()[0] != '/') {
                w->status = kSCStatusNoKey;
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
        keys[i] = key;
        w->lastKey = key;
        current = child;
        ++i;
    }
    if (w->resolved != nullptr) {
        w->resolved->clear();
        w->resolved->reserve(count);
        for (std::size_t k = 0; k < count; ++k)
            w->resolved->push_back(CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(keys[k])));
    }
    w->status = kSCStatusOK;
    w->node = current;
    return true;
}

// Walks path as WalkOneBytePath does where it can, and as WalkPath does
// otherwise. resolved may be nil when the chain of keys is not wanted.
int WalkAnyPath(CFDictionaryRef root, CFStringRef path, Walk walk, bool followLast, PathComponents* resolved,
                CFTypeRef* node, int* invalidStatus) {
    TextWalk w;
    w.walk = walk;
    w.followLast = followLast;
    w.resolved = resolved;
    if (WalkOneBytePath(root, path, &w)) {
        *node = w.node;
        return w.status;
    }
    PathComponents components, unused;
    if (!SplitPath(path, &components)) return *invalidStatus;
    return WalkPath(root, std::move(components), walk, followLast, resolved != nullptr ? resolved : &unused, node);
}

// The texts of keys, one byte a character; false when one is wide.
bool KeyTexts(const PathComponents& keys, std::vector<std::string_view>* texts) {
    texts->clear();
    for (const CFRef<CFStringRef>& key : keys) {
        __CFString::View view = key.get()->view();
        if (view.wide) return false;
        texts->emplace_back(reinterpret_cast<const char*>(view.narrow()), view.length);
    }
    return true;
}

// Forgets the link answers a change of the node at keys may have made wrong.
void ForgetLinksAt(__SCPreferences* prefs, const PathComponents& keys) {
    if (prefs->links.groups.empty()) return;
    std::vector<std::string_view> texts;
    // A wide key is no text of the index's paths, but may name the same
    // node: forget everything.
    if (!KeyTexts(keys, &texts)) texts.clear();
    SCPreferencesForgetLinks(prefs, texts);
}

std::string_view TextOf(CFStringRef string) {
    __CFString::View view = string->view();
    return std::string_view(reinterpret_cast<const char*>(view.narrow()), view.length);
}

// The remembered answer for path, or nil.
CFStringRef KnownLink(const __SCPreferences* prefs, CFStringRef path) {
    if (prefs->links.links.empty() || path == nil || CFGetTypeID(path) != CFStringGetTypeID()) return nil;
    __CFString::View view = path->view();
    if (view.wide) return nil;
    auto link = prefs->links.links.find(cfrt::HashBytes(view.data, view.length));
    if (link == prefs->links.links.end()) return nil;
    // The same hash is not yet the same path: the text must be the group's
    // path, "/" and the link's key.
    std::string_view text(reinterpret_cast<const char*>(view.narrow()), view.length);
    const std::string& parent = prefs->links.groups[link->second.group].path;
    std::string_view key = TextOf(link->second.key.get());
    if (text.size() != parent.size() + 1 + key.size() || text.compare(0, parent.size(), parent) != 0 ||
        text[parent.size()] != '/' || text.substr(parent.size() + 1) != key)
        return nil;
    return link->second.target.get();
}

// Remembers the answer for path, a link found in a walk that went through
// no other link; key is the link's key object in its dictionary.
void RememberLink(__SCPreferences* prefs, CFStringRef path, CFStringRef key, CFStringRef target) {
    __CFString::View view = path->view();
    if (view.wide || key->view().wide) return;
    std::string_view text(reinterpret_cast<const char*>(view.narrow()), view.length);
    // Only a path of plain keys ("/a/b/c"), whose text is then the group's
    // path, "/" and the key.
    if (text.size() < 2 || text.front() != '/' || text.back() == '/') return;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '/' && text[i - 1] == '/') return;
    }
    std::string_view parent = text.substr(0, text.rfind('/'));
    std::vector<SCLinkIndex::Group>& groups = prefs->links.groups;
    std::size_t group = 0;
    while (group < groups.size() && groups[group].path != parent) ++group;
    if (group == groups.size()) {
        SCLinkIndex::Group made;
        made.path = parent;
        for (std::size_t at = 1; at < parent.size();) {
            std::size_t end = parent.find('/', at);
            if (end == std::string_view::npos) end = parent.size();
            made.parentKeys.emplace_back(parent.substr(at, end - at));
            at = end + 1;
        }
        groups.push_back(std::move(made));
    }
    std::uint64_t hash = cfrt::HashBytes(view.data, view.length);
    prefs->links.links.insert_or_assign(
        hash, SCLinkIndex::Link{group, CFRef<CFStringRef>::Retain(key), CFRef<CFStringRef>::Retain(target)});
    groups[group].links.push_back(hash);
}

// Drops the answers of one group: all of them, or those for one key.
void ForgetGroup(__SCPreferences* prefs, std::size_t group, const std::string_view* key) {
    SCLinkIndex::Group& links = prefs->links.groups[group];
    std::size_t kept = 0;
    for (std::uint64_t hash : links.links) {
        auto link = prefs->links.links.find(hash);
        if (link == prefs->links.links.end() || link->second.group != group) continue;
        if (key != nullptr && TextOf(link->second.key.get()) != *key) {
            links.links[kept++] = hash;
            continue;
        }
        prefs->links.links.erase(link);
    }
    links.links.resize(kept);
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
    if (ref == nil || !IsDictionary(value)) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    PathComponents resolved;
    CFTypeRef node = nil;
    int invalid = kSCStatusInvalidArgument;
    int status = WalkAnyPath(prefs->tree.get(), path, Walk::Write, false, &resolved, &node, &invalid);
    if (status != kSCStatusOK) return Finish(status);

    CFRef<CFMutableDictionaryRef> copy(static_cast<CFMutableDictionaryRef>(const_cast<void*>(
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, value, kCFPropertyListMutableContainers))));
    if (!copy) return Finish(kSCStatusInvalidArgument);
    ForgetLinksAt(prefs, resolved);
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
    if (ref == nil) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    int invalid = kSCStatusInvalidArgument;
    CFTypeRef node = nil;
    int status = WalkAnyPath(SCPreferencesInside(ref)->tree.get(), path, Walk::Lookup, true, nullptr, &node, &invalid);
    if (status == kSCStatusOK && !IsDictionary(node)) status = kSCStatusNoKey;
    _SCErrorSet(status);
    return status == kSCStatusOK ? static_cast<CFDictionaryRef>(node) : nil;
}

CFStringRef SCPreferencesPathGetLink(SCPreferencesRef ref, CFStringRef path) {
    if (ref == nil) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    __SCPreferences* prefs = SCPreferencesInside(ref);
    if (CFStringRef known = KnownLink(prefs, path)) {
        _SCErrorSet(kSCStatusOK);
        return known;
    }
    TextWalk w;
    w.walk = Walk::Lookup;
    w.followLast = false;
    CFTypeRef node = nil;
    int status = kSCStatusOK;
    bool direct = false;  // the way went through no link
    if (WalkOneBytePath(prefs->tree.get(), path, &w)) {
        status = w.status;
        node = w.node;
        direct = w.hops == 0;
    } else {
        PathComponents components;
        if (!SplitPath(path, &components)) {
            _SCErrorSet(kSCStatusInvalidArgument);
            return nil;
        }
        PathComponents resolved;
        status = WalkPath(prefs->tree.get(), std::move(components), Walk::Lookup, false, &resolved, &node);
    }
    CFStringRef link = status == kSCStatusOK ? LinkTarget(node) : nil;
    if (status == kSCStatusOK && link == nil) status = kSCStatusNoKey;
    if (link != nil && direct) RememberLink(prefs, path, static_cast<CFStringRef>(w.lastKey), link);
    _SCErrorSet(status);
    return link;
}

Boolean SCPreferencesPathSetValue(SCPreferencesRef ref, CFStringRef path, CFDictionaryRef value) {
    return StoreAtPath(ref, path, value);
}

Boolean SCPreferencesPathRemoveValue(SCPreferencesRef ref, CFStringRef path) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    PathComponents resolved;
    CFTypeRef node = nil;
    int invalid = kSCStatusInvalidArgument;
    int status = WalkAnyPath(prefs->tree.get(), path, Walk::Lookup, false, &resolved, &node, &invalid);
    if (status != kSCStatusOK) return Finish(status);
    // The root itself cannot be removed.
    if (resolved.empty()) return Finish(kSCStatusInvalidArgument);
    ForgetLinksAt(prefs, resolved);
    CFMutableDictionaryRef parent = WritableDictionary(prefs, resolved, resolved.size() - 1);
    CFDictionaryRemoveValue(parent, resolved.back().get());
    return Finish(kSCStatusOK);
}

void SCPreferencesForgetLinks(__SCPreferences* prefs, const std::vector<std::string_view>& keys) {
    SCLinkIndex& index = prefs->links;
    if (keys.empty()) {
        index = SCLinkIndex();
        return;
    }
    for (std::size_t group = 0; group < index.groups.size(); ++group) {
        const std::vector<std::string>& way = index.groups[group].parentKeys;
        std::size_t common = 0;
        while (common < keys.size() && common < way.size() && keys[common] == way[common]) ++common;
        // The node at keys is the links' dictionary or lies on the way to
        // it; or it is a link node itself.
        if (common == keys.size()) ForgetGroup(prefs, group, nullptr);
        else if (common == way.size() && keys.size() == way.size() + 1) ForgetGroup(prefs, group, &keys.back());
    }
}
