#include "moresc/Outcome.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "moresc/StatusText.h"

void Outcome::Check(const char* operation, OSStatus status) {
    if (status == noErr || !ok()) return;
    status_ = status;
    if (status == kSCStatusNoStoreServer) {
        Record(kExitNotApplied, "saved, but not applied: " + DescribeStatus(status));
    } else {
        Record(kExitFailure, std::string(operation) + " failed with status " + DescribeStatus(status));
    }
}

void Outcome::Fail(const std::string& message) { Record(kExitFailure, message); }

void Outcome::FailUsage(const std::string& message) { Record(kExitUsage, message); }

void Outcome::Record(int exitStatus, const std::string& message) {
    if (!ok()) return;
    exitStatus_ = exitStatus;
    message_ = message;
}

int Outcome::Finish() {
    if (!ok()) ReportError(subcommand_, message_);
    return FinishOutput(exitStatus_);
}

void ReportError(const std::string& subject, const std::string& message) {
    std::fprintf(stderr, "moresc: %s: %s\n", subject.c_str(), message.c_str());
}

int FinishOutput(int exitStatus) {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        ReportError("standard output", errno != 0 ? std::strerror(errno) : "write error");
        return kExitFailure;
    }
    return exitStatus;
}
