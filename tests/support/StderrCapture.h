// Collects what the code under test writes on standard error while the
// object lives. It redirects the file descriptor itself, so reports written
// with write(2) and with stdio are both caught, in the order written.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

class StderrCapture {
public:
    StderrCapture() {
        std::fflush(stderr);
        file_ = std::tmpfile();
        saved_ = ::dup(STDERR_FILENO);
        if (file_ != nullptr && saved_ >= 0) ::dup2(::fileno(file_), STDERR_FILENO);
    }
    ~StderrCapture() { text(); }
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;

    // Ends the capture (on the first call) and returns everything caught.
    const std::string& text() {
        if (saved_ < 0) return text_;
        std::fflush(stderr);
        ::dup2(saved_, STDERR_FILENO);
        ::close(saved_);
        saved_ = -1;
        if (file_ == nullptr) return text_;
        std::rewind(file_);
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, file_)) > 0;) text_.append(buffer, n);
        std::fclose(file_);
        file_ = nullptr;
        return text_;
    }

private:
    std::FILE* file_ = nullptr;
    int saved_ = -1;
    std::string text_;
};
