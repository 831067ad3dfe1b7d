// The subcommands on sets: list, show the current one, switch, make, copy,
// rename and delete.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Json.h"
#include "moresc/Lookup.h"
#include "moresc/Names.h"
#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// The name of a set; nil when it has none.
CFRef<CFStringRef> CopySetName(Outcome* outcome, CFStringRef setID) {
    CFRef<CFStringRef> name;
    OSStatus err = MoreSCCopyUserVisibleNameOfSet(setID, name.out());
    if (err != coreFoundationUnknownErr) outcome->Check("MoreSCCopyUserVisibleNameOfSet", err);
    return name;
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
        if (outcome.ok()) outcome.Check(operation, change(&outcome, setID.get()));
    }
    return outcome.Finish();
}

}  // namespace

int ListSets(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    nlohmann::json sets = nlohmann::json::array();
    std::string lines;
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFStringRef> currentSetID;
        std::vector<NamedEntry> entries;
        // A store without a current set still lists its sets, none marked.
        if (outcome.ok()) currentSetID = CopyCurrentSetID(&outcome, false);
        if (outcome.ok()) entries = NamedSets(&outcome);
        for (const NamedEntry& entry : entries) {
            bool current = currentSetID && CFEqual(entry.id.get(), currentSetID.get());
            sets.push_back({{"id", TextOf(entry.id.get())}, {"name", JsonStringOrNull(entry.name.get())},
                            {"current", current}});
            lines += Escaped(TextOf(entry.id.get())) + (current ? "\tcurrent\t" : "\t-\t") +
                     Escaped(TextOf(entry.name.get())) + "\n";
        }
    }
    if (outcome.ok()) std::fputs((invocation.json ? JsonDocument(sets) : lines).c_str(), stdout);
    return outcome.Finish();
}

int PrintCurrentSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> setID;
    CFRef<CFStringRef> name;
    {
        Session session(&outcome, Session::kRead);
        if (outcome.ok()) setID = CopyCurrentSetID(&outcome, true);
        if (outcome.ok()) name = CopySetName(&outcome, setID.get());
    }
    if (outcome.ok()) {
        std::string text = invocation.json ? JsonDocument({{"id", TextOf(setID.get())},
                                                           {"name", JsonStringOrNull(name.get())}})
                                           : Escaped(TextOf(setID.get())) + "\t" + Escaped(TextOf(name.get())) + "\n";
        std::fputs(text.c_str(), stdout);
    }
    return outcome.Finish();
}

int SwitchSet(const Invocation& invocation) {
    return ChangeSet(invocation, "MoreSCSetCurrentSet",
                     [](Outcome*, CFStringRef setID) { return MoreSCSetCurrentSet(setID); });
}

int RenameSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName = NameArgument(&outcome, invocation.arguments[1]);
    if (!outcome.ok()) return outcome.Finish();
    return ChangeSet(invocation, "MoreSCRenameSet", [&](Outcome* change, CFStringRef setID) {
        if (!invocation.allowDuplicate) CheckSetNameFree(change, newName.get(), setID);
        return change->ok() ? MoreSCRenameSet(setID, newName.get()) : noErr;
    });
}

int DeleteSet(const Invocation& invocation) {
    return ChangeSet(invocation, "MoreSCDeleteSet", [](Outcome* change, CFStringRef setID) {
        // The library refuses the current set with a bare -50: say why.
        CFRef<CFStringRef> currentSetID = CopyCurrentSetID(change, true);
        if (change->ok()) CheckEverySetWhole(change);
        if (change->ok() && CFEqual(currentSetID.get(), setID)) {
            change->Fail("set " + Escaped(TextOf(setID)) + " is the current set; switch to another set first");
        }
        return change->ok() ? MoreSCDeleteSet(setID) : noErr;
    });
}

int NewSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> name = NameArgument(&outcome, invocation.arguments[0]);
    // The set gets a service for each port: ports that cannot be listed are
    // reported before the store is opened.
    if (outcome.ok()) CopyPorts(&outcome);
    CFRef<CFStringRef> newSetID;
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        if (outcome.ok()) CheckEverySetWhole(&outcome);
        if (outcome.ok() && !invocation.allowDuplicate) CheckSetNameFree(&outcome, name.get(), nil);
        if (outcome.ok()) outcome.Check("MoreSCNewSet", MoreSCNewSet(name.get(), newSetID.out()));
    }
    return FinishWithNewID(&outcome, newSetID.get());
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
        if (outcome.ok()) CheckEverySetWhole(&outcome);
        if (outcome.ok() && newName && !invocation.allowDuplicate) CheckSetNameFree(&outcome, newName.get(), nil);
        // Without a new name the copy gets a free one; a set without a name
        // has a copy without one.
        if (outcome.ok() && !newName && !invocation.allowDuplicate) {
            CFRef<CFStringRef> name = CopySetName(&outcome, setID.get());
            if (name) newName = CopyFreeSetName(&outcome, name.get());
        }
        if (outcome.ok()) {
            outcome.Check("MoreSCDuplicateSet", MoreSCDuplicateSet(setID.get(), newName.get(), newSetID.out()));
        }
    }
    return FinishWithNewID(&outcome, newSetID.get());
}
