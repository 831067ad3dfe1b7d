#include "platform/coreservices/Folders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TempRoot.h"

namespace {

std::string Name(const HFSUniStr255& name) { return std::string(name.unicode, name.unicode + name.length); }

}  // namespace

TEST(Folders, ListsInBatchesWithTheEndOnTheLastBatch) {
    TempRoot root;
    for (int i = 0; i < 7; i++) root.write("/Library/Modem Scripts/s" + std::to_string(i), "");
    root.write("/Library/Modem Scripts/.hidden", "");
    FSRef folder;
    ASSERT_EQ(noErr, FSFindFolder(kLocalDomain, kModemScriptsFolderType, kDontCreateFolder, &folder));

    FSIterator iterator = nullptr;
    ASSERT_EQ(noErr, FSOpenIterator(&folder, kFSIterateFlat, &iterator));
    FSRef refs[4];
    HFSUniStr255 names[4];
    std::vector<ItemCount> batches;
    std::vector<std::string> seen;
    OSErr err = noErr;
    while (err == noErr) {
        ItemCount count = 0;
        err = FSGetCatalogInfoBulk(iterator, 4, &count, nullptr, kFSCatInfoNone, nullptr, refs, nullptr, names);
        batches.push_back(count);
        for (ItemCount i = 0; i < count; i++) {
            seen.push_back(Name(names[i]));
            LSItemInfoRecord info;
            ASSERT_EQ(noErr, LSCopyItemInfoForRef(&refs[i], kLSRequestBasicFlagsOnly, &info));
            EXPECT_TRUE(info.flags & kLSItemInfoIsPlainFile);
            EXPECT_EQ(Name(names[i])[0] == '.', (info.flags & kLSItemInfoIsInvisible) != 0);
        }
    }
    EXPECT_EQ(errFSNoMoreItems, err);
    EXPECT_EQ((std::vector<ItemCount>{4, 4}), batches);
    EXPECT_EQ((std::vector<std::string>{".hidden", "s0", "s1", "s2", "s3", "s4", "s5", "s6"}), seen);
    EXPECT_EQ(noErr, FSCloseIterator(iterator));
}
