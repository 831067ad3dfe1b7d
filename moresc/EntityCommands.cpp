// The subcommands on the entities of a service: print one as an XML
// property list, and write one from an XML property list.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "MoreSC.h"
#include "moresc/Json.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// The string for a protocol typed on the command line. A protocol is the
// key of one entity in the service's dictionary: it cannot be empty, hold a
// "/" (the store would take it for a path into another entity), or be one
// of the keys that the service keeps beside its entities.
CFRef<CFStringRef> ProtocolArgument(Outcome* outcome, const std::string& text) {
    CFRef<CFStringRef> protocol;
    if (text.empty() || text.find('/') != std::string::npos) {
        outcome->FailUsage(Quoted(text) + " is not a protocol name");
        return protocol;
    }
    protocol.reset(CreateStringFromText(text));
    if (!protocol) {
        outcome->FailUsage(Quoted(text) + " is not valid UTF-8");
    } else if (CFEqual(protocol.get(), kSCPropUserDefinedName) || CFEqual(protocol.get(), kSCResvInactive) ||
               CFEqual(protocol.get(), kSCResvLink)) {
        outcome->FailUsage(Quoted(text) + " is a key of the service, not a protocol");
        protocol.reset();
    }
    return protocol;
}

// A file descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

// How reading the input ended.
enum class InputRead { kRead, kUnreadable, kTooLarge };

// Reads all of path ("-": standard input), but no more than a store may
// hold: what moresc writes into the store must leave it readable. A
// regular file is measured before it is read; a pipe or device is read up
// to one byte past the limit. On failure *fault says why.
InputRead ReadInput(const std::string& path, std::string* bytes, std::string* fault) {
    const std::size_t limit = kSCPreferencesMaxFileSize;
    int fd = STDIN_FILENO;
    // Opened without waiting: a FIFO that no program writes to reads as
    // empty at once, instead of waiting for a writer that may never come.
    Descriptor opened(path == "-" ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (path != "-") {
        fd = opened.get();
        int flags = fd < 0 ? -1 : ::fcntl(fd, F_GETFL);
        if (flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) < 0) {
            *fault = std::strerror(errno);
            return InputRead::kUnreadable;
        }
    }
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && static_cast<std::uintmax_t>(info.st_size) > limit) {
        *fault = "larger than the limit of " + std::to_string(limit) + " bytes";
        return InputRead::kTooLarge;
    }
    char buffer[65536];
    for (;;) {
        ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count == 0) return InputRead::kRead;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) {
            *fault = std::strerror(errno);
            return InputRead::kUnreadable;
        }
        bytes->append(buffer, static_cast<std::size_t>(count));
        if (bytes->size() > limit) {
            *fault = "larger than the limit of " + std::to_string(limit) + " bytes";
            return InputRead::kTooLarge;
        }
    }
}

// The dictionary in the XML property list of path, checked whole before
// the store is opened: a failure leaves the outcome with the reason.
CFRef<CFDictionaryRef> ReadEntityFile(Outcome* outcome, const std::string& path) {
    const std::string shownPath = path == "-" ? "standard input" : path;
    std::string bytes;
    std::string fault;
    switch (ReadInput(path, &bytes, &fault)) {
        case InputRead::kRead:
            break;
        case InputRead::kUnreadable:
            outcome->Fail("cannot read " + shownPath + ": " + fault);
            return nullptr;
        case InputRead::kTooLarge:
            outcome->FailUsage(shownPath + " is " + fault);
            return nullptr;
    }
    PropertyListFormat format = PropertyListFormat::XML;
    CFRef<CFDictionaryRef> entity(PropertyListCreateFromFileBytes(bytes, &format, &fault));
    if (!entity) {
        outcome->FailUsage(shownPath + " is not a property list whose root is a dictionary: " + fault);
    } else if (format != PropertyListFormat::XML) {
        outcome->FailUsage(shownPath + " is a binary property list; give the entity as XML");
        entity.reset();
    }
    return entity;
}

}  // namespace

int PrintEntity(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> protocol = ProtocolArgument(&outcome, invocation.arguments[1]);
    CFRef<CFDictionaryRef> entity;
    if (outcome.ok()) {
        RunOnService(&outcome, invocation, Session::kRead, "MoreSCCopyEntitiesDict",
                     [&](CFStringRef setID, CFStringRef serviceID) {
                         entity = CopyEntityIfAny(&outcome, setID, serviceID, protocol.get());
                         if (outcome.ok() && !entity) {
                             outcome.Fail("service " + Escaped(TextOf(serviceID)) + " has no " +
                                          Quoted(invocation.arguments[1]) + " entity");
                         }
                         return noErr;
                     });
    }
    std::string text;
    std::string fault;
    if (outcome.ok() && invocation.json) {
        text = JsonDocument(JsonOf(entity.get()));
    } else if (outcome.ok() && !PropertyListEncodeFileBytes(entity.get(), PropertyListFormat::XML, &text, &fault)) {
        outcome.Fail("cannot write the entity as XML: " + fault);
    }
    if (outcome.ok()) std::fwrite(text.data(), 1, text.size(), stdout);
    return outcome.Finish();
}

int WriteEntity(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> protocol = ProtocolArgument(&outcome, invocation.arguments[1]);
    CFRef<CFDictionaryRef> entity;
    if (outcome.ok()) entity = ReadEntityFile(&outcome, invocation.arguments[2]);
    if (outcome.ok()) {
        RunOnService(&outcome, invocation, Session::kChange, "MoreSCSetEntity",
                     [&](CFStringRef setID, CFStringRef serviceID) {
                         return MoreSCSetEntity(setID, serviceID, protocol.get(), entity.get());
                     });
    }
    return outcome.Finish();
}
