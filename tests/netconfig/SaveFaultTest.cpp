// A session survives the failure of any file call it makes. Every call of
// a session that reads a store, changes it, saves and applies it fails in
// turn: as on a full disk, on a failing disk, after a signal, with a short
// transfer, or because the process dies there. The store on disk is then
// the old one or the new one, never torn; a failure is reported in one
// line; and the next session succeeds, applies the new store and leaves no
// temporary file of an apply behind. A save flushes its file to disk
// before the rename that puts it in place.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "netconfig/MoreSCSessionScope.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/posix/FileCallsTesting.h"
#include "support/BoundedWait.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

namespace {

namespace fs = std::filesystem;

const std::string kRunFolder = "var/run/SystemConfiguration/";
const std::string kLeftover = ".preferences.plist.a1B2c3";

CFRef<CFDictionaryRef> TreeOf(const fs::path& file) {
    std::string fault;
    PropertyListFormat format;
    return CFRef<CFDictionaryRef>(PropertyListCreateFromFileBytes(TempRoot::ReadFile(file), &format, &fault));
}

// The temporary files of interrupted writes in the folder of file.
std::vector<std::string> Leftovers(const fs::path& file) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(file.parent_path()))
        if (entry.path().filename().string().starts_with(".preferences.plist.")) names.push_back(entry.path().filename());
    return names;
}

// What a command does: one session that changes the store, saves and
// applies it. Returns the session's status.
OSStatus Change(CFStringRef value) {
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        if (err == noErr && !SCPreferencesSetValue(session.Prefs(), CFSTR("Model"), value)) err = SCError();
    }
    return err;
}

// A root holding the store with a leftover of a crashed save beside it,
// and the state of an earlier apply with a leftover of its own. A binary
// store gets a control character, which XML cannot carry.
struct Scene {
    TempRoot root;
    fs::path applied = root.path() / kRunFolder / "preferences.plist";
    CFRef<CFDictionaryRef> before, after;
    CFRef<CFStringRef> value;
    std::string text;  // of the store, and of the earlier apply

    explicit Scene(const char* store) : text(TempRoot::ReadFile(root.installStore(store))) {
        root.write("Library/Preferences/SystemConfiguration/" + kLeftover, "crashed save");
        root.write(kRunFolder + "preferences.plist", text);
        root.write(kRunFolder + kLeftover, "killed apply");
        before = TreeOf(root.storePath());
        value.reset(CFStringCreateWithCString(nil, text.starts_with("bplist00") ? "new\x15" : "new",
                                              kCFStringEncodingUTF8));
        CFMutableDictionaryRef changed = CFDictionaryCreateMutableCopy(nil, 0, before.get());
        CFDictionarySetValue(changed, CFSTR("Model"), value.get());
        after.reset(changed);
    }
    bool Holds(const fs::path& file, CFDictionaryRef tree) const { return CFEqual(TreeOf(file).get(), tree); }
};

struct Row {
    std::string name;
    const char* store;
    int error;  // an errno, kShortTransfer or kCrash
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class SaveFaultTest : public ::testing::TestWithParam<Row> {};

TEST_P(SaveFaultTest, EveryCallOfASessionMayFail) {
    const Row& row = GetParam();
    long calls = 0;
    {
        Scene scene(row.store);
        FileCallsWatchForTesting({});
        EXPECT_EQ(Change(scene.value.get()), noErr);
        calls = static_cast<long>(FileCallsStopForTesting().size());
    }
    for (long at = 1; at <= calls; ++at) {
        SCOPED_TRACE("call " + std::to_string(at) + " of " + std::to_string(calls));
        Scene scene(row.store);
        if (row.error == kCrash) {
            pid_t child = ::fork();
            if (child == 0) {
                FileCallsWatchForTesting({at, kCrash});
                Change(scene.value.get());
                ::_exit(0);
            }
            int status = 0;
            ASSERT_TRUE(child > 0 && WaitForChild(child, &status));
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kCrashExitStatus) << status;
        } else {
            StderrCapture said;
            FileCallsWatchForTesting({at, row.error});
            OSStatus err = Change(scene.value.get());
            FileCallsStopForTesting();
            const std::string& text = said.text();
            // A signal or a short transfer is no failure at all.
            EXPECT_TRUE(err == noErr || (row.error != EINTR && row.error != kShortTransfer)) << text;
            if (err == noErr) {
                EXPECT_EQ(text, "");
                EXPECT_TRUE(scene.Holds(scene.root.storePath(), scene.after.get()));
                EXPECT_TRUE(scene.Holds(scene.applied, scene.after.get()));
            } else {
                EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
                // Only what was saved is applied.
                EXPECT_TRUE(err == kSCStatusNoStoreServer || TempRoot::ReadFile(scene.applied) == scene.text);
            }
        }
        EXPECT_TRUE(scene.Holds(scene.root.storePath(), scene.before.get()) ||
                    scene.Holds(scene.root.storePath(), scene.after.get()));

        StderrCapture said;
        EXPECT_EQ(Change(scene.value.get()), noErr);
        EXPECT_EQ(said.text(), "");
        EXPECT_TRUE(scene.Holds(scene.root.storePath(), scene.after.get()));
        EXPECT_TRUE(scene.Holds(scene.applied, scene.after.get()));
        EXPECT_EQ(Leftovers(scene.applied), std::vector<std::string>{});
        // Beside the store, only a leftover whose removal failed may stay.
        for (const std::string& name : Leftovers(scene.root.storePath())) EXPECT_EQ(name, kLeftover);
    }
}

std::vector<Row> Rows() {
    std::vector<Row> rows;
    for (const auto& [format, store] : {std::pair{"XML", "imac-ethernet-pac.plist"}, {"Binary", "ios-binary.plist"}}) {
        for (const auto& [fault, error] : {std::pair{"FullDisk", ENOSPC}, {"IOError", EIO}, {"Signal", EINTR},
                                           {"ShortTransfer", kShortTransfer}, {"Crash", kCrash}}) {
            rows.push_back({std::string(format) + fault, store, error});
        }
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Faults, SaveFaultTest, ::testing::ValuesIn(Rows()),
                         [](const ::testing::TestParamInfo<Row>& info) { return info.param.name; });

TEST(SaveFlushTest, ASaveFlushesItsFileBeforeTheRename) {
    TempRoot root;
    root.installStore("imac-ethernet-pac.plist");
    FileCallsWatchForTesting({});
    EXPECT_EQ(Change(CFSTR("new model")), noErr);
    std::vector<FileCall> calls = FileCallsStopForTesting();
    auto rename = std::find(calls.begin(), calls.end(), FileCall::kRename);
    auto lastWrite = std::find(std::make_reverse_iterator(rename), calls.rend(), FileCall::kWrite);
    ASSERT_NE(lastWrite, calls.rend());
    EXPECT_NE(std::find(lastWrite.base(), rename, FileCall::kSync), rename);
}

}  // namespace
