// The subcommands on sets: list, show the current one, switch, make, copy,
// rename and delete.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Lookup.h"
#include "moresc/Outcome.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// The name of a set for listing: "" when it has none.
std::string SetNameText(Outcome* outcome, CFStringRef setID) {
    CFRef<CFStringRef> name;
    OSStatus err = MoreSCCopyUserVisibleNameOfSet(setID, name.out());
    if (err != coreFoundationUnknownErr) outcome->Check("MoreSCCopyUserVisibleNameOfSet", err);
    return TextOf(name.get());
}

// Runs change(setID) on the set that the first argument names, in a session
// that locks the store.
template <class Change>
int ChangeSet(const Invocation& invocation, const char* operation, Change change) {
    Outcome outcome(invocation.subcommand->name);
    {
        Session session(&outcome, Session::kChange);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSet(&outcome, invocation.arguments[0]);
        if (outcome.ok()) outcome.Check(operation, change(setID.get()));
    }
    return outcome.Finish();
}

}  // namespace

int ListSets(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    std::string lines;
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFArrayRef> setIDs;
        CFRef<CFStringRef> currentSetID;
        if (outcome.ok()) setIDs = CopyAllSetIDs(&outcome);
        // A store without a current set still lists its sets, none marked.
        if (outcome.ok()) {
            OSStatus err = MoreSCCopyCurrentSet(currentSetID.out());
            if (err != kSCStatusNoKey) outcome.Check("MoreSCCopyCurrentSet", err);
        }
        CFIndex count = outcome.ok() ? CFArrayGetCount(setIDs.get()) : 0;
        for (CFIndex index = 0; index < count && outcome.ok(); ++index) {
            CFStringRef setID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(setIDs.get(), index));
            bool current = currentSetID && CFEqual(setID, currentSetID.get());
            std::string name = SetNameText(&outcome, setID);
            lines += TextOf(setID) + (current ? "\tcurrent\t" : "\t-\t") + name + "\n";
        }
    }
    if (outcome.ok()) std::fputs(lines.c_str(), stdout);
    return outcome.Finish();
}

int PrintCurrentSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    std::string line;
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) outcome.Check("MoreSCCopyCurrentSet", MoreSCCopyCurrentSet(setID.out()));
        if (outcome.ok()) line = TextOf(setID.get()) + "\t" + SetNameText(&outcome, setID.get()) + "\n";
    }
    if (outcome.ok()) std::fputs(line.c_str(), stdout);
    return outcome.Finish();
}

int SwitchSet(const Invocation& invocation) {
    return ChangeSet(invocation, "MoreSCSetCurrentSet", [](CFStringRef setID) { return MoreSCSetCurrentSet(setID); });
}

int RenameSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName = NameArgument(&outcome, invocation.arguments[1]);
    if (!outcome.ok()) return outcome.Finish();
    return ChangeSet(invocation, "MoreSCRenameSet",
                     [&newName](CFStringRef setID) { return MoreSCRenameSet(setID, newName.get()); });
}

int DeleteSet(const Invocation& invocation) {
    return ChangeSet(invocation, "MoreSCDeleteSet", [](CFStringRef setID) { return MoreSCDeleteSet(setID); });
}

int NewSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> name = NameArgument(&outcome, invocation.arguments[0]);
    CFRef<CFStringRef> newSetID;
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        if (outcome.ok()) outcome.Check("MoreSCNewSet", MoreSCNewSet(name.get(), newSetID.out()));
    }
    if (outcome.ok()) std::printf("%s\n", TextOf(newSetID.get()).c_str());
    return outcome.Finish();
}

int DuplicateSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName;
    if (invocation.arguments.size() > 1) newName = NameArgument(&outcome, invocation.arguments[1]);
    CFRef<CFStringRef> newSetID;
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSet(&outcome, invocation.arguments[0]);
        if (outcome.ok()) {
            outcome.Check("MoreSCDuplicateSet", MoreSCDuplicateSet(setID.get(), newName.get(), newSetID.out()));
        }
    }
    if (outcome.ok()) std::printf("%s\n", TextOf(newSetID.get()).c_str());
    return outcome.Finish();
}
