#include "moresc/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "MoreSC.h"

namespace {

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

std::string TooLarge(std::size_t limit) { return "larger than the limit of " + std::to_string(limit) + " bytes"; }

// Reads path into *bytes; on failure *fault says why.
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
        *fault = TooLarge(limit);
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
            *fault = TooLarge(limit);
            return InputRead::kTooLarge;
        }
    }
}

}  // namespace

std::optional<std::string> ReadInputFile(Outcome* outcome, const std::string& path) {
    std::string bytes;
    std::string fault;
    switch (ReadInput(path, &bytes, &fault)) {
        case InputRead::kRead:
            return bytes;
        case InputRead::kUnreadable:
            outcome->Fail("cannot read " + InputName(path) + ": " + fault);
            break;
        case InputRead::kTooLarge:
            outcome->FailUsage(InputName(path) + " is " + fault);
            break;
    }
    return std::nullopt;
}

std::string InputName(const std::string& path) { return path == "-" ? "standard input" : path; }
