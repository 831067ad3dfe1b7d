#include "moresc/OneService.h"

#include "moresc/Lookup.h"
#include "moresc/Text.h"

void RunOnService(Outcome* outcome, const Invocation& invocation, Session::Access access, const char* operation,
                  const ServiceStep& step) {
    Session session(outcome, access);
    CFRef<CFStringRef> setID;
    CFRef<CFStringRef> serviceID;
    if (outcome->ok()) setID = LookUpSetOption(outcome, invocation.set);
    if (outcome->ok()) serviceID = LookUpService(outcome, setID.get(), invocation.arguments[0]);
    if (outcome->ok()) outcome->Check(operation, step(setID.get(), serviceID.get()));
}

CFRef<CFDictionaryRef> CopyEntityIfAny(Outcome* outcome, CFStringRef setID, CFStringRef serviceID,
                                       CFStringRef protocol) {
    CFRef<CFDictionaryRef> service;
    outcome->Check("MoreSCCopyEntitiesDict", MoreSCCopyEntitiesDict(setID, serviceID, service.out()));
    if (!outcome->ok()) return nullptr;
    CFTypeRef entity = CFDictionaryGetValue(service.get(), protocol);
    if (entity == nil) return nullptr;
    if (CFGetTypeID(entity) != CFDictionaryGetTypeID()) {
        outcome->Fail("the " + TextOf(protocol) + " entity of service " + Escaped(TextOf(serviceID)) +
                      " is not a dictionary");
        return nullptr;
    }
    return CFRef<CFDictionaryRef>::Retain(static_cast<CFDictionaryRef>(entity));
}

void EditEntity(Outcome* outcome, const Invocation& invocation, CFStringRef protocol, const EntityEdit& edit) {
    RunOnService(outcome, invocation, Session::kChange, "MoreSCSetEntity",
                 [&](CFStringRef setID, CFStringRef serviceID) -> OSStatus {
                     CFRef<CFDictionaryRef> before = CopyEntityIfAny(outcome, setID, serviceID, protocol);
                     CFRef<CFMutableDictionaryRef> entity;
                     if (outcome->ok()) {
                         entity.reset(before ? CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, before.get())
                                             : CFDictionaryCreateMutable(kCFAllocatorDefault, 0,
                                                                         &kCFTypeDictionaryKeyCallBacks,
                                                                         &kCFTypeDictionaryValueCallBacks));
                         if (!entity) outcome->Check("CFDictionaryCreateMutableCopy", coreFoundationUnknownErr);
                     }
                     if (outcome->ok()) edit(outcome, entity.get());
                     // Nothing to write (the entity as it was, or still none): the store
                     // stays as it is, and is not saved.
                     if (!outcome->ok()) return noErr;
                     bool unchanged = before ? CFEqual(before.get(), entity.get())
                                             : CFDictionaryGetCount(entity.get()) == 0;
                     if (unchanged) return noErr;
                     return MoreSCSetEntity(setID, serviceID, protocol, entity.get());
                 });
}

void CopyKeys(CFDictionaryRef from, CFMutableDictionaryRef to, std::initializer_list<CFStringRef> keys) {
    for (CFStringRef key : keys) {
        CFTypeRef value = CFDictionaryGetValue(from, key);
        if (value != nil) {
            CFDictionarySetValue(to, key, value);
        } else {
            CFDictionaryRemoveValue(to, key);
        }
    }
}
