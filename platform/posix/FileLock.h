// An exclusive lock shared between processes: flock() on a lock file. The
// lock belongs to this object's open file, so two objects in one process
// exclude each other just as two processes do. Destroying the object
// releases the lock.
#pragma once

#include <string>

class FileLock {
public:
    enum class Result {
        Locked,
        Busy,    // held by someone else and the caller would not wait
        Failed,  // the lock file could not be made or locked; see error
    };

    FileLock() = default;
    ~FileLock() { unlock(); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Takes the lock on lockPath (the file and its folders are created when
    // missing), waiting for it when wait is true.
    Result lock(const std::string& lockPath, bool wait, int* error);
    void unlock();
    bool held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};
