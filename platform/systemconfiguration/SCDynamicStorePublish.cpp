// Publishing applies: the numbered, locked, atomic replacement of the
// applied configuration that store handles read.
#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include "platform/corefoundation/BinaryPropertyList.h"
#include "platform/posix/AtomicFile.h"
#include "platform/posix/FileLock.h"
#include "platform/posix/RootPath.h"
#include "platform/systemconfiguration/SCDynamicStoreInternal.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"

namespace {

const char kSystemPreferencesFile[] = "/Library/Preferences/SystemConfiguration/preferences.plist";
const char kSystemAppliedFile[] = "/var/run/SystemConfiguration/preferences.plist";
const char kMarkerStart[] = "<!-- generation ";
const char kMarkerEnd[] = " -->";
// The marker sits right after the XML declaration or the binary header,
// well within this.
const std::size_t kMarkerSearchLength = 1024;

SCDynamicStorePublishObserver gPublishObserver = nil;
void* gPublishObserverContext = nil;

// The first bytes of the file at path into *bytes ("" when there is none);
// false with *fault set when it exists but cannot be read.
bool ReadFileStart(const std::string& path, std::string* bytes, std::string* fault) {
    bytes->clear();
    FileDescriptor file(FileOpen(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return true;
        *fault = std::string("cannot read it: ") + std::strerror(errno);
        return false;
    }
    // A read may bring fewer bytes than asked for: read on until the start
    // is whole or the file ends.
    bytes->resize(kMarkerSearchLength);
    std::size_t have = 0;
    while (have < bytes->size()) {
        ssize_t got = FileRead(file.get(), bytes->data() + have, bytes->size() - have);
        if (got < 0) {
            *fault = std::string("cannot read it: ") + std::strerror(errno);
            return false;
        }
        if (got == 0) break;
        have += static_cast<std::size_t>(got);
    }
    bytes->resize(have);
    return true;
}

// Where the marker goes in xml: right after its XML declaration, or in
// front when it has none.
std::size_t MarkerPosition(const std::string& xml) {
    std::size_t declarationEnd = xml.find("?>");
    if (declarationEnd == std::string::npos || declarationEnd > xml.find("<plist")) return 0;
    return declarationEnd + 2;
}

}  // namespace

std::string SCDynamicStoreSystemPreferencesFile() { return TarnwickRootPath(kSystemPreferencesFile); }

std::string SCDynamicStoreSystemAppliedFile() { return TarnwickRootPath(kSystemAppliedFile); }

SInt64 SCDynamicStoreGenerationOfBytes(const std::string& bytes) {
    std::size_t start = bytes.substr(0, kMarkerSearchLength).find(kMarkerStart);
    if (start == std::string::npos) return 0;
    const char* digits = bytes.c_str() + start + sizeof kMarkerStart - 1;
    char* end = nullptr;
    long long generation = std::strtoll(digits, &end, 10);
    if (end == digits || std::strncmp(end, kMarkerEnd, sizeof kMarkerEnd - 1) != 0 || generation < 0) return 0;
    return generation;
}

bool SCDynamicStorePublishApplied(const std::string& appliedFile, const std::string& bytes, PropertyListFormat format,
                                  std::string* fault) {
    // Reading the last generation and writing the next happen under the
    // lock, so concurrent applies are numbered one after the other.
    FileLock lock;
    int error = 0;
    if (lock.lock(appliedFile + ".lock", true, &error) != FileLock::Result::Locked) {
        *fault = std::string("cannot take its lock: ") + std::strerror(error);
        return false;
    }
    // Under the lock no apply is under way: temporary files of its name are
    // what killed applies left behind.
    RemoveLeftoverTemporaryFiles(appliedFile);
    std::string start;
    if (!ReadFileStart(appliedFile, &start, fault)) return false;
    // A count that has reached the largest number starts again at 1.
    SInt64 last = SCDynamicStoreGenerationOfBytes(start);
    SInt64 next = last < std::numeric_limits<SInt64>::max() ? last + 1 : 1;
    std::string marker = kMarkerStart + std::to_string(next) + kMarkerEnd;

    // The file is written in pieces around the marker rather than copied,
    // as a large store's text is large.
    std::string_view text(bytes);
    std::string_view pieces[4];
    std::string between, table;
    if (format == PropertyListFormat::Binary) {
        // Right after the header, in room that no object takes.
        std::size_t objectsEnd = 0;
        if (!BinaryPropertyListMakeRoomAfterHeader(text, marker.size(), &objectsEnd, &table)) {
            *fault = "the committed state is not a binary property list";
            return false;
        }
        pieces[0] = text.substr(0, 8);
        pieces[1] = marker;
        pieces[2] = text.substr(8, objectsEnd - 8);
        pieces[3] = table;
    } else {
        // On a line of its own: after the declaration's line end, or before
        // the text when it has none.
        std::size_t at = MarkerPosition(bytes);
        between = at == 0 ? marker + "\n" : "\n" + marker;
        pieces[0] = text.substr(0, at);
        pieces[1] = between;
        pieces[2] = text.substr(at);
    }
    // Run-time state lasts until the next restart only: it is replaced
    // whole, but not flushed to disk.
    if (!WriteFileAtomically(appliedFile, {pieces[0], pieces[1], pieces[2], pieces[3]}, fault, &error, nullptr, false))
        return false;
    lock.unlock();

    if (gPublishObserver != nil) gPublishObserver(gPublishObserverContext);
    return true;
}

void SCDynamicStoreSetPublishObserverForTesting(SCDynamicStorePublishObserver observer, void* context) {
    gPublishObserver = observer;
    gPublishObserverContext = context;
}
