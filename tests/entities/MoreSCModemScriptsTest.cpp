#include "entities/MoreSCModemScripts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "entities/EntityChecks.h"
#include "support/TempRoot.h"

namespace {

// A TempRoot whose HOME lies inside it, so the user domain is under test
// control too.
class ModemScriptsTest : public testing::Test {
protected:
    void SetUp() override {
        const char* home = std::getenv("HOME");
        hadHome_ = home != nullptr;
        if (hadHome_) oldHome_ = home;
        ::setenv("HOME", (root_.path() / "Users/jo").c_str(), 1);
    }
    void TearDown() override {
        if (hadHome_) ::setenv("HOME", oldHome_.c_str(), 1);
        else ::unsetenv("HOME");
    }

    void AddScript(const std::string& folder, const std::string& name) { root_.write(folder + "/" + name, "CCL"); }

    TempRoot root_;
    std::string oldHome_;
    bool hadHome_ = false;
};

const std::string kUser = "/Users/jo/Library/Modem Scripts";
const std::string kNetwork = "/Network/Library/Modem Scripts";
const std::string kLocal = "/Library/Modem Scripts";
const std::string kSystem = "/System/Library/Modem Scripts";
const char* const kDefault = "Apple Internal 56K Modem (v.90)";

}  // namespace

TEST_F(ModemScriptsTest, MergesDomainsSortedOnceEachSkippingHiddenFilesAndFolders) {
    AddScript(kUser, "Zoom 56K");
    AddScript(kUser, kDefault);
    AddScript(kUser, ".DS_Store");
    std::filesystem::create_directories(root_.path() / "Users/jo/Library/Modem Scripts/Old Scripts");
    AddScript(kNetwork, "AAA Modem");
    AddScript(kSystem, kDefault);
    AddScript(kSystem, "zoom 56k");
    AddScript(kSystem, "Modem 10");
    AddScript(kSystem, "Modem 9");
    // One script more than a batch of the folder reader holds.
    for (int i = 1; i <= 51; i++) AddScript(kLocal, "Script " + std::to_string(i));

    CFRef<CFArrayRef> scripts;
    SInt32 index = -1;
    ASSERT_EQ(noErr, MoreSCCreateCCLArray(scripts.out(), &index));
    std::vector<std::string> expected{"AAA Modem", kDefault, "Modem 9", "Modem 10"};
    for (int i = 1; i <= 51; i++) expected.push_back("Script " + std::to_string(i));
    // Equal but for case: both kept, the user's (read first) ahead.
    expected.push_back("Zoom 56K");
    expected.push_back("zoom 56k");
    EXPECT_EQ(expected, Texts(scripts.get()));
    EXPECT_EQ(1, index);
}

// Without the default script the index is 0, wherever its name would sort.
TEST_F(ModemScriptsTest, MissingDefaultScriptGivesIndexZero) {
    CFRef<CFArrayRef> scripts;
    SInt32 index = -1;
    ASSERT_EQ(noErr, MoreSCCreateCCLArray(scripts.out(), &index));  // no folders at all
    EXPECT_EQ(0, CFArrayGetCount(scripts.get()));
    EXPECT_EQ(0, index);

    AddScript(kLocal, "AAA Modem");  // sorts before the default's name
    AddScript(kSystem, "Hayes");
    scripts.reset();
    index = -1;
    ASSERT_EQ(noErr, MoreSCCreateCCLArray(scripts.out(), &index));
    EXPECT_EQ((std::vector<std::string>{"AAA Modem", "Hayes"}), Texts(scripts.get()));
    EXPECT_EQ(0, index);
    scripts.reset();
    EXPECT_EQ(noErr, MoreSCCreateCCLArray(scripts.out(), nullptr));  // the index is optional
}
