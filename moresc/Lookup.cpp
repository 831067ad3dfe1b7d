#include "moresc/Lookup.h"

#include <functional>

#include "moresc/Text.h"

namespace {

// Reads the name of the set or service with the given ID into *name.
using NameCopier = std::function<OSStatus(CFStringRef id, CFStringRef* name)>;

// The entries of ids with their names; nameOperation names the library
// operation that copyName calls.
std::vector<NamedEntry> NameEntries(Outcome* outcome, CFArrayRef ids, const char* nameOperation,
                                    const NameCopier& copyName) {
    std::vector<NamedEntry> entries;
    CFIndex count = CFArrayGetCount(ids);
    for (CFIndex index = 0; index < count && outcome->ok(); ++index) {
        NamedEntry entry;
        entry.id = CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(CFArrayGetValueAtIndex(ids, index)));
        OSStatus err = copyName(entry.id.get(), entry.name.out());
        // A set or service without a name has none to match.
        if (err != coreFoundationUnknownErr) outcome->Check(nameOperation, err);
        entries.push_back(std::move(entry));
    }
    return entries;
}

// Picks the entry of entries that given names. kind ("set", "service")
// and where ("" or " of set 2") make the messages.
CFRef<CFStringRef> LookUp(Outcome* outcome, CFArrayRef ids, const std::string& given, const std::string& kind,
                          const std::string& where, const std::function<std::vector<NamedEntry>()>& named) {
    CFRef<CFStringRef> wanted(CreateStringFromText(given));
    if (!wanted) {
        outcome->FailUsage(Quoted(given) + " is not valid UTF-8");
        return nullptr;
    }
    if (CFArrayContainsValue(ids, CFRangeMake(0, CFArrayGetCount(ids)), wanted.get())) return wanted;

    std::vector<CFStringRef> matches;
    std::vector<NamedEntry> entries = named();
    for (const NamedEntry& entry : entries) {
        if (entry.name && CFEqual(entry.name.get(), wanted.get())) matches.push_back(entry.id.get());
    }
    if (!outcome->ok()) return nullptr;

    if (matches.size() == 1) return CFRef<CFStringRef>::Retain(matches.front());
    if (matches.empty()) {
        outcome->Fail("no " + kind + where + " has the ID or name " + Quoted(given));
    } else {
        std::string list;
        for (CFStringRef id : matches) list += (list.empty() ? "" : ", ") + Escaped(TextOf(id));
        outcome->Fail(Quoted(given) + " names " + std::to_string(matches.size()) + " " + kind + "s" + where + ": " +
                      list + " (give one of these IDs)");
    }
    return nullptr;
}

std::vector<NamedEntry> NameSets(Outcome* outcome, CFArrayRef setIDs) {
    return NameEntries(outcome, setIDs, "MoreSCCopyUserVisibleNameOfSet",
                       [](CFStringRef id, CFStringRef* name) { return MoreSCCopyUserVisibleNameOfSet(id, name); });
}

std::vector<NamedEntry> NameServices(Outcome* outcome, CFStringRef setID, CFArrayRef serviceIDs) {
    return NameEntries(outcome, serviceIDs, "MoreSCCopyUserVisibleNameOfService",
                       [setID](CFStringRef id, CFStringRef* name) {
                           return MoreSCCopyUserVisibleNameOfService(setID, id, name);
                       });
}

bool ContainsID(CFArrayRef ids, CFStringRef id) {
    return CFArrayContainsValue(ids, CFRangeMake(0, CFArrayGetCount(ids)), id);
}

// The first entry of order that is not a string linked from services, or
// nil when every entry is; *bad tells whether there is such an entry.
CFTypeRef UnlinkedEntry(CFDictionaryRef services, CFArrayRef order, bool* bad) {
    *bad = false;
    for (CFIndex i = 0, count = CFArrayGetCount(order); i < count; ++i) {
        CFTypeRef entry = CFArrayGetValueAtIndex(order, i);
        CFTypeRef link = entry != nil && CFGetTypeID(entry) == CFStringGetTypeID()
                             ? CFDictionaryGetValue(services, entry)
                             : nil;
        CFTypeRef target = link != nil && CFGetTypeID(link) == CFDictionaryGetTypeID()
                               ? CFDictionaryGetValue(static_cast<CFDictionaryRef>(link), kSCResvLink)
                               : nil;
        if (target == nil || CFGetTypeID(target) != CFStringGetTypeID()) {
            *bad = true;
            return entry;
        }
    }
    return nil;
}

// Checks that setID (nil: the current set) is a set of the store whose
// service order is a list of the IDs of services it links, so that the
// library's service operations can work on it; with whole, that it links
// no service besides, as the operations that write both expect.
void CheckSetReadable(Outcome* outcome, CFStringRef setID, bool whole = false) {
    CFRef<CFStringRef> checkedID = setID == nil ? CopyCurrentSetID(outcome, true) : CFRef<CFStringRef>::Retain(setID);
    if (!outcome->ok()) return;
    const std::string which =
        SetDescription(setID) + (setID == nil ? " (" + Escaped(TextOf(checkedID.get())) + ")" : "");
    CFRef<CFDictionaryRef> services;
    CFRef<CFArrayRef> order;
    // Asked for apart: asked for together, a count that differs is a
    // broken check of the library's.
    OSStatus err = MoreSCCopyServicesDict(checkedID.get(), nullptr, order.out());
    if (err == noErr) err = MoreSCCopyServicesDict(checkedID.get(), services.out(), nullptr);
    bool isArray = err == noErr && CFGetTypeID(order.get()) == CFArrayGetTypeID();
    if (err == kSCStatusNoKey || err == coreFoundationUnknownErr || (err == noErr && !isArray)) {
        outcome->Fail(which + " has no service order (Network/Global/IPv4/ServiceOrder)");
        return;
    }
    outcome->Check("MoreSCCopyServicesDict", err);
    bool bad = false;
    CFTypeRef entry = outcome->ok() ? UnlinkedEntry(services.get(), order.get(), &bad) : nil;
    if (bad) {
        outcome->Fail(which + " lists " + (entry != nil ? Quoted(TextOf(entry)) : "an entry") +
                      " in its service order, but has no link to such a service");
    } else if (outcome->ok() && whole && CFDictionaryGetCount(services.get()) != CFArrayGetCount(order.get())) {
        outcome->Fail(which + " links " + std::to_string(CFDictionaryGetCount(services.get())) +
                      " services, but its service order lists " + std::to_string(CFArrayGetCount(order.get())));
    }
}

}  // namespace

std::string SetDescription(CFStringRef setID) {
    return setID == nil ? "the current set" : "set " + Escaped(TextOf(setID));
}

CFRef<CFArrayRef> CopyAllSetIDs(Outcome* outcome) {
    CFRef<CFArrayRef> setIDs;
    OSStatus err = MoreSCCopySetIDs(setIDs.out(), nullptr);
    if (err == kSCStatusNoKey) {
        CFMutableArrayRef none = nullptr;
        outcome->Check("CFQArrayCreateMutable", CFQArrayCreateMutable(&none));
        setIDs.reset(none);
    } else {
        outcome->Check("MoreSCCopySetIDs", err);
    }
    return setIDs;
}

CFRef<CFStringRef> CopyCurrentSetID(Outcome* outcome, bool required) {
    // The library takes "CurrentSet" for a path /Sets/<ID> and reports a
    // broken check on anything else: look at it first.
    CFTypeRef path = SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), kSCPrefCurrentSet);
    std::string text = TextOf(path);
    bool isSetPath = text.starts_with("/Sets/") && text.size() > 6 && text.find('/', 6) == std::string::npos;
    if (path == nil || !isSetPath) {
        if (required) {
            outcome->Fail(path == nil ? "the store has no current set (\"moresc switch-set\" makes one current)"
                                      : "the store's current set " + Quoted(text) + " is not the path of a set");
        }
        return nullptr;
    }
    CFRef<CFStringRef> setID;
    CFRef<CFArrayRef> setIDs;
    outcome->Check("MoreSCCopyCurrentSet", MoreSCCopyCurrentSet(setID.out()));
    if (outcome->ok()) setIDs = CopyAllSetIDs(outcome);
    if (outcome->ok() && !ContainsID(setIDs.get(), setID.get())) {
        if (required) outcome->Fail("the store's current set " + Quoted(TextOf(setID.get())) + " does not exist");
        setID.reset();
    }
    return outcome->ok() ? std::move(setID) : nullptr;
}

std::vector<NamedEntry> NamedSets(Outcome* outcome) {
    CFRef<CFArrayRef> setIDs = CopyAllSetIDs(outcome);
    return outcome->ok() ? NameSets(outcome, setIDs.get()) : std::vector<NamedEntry>();
}

std::vector<NamedEntry> NamedServices(Outcome* outcome, CFStringRef setID) {
    CFRef<CFArrayRef> serviceIDs = CopyServiceIDs(outcome, setID);
    return outcome->ok() ? NameServices(outcome, setID, serviceIDs.get()) : std::vector<NamedEntry>();
}

CFRef<CFStringRef> LookUpSet(Outcome* outcome, const std::string& given) {
    CFRef<CFArrayRef> setIDs = CopyAllSetIDs(outcome);
    if (!outcome->ok()) return nullptr;
    CFArrayRef ids = setIDs.get();
    return LookUp(outcome, ids, given, "set", "", [outcome, ids] { return NameSets(outcome, ids); });
}

CFRef<CFArrayRef> CopyServiceIDs(Outcome* outcome, CFStringRef setID) {
    CFRef<CFArrayRef> serviceIDs;
    CheckSetReadable(outcome, setID);
    if (outcome->ok()) outcome->Check("MoreSCCopyServiceIDs", MoreSCCopyServiceIDs(setID, serviceIDs.out(), nullptr));
    return serviceIDs;
}

CFRef<CFStringRef> LookUpService(Outcome* outcome, CFStringRef setID, const std::string& given) {
    CFRef<CFArrayRef> serviceIDs = CopyServiceIDs(outcome, setID);
    if (!outcome->ok()) return nullptr;
    CFArrayRef ids = serviceIDs.get();
    return LookUp(outcome, ids, given, "service", " of " + SetDescription(setID),
                  [outcome, setID, ids] { return NameServices(outcome, setID, ids); });
}

void CheckEverySetWhole(Outcome* outcome) {
    CFRef<CFArrayRef> setIDs = CopyAllSetIDs(outcome);
    CFIndex count = outcome->ok() ? CFArrayGetCount(setIDs.get()) : 0;
    for (CFIndex i = 0; i < count && outcome->ok(); ++i) {
        CheckSetReadable(outcome, static_cast<CFStringRef>(CFArrayGetValueAtIndex(setIDs.get(), i)), true);
    }
}

CFRef<CFStringRef> LookUpSetOption(Outcome* outcome, const std::optional<std::string>& given) {
    CFRef<CFStringRef> setID;
    if (given) setID = LookUpSet(outcome, *given);
    if (outcome->ok()) CheckSetReadable(outcome, setID.get());
    return outcome->ok() ? std::move(setID) : nullptr;
}
