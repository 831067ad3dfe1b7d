// Runs the Tarnwick executable against a temporary root and builds stores
// for it in the exact XML form macOS writes (sorted keys, tab indentation),
// so that a store the tool saved can be compared with an expected text.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "support/BoundedWait.h"
#include "support/TempRoot.h"

extern char** environ;

struct ToolRun {
    bool exitedWithZero = false;
    std::string out;
    std::string err;
};

// Runs Tarnwick with args; TARNWICK_ROOT is the temporary root (TempRoot
// sets it in this process's environment, which the child inherits). A run
// that does not end within the wait is killed and fails the test.
inline ToolRun RunTool(const TempRoot& root, const std::vector<std::string>& args) {
    std::string outPath = (root.path() / "tool.stdout").string();
    std::string errPath = (root.path() / "tool.stderr").string();
    std::vector<char*> argv{const_cast<char*>(TARNWICK_EXECUTABLE)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ToolRun run;
    pid_t pid = 0;
    if (posix_spawn(&pid, TARNWICK_EXECUTABLE, &actions, nullptr, argv.data(), environ) == 0) {
        int status = 0;
        if (WaitForChild(pid, &status)) {
            run.exitedWithZero = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        } else {
            ADD_FAILURE() << "Tarnwick " << (args.empty() ? "" : args[0]) << " did not finish and was killed";
        }
    }
    posix_spawn_file_actions_destroy(&actions);
    run.out = TempRoot::ReadFile(outPath);
    run.err = TempRoot::ReadFile(errPath);
    return run;
}

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

// Whether a save was applied: the running system's copy exists.
inline bool Applied(const TempRoot& root) {
    return std::filesystem::exists(root.path() / "var/run/SystemConfiguration/preferences.plist");
}

// Replaces the one occurrence of from in text.
inline std::string Edited(std::string text, const std::string& from, const std::string& to) {
    size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// A property-list value written as macOS writes it.
struct Node {
    enum Kind { kScalar, kDict, kArray } kind = kScalar;
    std::string element;                             // a whole scalar element, e.g. "<integer>1</integer>"
    std::vector<std::pair<std::string, Node>> dict;  // written in sorted key order
    std::vector<Node> array;

    Node& operator[](const std::string& key) {
        kind = kDict;
        for (auto& [name, value] : dict)
            if (name == key) return value;
        dict.emplace_back(key, Node{});
        return dict.back().second;
    }
    void erase(const std::string& key) {
        std::erase_if(dict, [&](const auto& entry) { return entry.first == key; });
    }

    std::string Emit(int depth = 0) const {
        std::string pad(depth, '\t');
        if (kind == kScalar) return pad + element + "\n";
        if (kind == kArray) {
            if (array.empty()) return pad + "<array/>\n";
            std::string text = pad + "<array>\n";
            for (const Node& value : array) text += value.Emit(depth + 1);
            return text + pad + "</array>\n";
        }
        if (dict.empty()) return pad + "<dict/>\n";
        auto sorted = dict;
        std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        std::string text = pad + "<dict>\n";
        for (const auto& [key, value] : sorted) text += pad + "\t<key>" + key + "</key>\n" + value.Emit(depth + 1);
        return text + pad + "</dict>\n";
    }
    std::string File() const {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
               "<plist version=\"1.0\">\n" +
               Emit() + "</plist>\n";
    }
};

inline Node Str(const std::string& text) { return Node{Node::kScalar, "<string>" + text + "</string>", {}, {}}; }
inline Node Int(long value) { return Node{Node::kScalar, "<integer>" + std::to_string(value) + "</integer>", {}, {}}; }
inline Node Real(const std::string& text) { return Node{Node::kScalar, "<real>" + text + "</real>", {}, {}}; }
inline Node Dict(std::vector<std::pair<std::string, Node>> entries = {}) {
    return Node{Node::kDict, "", std::move(entries), {}};
}
inline Node Array(std::vector<Node> values = {}) { return Node{Node::kArray, "", {}, std::move(values)}; }

// One service of a test store; proxies of kind kScalar with an empty
// element means "no Proxies entity".
struct ServiceSpec {
    std::string id;
    Node proxies;
    bool inactive = false;
};
inline Node NoProxies() { return Node{}; }

// A store with one current set "S" whose "ServiceOrder" lists the services
// in the order given.
inline Node MakeStore(const std::vector<ServiceSpec>& services) {
    Node all = Dict(), order = Array(), links = Dict();
    for (const ServiceSpec& service : services) {
        Node entry = Dict({{"UserDefinedName", Str(service.id)}});
        if (!service.proxies.element.empty() || service.proxies.kind != Node::kScalar)
            entry["Proxies"] = service.proxies;
        if (service.inactive) entry["__INACTIVE__"] = Int(1);
        all[service.id] = entry;
        order.array.push_back(Str(service.id));
        links[service.id] = Dict({{"__LINK__", Str("/NetworkServices/" + service.id)}});
    }
    Node network = Dict({{"Global", Dict({{"IPv4", Dict({{"ServiceOrder", order}})}})}, {"Service", links}});
    Node set = Dict({{"Network", network}, {"UserDefinedName", Str("Automatic")}});
    return Dict({{"CurrentSet", Str("/Sets/S")}, {"NetworkServices", all}, {"Sets", Dict({{"S", set}})}});
}

// The "Proxies" entity of a service in a store built by MakeStore.
inline Node& ProxiesOf(Node& store, const std::string& id) { return store["NetworkServices"][id]["Proxies"]; }
