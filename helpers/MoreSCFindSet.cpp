#include "helpers/MoreSCFindSet.h"

#include "netconfig/MoreSCSets.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"

OSStatus MoreSCFindSetByUserVisibleNameAndCopyID(CFStringRef userVisibleName, CFStringRef* setID) {
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(setID != nil);
    if (userVisibleName == nil || setID == nil) return paramErr;
    MoreAssertQ(*setID == nil);

    CFRef<CFArrayRef> setIDs;
    OSStatus err = MoreSCCopySetIDs(setIDs.out(), nil);
    CFIndex setCount = (err == noErr) ? CFArrayGetCount(setIDs.get()) : 0;
    CFRef<CFStringRef> found;
    for (CFIndex setIndex = 0; err == noErr && setIndex < setCount && !found; setIndex++) {
        CFStringRef thisSetID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(setIDs.get(), setIndex));
        CFRef<CFStringRef> name;
        err = MoreSCCopyUserVisibleNameOfSet(thisSetID, name.out());
        if (err == noErr && CFEqual(userVisibleName, name.get())) found = CFRef<CFStringRef>::Retain(thisSetID);
    }
    *setID = found.release();
    return err;
}
