// Whole-file reads and crash-safe whole-file writes.
//
// A write never leaves a half-written file under the final name: the bytes
// go to a temporary file in the same folder (".<name>.XXXXXX"), are flushed
// to disk, and the temporary file is renamed over the old one; the folder
// is then flushed so the rename itself survives a crash. A reader therefore
// sees either the old contents or the new ones.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/posix/FileCalls.h"

// What the file system says about a file's contents: any save by rename
// changes the inode, any write the modification time (and mostly the size).
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};

    bool operator==(const FileStamp& other) const {
        return device == other.device && inode == other.inode && size == other.size &&
               modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
    }
};

enum class FileReadResult {
    Read,        // *bytes holds the whole file
    Missing,     // no file (or folder) by that name
    Failed,      // it exists but could not be read; *error holds errno
    NotRegular,  // a folder, device, FIFO or socket: not read at all
    TooLarge,    // larger than the limit: not read at all
};

// Reads a regular file of at most limit bytes. The file is opened without
// blocking (a FIFO cannot hold the caller up) and checked to be a regular
// file of an acceptable size before a byte of it is read. *stamp receives
// the stamp of the file read; *kind, for NotRegular, what the file is
// instead ("a folder", "a FIFO", ...).
FileReadResult ReadRegularFile(const std::string& path, std::size_t limit, std::string* bytes, FileStamp* stamp,
                               int* error, const char** kind = nullptr);

// What kept a read from returning Read or Missing, in words: "not a
// regular file but a FIFO", "larger than the limit of 67108864 bytes", or
// the system's text for error.
std::string DescribeFileReadFault(FileReadResult result, int error, const char* kind, std::size_t limit);

// The two halves of ReadRegularFile, for a reader that looks at the file
// (its *info from fstat) before it decides to read it: the open, which
// returns Read for a regular file within limit, and the read of it.
FileReadResult OpenRegularFile(const std::string& path, std::size_t limit, FileDescriptor* file, struct stat* info,
                               int* error, const char** kind = nullptr);
FileReadResult ReadOpenFile(int fd, const struct stat& info, std::size_t limit, std::string* bytes, int* error);

// The stamp of the file at path (links followed): Read when there is one,
// Missing or Failed otherwise.
FileReadResult StampFile(const std::string& path, FileStamp* stamp, int* error);

// Replaces the file at path with bytes, creating missing folders. The new
// file keeps the old one's permission bits, or gets 0644 when there was
// none. On success *written (when given) holds the stamp of the new file.
// On failure returns false, sets *fault to what went wrong and *error to
// errno, and leaves the old file as it was. Without durable, the file and
// its folder are not flushed to disk: readers still see the old file or
// the new one whole, but a crash of the machine may lose the new one (for
// run-time state that does not outlive a restart anyway).
bool WriteFileAtomically(const std::string& path, const std::string& bytes, std::string* fault, int* error,
                         FileStamp* written = nullptr, bool durable = true);

// The same for a file made of several pieces written one after the other,
// so that a caller adding a few bytes to a large text need not copy it.
bool WriteFileAtomically(const std::string& path, std::initializer_list<std::string_view> pieces,
                         std::string* fault, int* error, FileStamp* written = nullptr, bool durable = true);

// Removes the temporary files that interrupted writes of path left behind:
// regular files in path's folder named "." + its name + "." and six letters
// or digits, and nothing else. Safe only while no write of path can be
// under way (for instance under a lock every writer of path takes).
// Returns the number of files removed.
int RemoveLeftoverTemporaryFiles(const std::string& path);
