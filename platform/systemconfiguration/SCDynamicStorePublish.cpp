// Publishing applies: the numbered, locked, atomic replacement of the
// applied configuration that store handles read.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

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
// The marker sits right after the XML declaration, well within this.
const std::size_t kMarkerSearchLength = 1024;

SCDynamicStorePublishObserver gPublishObserver = nil;
void* gPublishObserverContext = nil;

// The first bytes of the file at path into *bytes ("" when there is none);
// false with *fault set when it exists but cannot be read.
bool ReadFileStart(const std::string& path, std::string* bytes, std::string* fault) {
    bytes->clear();
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return true;
        *fault = std::strerror(errno);
        return false;
    }
    bytes->resize(kMarkerSearchLength);
    ssize_t count;
    do {
        count = ::read(fd, bytes->data(), bytes->size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) *fault = std::strerror(errno);
    ::close(fd);
    bytes->resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return count >= 0;
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

bool SCDynamicStorePublishApplied(const std::string& appliedFile, const std::string& xml, std::string* fault) {
    // Reading the last generation and writing the next happen under the
    // lock, so concurrent applies are numbered one after the other.
    FileLock lock;
    int error = 0;
    if (lock.lock(appliedFile + ".lock", true, &error) != FileLock::Result::Locked) {
        *fault = std::string("cannot take its lock: ") + std::strerror(error);
        return false;
    }
    std::string start;
    if (!ReadFileStart(appliedFile, &start, fault)) return false;
    std::string marker = kMarkerStart + std::to_string(SCDynamicStoreGenerationOfBytes(start) + 1) + kMarkerEnd;
    std::size_t at = MarkerPosition(xml);
    std::string_view text(xml);
    // The marker on a line of its own: after the declaration's line end, or
    // before the text when it goes in front.
    std::string_view head = text.substr(0, at), tail = text.substr(at);
    std::string between = at == 0 ? marker + "\n" : "\n" + marker;
    // Run-time state lasts until the next restart only: it is replaced whole,
    // but not flushed to disk. The text is written in pieces around the
    // marker rather than copied, as a large store's text is large.
    if (!WriteFileAtomically(appliedFile, {head, between, tail}, fault, &error, nullptr, false)) return false;
    lock.unlock();

    if (gPublishObserver != nil) gPublishObserver(gPublishObserverContext);
    return true;
}

void SCDynamicStoreSetPublishObserverForTesting(SCDynamicStorePublishObserver observer, void* context) {
    gPublishObserver = observer;
    gPublishObserverContext = context;
}
