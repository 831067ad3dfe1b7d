#include "platform/posix/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/posix/FileCalls.h"

FileLock::Result FileLock::lock(const std::string& lockPath, bool wait, int* error) {
    if (held()) return Result::Locked;

    std::error_code made;
    std::filesystem::create_directories(std::filesystem::path(lockPath).parent_path(), made);
    if (made) {
        *error = made.value();
        return Result::Failed;
    }
    int fd = FileOpen(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        *error = errno;
        return Result::Failed;
    }
    int operation = LOCK_EX | (wait ? 0 : LOCK_NB);
    int status;
    do {
        status = ::flock(fd, operation);
    } while (status != 0 && errno == EINTR);
    if (status != 0) {
        *error = errno;
        ::close(fd);
        return *error == EWOULDBLOCK ? Result::Busy : Result::Failed;
    }
    fd_ = fd;
    return Result::Locked;
}

void FileLock::unlock() {
    if (fd_ < 0) return;
    ::flock(fd_, LOCK_UN);
    ::close(fd_);
    fd_ = -1;
}
