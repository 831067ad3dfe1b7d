#include "platform/posix/FileCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include "platform/posix/FileCallsTesting.h"

namespace {

struct Watch {
    FileCallFault fault;
    long count = 0;
    std::vector<FileCall> calls;
};

// Set only while a test watches the calls.
std::optional<Watch> gWatch;

// What the next call of this kind does: 0 to go ahead, or the fault
// planned for it.
int Planned(FileCall call) {
    if (!gWatch) [[likely]] return 0;
    gWatch->calls.push_back(call);
    if (++gWatch->count != gWatch->fault.at) return 0;
    if (gWatch->fault.error == kCrash) ::_exit(kCrashExitStatus);
    return gWatch->fault.error;
}

// Makes the call, or fails it as planned, and makes it again for as long
// as a signal interrupts it.
template <class Call>
auto Made(FileCall kind, Call call) -> decltype(call(0)) {
    for (;;) {
        int fault = Planned(kind);
        decltype(call(0)) result;
        if (fault > 0) {
            errno = fault;
            result = -1;
        } else {
            result = call(fault);
        }
        if (result >= 0 || errno != EINTR) return result;
    }
}

std::size_t Transferred(int fault, std::size_t size) {
    return (fault == kShortTransfer && size > 1) ? size / 2 : size;
}

}  // namespace

int FileOpen(const char* path, int flags, mode_t mode) {
    return Made(FileCall::kOpen, [&](int) { return ::open(path, flags, mode); });
}

int FileOpenTemporary(char* pathTemplate, int flags) {
    return Made(FileCall::kOpen, [&](int) { return ::mkostemp(pathTemplate, flags); });
}

ssize_t FileRead(int fd, void* buffer, std::size_t size) {
    return Made(FileCall::kRead, [&](int fault) { return ::read(fd, buffer, Transferred(fault, size)); });
}

ssize_t FileWrite(int fd, const void* data, std::size_t size) {
    return Made(FileCall::kWrite, [&](int fault) { return ::write(fd, data, Transferred(fault, size)); });
}

int FileSync(int fd) {
    return Made(FileCall::kSync, [&](int) { return ::fsync(fd); });
}

int FileRename(const char* from, const char* to) {
    return Made(FileCall::kRename, [&](int) { return ::rename(from, to); });
}

int FileUnlink(const char* path) {
    return Made(FileCall::kUnlink, [&](int) { return ::unlink(path); });
}

bool FileDescriptor::close() {
    if (fd_ < 0) return true;
    return ::close(std::exchange(fd_, -1)) == 0;
}

void FileCallsWatchForTesting(FileCallFault fault) { gWatch.emplace(Watch{fault, 0, {}}); }

std::vector<FileCall> FileCallsStopForTesting() {
    std::vector<FileCall> calls;
    if (gWatch) calls = std::move(gWatch->calls);
    gWatch.reset();
    return calls;
}
