#include "entities/MoreSCGlobalEntities.h"

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

namespace {

void AssertBuilderArguments(const void* digest, CFDictionaryRef* entity) {
    MoreAssertQ(digest != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);
}

}  // namespace

OSStatus MoreSCCreateGlobalEntity(CFStringRef protocol, const void* digest, CFDictionaryRef* entity) {
    MoreAssertQ(protocol != nil);
    AssertBuilderArguments(digest, entity);

    if (CFEqual(protocol, kSCEntNetIPv4)) return MoreSCCreateIPv4GlobalEntity(digest, entity);
    if (CFEqual(protocol, kSCEntNetNetInfo)) return MoreSCCreateNetInfoGlobalEntity(digest, entity);
    MoreAssertQ(false);
    return -1;
}

OSStatus MoreSCCreateIPv4GlobalEntity(const void* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) err = CFQDictionarySetNumber(dict.get(), kSCPropNetPPPOverridePrimary, 0);
    if (err == noErr) {
        CFRef<CFArrayRef> serviceOrder(CFArrayCreate(kCFAllocatorDefault, nil, 0, &kCFTypeArrayCallBacks));
        if (serviceOrder) {
            CFDictionarySetValue(dict.get(), kSCPropNetServiceOrder, serviceOrder.get());
        } else {
            err = coreFoundationUnknownErr;
        }
    }
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus MoreSCCreateNetInfoGlobalEntity(const void* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) *entity = dict.release();
    return err;
}
