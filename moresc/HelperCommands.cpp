// The subcommands over the configuration helpers: AppleTalk in a set, the
// services configured by DHCP, a DHCP release, and a set for dialling out.

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

// Prints whether AppleTalk is on in the set of --set (or the current set).
int ShowAppleTalk(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    Boolean active = false;
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSetOption(&outcome, invocation.set);
        if (outcome.ok()) outcome.Check("MoreSCIsAppleTalkActive", MoreSCIsAppleTalkActive(setID.get(), &active));
    }
    std::string text =
        invocation.json ? JsonDocument({{"active", static_cast<bool>(active)}}) : active ? "on\n" : "off\n";
    if (outcome.ok()) std::fputs(text.c_str(), stdout);
    return outcome.Finish();
}

// Switches AppleTalk on or off in the set of --set (or the current set).
int SwitchAppleTalk(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    const std::string& state = invocation.arguments[0];
    if (state != "on" && state != "off") outcome.FailUsage(Quoted(state) + " is neither on nor off");
    if (outcome.ok() && invocation.json) outcome.FailUsage("--json is for the question, not with on or off");
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSetOption(&outcome, invocation.set);
        if (outcome.ok()) {
            outcome.Check("MoreSCSetAppleTalkActive", MoreSCSetAppleTalkActive(setID.get(), state == "on"));
        }
    }
    return outcome.Finish();
}

// The name of a service of the current set, for the DHCP list: nil when
// the current set no longer has the service, or the service has no name.
CFRef<CFStringRef> CopyDHCPServiceName(Outcome* outcome, CFStringRef serviceID) {
    CFRef<CFStringRef> name;
    OSStatus err = MoreSCCopyUserVisibleNameOfService(nil, serviceID, name.out());
    if (err != kSCStatusNoKey && err != coreFoundationUnknownErr) {
        outcome->Check("MoreSCCopyUserVisibleNameOfService", err);
    }
    return name;
}

// The options of a dial-up set that moresc makes: an active PPP entity
// with this system's defaults, and no account, number, modem, IPv4 or DNS
// settings of its own.
const MoreSCPPPDigest kDefaultDialupPPP = {true, nil, nil, nil, nil, nil, nil};

// Checks, before anything is made, that there is a modem to dial out
// with: the port of the given device, which must be a modem, or else some
// modem port. The library picks the same port; this only says clearly
// why it would not find one.
void CheckModemPort(Outcome* outcome, const Invocation& invocation) {
    CFRef<CFArrayRef> ports = CopyPorts(outcome);
    if (!outcome->ok()) return;
    if (invocation.arguments.size() < 2) {
        if (FindFirstModemPort(ports.get()) == nil) {
            outcome->Fail("no network port is a modem (\"moresc ports\" lists them)");
        }
        return;
    }
    const std::string& device = invocation.arguments[1];
    CFDictionaryRef port = FindPortByDevice(ports.get(), device);
    if (port == nil) {
        outcome->Fail("no network port has the device " + Quoted(device) + " (\"moresc ports\" lists them)");
    } else if (!IsModemPort(port)) {
        outcome->Fail("the network port of the device " + Quoted(device) + " is not a modem");
    }
}

}  // namespace

int AppleTalk(const Invocation& invocation) {
    return invocation.arguments.empty() ? ShowAppleTalk(invocation) : SwitchAppleTalk(invocation);
}

int ListDHCPServices(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    std::string lines;
    nlohmann::json services = nlohmann::json::array();
    {
        Session session(&outcome, Session::kRead);
        CFRef<CFArrayRef> serviceIDs;
        if (outcome.ok()) {
            outcome.Check("MoreSCCreateActiveDHCPServicesArray", MoreSCCreateActiveDHCPServicesArray(serviceIDs.out()));
        }
        CFIndex count = outcome.ok() ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex index = 0; index < count && outcome.ok(); ++index) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), index));
            CFRef<CFStringRef> name = CopyDHCPServiceName(&outcome, serviceID);
            services.push_back({{"id", TextOf(serviceID)}, {"name", JsonStringOrNull(name.get())}});
            lines += Escaped(TextOf(serviceID)) + "\t" + Escaped(TextOf(name.get())) + "\n";
        }
    }
    if (outcome.ok()) std::fputs((invocation.json ? JsonDocument(services) : lines).c_str(), stdout);
    return outcome.Finish();
}

int ReleaseDHCP(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> serviceID;
    {
        // The look-up locks the store, so that a store another program
        // holds fails at once as with every change; the lock ends with it.
        Session session(&outcome, Session::kChange);
        if (outcome.ok()) serviceID = LookUpService(&outcome, nil, invocation.arguments[0]);
    }
    // The release saves and applies twice, in two sessions of its own: one
    // of moresc around it would hold both saves back until its end, and the
    // system would see only the final state, which is the first.
    if (outcome.ok()) outcome.Check("MoreSCDHCPRelease", MoreSCDHCPRelease(serviceID.get()));
    return outcome.Finish();
}

int NewDialupSet(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> name = NameArgument(&outcome, invocation.arguments[0]);
    if (outcome.ok()) CheckModemPort(&outcome, invocation);
    // A device that a port has is valid text; without one the library
    // takes the first modem port.
    CFRef<CFStringRef> device;
    if (outcome.ok() && invocation.arguments.size() > 1) device.reset(CreateStringFromText(invocation.arguments[1]));
    CFRef<CFStringRef> newSetID;
    if (outcome.ok()) {
        Session session(&outcome, Session::kChange);
        if (outcome.ok()) CheckEverySetWhole(&outcome);
        if (outcome.ok() && !invocation.allowDuplicate) CheckSetNameFree(&outcome, name.get(), nil);
        if (outcome.ok()) {
            outcome.Check("MoreSCMakeNewDialupSet", MoreSCMakeNewDialupSet(name.get(), device.get(), nil,
                                                                           &kDefaultDialupPPP, nil, nil,
                                                                           newSetID.out()));
        }
    }
    return FinishWithNewID(&outcome, newSetID.get());
}
