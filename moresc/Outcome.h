// The outcome of one subcommand: success, or its first failure, reported in
// one line on standard error when the subcommand ends.
#pragma once

#include <string>
#include <utility>

#include "MoreSC.h"

// Exit statuses of moresc.
enum : int {
    kExitSuccess = 0,
    kExitFailure = 1,  // an operation failed, or a set or service was not found
    kExitUsage = 2,    // the command line or the input is not what the subcommand takes
    kExitNotApplied = 3,  // the change was saved, but the running system did not take it
};

// Steps run while ok() holds; the first failure wins and later ones are
// dropped. A failure is a library status (with the operation that returned
// it) or a message of the subcommand's own.
class Outcome {
public:
    explicit Outcome(std::string subcommand) : subcommand_(std::move(subcommand)) {}

    bool ok() const { return exitStatus_ == kExitSuccess; }
    // The library status of the failure; noErr when there is none.
    OSStatus status() const { return status_; }

    // Records the status that the library operation named returned. A
    // save whose apply failed (kSCStatusNoStoreServer) is recorded as
    // "saved, but not applied".
    void Check(const char* operation, OSStatus status);
    // Records a failure that is not a library status: what was asked for is
    // not there, or is ambiguous.
    void Fail(const std::string& message);
    // Records input the subcommand does not take.
    void FailUsage(const std::string& message);

    // Reports the failure, if any, as "moresc: <subcommand>: <message>" on
    // standard error, makes sure standard output reached its file, and
    // returns the exit status.
    int Finish();

private:
    void Record(int exitStatus, const std::string& message);

    std::string subcommand_;
    int exitStatus_ = kExitSuccess;
    OSStatus status_ = noErr;
    std::string message_;
};

// Writes "moresc: <subject>: <message>" on standard error.
void ReportError(const std::string& subject, const std::string& message);

// Flushes standard output; a write that failed (a full disk, a closed pipe)
// is reported and turns the exit status into a failure.
int FinishOutput(int exitStatus);
