#include <charconv>
#include <cstdint>
#include <cstring>

#include "netconfig/MoreSCCreateInternal.h"
#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCSession.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

// IDs that the layer makes are decimal numerals: one more than the largest
// numeric key under the parent. The running maximum starts at the smallest
// 32-bit number, so under a parent without numeric keys the first ID is
// -2147483647; such a key does not start with a digit and is not counted
// by later scans, which therefore arrive at the same ID again. The
// allocator steps over IDs already taken instead of overwriting them.

void LargestNumericKey(const void* key, const void* value, void* context) {
    (void) value;
    MoreAssertQ(CFGetTypeID(key) == CFStringGetTypeID());
    if (CFGetTypeID(key) != CFStringGetTypeID()) return;

    // Longer keys, and keys that are not ASCII, are no numbers of ours.
    char text[16];
    if (!CFStringGetCString(static_cast<CFStringRef>(key), text, sizeof text, kCFStringEncodingASCII)) return;
    if (text[0] < '0' || text[0] > '9') return;

    // "007" counts as 7; "12abc" and numbers beyond 32 bits do not count.
    std::int32_t number = 0;
    const char* end = text + std::strlen(text);
    std::from_chars_result parsed = std::from_chars(text, end, number, 10);
    if (parsed.ec != std::errc() || parsed.ptr != end) return;

    SInt32* largest = static_cast<SInt32*>(context);
    if (number > *largest) *largest = number;
}

OSStatus SeIDAllocator::Allocate(CFStringRef* newSeID, CFStringRef* newSePath) {
    MoreAssertQ(newSeID != nil);
    MoreAssertQ(*newSeID == nil);
    MoreAssertQ(newSePath != nil);
    MoreAssertQ(*newSePath == nil);

    SCPreferencesRef prefs = MoreSCGetSCPreferencesRef();
    CFRef<CFStringRef> parentPath(CFStringCreateWithFormat(nil, nil, CFSTR("/%@"), parentKey_));
    OSStatus err = parentPath ? noErr : coreFoundationUnknownErr;

    // A parent that does not exist yet is an empty one. The parent is
    // borrowed from the store and used only until the reservation below,
    // which may replace it.
    CFDictionaryRef parent = nil;
    CFRef<CFDictionaryRef> emptyParent;
    if (err == noErr) {
        parent = SCPreferencesPathGetValue(prefs, parentPath.get());
        int status = SCError();
        if (status == kSCStatusNoKey) {
            emptyParent.reset(CFDictionaryCreate(nil, nil, nil, 0, &kCFTypeDictionaryKeyCallBacks,
                                                 &kCFTypeDictionaryValueCallBacks));
            parent = emptyParent.get();
            if (parent == nil) err = coreFoundationUnknownErr;
        } else if (status != kSCStatusOK) {
            err = MoreSCErrorBoolean(false);
        }
    }
    // A parent that is itself a link the store could not follow is no
    // place for new IDs.
    if (err == noErr && (parent == nil || CFGetTypeID(parent) != CFDictionaryGetTypeID() ||
                         CFDictionaryContainsKey(parent, kSCResvLink))) {
        err = MoreSCErrorBoolean(false);
    }

    if (err == noErr && !scanned_) {
        largest_ = INT32_MIN;
        CFDictionaryApplyFunction(parent, LargestNumericKey, &largest_);
        scanned_ = true;
    }
    if (err == noErr && largest_ == INT32_MAX) err = MoreSCErrorBoolean(false);

    // Only a negative ID can already be taken (see above); step past it.
    CFRef<CFStringRef> path;
    SInt32 newID = 0;
    if (err == noErr) {
        newID = largest_ + 1;
        for (;;) {
            CFRef<CFStringRef> idText(CFStringCreateWithFormat(nil, nil, CFSTR("%i"), static_cast<int>(newID)));
            if (!idText) err = coreFoundationUnknownErr;
            if (err != noErr || !CFDictionaryContainsKey(parent, idText.get())) break;
            if (newID == INT32_MAX) err = MoreSCErrorBoolean(false);
            if (err != noErr) break;
            newID++;
        }
    }
    if (err == noErr) {
        path.reset(CFStringCreateWithFormat(nil, nil, CFSTR("%@/%i"), parentPath.get(), static_cast<int>(newID)));
        if (!path) err = coreFoundationUnknownErr;
    }

    // The empty dictionary reserves the ID.
    if (err == noErr) {
        CFRef<CFMutableDictionaryRef> reservation(CFDictionaryCreateMutable(
            nil, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        err = reservation ? noErr : coreFoundationUnknownErr;
        if (err == noErr) err = MoreSCErrorBoolean(SCPreferencesPathSetValue(prefs, path.get(), reservation.get()));
    }
    CFRef<CFStringRef> id;
    if (err == noErr) err = CopySeIDFromSePath(path.get(), id.out());
    if (err == noErr) {
        largest_ = newID;
        *newSeID = id.release();
        *newSePath = path.release();
    }
    return err;
}

OSStatus MakeNewSeAndCopyIDAndPath(CFStringRef parentKey, CFStringRef* newSeID, CFStringRef* newSePath) {
    SeIDAllocator allocator(parentKey);
    return allocator.Allocate(newSeID, newSePath);
}
