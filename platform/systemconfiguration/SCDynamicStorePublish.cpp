// Publishing the live state: the file that store handles read, its format,
// and the numbered, locked, atomic replacement of it by each apply.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/posix/AtomicFile.h"
#include "platform/posix/FileLock.h"
#include "platform/posix/RootPath.h"
#include "platform/systemconfiguration/SCDynamicStoreInternal.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"
#include "platform/systemconfiguration/SCPreferences.h"

namespace {

const char kPublishedFile[] = "/var/run/SystemConfiguration/dynamic-store.plist";
const char kSystemPreferencesFile[] = "/Library/Preferences/SystemConfiguration/preferences.plist";
const char kLockSuffix[] = ".lock";

#define kGenerationKey CFSTR("Generation")
#define kKeysKey CFSTR("Keys")

SCDynamicStorePublishObserver gPublishObserver = nil;
void* gPublishObserverContext = nil;

int Refuse(const std::string& file, const std::string& fault, int status) {
    std::fprintf(stderr, "SCDynamicStore: cannot publish %s: %s\n", file.c_str(), fault.c_str());
    return status;
}

int StatusForFileError(int error) {
    return (error == EACCES || error == EPERM || error == EROFS) ? kSCStatusAccessError : kSCStatusFailed;
}

// The generation of the state published now: 0 when there is none yet.
int ReadPublishedGeneration(const std::string& file, SInt64* generation, std::string* fault) {
    std::string bytes;
    int error = 0;
    switch (ReadWholeFile(file, &bytes, &error)) {
        case FileReadResult::Missing:
            *generation = 0;
            return kSCStatusOK;
        case FileReadResult::Failed:
            *fault = std::strerror(error);
            return StatusForFileError(error);
        case FileReadResult::Read:
            break;
    }
    CFDictionaryRef keys = nil;
    if (!SCDynamicStoreParsePublished(bytes, generation, &keys, fault)) {
        *fault += " (remove it to number applies from 1 again)";
        return kSCStatusFailed;
    }
    CFRelease(keys);
    return kSCStatusOK;
}

}  // namespace

std::string SCDynamicStorePublishedFile() { return TarnwickRootPath(kPublishedFile); }

std::string SCDynamicStoreSystemPreferencesFile() { return TarnwickRootPath(kSystemPreferencesFile); }

bool SCDynamicStoreParsePublished(const std::string& bytes, SInt64* generation, CFDictionaryRef* keys,
                                  std::string* fault) {
    PropertyListFormat format = PropertyListFormat::Binary;
    CFRef<CFMutableDictionaryRef> root(PropertyListCreateFromFileBytes(bytes, &format, fault));
    if (!root) return false;
    CFTypeRef number = CFDictionaryGetValue(root.get(), kGenerationKey);
    CFTypeRef table = CFDictionaryGetValue(root.get(), kKeysKey);
    if (number == nil || CFGetTypeID(number) != CFNumberGetTypeID() ||
        !CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt64Type, generation) || *generation < 0) {
        *fault = "no generation number";
        return false;
    }
    if (table == nil || CFGetTypeID(table) != CFDictionaryGetTypeID()) {
        *fault = "no table of keys";
        return false;
    }
    *keys = static_cast<CFDictionaryRef>(CFRetain(table));
    return true;
}

int SCDynamicStorePublishPreferences(const std::string& preferencesFile, CFDictionaryRef preferences) {
    // The daemon watches the system's store only; other stores are private
    // to the programs that keep them.
    if (preferencesFile != SCDynamicStoreSystemPreferencesFile()) return kSCStatusOK;

    const std::string file = SCDynamicStorePublishedFile();
    CFRef<CFMutableDictionaryRef> keys(SCDynamicStoreCreateSetupKeys(preferences));
    if (!keys) return Refuse(file, "out of memory", kSCStatusFailed);

    // Reading the last generation and writing the next one happen under the
    // lock, so concurrent applies are numbered one after the other.
    FileLock lock;
    int error = 0;
    if (lock.lock(file + kLockSuffix, true, &error) != FileLock::Result::Locked) {
        return Refuse(file, std::string("cannot take its lock: ") + std::strerror(error), StatusForFileError(error));
    }
    SInt64 generation = 0;
    std::string fault;
    int status = ReadPublishedGeneration(file, &generation, &fault);
    if (status != kSCStatusOK) return Refuse(file, fault, status);

    ++generation;
    CFRef<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &generation));
    CFRef<CFMutableDictionaryRef> root(CFDictionaryCreateMutable(kCFAllocatorDefault, 2,
                                                                 &kCFTypeDictionaryKeyCallBacks,
                                                                 &kCFTypeDictionaryValueCallBacks));
    if (!number || !root) return Refuse(file, "out of memory", kSCStatusFailed);
    CFDictionarySetValue(root.get(), kGenerationKey, number.get());
    CFDictionarySetValue(root.get(), kKeysKey, keys.get());

    std::string bytes;
    if (!PropertyListEncodeFileBytes(root.get(), PropertyListFormat::Binary, &bytes, &fault)) {
        return Refuse(file, fault, kSCStatusFailed);
    }
    if (!WriteFileAtomically(file, bytes, &fault, &error)) return Refuse(file, fault, StatusForFileError(error));
    lock.unlock();

    if (gPublishObserver != nil) gPublishObserver(gPublishObserverContext);
    return kSCStatusOK;
}

void SCDynamicStoreSetPublishObserverForTesting(SCDynamicStorePublishObserver observer, void* context) {
    gPublishObserver = observer;
    gPublishObserverContext = context;
}
