// The system calls through which the preferences store, its lock and the
// live state are opened, read, written, flushed, renamed and removed. They
// all pass through here so that tests can make any one of them fail
// (FileCallsTesting.h); without a test watching, each is the system call
// of its name and nothing more, except that a call interrupted by a signal
// (EINTR) is made again, so no caller has to.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <utility>

// open(2) and mkostemp(3), which makes a new file from a template ending in
// "XXXXXX" and opens it.
int FileOpen(const char* path, int flags, mode_t mode = 0);
int FileOpenTemporary(char* pathTemplate, int flags);
// read(2) and write(2): either may move fewer bytes than asked.
ssize_t FileRead(int fd, void* buffer, std::size_t size);
ssize_t FileWrite(int fd, const void* data, std::size_t size);
// fsync(2), rename(2) and unlink(2).
int FileSync(int fd);
int FileRename(const char* from, const char* to);
int FileUnlink(const char* path);

// Closes a descriptor when it goes out of scope.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1) : fd_(fd) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            close();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    int get() const { return fd_; }
    // Closes now, reporting whether the close succeeded.
    bool close();

private:
    int fd_;
};
