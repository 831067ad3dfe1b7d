#include "tool/ServiceWalk.h"

#include <cstdio>

#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSets.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "tool/MessageText.h"

ServiceLabel::ServiceLabel(CFTypeRef serviceID) {
    GetCStringCut(serviceID, text_, sizeof(text_), kCFStringEncodingUTF8);
}

void ProxiesEdit::Say(const char* format) const {
    std::printf(format, label_.c_str());
}

void ProxiesEdit::Write(const char* okFormat) {
    err_ = MoreSCSetEntity(nil, serviceID_, kSCEntNetProxies, proxies_);
    if (err_ == noErr) {
        Say(okFormat);
        changed_ = true;
    } else {
        std::printf("# Failed at MoreSCSetEntity : %ld.\n", static_cast<long>(err_));
    }
}

namespace {

// The copy functions of the library, each paired with the dictionary type
// it hands out.
OSStatus CopyProxies(CFStringRef serviceID, CFDictionaryRef* proxies) {
    return MoreSCCopyEntity(nil, serviceID, kSCEntNetProxies, proxies);
}
OSStatus CopyProxies(CFStringRef serviceID, CFMutableDictionaryRef* proxies) {
    return MoreSCCopyEntityMutable(nil, serviceID, kSCEntNetProxies, proxies);
}

// Runs the walk; visit(serviceID, proxies, label, err, changed) is the
// command's per-service step.
template <class Dict, class Visit>
void WalkServices(Visit visit) {
    OSStatus err = noErr;
    // A session that did not open is left as it is: the command just ends.
    MoreSCSessionScope session(&err, false, false, false, MoreSCSessionScope::kLeaveFailedOpen);
    if (err != noErr) return;

    Boolean changed = false;
    // The current set's ID is not needed; asking for it stops the walk
    // when the store has no current set.
    CFRef<CFStringRef> setID;
    err = MoreSCCopyCurrentSet(setID.out());
    CFRef<CFArrayRef> serviceIDs;
    if (err == noErr) err = MoreSCCopyServiceIDs(nil, serviceIDs.out(), nil);
    if (err == noErr) {
        CFIndex count = CFArrayGetCount(serviceIDs.get());
        for (CFIndex index = 0; index < count; index++) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), index));
            Boolean active = false;
            err = MoreSCIsServiceActive(nil, serviceID, &active);
            if (err != noErr || !active) continue;

            CFRef<Dict> proxies;
            err = CopyProxies(serviceID, proxies.out());
            if (err != noErr) continue;
            // A "Proxies" value that is not a dictionary is no entity the
            // commands can read; it is passed over like a missing one.
            if (CFGetTypeID(proxies.get()) != CFDictionaryGetTypeID()) continue;

            ServiceLabel label(serviceID);
            visit(serviceID, proxies.get(), label, err, changed);
        }
    }
    session.SetCommit(changed);
}

}  // namespace

void WalkActiveProxies(const std::function<void(CFDictionaryRef proxies, const ServiceLabel& label)>& visit) {
    WalkServices<CFDictionaryRef>(
        [&](CFStringRef, CFDictionaryRef proxies, const ServiceLabel& label, OSStatus&, Boolean&) {
            visit(proxies, label);
        });
}

void EditActiveProxies(const std::function<void(ProxiesEdit& edit)>& edit) {
    WalkServices<CFMutableDictionaryRef>([&](CFStringRef serviceID, CFMutableDictionaryRef proxies,
                                             const ServiceLabel& label, OSStatus& err, Boolean& changed) {
        ProxiesEdit service(serviceID, proxies, label, err, changed);
        edit(service);
    });
}
