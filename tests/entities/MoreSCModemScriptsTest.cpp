#include "entities/MoreSCModemScripts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "entities/EntityChecks.h"
#include "support/TempRoot.h"

namespace {

// A TempRoot whose HOME lies inside it, so the user domain is under test
// control too.
class ModemScriptsTest : public testing::Test {
protected:
    void SetUp() override { ::setenv("HOME", (root_.path() / "Users/jo").c_str(), 1); }
    void TearDown() override { home_ ? ::setenv("HOME", home_->c_str(), 1) : ::unsetenv("HOME"); }

    void AddScript(const std::string& folder, const std::string& name) { root_.write(folder + "/" + name, "CCL"); }
    // The scripts found and the default's index.
    static std::pair<std::vector<std::string>, SInt32> Scripts() {
        CFRef<CFArrayRef> scripts;
        SInt32 index = -1;
        EXPECT_EQ(noErr, MoreSCCreateCCLArray(scripts.out(), &index));
        return {Texts(scripts.get()), index};
    }

    TempRoot root_;
    const std::optional<std::string> home_ =
        std::getenv("HOME") ? std::optional<std::string>(std::getenv("HOME")) : std::nullopt;
};

const std::string kUser = "/Users/jo/Library/Modem Scripts";
const std::string kNetwork = "/Network/Library/Modem Scripts";
const std::string kLocal = "/Library/Modem Scripts";
const std::string kSystem = "/System/Library/Modem Scripts";
const char* const kDefault = "Apple Internal 56K Modem (v.90)";

}  // namespace

TEST_F(ModemScriptsTest, MergesDomainsSortedOnceEachSkippingHiddenFilesAndFolders) {
    for (const auto& [folder, name] : {std::pair{kUser, "Zoom 56K"}, {kUser, kDefault}, {kUser, ".DS_Store"},
                                       {kNetwork, "AAA Modem"}, {kSystem, kDefault}, {kSystem, "zoom 56k"},
                                       {kSystem, "Modem 10"}, {kSystem, "Modem 9"}}) {
        AddScript(folder, name);
    }
    std::filesystem::create_directories(root_.path() / "Users/jo/Library/Modem Scripts/Old Scripts");
    // One script more than a batch of the folder reader holds.
    std::vector<std::string> expected{"AAA Modem", kDefault, "Modem 9", "Modem 10"};
    for (int i = 1; i <= 51; i++) AddScript(kLocal, expected.emplace_back("Script " + std::to_string(i)));
    // Equal but for case: both kept, the user's (read first) ahead.
    expected.insert(expected.end(), {"Zoom 56K", "zoom 56k"});
    EXPECT_EQ(Scripts(), (std::pair{expected, 1}));
}

// Without the default script the index is 0, wherever its name would sort.
TEST_F(ModemScriptsTest, MissingDefaultScriptGivesIndexZero) {
    EXPECT_EQ(Scripts(), (std::pair{std::vector<std::string>{}, 0}));  // no folders at all
    AddScript(kLocal, "AAA Modem");  // sorts before the default's name
    AddScript(kSystem, "Hayes");
    EXPECT_EQ(Scripts(), (std::pair{std::vector<std::string>{"AAA Modem", "Hayes"}, 0}));
    CFRef<CFArrayRef> scripts;
    EXPECT_EQ(noErr, MoreSCCreateCCLArray(scripts.out(), nullptr));  // the index is optional
}
