#include "platform/posix/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

// The number of bytes after which the next write stops the process, or -1.
long gInterruptAfterBytes = -1;

// Closes a descriptor when it goes out of scope.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }
    // Closes now, reporting whether the close succeeded.
    bool close() {
        if (fd_ < 0) return true;
        int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

private:
    int fd_;
};

bool WriteAll(int fd, const char* data, std::size_t length) {
    while (length > 0) {
        ssize_t written = ::write(fd, data, length);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += written;
        length -= static_cast<std::size_t>(written);
    }
    return true;
}

std::string Describe(const std::string& what, int error) { return what + ": " + std::strerror(error); }

}  // namespace

FileReadResult ReadWholeFile(const std::string& path, std::string* bytes, int* error) {
    bytes->clear();
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        *error = errno;
        return (errno == ENOENT || errno == ENOTDIR) ? FileReadResult::Missing : FileReadResult::Failed;
    }
    struct stat info;
    if (::fstat(file.get(), &info) != 0) {
        *error = errno;
        return FileReadResult::Failed;
    }
    if (S_ISDIR(info.st_mode)) {
        *error = EISDIR;
        return FileReadResult::Failed;
    }
    if (info.st_size > 0) bytes->reserve(static_cast<std::size_t>(info.st_size));
    std::vector<char> buffer(64 * 1024);
    for (;;) {
        ssize_t got = ::read(file.get(), buffer.data(), buffer.size());
        if (got < 0) {
            if (errno == EINTR) continue;
            *error = errno;
            return FileReadResult::Failed;
        }
        if (got == 0) break;
        bytes->append(buffer.data(), static_cast<std::size_t>(got));
    }
    return FileReadResult::Read;
}

bool WriteFileAtomically(const std::string& path, const std::string& bytes, std::string* fault, int* error) {
    std::filesystem::path target(path);
    std::filesystem::path folder = target.parent_path();

    std::error_code made;
    std::filesystem::create_directories(folder, made);
    if (made) {
        *error = made.value();
        *fault = Describe("cannot create folder " + folder.string(), *error);
        return false;
    }

    mode_t mode = 0644;
    struct stat old;
    if (::stat(path.c_str(), &old) == 0) mode = old.st_mode & 07777;

    // A hidden name beside the target, so the rename stays within one file
    // system and a leftover from a crash is not taken for the file itself.
    std::string tempName(".");
    tempName.append(target.filename().string()).append(".XXXXXX");
    std::string tempPath = (folder / tempName).string();
    FileDescriptor temp(::mkostemp(tempPath.data(), O_CLOEXEC));
    if (temp.get() < 0) {
        *error = errno;
        *fault = Describe("cannot create a temporary file in " + folder.string(), *error);
        return false;
    }

    const char* step = nullptr;
    if (::fchmod(temp.get(), mode) != 0) {
        step = "cannot set the file mode";
    } else if (gInterruptAfterBytes >= 0) {
        std::size_t partial = std::min(bytes.size(), static_cast<std::size_t>(gInterruptAfterBytes));
        WriteAll(temp.get(), bytes.data(), partial);
        ::_exit(kAtomicFileInterruptedExitStatus);
    } else if (!WriteAll(temp.get(), bytes.data(), bytes.size())) {
        step = "cannot write";
    } else if (::fsync(temp.get()) != 0) {
        step = "cannot flush to disk";
    } else if (!temp.close()) {
        step = "cannot close";
    } else if (::rename(tempPath.c_str(), path.c_str()) != 0) {
        step = "cannot rename over the file";
    }
    if (step != nullptr) {
        *error = errno;
        *fault = Describe(step, *error);
        ::unlink(tempPath.c_str());
        return false;
    }

    // Flush the folder so that the rename is on disk too. The new contents
    // are already in place; a folder that cannot be flushed is no failure.
    FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) ::fsync(directory.get());
    return true;
}

void AtomicFileInterruptNextWriteForTesting(long afterBytes) { gInterruptAfterBytes = afterBytes; }
