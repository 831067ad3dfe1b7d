// The subcommands on the services of a set: list, switch on and off,
// rename, make, copy, remove and put in order.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Json.h"
#include "moresc/Lookup.h"
#include "moresc/Names.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// One service of the list: ID, state, BSD name (none when the service has
// no "Interface" entity or no device name in it) and name.
nlohmann::json ServiceEntry(Outcome* outcome, CFStringRef setID, CFStringRef serviceID) {
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
    return {{"id", TextOf(serviceID)}, {"active", static_cast<bool>(active)},
            {"device", JsonStringOrNull(bsdName.get())}, {"name", JsonStringOrNull(name.get())}};
}

std::string ServiceLine(const nlohmann::json& service) {
    const nlohmann::json& device = service["device"];
    const nlohmann::json& name = service["name"];
    return FieldText(service["id"]) + (service["active"].get<bool>() ? "\tactive\t" : "\tinactive\t") +
           (device.is_null() ? "-" : FieldText(device)) + "\t" + (name.is_null() ? "" : FieldText(name)) + "\n";
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
    nlohmann::json services = nlohmann::json::array();
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFStringRef> setID;
        CFRef<CFArrayRef> serviceIDs;
        if (outcome.ok() && !invocation.arguments.empty()) setID = LookUpSet(&outcome, invocation.arguments[0]);
        if (outcome.ok()) serviceIDs = CopyServiceIDs(&outcome, setID.get());
        CFIndex count = outcome.ok() ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex index = 0; index < count && outcome.ok(); ++index) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), index));
            services.push_back(ServiceEntry(&outcome, setID.get(), serviceID));
        }
    }
    std::string text;
    if (invocation.json) {
        text = JsonDocument(services);
    } else {
        for (const nlohmann::json& service : services) text += ServiceLine(service);
    }
    if (outcome.ok()) std::fputs(text.c_str(), stdout);
    return outcome.Finish();
}

int EnableService(const Invocation& invocation) { return SetServiceActive(invocation, true); }

int DisableService(const Invocation& invocation) { return SetServiceActive(invocation, false); }

int RenameService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName = NameArgument(&outcome, invocation.arguments[1]);
    if (!outcome.ok()) return outcome.Finish();
    RunOnService(&outcome, invocation, Session::kChange, "MoreSCRenameService",
                 [&](CFStringRef setID, CFStringRef serviceID) {
                     if (!invocation.allowDuplicate) CheckServiceNameFree(&outcome, setID, newName.get(), serviceID);
                     return outcome.ok() ? MoreSCRenameService(setID, serviceID, newName.get()) : noErr;
                 });
    return outcome.Finish();
}

int DeleteService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    RunOnService(&outcome, invocation, Session::kChange, "MoreSCDeleteService",
                 [&outcome](CFStringRef setID, CFStringRef serviceID) {
                     CheckEverySetWhole(&outcome);
                     return outcome.ok() ? MoreSCDeleteService(setID, serviceID) : noErr;
                 });
    return outcome.Finish();
}

int DuplicateService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> newName;
    if (invocation.arguments.size() > 1) newName = NameArgument(&outcome, invocation.arguments[1]);
    CFRef<CFStringRef> newServiceID;
    if (outcome.ok()) {
        RunOnService(&outcome, invocation, Session::kChange, "MoreSCDuplicateService",
                     [&](CFStringRef setID, CFStringRef serviceID) {
                         CheckEverySetWhole(&outcome);
                         if (outcome.ok() && newName && !invocation.allowDuplicate) {
                             CheckServiceNameFree(&outcome, setID, newName.get(), nil);
                         }
                         // Without a new name the copy gets a free one; a
                         // service without a name has a copy without one.
                         if (outcome.ok() && !newName && !invocation.allowDuplicate) {
                             CFRef<CFStringRef> name;
                             OSStatus err = MoreSCCopyUserVisibleNameOfService(setID, serviceID, name.out());
                             if (err != coreFoundationUnknownErr) {
                                 outcome.Check("MoreSCCopyUserVisibleNameOfService", err);
                             }
                             if (name) newName = CopyFreeServiceName(&outcome, setID, name.get());
                         }
                         return outcome.ok() ? MoreSCDuplicateService(setID, serviceID, newName.get(),
                                                                      newServiceID.out())
                                             : noErr;
                     });
    }
    return FinishWithNewID(&outcome, newServiceID.get());
}

int NewService(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    const std::string& device = invocation.arguments[0];
    CFRef<CFStringRef> name;
    if (invocation.arguments.size() > 1) name = NameArgument(&outcome, invocation.arguments[1]);
    // The ports are read before the store is locked: listing them does not
    // touch the store.
    CFRef<CFArrayRef> ports;
    if (outcome.ok()) ports = CopyPorts(&outcome);
    CFDictionaryRef port = outcome.ok() ? FindPortByDevice(ports.get(), device) : nil;
    if (outcome.ok() && port == nil) {
        outcome.Fail("no network port has the device " + Quoted(device) + " (\"moresc ports\" lists them)");
    }
    // The library names the service after the port.
    CFTypeRef finalName = name ? name.get() : port ? CFDictionaryGetValue(port, kSCPropUserDefinedName) : nil;
    CFRef<CFStringRef> newServiceID;
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSetOption(&outcome, invocation.set);
        if (outcome.ok()) CheckEverySetWhole(&outcome);
        if (outcome.ok() && finalName != nil && !invocation.allowDuplicate) {
            CheckServiceNameFree(&outcome, setID.get(), static_cast<CFStringRef>(finalName), nil);
        }
        if (outcome.ok()) outcome.Check("MoreSCNewService", MoreSCNewService(setID.get(), port, newServiceID.out()));
        if (outcome.ok() && name) {
            outcome.Check("MoreSCRenameService", MoreSCRenameService(setID.get(), newServiceID.get(), name.get()));
        }
    }
    return FinishWithNewID(&outcome, newServiceID.get());
}

int OrderServices(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    {
        Session session(&outcome, Session::kChange);
        CFRef<CFStringRef> setID;
        CFRef<CFArrayRef> serviceIDs;
        CFMutableArrayRef made = nullptr;
        if (outcome.ok()) setID = LookUpSetOption(&outcome, invocation.set);
        if (outcome.ok()) serviceIDs = CopyServiceIDs(&outcome, setID.get());
        if (outcome.ok()) outcome.Check("CFQArrayCreateMutable", CFQArrayCreateMutable(&made));
        CFRef<CFMutableArrayRef> order(made);
        for (const std::string& given : invocation.arguments) {
            if (!outcome.ok()) break;
            CFRef<CFStringRef> serviceID = LookUpService(&outcome, setID.get(), given);
            if (outcome.ok() && CFArrayContainsValue(order.get(), CFRangeMake(0, CFArrayGetCount(order.get())),
                                                     serviceID.get())) {
                outcome.FailUsage(Quoted(given) + " names service " + Escaped(TextOf(serviceID.get())) +
                                  ", which is already in the order");
            }
            if (outcome.ok()) CFArrayAppendValue(order.get(), serviceID.get());
        }
        // Each service named once: the order is complete when it is as long
        // as the set's.
        CFIndex count = outcome.ok() ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex index = 0; index < count && outcome.ok(); ++index) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), index));
            if (!CFArrayContainsValue(order.get(), CFRangeMake(0, CFArrayGetCount(order.get())), serviceID)) {
                outcome.FailUsage("the order leaves out service " + Escaped(TextOf(serviceID)) + " of " +
                                  SetDescription(setID.get()) + "; name every service once");
            }
        }
        if (outcome.ok() && !CFEqual(order.get(), serviceIDs.get())) {
            outcome.Check("MoreSCSetServicesDict", MoreSCSetServicesDict(setID.get(), nullptr, order.get()));
        }
    }
    return outcome.Finish();
}
