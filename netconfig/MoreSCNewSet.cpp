#include "entities/MoreSCDigests.h"
#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCCreateInternal.h"
#include "netconfig/MoreSCDelete.h"
#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSets.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "ports/MoreSCFPortScanner.h"

// A new set is made in the order a user would see it built: an empty set
// with its global entities, then one service per network port in the
// order of the port array, then its name. If any step fails, the set is
// deleted again, which also collects the services already made for it.

namespace {

// The empty "Service" and "Global" dictionaries under the set's "Network".
OSStatus AddEmptyNetworkDictionaries(CFStringRef setID) {
    CFRef<CFStringRef> servicesPath;
    CFRef<CFStringRef> globalsPath;
    CFRef<CFDictionaryRef> empty(
        CFDictionaryCreate(nil, nil, nil, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    OSStatus err = (empty ? noErr : coreFoundationUnknownErr);
    if (err == noErr) err = CopySetServicesPath(setID, servicesPath.out());
    if (err == noErr) err = CopySetGlobalsPath(setID, globalsPath.out());
    if (err == noErr) err = SetPathValue(servicesPath.get(), empty.get());
    if (err == noErr) err = SetPathValue(globalsPath.get(), empty.get());
    return err;
}

// The global IPv4 and NetInfo entities; their builders do not read the
// digest, so one record with every field zero serves both.
OSStatus AddGlobalEntities(CFStringRef setID) {
    const MoreSCIPv4Digest globalDigest{};
    OSStatus err = AddGlobalEntityToSet(setID, kSCEntNetIPv4, &globalDigest);
    if (err == noErr) err = AddGlobalEntityToSet(setID, kSCEntNetNetInfo, &globalDigest);
    return err;
}

// One service for each port, in port order; the first failure stops.
OSStatus AddServicesForPorts(CFStringRef setID) {
    CFRef<CFArrayRef> ports;
    OSStatus err = MoreSCCreatePortArray(ports.out());
    const CFIndex portCount = (err == noErr) ? CFArrayGetCount(ports.get()) : 0;
    for (CFIndex portIndex = 0; err == noErr && portIndex < portCount; portIndex++) {
        CFDictionaryRef port = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(ports.get(), portIndex));
        err = MoreSCNewService(setID, port, nil);
    }
    return err;
}

}  // namespace

OSStatus MoreSCNewSet(CFStringRef userVisibleName, CFStringRef* newSetID) {
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(newSetID == nil || *newSetID == nil);

    CFRef<CFStringRef> newSet;
    OSStatus err = (userVisibleName != nil) ? noErr : paramErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> newSetPath;
        if (err == noErr) err = MakeNewSeAndCopyIDAndPath(kSCPrefSets, newSet.out(), newSetPath.out());
        if (err == noErr) {
            err = AddEmptyNetworkDictionaries(newSet.get());
            if (err == noErr) err = AddGlobalEntities(newSet.get());
            if (err == noErr) err = AddServicesForPorts(newSet.get());
            if (err == noErr) err = MoreSCRenameSet(newSet.get(), userVisibleName);

            // The deletion's own status does not replace the one that made
            // it necessary.
            if (err != noErr) {
                (void) MoreSCDeleteSet(newSet.get());
                newSet.reset();
            }
        }
    }

    if (err == noErr) {
        CFStringRef newSetIDLocal = newSet.get();
        MoreAssertQ(newSetIDLocal != nil);
    }
    if (err == noErr && newSetID != nil) *newSetID = newSet.release();
    MoreAssertQ((newSetID == nil) || ( (err == noErr) == (*newSetID != nil)));
    return err;
}
