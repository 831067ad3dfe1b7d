#include "moresc/Names.h"

#include <set>
#include <string>
#include <vector>

#include "moresc/Lookup.h"
#include "moresc/Text.h"

namespace {

// The first entry other than exceptID called name; nil when there is none.
CFStringRef EntryCalled(const std::vector<NamedEntry>& entries, CFStringRef name, CFStringRef exceptID) {
    for (const NamedEntry& entry : entries) {
        if (exceptID != nil && CFEqual(entry.id.get(), exceptID)) continue;
        if (entry.name && CFEqual(entry.name.get(), name)) return entry.id.get();
    }
    return nil;
}

void RefuseTaken(Outcome* outcome, const std::string& what, CFStringRef name, CFStringRef holder) {
    outcome->Fail(what + " is already called " + Quoted(TextOf(name)) + " (ID " + Escaped(TextOf(holder)) +
                  "); give another name, or --allow-duplicate");
}

CFRef<CFStringRef> FreeCopyName(Outcome* outcome, const std::vector<NamedEntry>& entries, CFStringRef name) {
    if (!outcome->ok()) return nullptr;
    std::set<std::string> taken;
    for (const NamedEntry& entry : entries) {
        if (entry.name) taken.insert(TextOf(entry.name.get()));
    }
    const std::string base = TextOf(name) + " copy";
    std::string candidate = base;
    for (std::size_t number = 2; taken.count(candidate) != 0; ++number) candidate = base + " " + std::to_string(number);
    return CFRef<CFStringRef>(CreateStringFromText(candidate));
}

}  // namespace

void CheckSetNameFree(Outcome* outcome, CFStringRef name, CFStringRef exceptSetID) {
    std::vector<NamedEntry> sets = NamedSets(outcome);
    CFStringRef holder = outcome->ok() ? EntryCalled(sets, name, exceptSetID) : nil;
    if (holder != nil) RefuseTaken(outcome, "a set", name, holder);
}

void CheckServiceNameFree(Outcome* outcome, CFStringRef setID, CFStringRef name, CFStringRef exceptServiceID) {
    std::vector<NamedEntry> services = NamedServices(outcome, setID);
    CFStringRef holder = outcome->ok() ? EntryCalled(services, name, exceptServiceID) : nil;
    if (holder != nil) RefuseTaken(outcome, "a service of " + SetDescription(setID), name, holder);
}

CFRef<CFStringRef> CopyFreeSetName(Outcome* outcome, CFStringRef name) {
    std::vector<NamedEntry> sets = NamedSets(outcome);
    return FreeCopyName(outcome, sets, name);
}

CFRef<CFStringRef> CopyFreeServiceName(Outcome* outcome, CFStringRef setID, CFStringRef name) {
    std::vector<NamedEntry> services = NamedServices(outcome, setID);
    return FreeCopyName(outcome, services, name);
}
