#include "platform/coreservices/Folders.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/posix/RootPath.h"

namespace fs = std::filesystem;

struct OpaqueFSIterator {
    std::vector<fs::path> items;  // in name order
    size_t next = 0;
};

namespace {

bool SetRef(const std::string& path, FSRef* ref) {
    if (path.size() >= sizeof(ref->path)) return false;
    std::memcpy(ref->path, path.c_str(), path.size() + 1);
    return true;
}

// The folder of a domain, as a path; empty for an unknown domain or a user
// domain without HOME.
std::string DomainModemScriptsPath(SInt16 domain) {
    switch (domain) {
        case kUserDomain: {
            const char* home = std::getenv("HOME");
            if (home == nullptr || *home == '\0') return {};
            return std::string(home) + "/Library/Modem Scripts";
        }
        case kNetworkDomain: return TarnwickRootPath("/Network/Library/Modem Scripts");
        case kLocalDomain: return TarnwickRootPath("/Library/Modem Scripts");
        case kSystemDomain: return TarnwickRootPath("/System/Library/Modem Scripts");
        default: return {};
    }
}

// A file name as UTF-16; names that are not UTF-8 are taken as Latin-1.
// Names longer than 255 units are cut, as no catalogue name is longer.
void SetName(const std::string& name, HFSUniStr255* out) {
    const UInt8* bytes = reinterpret_cast<const UInt8*>(name.data());
    CFIndex count = static_cast<CFIndex>(name.size());
    CFRef<CFStringRef> text(CFStringCreateWithBytes(kCFAllocatorDefault, bytes, count, kCFStringEncodingUTF8, false));
    if (!text) text.reset(CFStringCreateWithBytes(kCFAllocatorDefault, bytes, count, kCFStringEncodingISOLatin1, false));
    CFIndex length = text ? std::min<CFIndex>(CFStringGetLength(text.get()), 255) : 0;
    if (length > 0) CFStringGetCharacters(text.get(), CFRangeMake(0, length), out->unicode);
    out->length = static_cast<UInt16>(length);
}

}  // namespace

OSErr FSFindFolder(SInt16 vRefNum, OSType folderType, Boolean createFolder, FSRef* foundRef) {
    if (foundRef == nullptr) return paramErr;
    if (folderType != kModemScriptsFolderType) return fnfErr;
    std::string path = DomainModemScriptsPath(vRefNum);
    if (path.empty()) return fnfErr;

    std::error_code ec;
    if (!fs::is_directory(path, ec)) {
        if (!createFolder) return fnfErr;
        fs::create_directories(path, ec);
        if (ec || !fs::is_directory(path, ec)) return fnfErr;
    }
    return SetRef(path, foundRef) ? OSErr(noErr) : OSErr(bdNamErr);
}

OSErr FSOpenIterator(const FSRef* container, FSIteratorFlags iteratorFlags, FSIterator* iterator) {
    if (container == nullptr || iterator == nullptr || iteratorFlags != kFSIterateFlat) return paramErr;
    *iterator = nullptr;

    auto opened = std::make_unique<OpaqueFSIterator>();
    std::error_code ec;
    for (fs::directory_iterator walk(container->path, ec), end; !ec && walk != end; walk.increment(ec)) {
        opened->items.push_back(walk->path());
    }
    if (ec) return fnfErr;
    std::sort(opened->items.begin(), opened->items.end());

    *iterator = opened.release();
    return noErr;
}

OSErr FSCloseIterator(FSIterator iterator) {
    if (iterator == nullptr) return paramErr;
    std::unique_ptr<OpaqueFSIterator> closing(iterator);
    return noErr;
}

OSErr FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximumObjects, ItemCount* actualObjects,
                           Boolean* containerChanged, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfos,
                           FSRef* refs, FSSpec* specs, HFSUniStr255* names) {
    if (iterator == nullptr || actualObjects == nullptr || whichInfo != kFSCatInfoNone || catalogInfos != nullptr ||
        specs != nullptr) {
        return paramErr;
    }
    if (containerChanged != nullptr) *containerChanged = false;

    ItemCount count = 0;
    while (count < maximumObjects && iterator->next < iterator->items.size()) {
        const fs::path& item = iterator->items[iterator->next];
        if (refs != nullptr && !SetRef(item.string(), &refs[count])) {
            *actualObjects = count;
            return bdNamErr;
        }
        if (names != nullptr) SetName(item.filename().string(), &names[count]);
        ++iterator->next;
        ++count;
    }
    *actualObjects = count;
    return iterator->next < iterator->items.size() ? OSErr(noErr) : OSErr(errFSNoMoreItems);
}

OSStatus LSCopyItemInfoForRef(const FSRef* inItemRef, LSRequestedInfo inWhichInfo, LSItemInfoRecord* outItemInfo) {
    if (inItemRef == nullptr || outItemInfo == nullptr || inWhichInfo != kLSRequestBasicFlagsOnly) return paramErr;
    *outItemInfo = LSItemInfoRecord{};

    fs::path item(inItemRef->path);
    std::error_code ec;
    fs::file_status own = fs::symlink_status(item, ec);
    if (ec || !fs::exists(own)) return fnfErr;
    fs::file_status target = fs::status(item, ec);

    LSItemInfoFlags flags = 0;
    if (fs::is_symlink(own)) flags |= kLSItemInfoIsSymlink;
    if (fs::is_regular_file(target)) flags |= kLSItemInfoIsPlainFile;
    if (fs::is_directory(target)) flags |= kLSItemInfoIsContainer;
    std::string name = item.filename().string();
    if (!name.empty() && name[0] == '.') flags |= kLSItemInfoIsInvisible;
    outItemInfo->flags = flags;
    return noErr;
}
