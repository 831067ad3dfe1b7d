#include "moresc/Lookup.h"

#include <functional>
#include <vector>

#include "moresc/Text.h"

namespace {

// Reads the name of the set or service with the given ID into *name.
using NameCopier = std::function<OSStatus(CFStringRef id, CFStringRef* name)>;

// Picks the entry of ids that given names. kind ("set", "service") and
// where ("" or " of set 2") make the messages; nameOperation names the
// library operation that copyName calls.
CFRef<CFStringRef> LookUp(Outcome* outcome, CFArrayRef ids, const std::string& given, const std::string& kind,
                          const std::string& where, const char* nameOperation, const NameCopier& copyName) {
    CFRef<CFStringRef> wanted(CreateStringFromText(given));
    if (!wanted) {
        outcome->FailUsage(Quoted(given) + " is not valid UTF-8");
        return nullptr;
    }
    CFIndex count = CFArrayGetCount(ids);
    if (CFArrayContainsValue(ids, CFRangeMake(0, count), wanted.get())) return wanted;

    std::vector<CFStringRef> matches;
    for (CFIndex index = 0; index < count && outcome->ok(); ++index) {
        CFStringRef id = static_cast<CFStringRef>(CFArrayGetValueAtIndex(ids, index));
        CFRef<CFStringRef> name;
        OSStatus err = copyName(id, name.out());
        // A set or service without a name has none to match.
        if (err == coreFoundationUnknownErr) continue;
        outcome->Check(nameOperation, err);
        if (outcome->ok() && CFEqual(name.get(), wanted.get())) matches.push_back(id);
    }
    if (!outcome->ok()) return nullptr;

    if (matches.size() == 1) return CFRef<CFStringRef>::Retain(matches.front());
    if (matches.empty()) {
        outcome->Fail("no " + kind + where + " has the ID or name " + Quoted(given));
    } else {
        std::string list;
        for (CFStringRef id : matches) list += (list.empty() ? "" : ", ") + TextOf(id);
        outcome->Fail(Quoted(given) + " names " + std::to_string(matches.size()) + " " + kind + "s" + where + ": " +
                      list + " (give one of these IDs)");
    }
    return nullptr;
}

}  // namespace

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

CFRef<CFStringRef> LookUpSet(Outcome* outcome, const std::string& given) {
    CFRef<CFArrayRef> setIDs = CopyAllSetIDs(outcome);
    if (!outcome->ok()) return nullptr;
    return LookUp(outcome, setIDs.get(), given, "set", "", "MoreSCCopyUserVisibleNameOfSet",
                  [](CFStringRef id, CFStringRef* name) { return MoreSCCopyUserVisibleNameOfSet(id, name); });
}

CFRef<CFStringRef> LookUpService(Outcome* outcome, CFStringRef setID, const std::string& given) {
    CFRef<CFArrayRef> serviceIDs;
    outcome->Check("MoreSCCopyServiceIDs", MoreSCCopyServiceIDs(setID, serviceIDs.out(), nullptr));
    if (!outcome->ok()) return nullptr;
    std::string where = setID == nil ? " of the current set" : " of set " + TextOf(setID);
    return LookUp(outcome, serviceIDs.get(), given, "service", where, "MoreSCCopyUserVisibleNameOfService",
                  [setID](CFStringRef id, CFStringRef* name) {
                      return MoreSCCopyUserVisibleNameOfService(setID, id, name);
                  });
}

CFRef<CFStringRef> LookUpSetOption(Outcome* outcome, const std::optional<std::string>& given) {
    if (!given) return nullptr;
    return LookUpSet(outcome, *given);
}
