// Store handles on the live state: each call looks at the published state
// (or, before the first apply, the preferences store) and reads it again
// only when the file was replaced since the handle last read it.
#include "platform/systemconfiguration/SCDynamicStore.h"

#include <regex.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CFRuntime.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/posix/AtomicFile.h"
#include "platform/systemconfiguration/SCDynamicStoreInternal.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"
#include "platform/systemconfiguration/SCPreferencesInternal.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

namespace {

struct Entry {
    std::string text;  // the key as UTF-8, for sorting and matching
    CFRef<CFStringRef> key;
    CFRef<CFPropertyListRef> value;
};

bool KeyText(CFTypeRef key, std::string* text) {
    if (key == nil || CFGetTypeID(key) != CFStringGetTypeID()) return false;
    CFStringRef string = static_cast<CFStringRef>(key);
    CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return false;
    text->assign(buffer.data());
    return true;
}

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

class CompiledPattern {
public:
    ~CompiledPattern() {
        if (compiled_) regfree(&regex_);
    }
    // 0, or the error of regcomp with its text in *fault.
    int compile(const std::string& pattern, std::string* fault) {
        int error = regcomp(&regex_, pattern.c_str(), REG_EXTENDED);
        compiled_ = error == 0;
        if (!compiled_) {
            char text[256];
            regerror(error, &regex_, text, sizeof text);
            *fault = text;
        }
        return error;
    }
    // Whether the expression matches all of text, not just a part of it.
    // POSIX matching finds the longest match at the leftmost place, so a
    // whole-text match, if there is one, is the one found.
    bool matchesWhole(const std::string& text) const {
        regmatch_t match;
        return regexec(&regex_, text.c_str(), 1, &match, 0) == 0 && match.rm_so == 0 &&
               static_cast<std::size_t>(match.rm_eo) == text.size();
    }

private:
    regex_t regex_{};
    bool compiled_ = false;
};

}  // namespace

struct __SCDynamicStore : __CFRuntimeBase {
    __SCDynamicStore() : __CFRuntimeBase(SCDynamicStoreGetTypeID()) {}

    // The state as last read: the file it came from ("" for none) and that
    // file's identity. The open descriptor keeps the file's inode from being
    // reused, and writers only ever replace the files by renaming, so an
    // unchanged identity means unchanged contents.
    bool loaded = false;
    std::string sourceFile;
    FileDescriptor source;
    struct stat sourceInfo {};
    SInt64 generation = 0;
    std::vector<Entry> entries;  // sorted by text

    int complain(const std::string& file, const std::string& fault, int status) const {
        std::fprintf(stderr, "SCDynamicStore: cannot read %s: %s\n", file.c_str(), fault.c_str());
        return status;
    }

    void take(const std::string& file, FileDescriptor* fd, const struct stat& info, SInt64 newGeneration,
              CFDictionaryRef keys) {
        loaded = true;
        sourceFile = file;
        source = std::move(*fd);
        sourceInfo = info;
        generation = newGeneration;
        entries.clear();
        CFIndex count = keys != nil ? CFDictionaryGetCount(keys) : 0;
        std::vector<const void*> names(static_cast<std::size_t>(count));
        std::vector<const void*> values(static_cast<std::size_t>(count));
        if (count > 0) CFDictionaryGetKeysAndValues(keys, names.data(), values.data());
        entries.reserve(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            Entry entry;
            if (!KeyText(names[i], &entry.text)) continue;
            entry.key = CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(names[i]));
            entry.value = CFRef<CFPropertyListRef>::Retain(values[i]);
            entries.push_back(std::move(entry));
        }
        std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.text < b.text; });
    }

    // Brings the state up to date; kSCStatusOK, or the status of a state
    // that cannot be read (the last good state is kept).
    int refresh() {
        const std::string applied = SCDynamicStoreSystemAppliedFile();
        // Before the first apply, the daemon shows the store as it is on disk.
        for (const std::string& file : {applied, SCDynamicStoreSystemPreferencesFile()}) {
            FileDescriptor fd;
            struct stat info;
            std::string bytes;
            int error = 0;
            const char* kind = "";
            // Not blocking: a pipe put where the file belongs must not hang us.
            FileReadResult result = OpenRegularFile(file, kSCPreferencesMaxFileSize, &fd, &info, &error, &kind);
            if (result == FileReadResult::Missing) continue;
            if (result == FileReadResult::Read && loaded && file == sourceFile && SameFile(info, sourceInfo))
                return kSCStatusOK;
            if (result == FileReadResult::Read)
                result = ReadOpenFile(fd.get(), info, kSCPreferencesMaxFileSize, &bytes, &error);
            if (result != FileReadResult::Read) {
                return complain(file, DescribeFileReadFault(result, error, kind, kSCPreferencesMaxFileSize),
                                result == FileReadResult::Failed ? StatusForFileError(error) : kSCStatusFailed);
            }
            std::string fault;
            PropertyListFormat format = PropertyListFormat::XML;
            CFRef<CFMutableDictionaryRef> preferences(PropertyListCreateFromFileBytes(bytes, &format, &fault));
            if (!preferences) return complain(file, fault, kSCStatusFailed);
            CFRef<CFDictionaryRef> keys(SCDynamicStoreCreateSetupKeys(preferences.get()));
            take(file, &fd, info, file == applied ? SCDynamicStoreGenerationOfBytes(bytes) : 0, keys.get());
            return kSCStatusOK;
        }
        // Neither file: the daemon starts with an empty configuration.
        FileDescriptor none;
        take(std::string(), &none, {}, 0, nil);
        return kSCStatusOK;
    }
};

CFTypeID SCDynamicStoreGetTypeID(void) {
    static const CFTypeID typeID = _CFRuntimeRegisterClass("SCDynamicStore");
    return typeID;
}

SCDynamicStoreRef SCDynamicStoreCreate(CFAllocatorRef, CFStringRef, SCDynamicStoreCallBack, SCDynamicStoreContext*) {
    auto store = std::make_unique<__SCDynamicStore>();
    int status = store->refresh();
    _SCErrorSet(status);
    return status == kSCStatusOK ? store.release() : nil;
}

CFStringRef SCDynamicStoreKeyCreateNetworkServiceEntity(CFAllocatorRef allocator, CFStringRef domain,
                                                        CFStringRef serviceID, CFStringRef entity) {
    if (domain == nil || serviceID == nil) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    CFStringRef key =
        entity != nil
            ? CFStringCreateWithFormat(allocator, nil, CFSTR("%@/%@/%@/%@/%@"), domain, kSCCompNetwork,
                                       kSCCompService, serviceID, entity)
            : CFStringCreateWithFormat(allocator, nil, CFSTR("%@/%@/%@/%@"), domain, kSCCompNetwork, kSCCompService,
                                       serviceID);
    _SCErrorSet(key != nil ? kSCStatusOK : kSCStatusFailed);
    return key;
}

CFArrayRef SCDynamicStoreCopyKeyList(SCDynamicStoreRef ref, CFStringRef pattern) {
    std::string patternText;
    if (ref == nil || !KeyText(pattern, &patternText)) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    __SCDynamicStore* store = const_cast<__SCDynamicStore*>(ref);
    CompiledPattern regex;
    std::string fault;
    if (regex.compile(patternText, &fault) != 0) {
        std::fprintf(stderr, "SCDynamicStore: bad key pattern \"%s\": %s\n", patternText.c_str(), fault.c_str());
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    int status = store->refresh();
    if (status != kSCStatusOK) {
        _SCErrorSet(status);
        return nil;
    }
    CFMutableArrayRef keys = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
    for (std::size_t i = 0; keys != nil && i < store->entries.size(); ++i) {
        if (regex.matchesWhole(store->entries[i].text)) CFArrayAppendValue(keys, store->entries[i].key.get());
    }
    _SCErrorSet(keys != nil ? kSCStatusOK : kSCStatusFailed);
    return keys;
}

CFPropertyListRef SCDynamicStoreCopyValue(SCDynamicStoreRef ref, CFStringRef key) {
    std::string text;
    if (ref == nil || !KeyText(key, &text)) {
        _SCErrorSet(kSCStatusInvalidArgument);
        return nil;
    }
    __SCDynamicStore* store = const_cast<__SCDynamicStore*>(ref);
    int status = store->refresh();
    if (status != kSCStatusOK) {
        _SCErrorSet(status);
        return nil;
    }
    auto found = std::lower_bound(store->entries.begin(), store->entries.end(), text,
                                  [](const Entry& entry, const std::string& wanted) { return entry.text < wanted; });
    if (found == store->entries.end() || found->text != text) {
        _SCErrorSet(kSCStatusNoKey);
        return nil;
    }
    // An immutable copy: the state's own containers are mutable and must not
    // change under the handle.
    CFPropertyListRef value =
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, found->value.get(), kCFPropertyListImmutable);
    _SCErrorSet(value != nil ? kSCStatusOK : kSCStatusFailed);
    return value;
}

SInt64 SCDynamicStoreGetGenerationForTesting(SCDynamicStoreRef store) {
    return store != nil ? store->generation : -1;
}
