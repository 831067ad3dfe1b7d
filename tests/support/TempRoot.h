// A throw-away root directory for one test: TARNWICK_ROOT points at it while
// the object lives, and it is removed (with everything in it) afterwards.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

class TempRoot {
public:
    TempRoot() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tarnwick-test-XXXXXX").string();
        char* made = ::mkdtemp(pattern.data());
        if (made == nullptr) std::abort();
        path_ = made;
        const char* old = std::getenv("TARNWICK_ROOT");
        hadOld_ = old != nullptr;
        if (hadOld_) old_ = old;
        ::setenv("TARNWICK_ROOT", path_.c_str(), 1);
    }
    ~TempRoot() {
        if (hadOld_) ::setenv("TARNWICK_ROOT", old_.c_str(), 1);
        else ::unsetenv("TARNWICK_ROOT");
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempRoot(const TempRoot&) = delete;
    TempRoot& operator=(const TempRoot&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // The default preferences store under this root.
    std::filesystem::path storePath() const {
        return path_ / "Library/Preferences/SystemConfiguration/preferences.plist";
    }

    // Writes text to a file under the root (a Mac path such as
    // "/Library/..."), making missing folders.
    std::filesystem::path write(const std::string& macPath, const std::string& text) const {
        std::filesystem::path file = path_ / macPath.substr(macPath.front() == '/' ? 1 : 0);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out << text;
        return file;
    }

    // Installs text as the default preferences store.
    std::filesystem::path writeStore(const std::string& text) const {
        return write("/Library/Preferences/SystemConfiguration/preferences.plist", text);
    }

#ifdef TARNWICK_STORES_DIR
    // Installs one of the real stores of tests/data/stores as the default store.
    std::filesystem::path installStore(const std::string& name) const {
        return writeStore(ReadFile(std::filesystem::path(TARNWICK_STORES_DIR) / name));
    }
#endif

    static std::string ReadFile(const std::filesystem::path& file) {
        std::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path path_;
    std::string old_;
    bool hadOld_ = false;
};
