#include "helpers/MoreSCAppleTalk.h"

#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSessionScope.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

OSStatus MoreSCIsAppleTalkActive(CFStringRef setID, Boolean* active) {
    MoreAssertQ(active != nil);
    if (active == nil) return paramErr;

    *active = false;
    OSStatus err = noErr;
    CFRef<CFArrayRef> serviceIDs;
    {
        MoreSCSessionScope session(&err, false);
        if (err == noErr) err = MoreSCCopyServiceIDs(setID, serviceIDs.out(), nil);
        CFIndex serviceCount = (err == noErr) ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount && !*active; serviceIndex++) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), serviceIndex));
            Boolean flag = false;
            err = MoreSCIsServiceActive(setID, serviceID, &flag);
            // An inactive service does not count, whatever its entity says;
            // an active one must have a readable "AppleTalk" entity.
            if (err == noErr && flag) {
                err = MoreSCIsEntityActive(setID, serviceID, kSCEntNetAppleTalk, &flag);
                if (err == noErr && flag) *active = true;
            }
        }
    }
    return err;
}

OSStatus MoreSCSetAppleTalkActive(CFStringRef setID, Boolean active) {
    OSStatus err = noErr;
    CFRef<CFArrayRef> serviceIDs;
    {
        MoreSCSessionScope session(&err, false);
        Boolean changed = false;
        if (err == noErr) err = MoreSCCopyServiceIDs(setID, serviceIDs.out(), nil);
        CFIndex serviceCount = (err == noErr) ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), serviceIndex));
            // A service whose entity cannot be read (most often: it has
            // none) is left alone; only a failed write ends the walk.
            Boolean flag = false;
            OSStatus status = MoreSCIsEntityActive(setID, serviceID, kSCEntNetAppleTalk, &flag);
            if (status == noErr && (flag != 0) != (active != 0)) {
                err = MoreSCSetEntityActive(setID, serviceID, kSCEntNetAppleTalk, active);
                if (err == noErr) changed = true;
            }
        }
        session.SetCommit(changed);
    }
    return err;
}
