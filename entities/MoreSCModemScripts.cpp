#include "entities/MoreSCModemScripts.h"

#include <cstdlib>
#include <memory>

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/Folders.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/MoreCFQ.h"

namespace {

struct FreeDeleter {
    void operator()(void* block) const { std::free(block); }
};

// Domains in the order their folders are read: the user's own scripts
// first, the system's last.
constexpr SInt16 kModemScriptDomains[] = {kUserDomain, kNetworkDomain, kLocalDomain, kSystemDomain};

constexpr ItemCount kScriptBatchSize = 50;

// Case-insensitive, localised, with digit runs compared as numbers, so
// that "Modem 9" comes before "Modem 10".
constexpr CFStringCompareFlags kScriptNameCompareFlags =
    kCFCompareCaseInsensitive | kCFCompareLocalized | kCFCompareNumerically;

CFComparisonResult CompareScriptNames(const void* name1, const void* name2, void*) {
    return CFStringCompare(static_cast<CFStringRef>(name1), static_cast<CFStringRef>(name2),
                           kScriptNameCompareFlags);
}

// Appends the names of the plain, visible files of one folder.
OSStatus AppendScriptsInFolder(const FSRef& folder, CFMutableArrayRef scripts) {
    std::unique_ptr<FSRef, FreeDeleter> refs(static_cast<FSRef*>(std::malloc(kScriptBatchSize * sizeof(FSRef))));
    std::unique_ptr<HFSUniStr255, FreeDeleter> names(
        static_cast<HFSUniStr255*>(std::malloc(kScriptBatchSize * sizeof(HFSUniStr255))));
    if (refs == nullptr || names == nullptr) return memFullErr;

    FSIterator iterator = nil;
    OSStatus err = FSOpenIterator(&folder, kFSIterateFlat, &iterator);
    bool lastBatch = false;
    while (err == noErr && !lastBatch) {
        ItemCount count = 0;
        err = FSGetCatalogInfoBulk(iterator, kScriptBatchSize, &count, nil, kFSCatInfoNone, nil, refs.get(), nil,
                                   names.get());
        // The batch that reports the end still holds items.
        if (err == errFSNoMoreItems) {
            lastBatch = true;
            err = noErr;
        }
        for (ItemCount i = 0; err == noErr && i < count; i++) {
            LSItemInfoRecord info;
            err = LSCopyItemInfoForRef(&refs.get()[i], kLSRequestBasicFlagsOnly, &info);
            if (err != noErr) break;
            if ((info.flags & kLSItemInfoIsPlainFile) == 0 || (info.flags & kLSItemInfoIsInvisible) != 0) continue;

            const HFSUniStr255& name = names.get()[i];
            CFRef<CFStringRef> script(CFStringCreateWithCharacters(kCFAllocatorDefault, name.unicode, name.length));
            if (script) {
                CFArrayAppendValue(scripts, script.get());
            } else {
                err = coreFoundationUnknownErr;
            }
        }
    }
    if (iterator != nil) {
        OSStatus junk = FSCloseIterator(iterator);
        MoreAssertQ(junk == noErr);
    }
    return err;
}

// The names sorted, one of each run of equal names (which a script
// installed in several domains gives). -4960 when the array cannot be made.
CFRef<CFMutableArrayRef> CreateSortedUniqueNames(CFMutableArrayRef scripts, OSStatus* err) {
    CFIndex count = CFArrayGetCount(scripts);
    CFArraySortValues(scripts, CFRangeMake(0, count), CompareScriptNames, nil);

    CFRef<CFMutableArrayRef> unique;
    *err = CFQArrayCreateMutable(unique.out());
    for (CFIndex i = 0; *err == noErr && i < count; i++) {
        const void* name = CFArrayGetValueAtIndex(scripts, i);
        if (i == 0 || !CFEqual(name, CFArrayGetValueAtIndex(scripts, i - 1))) CFArrayAppendValue(unique.get(), name);
    }
    return unique;
}

// Position of the default script in the sorted list, or 0.
SInt32 IndexOfDefaultScript(CFArrayRef scripts) {
    CFStringRef defaultScript = CFSTR("Apple Internal 56K Modem (v.90)");
    CFIndex count = CFArrayGetCount(scripts);
    CFIndex found = CFArrayBSearchValues(scripts, CFRangeMake(0, count), defaultScript, CompareScriptNames, nil);
    if (found >= 0 && found < count &&
        CompareScriptNames(CFArrayGetValueAtIndex(scripts, found), defaultScript, nil) == kCFCompareEqualTo) {
        return static_cast<SInt32>(found);
    }
    return 0;
}

}  // namespace

OSStatus MoreSCCreateCCLArray(CFArrayRef* result, SInt32* indexOfDefaultCCL) {
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    CFRef<CFMutableArrayRef> scripts;
    OSStatus err = CFQArrayCreateMutable(scripts.out());
    for (SInt16 domain : kModemScriptDomains) {
        if (err != noErr) break;
        FSRef folder;
        // A domain without a modem-scripts folder simply has no scripts.
        if (FSFindFolder(domain, kModemScriptsFolderType, kDontCreateFolder, &folder) != noErr) continue;
        err = AppendScriptsInFolder(folder, scripts.get());
    }

    CFRef<CFMutableArrayRef> sorted;
    if (err == noErr) sorted = CreateSortedUniqueNames(scripts.get(), &err);
    if (err == noErr && indexOfDefaultCCL != nil) *indexOfDefaultCCL = IndexOfDefaultScript(sorted.get());
    if (err == noErr) *result = sorted.release();

    MoreAssertQ((err == noErr) == (*result != nil));
    MoreAssertQ((err != noErr) || (indexOfDefaultCCL == nil) || (CFArrayGetCount(*result) == 0) ||
                (*indexOfDefaultCCL >= 0 && *indexOfDefaultCCL < CFArrayGetCount(*result)));
    return err;
}
