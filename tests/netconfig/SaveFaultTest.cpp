// A session survives the failure of any file call it makes. Every call of
// a session that reads a store, changes it, saves and applies it fails in
// turn: as on a full disk, on a failing disk, after a signal, with a short
// transfer, or because the process dies there. The store on disk is then
// the old one or the new one, never torn; a failure is reported in one
// line; and the next session succeeds, applies the new store and leaves no
// temporary file of an apply behind.
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

const char kStoreFolder[] = "Library/Preferences/SystemConfiguration";
const char kRunFolder[] = "var/run/SystemConfiguration";
const char kLeftover[] = ".preferences.plist.a1B2c3";

CFRef<CFDictionaryRef> TreeOf(const fs::path& file) {
    std::string fault;
    PropertyListFormat format;
    return CFRef<CFDictionaryRef>(PropertyListCreateFromFileBytes(TempRoot::ReadFile(file), &format, &fault));
}

// The temporary files of interrupted writes in folder.
std::vector<std::string> Leftovers(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::string name = entry.path().filename().string();
        if (name.starts_with(".preferences.plist.")) names.push_back(name);
    }
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

struct Row {
    std::string name;
    const char* store;
    int error;  // an errno, kShortTransfer or kCrash
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class SaveFaultTest : public ::testing::TestWithParam<Row> {
protected:
    // A root holding the store with a leftover of a crashed save beside it,
    // and the state of an earlier apply with a leftover of its own.
    struct Scene {
        TempRoot root;
        CFRef<CFDictionaryRef> before, after;
        CFRef<CFStringRef> value;

        explicit Scene(const char* store) {
            fs::path file = root.installStore(store);
            root.write(std::string(kStoreFolder) + "/" + kLeftover, "crashed save");
            root.write(std::string(kRunFolder) + "/preferences.plist", TempRoot::ReadFile(file));
            root.write(std::string(kRunFolder) + "/" + kLeftover, "killed apply");
            before = TreeOf(file);
            // A binary store carries a control character, which XML cannot.
            bool binary = TempRoot::ReadFile(file).starts_with("bplist00");
            value.reset(CFStringCreateWithCString(nil, binary ? "new\x15model" : "new model", kCFStringEncodingUTF8));
            CFRef<CFMutableDictionaryRef> changed(CFDictionaryCreateMutableCopy(nil, 0, before.get()));
            CFDictionarySetValue(changed.get(), CFSTR("Model"), value.get());
            after.reset(changed.release());
        }
        CFRef<CFDictionaryRef> Stored() const { return TreeOf(root.storePath()); }
        CFRef<CFDictionaryRef> Applied() const { return TreeOf(root.path() / kRunFolder / "preferences.plist"); }
    };

    // The number of file calls of a whole session.
    static long CallsOfASession(const char* store) {
        Scene scene(store);
        FileCallsWatchForTesting({});
        EXPECT_EQ(Change(scene.value.get()), noErr);
        return static_cast<long>(FileCallsStopForTesting().size());
    }
};

TEST_P(SaveFaultTest, EveryCallOfASessionMayFail) {
    const Row& row = GetParam();
    const long calls = CallsOfASession(row.store);
    ASSERT_GT(calls, 10);
    for (long at = 1; at <= calls; ++at) {
        SCOPED_TRACE("call " + std::to_string(at) + " of " + std::to_string(calls));
        Scene scene(row.store);
        if (row.error == kCrash) {
            pid_t child = ::fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                FileCallsWatchForTesting({at, kCrash});
                Change(scene.value.get());
                ::_exit(0);
            }
            int status = 0;
            ASSERT_TRUE(WaitForChild(child, &status));
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kCrashExitStatus) << status;
        } else {
            StderrCapture said;
            FileCallsWatchForTesting({at, row.error});
            OSStatus err = Change(scene.value.get());
            FileCallsStopForTesting();
            const std::string& text = said.text();
            // A signal or a short transfer is no failure at all.
            if (row.error == EINTR || row.error == kShortTransfer) {
                EXPECT_EQ(err, noErr) << text;
            }
            if (err == noErr) {
                EXPECT_EQ(text, "");
                EXPECT_TRUE(CFEqual(scene.Stored().get(), scene.after.get()));
                EXPECT_TRUE(CFEqual(scene.Applied().get(), scene.after.get()));
            } else {
                EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
            }
        }
        CFRef<CFDictionaryRef> stored = scene.Stored();
        EXPECT_TRUE(CFEqual(stored.get(), scene.before.get()) || CFEqual(stored.get(), scene.after.get()));

        StderrCapture said;
        EXPECT_EQ(Change(scene.value.get()), noErr);
        EXPECT_EQ(said.text(), "");
        EXPECT_TRUE(CFEqual(scene.Stored().get(), scene.after.get()));
        EXPECT_TRUE(CFEqual(scene.Applied().get(), scene.after.get()));
        EXPECT_EQ(Leftovers(scene.root.path() / kRunFolder), std::vector<std::string>{});
        // Beside the store, only a leftover whose removal failed may stay.
        for (const std::string& name : Leftovers(scene.root.path() / kStoreFolder)) EXPECT_EQ(name, kLeftover);
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

// A save flushes its temporary file to disk before the rename that puts it
// in place: a crash of the machine may lose the save, but never leaves a
// store whose contents did not reach the disk.
TEST(SaveFlushTest, ASaveFlushesItsFileBeforeTheRename) {
    TempRoot root;
    root.installStore("imac-ethernet-pac.plist");
    FileCallsWatchForTesting({});
    EXPECT_EQ(Change(CFSTR("new model")), noErr);
    std::vector<FileCall> calls = FileCallsStopForTesting();
    auto rename = std::find(calls.begin(), calls.end(), FileCall::kRename);
    ASSERT_NE(rename, calls.end());
    auto lastWrite = std::find(std::make_reverse_iterator(rename), calls.rend(), FileCall::kWrite);
    ASSERT_NE(lastWrite, calls.rend());
    EXPECT_NE(std::find(lastWrite.base(), rename, FileCall::kSync), rename);
}

}  // namespace
