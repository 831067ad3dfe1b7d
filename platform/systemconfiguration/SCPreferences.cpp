// The store handle: reading the store file, its lock, saving and applying,
// root-level values and the last-status record.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "platform/posix/AtomicFile.h"
#include "platform/posix/RootPath.h"
#include "platform/systemconfiguration/SCDynamicStoreInternal.h"
#include "platform/systemconfiguration/SCPreferencesInternal.h"
#include "platform/systemconfiguration/SCPreferencesTesting.h"

namespace {

const char kStoreFolder[] = "/Library/Preferences/SystemConfiguration";
const char kDefaultStoreName[] = "preferences.plist";
const char kAppliedFolder[] = "/var/run/SystemConfiguration";
const char kLockSuffix[] = ".lock";

// The status of the last call, for SCError().
int gSCStatus = kSCStatusOK;

std::string StringText(CFStringRef string) {
    if (string == nil) return std::string();
    CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return std::string();
    return std::string(buffer.data());
}

// The file a store ID names: the default store, an absolute path, or a
// name within the default store's folder.
std::string StoreFilePath(CFStringRef prefsID) {
    std::string id = StringText(prefsID);
    if (id.empty()) return TarnwickRootPath(std::string(kStoreFolder) + "/" + kDefaultStoreName);
    if (id.front() == '/') return TarnwickRootPath(id);
    return TarnwickRootPath(std::string(kStoreFolder) + "/" + id);
}

int StatusForFileError(int error) {
    return (error == EACCES || error == EPERM || error == EROFS) ? kSCStatusAccessError : kSCStatusFailed;
}

void Complain(const char* action, const std::string& file, const std::string& fault) {
    std::fprintf(stderr, "SCPreferences: cannot %s %s: %s\n", action, file.c_str(), fault.c_str());
}

// kSCStatusOK when the store file still holds what this handle read or
// last wrote; kSCStatusStale (or the status of a read failure) otherwise,
// with *fault saying what happened.
int CheckFileUnchanged(const __SCPreferences* prefs, std::string* fault) {
    std::string bytes;
    int error = 0;
    switch (ReadWholeFile(prefs->file, &bytes, &error)) {
        case FileReadResult::Missing:
            if (!prefs->savedExists) return kSCStatusOK;
            *fault = "it was removed after it was read";
            return kSCStatusStale;
        case FileReadResult::Read:
            if (prefs->savedExists && bytes == prefs->savedBytes) return kSCStatusOK;
            *fault = "it changed on disk after it was read";
            return kSCStatusStale;
        case FileReadResult::Failed:
            break;
    }
    *fault = std::strerror(error);
    return StatusForFileError(error);
}

// Takes the handle's lock; on failure returns the status and a description.
int TakeLock(__SCPreferences* prefs, bool wait, std::string* fault) {
    int error = 0;
    switch (prefs->lock.lock(prefs->file + kLockSuffix, wait, &error)) {
        case FileLock::Result::Locked:
            return kSCStatusOK;
        case FileLock::Result::Busy:
            *fault = "another process holds its lock";
            return kSCStatusPrefsBusy;
        case FileLock::Result::Failed:
            break;
    }
    *fault = std::string("cannot take its lock: ") + std::strerror(error);
    return StatusForFileError(error);
}

Boolean Finish(int status) {
    _SCErrorSet(status);
    return status == kSCStatusOK;
}

}  // namespace

void _SCErrorSet(int status) { gSCStatus = status; }

int SCError(void) { return gSCStatus; }

const char* SCErrorString(int status) {
    switch (status) {
        case kSCStatusOK: return "Success";
        case kSCStatusFailed: return "Failed";
        case kSCStatusInvalidArgument: return "Invalid argument";
        case kSCStatusAccessError: return "Permission denied";
        case kSCStatusNoKey: return "No such key";
        case kSCStatusKeyExists: return "Key already exists";
        case kSCStatusLocked: return "Lock already held";
        case kSCStatusNeedLock: return "Lock not held";
        case kSCStatusNoPrefsSession: return "No preferences session";
        case kSCStatusPrefsBusy: return "Preferences are locked by another process";
        case kSCStatusNoConfigFile: return "Configuration file not found";
        case kSCStatusNoLink: return "No such link";
        case kSCStatusStale: return "Preferences changed on disk since they were read";
        case kSCStatusMaxLink: return "Too many links";
        default: return "Unknown error";
    }
}

CFTypeID SCPreferencesGetTypeID(void) {
    static const CFTypeID typeID = _CFRuntimeRegisterClass("SCPreferences");
    return typeID;
}

CFMutableDictionaryRef SCPreferencesWritableRoot(__SCPreferences* prefs) {
    if (CFGetRetainCount(prefs->tree.get()) > 1) {
        prefs->tree.reset(CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, prefs->tree.get()));
    }
    return prefs->tree.get();
}

SCPreferencesRef SCPreferencesCreate(CFAllocatorRef, CFStringRef name, CFStringRef prefsID) {
    auto prefs = std::make_unique<__SCPreferences>();
    prefs->name = StringText(name);
    prefs->file = StoreFilePath(prefsID);

    std::string bytes;
    int error = 0;
    switch (ReadWholeFile(prefs->file, &bytes, &error)) {
        case FileReadResult::Missing:
            // No file yet: an empty store, written as XML when first saved.
            prefs->tree.reset(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                        &kCFTypeDictionaryValueCallBacks));
            break;
        case FileReadResult::Failed:
            Complain("read", prefs->file, std::strerror(error));
            _SCErrorSet(StatusForFileError(error));
            return nil;
        case FileReadResult::Read: {
            std::string fault;
            prefs->tree.reset(PropertyListCreateFromFileBytes(bytes, &prefs->format, &fault));
            if (!prefs->tree) {
                Complain("read", prefs->file, fault);
                _SCErrorSet(kSCStatusFailed);
                return nil;
            }
            prefs->savedExists = true;
            prefs->savedBytes = std::move(bytes);
            break;
        }
    }
    prefs->saved = CFRef<CFMutableDictionaryRef>::Retain(prefs->tree.get());
    _SCErrorSet(kSCStatusOK);
    return prefs.release();
}

Boolean SCPreferencesLock(SCPreferencesRef ref, Boolean wait) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);
    if (prefs->lock.held()) return Finish(kSCStatusLocked);

    std::string fault;
    int status = TakeLock(prefs, wait, &fault);
    // A lock over a file that someone else has rewritten since this handle
    // read it would protect nothing: the handle's changes are already stale.
    if (status == kSCStatusOK) {
        status = CheckFileUnchanged(prefs, &fault);
        if (status != kSCStatusOK) prefs->lock.unlock();
    }
    return Finish(status);
}

Boolean SCPreferencesUnlock(SCPreferencesRef ref) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);
    if (!prefs->lock.held()) return Finish(kSCStatusNeedLock);
    prefs->lock.unlock();
    return Finish(kSCStatusOK);
}

Boolean SCPreferencesCommitChanges(SCPreferencesRef ref) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    // Nothing changed: the file stays exactly as it is, time stamps included.
    if (CFEqual(prefs->tree.get(), prefs->saved.get())) return Finish(kSCStatusOK);

    std::string fault;
    int status = kSCStatusOK;
    bool tookLock = false;
    if (!prefs->lock.held()) {
        status = TakeLock(prefs, true, &fault);
        tookLock = status == kSCStatusOK;
    }
    // Someone else saved since this handle read the file: writing now would
    // silently drop their change.
    if (status == kSCStatusOK) status = CheckFileUnchanged(prefs, &fault);
    if (status == kSCStatusOK) {
        std::string bytes;
        int error = 0;
        if (!PropertyListEncodeFileBytes(prefs->tree.get(), prefs->format, &bytes, &fault)) {
            status = kSCStatusFailed;
        } else if (!WriteFileAtomically(prefs->file, bytes, &fault, &error)) {
            status = StatusForFileError(error);
        } else {
            prefs->savedBytes = std::move(bytes);
            prefs->savedExists = true;
            prefs->saved = CFRef<CFMutableDictionaryRef>::Retain(prefs->tree.get());
        }
    }
    if (tookLock) prefs->lock.unlock();
    if (status != kSCStatusOK) Complain("save", prefs->file, fault);
    return Finish(status);
}

Boolean SCPreferencesApplyChanges(SCPreferencesRef ref) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    // The running system takes the configuration as last committed, in the
    // file of the same name under its run-time folder.
    std::string applied = TarnwickRootPath(std::string(kAppliedFolder) + "/" +
                                           std::filesystem::path(prefs->file).filename().string());
    std::string bytes;
    std::string fault;
    int status = kSCStatusOK;
    // An XML store file already holds the committed state in the form wanted.
    if (prefs->savedExists && prefs->format == PropertyListFormat::XML) {
        bytes = prefs->savedBytes;
    } else if (!PropertyListEncodeFileBytes(prefs->saved.get(), PropertyListFormat::XML, &bytes, &fault)) {
        status = kSCStatusFailed;
    }
    // Numbered, so that the live state store shows every apply in order.
    if (status == kSCStatusOK && !SCDynamicStorePublishApplied(applied, bytes, &fault)) status = kSCStatusFailed;
    if (status != kSCStatusOK) Complain("apply", prefs->file, "cannot write " + applied + ": " + fault);
    return Finish(status);
}

CFArrayRef SCPreferencesCopyKeyList(SCPreferencesRef ref) {
    if (ref == nil) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    CFDictionaryRef root = SCPreferencesInside(ref)->tree.get();
    CFIndex count = CFDictionaryGetCount(root);
    std::vector<const void*> keys(static_cast<std::size_t>(count));
    CFDictionaryGetKeysAndValues(root, keys.data(), nullptr);
    CFArrayRef list = CFArrayCreate(kCFAllocatorDefault, keys.data(), count, &kCFTypeArrayCallBacks);
    _SCErrorSet(list != nil ? kSCStatusOK : kSCStatusFailed);
    return list;
}

CFPropertyListRef SCPreferencesGetValue(SCPreferencesRef ref, CFStringRef key) {
    if (ref == nil || key == nil) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    CFPropertyListRef value = CFDictionaryGetValue(SCPreferencesInside(ref)->tree.get(), key);
    _SCErrorSet(value != nil ? kSCStatusOK : kSCStatusNoKey);
    return value;
}

namespace {

// Stores a private, mutable copy of value at key of the root; with
// onlyIfAbsent, an existing key is an error.
Boolean StoreRootValue(SCPreferencesRef ref, CFStringRef key, CFPropertyListRef value, bool onlyIfAbsent) {
    if (ref == nil || key == nil || value == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);
    if (onlyIfAbsent && CFDictionaryContainsKey(prefs->tree.get(), key)) return Finish(kSCStatusKeyExists);
    CFRef<CFPropertyListRef> copy(
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, value, kCFPropertyListMutableContainers));
    if (!copy) return Finish(kSCStatusInvalidArgument);
    CFDictionarySetValue(SCPreferencesWritableRoot(prefs), key, copy.get());
    return Finish(kSCStatusOK);
}

}  // namespace

Boolean SCPreferencesAddValue(SCPreferencesRef ref, CFStringRef key, CFPropertyListRef value) {
    return StoreRootValue(ref, key, value, true);
}

Boolean SCPreferencesSetValue(SCPreferencesRef ref, CFStringRef key, CFPropertyListRef value) {
    return StoreRootValue(ref, key, value, false);
}

Boolean SCPreferencesRemoveValue(SCPreferencesRef ref, CFStringRef key) {
    if (ref == nil || key == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);
    if (!CFDictionaryContainsKey(prefs->tree.get(), key)) return Finish(kSCStatusNoKey);
    CFDictionaryRemoveValue(SCPreferencesWritableRoot(prefs), key);
    return Finish(kSCStatusOK);
}

void SCPreferencesInterruptNextCommitForTesting(long afterBytes) { AtomicFileInterruptNextWriteForTesting(afterBytes); }
