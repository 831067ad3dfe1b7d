// Runs the project's programs (Tarnwick, moresc) on a temporary root, and
// works out what a store must hold after a run: property-list trees built
// or read by the test, edited, and written in the store's own format by
// the library's writer (whose exact bytes its own tests and the real stores
// check).
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/corefoundation/PropertyListFile.h"
#include "support/BoundedWait.h"
#include "support/TempRoot.h"

extern char** environ;

struct ProgramRun {
    int exitStatus = -1;
    std::string out;
    std::string err;
};

// Runs program with args and input on standard input; TARNWICK_ROOT is the
// temporary root (TempRoot sets it here and the child inherits it).
// Standard output goes to outPath, by default a file under the root that
// is read back into out. A run that does not end within the wait is killed
// and fails the test.
inline ProgramRun RunProgram(const char* program, const TempRoot& root, const std::vector<std::string>& args,
                             const std::string& input = "", std::string outPath = "") {
    std::string inPath = root.write("/program.stdin", input).string();
    std::string errPath = (root.path() / "program.stderr").string();
    bool readOut = outPath.empty();
    if (readOut) outPath = (root.path() / "program.stdout").string();
    std::vector<char*> argv{const_cast<char*>(program)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, inPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ProgramRun run;
    pid_t pid = 0;
    int status = 0;
    if (posix_spawn(&pid, program, &actions, nullptr, argv.data(), environ) == 0) {
        if (!WaitForChild(pid, &status)) ADD_FAILURE() << program << " did not finish and was killed";
        else if (WIFEXITED(status)) run.exitStatus = WEXITSTATUS(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    if (readOut) run.out = TempRoot::ReadFile(outPath);
    run.err = TempRoot::ReadFile(errPath);
    return run;
}

#ifdef TARNWICK_EXECUTABLE
inline ProgramRun RunTool(const TempRoot& root, const std::vector<std::string>& args) {
    return RunProgram(TARNWICK_EXECUTABLE, root, args);
}
#endif
#ifdef MORESC_EXECUTABLE
inline ProgramRun RunMoresc(const TempRoot& root, const std::vector<std::string>& args, const std::string& input = "",
                            const std::string& outPath = "") {
    return RunProgram(MORESC_EXECUTABLE, root, args, input, outPath);
}
#endif

// What identifies a file's contents on disk: any rewrite changes the inode
// (an atomic save renames a new file over it) or the modification time.
// Backdating the file first makes a rewrite within the same clock tick show.
inline std::string Stamp(const std::filesystem::path& file, bool backdate = false) {
    timespec old[2] = {{1000000000, 0}, {1000000000, 0}};
    if (backdate) utimensat(AT_FDCWD, file.c_str(), old, 0);
    struct stat info {};
    if (stat(file.c_str(), &info) != 0) return "(no file)";
    return std::to_string(info.st_ino) + " " + std::to_string(info.st_mtim.tv_sec) + "." +
           std::to_string(info.st_mtim.tv_nsec) + "\n" + TempRoot::ReadFile(file);
}

// A property-list value, shared like a CF reference; containers made here
// are mutable all the way down.
using Value = std::shared_ptr<const void>;
inline Value Own(CFTypeRef ref) { return ref ? Value(ref, CFRelease) : Value(); }

inline Value Str(const std::string& text) {
    return Own(CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}
inline Value Number(long long number) { return Own(CFNumberCreate(nullptr, kCFNumberLongLongType, &number)); }
inline Value Real(double number) { return Own(CFNumberCreate(nullptr, kCFNumberDoubleType, &number)); }
inline Value Dict(const std::vector<std::pair<std::string, Value>>& entries = {}) {
    auto dict = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    for (const auto& [key, value] : entries) CFDictionarySetValue(dict, Str(key).get(), value.get());
    return Own(dict);
}
inline Value Array(const std::vector<Value>& values = {}) {
    auto array = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    for (const Value& value : values) CFArrayAppendValue(array, value.get());
    return Own(array);
}

// The value at path (a list of keys) under root, or nil.
inline void* ValueAt(const Value& root, const std::vector<std::string>& path) {
    const void* value = root.get();
    for (const std::string& key : path)
        if (value != nullptr) value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(value), Str(key).get());
    return const_cast<void*>(value);
}
inline CFMutableArrayRef ArrayAt(const Value& root, const std::vector<std::string>& path) {
    return static_cast<CFMutableArrayRef>(ValueAt(root, path));
}

// Sets the key at the end of path to value; a nil value removes it.
inline void Put(const Value& root, std::vector<std::string> path, const Value& value) {
    Value key = Str(path.back());
    path.pop_back();
    auto dict = static_cast<CFMutableDictionaryRef>(ValueAt(root, path));
    if (value) CFDictionarySetValue(dict, key.get(), value.get());
    else CFDictionaryRemoveValue(dict, key.get());
}

// A copy of the value at path under root, mutable all the way down; nil
// when there is none.
inline Value CopyAt(const Value& root, const std::vector<std::string>& path) {
    void* value = ValueAt(root, path);
    return value ? Own(CFPropertyListCreateDeepCopy(nullptr, value, kCFPropertyListMutableContainersAndLeaves)) : Value();
}

// The tree of a property-list file's text, and its format.
inline Value Parsed(const std::string& text, PropertyListFormat* format = nullptr) {
    PropertyListFormat ignored;
    std::string fault;
    return Own(PropertyListCreateFromFileBytes(text, format ? format : &ignored, &fault));
}
inline std::string Encoded(const Value& tree, PropertyListFormat format = PropertyListFormat::XML) {
    std::string bytes, fault;
    EXPECT_TRUE(PropertyListEncodeFileBytes(tree.get(), format, &bytes, &fault)) << fault;
    return bytes;
}

// A store with one current set "S" whose "ServiceOrder" lists the services
// in the order given; a nil proxies means "no Proxies entity".
struct ServiceSpec {
    std::string id;
    Value proxies;
    bool inactive = false;
};
inline Value MakeStore(const std::vector<ServiceSpec>& services) {
    Value all = Dict(), order = Array(), links = Dict();
    for (const ServiceSpec& service : services) {
        Value entry = Dict({{"UserDefinedName", Str(service.id)}});
        if (service.proxies) Put(entry, {"Proxies"}, service.proxies);
        if (service.inactive) Put(entry, {"__INACTIVE__"}, Number(1));
        Put(all, {service.id}, entry);
        CFArrayAppendValue(ArrayAt(order, {}), Str(service.id).get());
        Put(links, {service.id}, Dict({{"__LINK__", Str("/NetworkServices/" + service.id)}}));
    }
    Value network = Dict({{"Global", Dict({{"IPv4", Dict({{"ServiceOrder", order}})}})}, {"Service", links}});
    return Dict({{"CurrentSet", Str("/Sets/S")}, {"NetworkServices", all},
                 {"Sets", Dict({{"S", Dict({{"Network", network}, {"UserDefinedName", Str("Automatic")}})}})}});
}

// The path of one key of a service's "Proxies" entity in such a store.
inline std::vector<std::string> ProxiesKey(const std::string& id, const std::string& key) {
    return {"NetworkServices", id, "Proxies", key};
}

// One service "A" with the HTTP proxy on and PAC off: every changing
// command would change it.
inline Value ProxyOnStore() {
    return MakeStore({{"A", Dict({{"HTTPEnable", Number(1)}, {"HTTPProxy", Str("proxy.example.com")},
                                  {"ProxyAutoConfigEnable", Number(0)},
                                  {"ProxyAutoConfigURLString", Str("http://wpad.example.com/proxy.pac")}})}});
}
