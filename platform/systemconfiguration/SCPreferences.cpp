// The store handle: reading the store file, its lock, saving and applying,
// root-level values and the last-status record.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"
#include "platform/corefoundation/CFStringInternal.h"
#include "platform/posix/AtomicFile.h"
#include "platform/posix/RootPath.h"
#include "platform/systemconfiguration/SCDynamicStoreInternal.h"
#include "platform/systemconfiguration/SCPreferencesInternal.h"

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

void Complain(const char* action, const std::string& file, const std::string& fault) {
    std::fprintf(stderr, "SCPreferences: cannot %s %s: %s\n", action, file.c_str(), fault.c_str());
}

std::size_t HashBytes(const std::string& bytes) {
    return static_cast<std::size_t>(cfrt::HashBytes(bytes.data(), bytes.size()));
}

// The one buffer for a store's text: whatever needs one next (the read of
// a store, the encoding of a commit) takes it and gives it back when done,
// and the bytes a handle keeps for its apply are that buffer, lent until
// the handle's next commit or its end. A large store's text thus lands in
// pages the process has already touched, rather than in fresh ones that
// each cost a page fault, on every read and save after the first.
std::string& SpareText() {
    static std::string* spare = new std::string();  // outlives every handle, even at exit
    return *spare;
}

std::string TakeTextBuffer() {
    std::string buffer = std::move(SpareText());
    SpareText() = std::string();
    buffer.clear();
    return buffer;
}

void ReturnTextBuffer(std::string&& buffer) {
    if (buffer.capacity() <= SpareText().capacity()) return;
    buffer.clear();
    SpareText() = std::move(buffer);
}

// Reads the store file within the size limit. Returns kSCStatusOK with the
// bytes and stamp, kSCStatusNoConfigFile when there is no file, or the
// status of a failure with *fault saying what is wrong.
int ReadStoreFile(const std::string& file, std::string* bytes, FileStamp* stamp, std::string* fault) {
    int error = 0;
    const char* kind = "";
    FileReadResult result = ReadRegularFile(file, kSCPreferencesMaxFileSize, bytes, stamp, &error, &kind);
    if (result == FileReadResult::Read) return kSCStatusOK;
    if (result == FileReadResult::Missing) return kSCStatusNoConfigFile;
    *fault = DescribeFileReadFault(result, error, kind, kSCPreferencesMaxFileSize);
    return result == FileReadResult::Failed ? StatusForFileError(error) : kSCStatusFailed;
}

// kSCStatusOK when the store file still holds what this handle read or
// last wrote; kSCStatusStale (or the status of a read failure) otherwise,
// with *fault saying what happened. A file whose stamp is unchanged is not
// read again; one whose stamp changed still counts as unchanged when its
// bytes are the same (it was only touched, or rewritten alike).
int CheckFileUnchanged(__SCPreferences* prefs, std::string* fault) {
    FileStamp now;
    int error = 0;
    switch (StampFile(prefs->file, &now, &error)) {
        case FileReadResult::Missing:
            if (!prefs->savedExists) return kSCStatusOK;
            *fault = "it was removed after it was read";
            return kSCStatusStale;
        case FileReadResult::Read:
            break;
        default:
            *fault = std::strerror(error);
            return StatusForFileError(error);
    }
    if (!prefs->savedExists) {
        *fault = "it was created by another program after the store was read";
        return kSCStatusStale;
    }
    if (now == prefs->savedStamp) return kSCStatusOK;
    std::string bytes;
    int status = ReadStoreFile(prefs->file, &bytes, &now, fault);
    if (status == kSCStatusNoConfigFile) {
        *fault = "it was removed after it was read";
        return kSCStatusStale;
    }
    if (status != kSCStatusOK) return status;
    if (HashBytes(bytes) != prefs->savedHash || bytes.size() != static_cast<std::size_t>(prefs->savedStamp.size)) {
        *fault = "it changed on disk after it was read";
        return kSCStatusStale;
    }
    prefs->savedStamp = now;
    return kSCStatusOK;
}

// The tree this process last saved, with the stamp of the file it wrote.
// A handle opened on that file while its stamp is unchanged takes the tree
// as it is instead of reading and parsing the file again. The tree is
// shared: the handles copy a node before they change it.
struct LastSave {
    std::string file;
    FileStamp stamp;
    std::size_t hash = 0;
    PropertyListFormat format = PropertyListFormat::XML;
    CFRef<CFMutableDictionaryRef> tree;
    // The link answers of a handle that saved this tree and ended without
    // changing it further: the next handle on the tree takes them over.
    SCLinkIndex links;
};

LastSave& TheLastSave() {
    static LastSave* last = new LastSave();  // outlives every handle, even at exit
    return *last;
}

// Opens the handle on the last saved tree when the file on disk is the one
// this process wrote. False when it is not (or there is none).
bool TakeLastSave(__SCPreferences* prefs) {
    LastSave& last = TheLastSave();
    if (!last.tree || last.file != prefs->file) return false;
    FileStamp now;
    int error = 0;
    if (StampFile(prefs->file, &now, &error) != FileReadResult::Read || !(now == last.stamp)) {
        last.tree.reset();
        last.links = SCLinkIndex();
        return false;
    }
    prefs->tree = CFRef<CFMutableDictionaryRef>::Retain(last.tree.get());
    prefs->links = std::move(last.links);
    last.links = SCLinkIndex();
    prefs->format = last.format;
    prefs->savedExists = true;
    prefs->savedStamp = now;
    prefs->savedHash = last.hash;
    return true;
}

void RememberLastSave(const __SCPreferences* prefs) {
    LastSave& last = TheLastSave();
    last.links = SCLinkIndex();
    last.file = prefs->file;
    last.stamp = prefs->savedStamp;
    last.hash = prefs->savedHash;
    last.format = prefs->format;
    last.tree = CFRef<CFMutableDictionaryRef>::Retain(prefs->saved.get());
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

int StatusForFileError(int error) {
    return (error == EACCES || error == EPERM || error == EROFS) ? kSCStatusAccessError : kSCStatusFailed;
}

int SCError(void) { return gSCStatus; }

__SCPreferences::~__SCPreferences() {
    ReturnTextBuffer(std::move(savedBytes));
    // Answers about the tree this process last saved, when the handle ends
    // with that very tree, serve the next handle opened on it.
    LastSave& last = TheLastSave();
    if (last.tree && last.tree.get() == saved.get() && tree.get() == saved.get()) last.links = std::move(links);
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

    if (!TakeLastSave(prefs.get())) {
        std::string bytes = TakeTextBuffer(), fault;
        int status = ReadStoreFile(prefs->file, &bytes, &prefs->savedStamp, &fault);
        if (status == kSCStatusNoConfigFile) {
            // No file yet: an empty store, written as XML when first saved.
            prefs->tree.reset(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                        &kCFTypeDictionaryValueCallBacks));
        } else if (status != kSCStatusOK) {
            Complain("read", prefs->file, fault);
            _SCErrorSet(status);
            return nil;
        } else {
            prefs->tree.reset(PropertyListCreateFromFileBytes(bytes, &prefs->format, &fault));
            if (!prefs->tree) {
                Complain("read", prefs->file, fault);
                _SCErrorSet(kSCStatusFailed);
                return nil;
            }
            prefs->savedExists = true;
            prefs->savedHash = HashBytes(bytes);
        }
        ReturnTextBuffer(std::move(bytes));
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
        // Under the lock no save of this store is under way: temporary
        // files of its name are what crashed saves left behind.
        RemoveLeftoverTemporaryFiles(prefs->file);
        // The buffer of the previous commit's bytes takes the new ones: only
        // one copy of the store's text is held at a time.
        std::string bytes = prefs->savedBytes.empty() ? TakeTextBuffer() : std::move(prefs->savedBytes);
        prefs->savedBytes = std::string();
        bytes.clear();
        // Room for the text at once (it is mostly about as long as the file
        // was): growing it step by step would hold two copies of it for a
        // while.
        std::size_t expected = static_cast<std::size_t>(prefs->savedStamp.size);
        if (bytes.capacity() < expected) bytes.reserve(expected + expected / 8 + 4096);
        int error = 0;
        FileStamp written;
        if (!PropertyListEncodeFileBytes(prefs->tree.get(), prefs->format, &bytes, &fault)) {
            status = kSCStatusFailed;
        } else if (bytes.size() > kSCPreferencesMaxFileSize) {
            // A file this large would be refused by every later read.
            fault = "the store would be larger than the limit of " + std::to_string(kSCPreferencesMaxFileSize) +
                    " bytes";
            status = kSCStatusFailed;
        } else if (!WriteFileAtomically(prefs->file, bytes, &fault, &error, &written)) {
            status = StatusForFileError(error);
        } else {
            prefs->savedHash = HashBytes(bytes);
            prefs->savedBytes = std::move(bytes);
            prefs->savedExists = true;
            prefs->savedStamp = written;
            prefs->saved = CFRef<CFMutableDictionaryRef>::Retain(prefs->tree.get());
            RememberLastSave(prefs);
        }
        ReturnTextBuffer(std::move(bytes));
    }
    if (tookLock) prefs->lock.unlock();
    if (status != kSCStatusOK) Complain("save", prefs->file, fault);
    return Finish(status);
}

Boolean SCPreferencesApplyChanges(SCPreferencesRef ref) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);

    // The running system takes the configuration as last committed, in the
    // store's own format (so that it carries all the store can hold), in
    // the file of the same name under its run-time folder.
    std::string applied = TarnwickRootPath(std::string(kAppliedFolder) + "/" +
                                           std::filesystem::path(prefs->file).filename().string());
    std::string encoded;
    std::string fault;
    // The bytes of the last commit are the committed state: used as they
    // are, not copied.
    const std::string* bytes = &prefs->savedBytes;
    bool ok = true;
    if (prefs->savedBytes.empty()) {
        encoded = TakeTextBuffer();
        bytes = &encoded;
        ok = PropertyListEncodeFileBytes(prefs->saved.get(), prefs->format, &encoded, &fault);
    }
    // Numbered, so that the live state store shows every apply in order.
    if (ok) ok = SCDynamicStorePublishApplied(applied, *bytes, prefs->format, &fault);
    ReturnTextBuffer(std::move(encoded));
    if (ok) return Finish(kSCStatusOK);
    // What was committed stays committed: only the running system missed it.
    std::fprintf(stderr, "SCPreferences: %s: saved, but not applied: %s: %s\n", prefs->file.c_str(), applied.c_str(),
                 fault.c_str());
    return Finish(kSCStatusNoStoreServer);
}

Boolean SCPreferencesSynchronize(SCPreferencesRef ref) {
    if (ref == nil) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);
    // The saved tree is shared, not copied: the handle's tree copies each
    // node it changes later, so the saved tree itself never changes.
    prefs->tree = CFRef<CFMutableDictionaryRef>::Retain(prefs->saved.get());
    SCPreferencesForgetLinks(prefs, {});
    return Finish(kSCStatusOK);
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

Boolean SCPreferencesSetValue(SCPreferencesRef ref, CFStringRef key, CFPropertyListRef value) {
    if (ref == nil || key == nil || value == nil) return Finish(kSCStatusInvalidArgument);
    // A private, mutable copy of the value.
    CFRef<CFPropertyListRef> copy(
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, value, kCFPropertyListMutableContainers));
    if (!copy) return Finish(kSCStatusInvalidArgument);
    __SCPreferences* prefs = SCPreferencesInside(ref);
    std::vector<std::string_view> keys;
    // A key of wide text (however plain) is not compared: all links go.
    if (CFGetTypeID(key) == CFStringGetTypeID() && !key->view().wide)
        keys.emplace_back(reinterpret_cast<const char*>(key->view().narrow()), key->view().length);
    SCPreferencesForgetLinks(prefs, keys);
    CFDictionarySetValue(SCPreferencesWritableRoot(prefs), key, copy.get());
    return Finish(kSCStatusOK);
}
