// Runs the moresc executable on a temporary root, and works out what a
// store must hold after a change: the store as read, edited by the test,
// written back in the same format.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <functional>
#include <string>
#include <vector>

#include "MoreSC.h"
#include "support/TempRoot.h"

extern char** environ;

struct MorescRun {
    int exitStatus = -1;
    std::string out;
    std::string err;
};

// Runs moresc with args and input on standard input; standard output goes
// to outPath (by default a file under the root, read back into out).
inline MorescRun RunMoresc(const TempRoot& root, const std::vector<std::string>& args, const std::string& input = "",
                           std::string outPath = "") {
    std::string inPath = root.write("/moresc.stdin", input).string();
    std::string errPath = (root.path() / "moresc.stderr").string();
    bool readOut = outPath.empty();
    if (readOut) outPath = (root.path() / "moresc.stdout").string();
    std::vector<char*> argv{const_cast<char*>(MORESC_EXECUTABLE)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, inPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    MorescRun run;
    pid_t pid = 0;
    if (posix_spawn(&pid, MORESC_EXECUTABLE, &actions, nullptr, argv.data(), environ) == 0) {
        int status = 0;
        waitpid(pid, &status, 0);
        if (WIFEXITED(status)) run.exitStatus = WEXITSTATUS(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    if (readOut) run.out = TempRoot::ReadFile(outPath);
    run.err = TempRoot::ReadFile(errPath);
    return run;
}

// An edit of a store's tree, in which every dictionary and array is mutable.
using StoreEdit = std::function<void(CFMutableDictionaryRef root)>;

inline CFRef<CFTypeRef> Text(const std::string& text) {
    return CFRef<CFTypeRef>(CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}
inline CFRef<CFTypeRef> Number(SInt32 number) {
    return CFRef<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &number));
}

// The mutable value at path (a list of keys) under root.
inline void* ValueAt(CFMutableDictionaryRef root, const std::vector<std::string>& path) {
    const void* value = root;
    for (const std::string& key : path)
        value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(value), Text(key).get());
    return const_cast<void*>(value);
}

// Sets the key at the end of path to value; a nil value removes it.
inline void Put(CFMutableDictionaryRef root, std::vector<std::string> path, const CFRef<CFTypeRef>& value) {
    CFRef<CFTypeRef> key = Text(path.back());
    path.pop_back();
    auto dict = static_cast<CFMutableDictionaryRef>(ValueAt(root, path));
    if (value)
        CFDictionarySetValue(dict, key.get(), value.get());
    else
        CFDictionaryRemoveValue(dict, key.get());
}

// Takes a service out of a set: its link and its place in the order.
inline void Unlink(CFMutableDictionaryRef root, const std::string& setID, const std::string& serviceID) {
    Put(root, {"Sets", setID, "Network", "Service", serviceID}, nullptr);
    auto order =
        static_cast<CFMutableArrayRef>(ValueAt(root, {"Sets", setID, "Network", "Global", "IPv4", "ServiceOrder"}));
    CFIndex index = CFArrayGetFirstIndexOfValue(order, CFRangeMake(0, CFArrayGetCount(order)), Text(serviceID).get());
    CFArrayRemoveValueAtIndex(order, index);
}

// Links a service into a set, last in its order.
inline void Link(CFMutableDictionaryRef root, const std::string& setID, const std::string& serviceID) {
    CFRef<CFMutableDictionaryRef> link(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(link.get(), CFSTR("__LINK__"), Text("/NetworkServices/" + serviceID).get());
    Put(root, {"Sets", setID, "Network", "Service", serviceID}, CFRef<CFTypeRef>(link.release()));
    CFArrayAppendValue(
        static_cast<CFMutableArrayRef>(ValueAt(root, {"Sets", setID, "Network", "Global", "IPv4", "ServiceOrder"})),
        Text(serviceID).get());
}

// A copy of the value at path under root, mutable all the way down; nil
// when there is none.
inline CFRef<CFTypeRef> CopyAt(CFMutableDictionaryRef root, const std::vector<std::string>& path) {
    void* value = ValueAt(root, path);
    if (value == nullptr) return nullptr;
    return CFRef<CFTypeRef>(CFPropertyListCreateDeepCopy(nullptr, value, kCFPropertyListMutableContainersAndLeaves));
}

// The tree of a property-list file's text, and its format.
inline CFRef<CFMutableDictionaryRef> Parsed(const std::string& text, PropertyListFormat* format = nullptr) {
    PropertyListFormat ignored;
    std::string fault;
    return CFRef<CFMutableDictionaryRef>(PropertyListCreateFromFileBytes(text, format ? format : &ignored, &fault));
}

inline std::string Encoded(CFPropertyListRef tree, PropertyListFormat format) {
    std::string bytes, fault;
    PropertyListEncodeFileBytes(tree, format, &bytes, &fault);
    return bytes;
}

// The bytes of store after edit, in the store's own format.
inline std::string EditedStore(const std::string& store, const StoreEdit& edit) {
    PropertyListFormat format = PropertyListFormat::XML;
    CFRef<CFMutableDictionaryRef> root = Parsed(store, &format);
    edit(root.get());
    return Encoded(root.get(), format);
}
