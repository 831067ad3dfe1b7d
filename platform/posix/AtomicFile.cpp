#include "platform/posix/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <vector>

#include "platform/posix/MemoryPages.h"

namespace {

bool WriteAll(int fd, const char* data, std::size_t length) {
    while (length > 0) {
        ssize_t written = FileWrite(fd, data, length);
        if (written < 0) return false;
        data += written;
        length -= static_cast<std::size_t>(written);
    }
    return true;
}

std::string Describe(const std::string& what, int error) { return what + ": " + std::strerror(error); }

FileStamp StampOf(const struct stat& info) {
    FileStamp stamp;
    stamp.device = info.st_dev;
    stamp.inode = info.st_ino;
    stamp.size = info.st_size;
    stamp.modified = info.st_mtim;
    return stamp;
}

const char* KindOf(mode_t mode) {
    if (S_ISDIR(mode)) return "a folder";
    if (S_ISFIFO(mode)) return "a FIFO";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
    if (S_ISSOCK(mode)) return "a socket";
    return "not a plain file";
}

}  // namespace

FileReadResult OpenRegularFile(const std::string& path, std::size_t limit, FileDescriptor* file, struct stat* info,
                               int* error, const char** kind) {
    // Without O_NONBLOCK, opening a FIFO waits for a writer forever.
    *file = FileDescriptor(FileOpen(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file->get() < 0) {
        *error = errno;
        return (errno == ENOENT || errno == ENOTDIR) ? FileReadResult::Missing : FileReadResult::Failed;
    }
    if (::fstat(file->get(), info) != 0) {
        *error = errno;
        return FileReadResult::Failed;
    }
    if (!S_ISREG(info->st_mode)) {
        if (kind != nullptr) *kind = KindOf(info->st_mode);
        return FileReadResult::NotRegular;
    }
    if (info->st_size < 0 || static_cast<std::uintmax_t>(info->st_size) > limit) return FileReadResult::TooLarge;
    return FileReadResult::Read;
}

FileReadResult ReadOpenFile(int fd, const struct stat& info, std::size_t limit, std::string* bytes, int* error) {
    // Read what fstat promised, and one byte more to notice a file that
    // grows meanwhile: it must not slip past the limit. A buffer made for
    // the read gets its pages at once.
    std::size_t promised = static_cast<std::size_t>(info.st_size) + 1;
    if (bytes->capacity() < promised) {
        bytes->reserve(promised);
        PrefaultPages(bytes->data(), promised);
    }
    bytes->resize(promised);
    std::size_t have = 0;
    for (;;) {
        ssize_t got = FileRead(fd, bytes->data() + have, bytes->size() - have);
        if (got < 0) {
            *error = errno;
            bytes->clear();
            return FileReadResult::Failed;
        }
        if (got == 0) break;
        have += static_cast<std::size_t>(got);
        if (have == bytes->size()) {
            if (have > limit) {
                bytes->clear();
                return FileReadResult::TooLarge;
            }
            bytes->resize(std::min(limit + 1, 2 * have));
        }
    }
    bytes->resize(have);
    return FileReadResult::Read;
}

FileReadResult ReadRegularFile(const std::string& path, std::size_t limit, std::string* bytes, FileStamp* stamp,
                               int* error, const char** kind) {
    bytes->clear();
    FileDescriptor file;
    struct stat info;
    FileReadResult result = OpenRegularFile(path, limit, &file, &info, error, kind);
    if (result == FileReadResult::Read) result = ReadOpenFile(file.get(), info, limit, bytes, error);
    if (result != FileReadResult::Read) return result;
    *stamp = StampOf(info);
    stamp->size = static_cast<off_t>(bytes->size());
    return result;
}

std::string DescribeFileReadFault(FileReadResult result, int error, const char* kind, std::size_t limit) {
    if (result == FileReadResult::NotRegular) return std::string("not a regular file but ") + kind;
    if (result == FileReadResult::TooLarge) return "larger than the limit of " + std::to_string(limit) + " bytes";
    return std::strerror(error);
}

FileReadResult StampFile(const std::string& path, FileStamp* stamp, int* error) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) {
        *error = errno;
        return (errno == ENOENT || errno == ENOTDIR) ? FileReadResult::Missing : FileReadResult::Failed;
    }
    *stamp = StampOf(info);
    return FileReadResult::Read;
}

namespace {

bool IsLeftoverName(const std::string& name, const std::string& target) {
    // "." + target + "." + six characters of mkstemp's alphabet.
    if (name.size() != target.size() + 8 || name[0] != '.' || name.compare(1, target.size(), target) != 0 ||
        name[target.size() + 1] != '.')
        return false;
    for (std::size_t i = target.size() + 2; i < name.size(); ++i) {
        if (!std::isalnum(static_cast<unsigned char>(name[i]))) return false;
    }
    return true;
}

}  // namespace

int RemoveLeftoverTemporaryFiles(const std::string& path) {
    std::filesystem::path target(path);
    std::string name = target.filename().string();
    int removed = 0;
    std::error_code failed;
    for (std::filesystem::directory_iterator it(target.parent_path(), failed), end; !failed && it != end;
         it.increment(failed)) {
        std::string candidate = it->path().filename().string();
        if (!IsLeftoverName(candidate, name)) continue;
        // Only plain files of that name: never a link, a folder or anything else.
        struct stat info;
        if (::lstat(it->path().c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        if (FileUnlink(it->path().c_str()) == 0) ++removed;
    }
    return removed;
}

bool WriteFileAtomically(const std::string& path, const std::string& bytes, std::string* fault, int* error,
                         FileStamp* written, bool durable) {
    return WriteFileAtomically(path, {std::string_view(bytes)}, fault, error, written, durable);
}

bool WriteFileAtomically(const std::string& path, std::initializer_list<std::string_view> pieces,
                         std::string* fault, int* error, FileStamp* written, bool durable) {
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
    FileDescriptor temp(FileOpenTemporary(tempPath.data(), O_CLOEXEC));
    if (temp.get() < 0) {
        *error = errno;
        *fault = Describe("cannot create a temporary file in " + folder.string(), *error);
        return false;
    }

    const char* step = nullptr;
    if (::fchmod(temp.get(), mode) != 0) {
        step = "cannot set the file mode";
    } else if (!std::all_of(pieces.begin(), pieces.end(), [&](std::string_view piece) {
                   return WriteAll(temp.get(), piece.data(), piece.size());
               })) {
        step = "cannot write";
    } else if (durable && FileSync(temp.get()) != 0) {
        step = "cannot flush to disk";
    } else if (written != nullptr && ::fstat(temp.get(), &old) != 0) {
        step = "cannot read the file's status";
    } else if (!temp.close()) {
        step = "cannot close";
    } else if (FileRename(tempPath.c_str(), path.c_str()) != 0) {
        step = "cannot rename over the file";
    }
    if (step != nullptr) {
        *error = errno;
        *fault = Describe(step, *error);
        FileUnlink(tempPath.c_str());
        return false;
    }
    // The rename keeps the inode and the modification time.
    if (written != nullptr) *written = StampOf(old);

    // Flush the folder so that the rename is on disk too. The new contents
    // are already in place; a folder that cannot be flushed is no failure.
    if (!durable) return true;
    FileDescriptor directory(FileOpen(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) FileSync(directory.get());
    return true;
}
