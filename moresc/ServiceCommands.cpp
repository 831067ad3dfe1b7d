// The subcommands on the services of a set: list, switch on and off,
// rename, make, copy and remove.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Lookup.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// One line of the service list: ID, state, BSD name ("-" when the service
// has no "Interface" entity or no device name in it) and name.
std::string ServiceLine(Outcome* outcome, CFStringRef setID, CFStringRef serviceID) {
    Boolean active = false;
    CFRef<CFStringRef> bsdName;
    CFRef<CFStringRef> name;
    outcome->Check("MoreSCIsServiceActive", MoreSCIsServiceActive(setID, serviceID, &active));
    if (outcome->ok()) {
        OSStatus err = MoreSCCopyBSDNameOfService(setID, serviceID, bsdName.out());
        if (err != kSCStatusNoKey && err != coreFoundationUnknownErr) {
            outcome->Check("MoreSCCopyBSDNameOfService", err);
        }
    }
    if (outcome->ok()) {
        OSStatus err = MoreSCCopyUserVisibleNameOfService(setID, serviceID, name.out());
        if (err != coreFoundationUnknownErr) outcome->Check("MoreSCCopyUserVisibleNameOfService", err);
    }
    std::string device = TextOf(bsdName.get());
    return TextOf(serviceID) + (active ? "\tactive\t" : "\tinactive\t") + (device.empty() ? "-" : device) + "\t" +
           TextOf(name.get()) + "\n";
}

// Runs change on the service that the first argument names, in a session
// that locks the store.
int ChangeService(const Invocation& invocation, const char* operation, const ServiceStep& change) {
    Outcome outcome(invocation.subcommand->name);
    RunOnService(&outcome, invocation, Session::kChange, operation, change);
    return outcome.Finish();
}

int SetServiceActive(const Invocation& invocation, Boolean active) {
    return ChangeService(invocation, "MoreSCSetServiceActive", [active](CFStringRef setID, CFStringRef serviceID) {
        return MoreSCSetServiceActive(setID, serviceID, active);
    });
}

}  // namespace

int ListServices(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    std::string lines;
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFStringRef> setID;
        CFRef<CFArrayRef> serviceIDs;
        if (outcome.ok() && !invocation.arguments.empty()) setID = LookUpSet(&outcome, invocation.arguments[0]);
        if (outcome.ok()) {
            outcome.Check("MoreSCCopyServiceIDs", MoreSCCopyServiceIDs(setID.get(), serviceIDs.out(), nullptr));
        }
        CFIndex count = outcome.ok() ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex index = 0; index < count && outcome.ok(); ++index) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), index));
            lines += ServiceLine(&outcome, setID.get(), serviceID);
        }
    }
    if (outcome.ok()) std::fputs(lines.c_str(), stdout);
    return outcome.Finish();
}

int EnableService(const Invocation& invocation) { return SetServiceActive(invocation, true); }

int DisableService(const Invocation& invocation) { return SetServiceActive(invocation, false); }

int RenameService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName = NameArgument(&outcome, invocation.arguments[1]);
    if (!outcome.ok()) return outcome.Finish();
    return ChangeService(invocation, "MoreSCRenameService", [&newName](CFStringRef setID, CFStringRef serviceID) {
        return MoreSCRenameService(setID, serviceID, newName.get());
    });
}

int DeleteService(const Invocation& invocation) {
    return ChangeService(invocation, "MoreSCDeleteService", [](CFStringRef setID, CFStringRef serviceID) {
        return MoreSCDeleteService(setID, serviceID);
    });
}

int DuplicateService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName;
    if (invocation.arguments.size() > 1) newName = NameArgument(&outcome, invocation.arguments[1]);
    CFRef<CFStringRef> newServiceID;
    if (outcome.ok()) {
        RunOnService(&outcome, invocation, Session::kChange, "MoreSCDuplicateService",
                     [&](CFStringRef setID, CFStringRef serviceID) {
                         return MoreSCDuplicateService(setID, serviceID, newName.get(), newServiceID.out());
                     });
    }
    if (outcome.ok()) std::printf("%s\n", TextOf(newServiceID.get()).c_str());
    return outcome.Finish();
}

int NewService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    const std::string& device = invocation.arguments[0];
    // The ports are read before the store is locked: listing them does not
    // touch the store.
    CFRef<CFArrayRef> ports = CopyPorts(&outcome);
    CFDictionaryRef port = outcome.ok() ? FindPortByDevice(ports.get(), device) : nil;
    if (outcome.ok() && port == nil) {
        outcome.Fail("no network port has the device " + Quoted(device) + " (\"moresc ports\" lists them)");
    }
    CFRef<CFStringRef> newServiceID;
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSetOption(&outcome, invocation.set);
        if (outcome.ok()) outcome.Check("MoreSCNewService", MoreSCNewService(setID.get(), port, newServiceID.out()));
    }
    if (outcome.ok()) std::printf("%s\n", TextOf(newServiceID.get()).c_str());
    return outcome.Finish();
}
