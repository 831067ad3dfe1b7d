// File-system references and folder lookup, with the names and codes of
// the Mac's File Manager and Launch Services, kept to what the library uses:
// finding a domain's modem-scripts folder, listing a folder in batches and
// asking whether an item is a plain, visible file.
//
// The user domain lives in $HOME; the other domains lie under TARNWICK_ROOT.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

typedef UInt32 ItemCount;

enum : OSErr {
    fnfErr = -43,            // no such file or folder
    bdNamErr = -37,          // a path too long for an FSRef
    errFSNoMoreItems = -1417,  // the iterator has handed out every item
};

// Folder domains.
enum : SInt16 {
    kUserDomain = -32763,
    kNetworkDomain = -32764,
    kLocalDomain = -32765,
    kSystemDomain = -32766,
};

// Folder types. 'ƒmod': the byte 0xC4 followed by "mod".
enum : OSType {
    kModemScriptsFolderType = 0xC46D6F64,
};

enum : Boolean {
    kDontCreateFolder = 0,
    kCreateFolder = 1,
};

// A reference to an existing file or folder: its absolute path. A plain
// record, so batches of them can live in one allocated block.
struct FSRef {
    char path[1024];
};

// A file name as UTF-16 code units.
struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
};

// Finds the folder of folderType in the domain vRefNum. A folder that does
// not exist is created when createFolder is set, otherwise fnfErr.
OSErr FSFindFolder(SInt16 vRefNum, OSType folderType, Boolean createFolder, FSRef* foundRef);

// Catalogue iterators over the items of one folder (not recursive).
typedef struct OpaqueFSIterator* FSIterator;
typedef UInt32 FSIteratorFlags;
enum : FSIteratorFlags {
    kFSIterateFlat = 0,
};

// Catalogue information: the library asks for none, only for references
// and names.
typedef UInt32 FSCatalogInfoBitmap;
enum : FSCatalogInfoBitmap {
    kFSCatInfoNone = 0,
};
struct FSCatalogInfo;
struct FSSpec;

// Opens an iterator over the items of container; only kFSIterateFlat.
OSErr FSOpenIterator(const FSRef* container, FSIteratorFlags iteratorFlags, FSIterator* iterator);
OSErr FSCloseIterator(FSIterator iterator);

// Hands out up to maximumObjects items, in name order, filling refs and
// names where they are not nil. catalogInfos and specs must be nil (only
// kFSCatInfoNone is supported). When the batch holds the folder's last
// item, or there is none left, the result is errFSNoMoreItems with
// *actualObjects telling how many items this last batch holds.
OSErr FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximumObjects, ItemCount* actualObjects,
                           Boolean* containerChanged, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfos,
                           FSRef* refs, FSSpec* specs, HFSUniStr255* names);

// Launch Services' view of an item.
typedef UInt32 LSRequestedInfo;
enum : LSRequestedInfo {
    kLSRequestBasicFlagsOnly = 0x00000004,
};
typedef UInt32 LSItemInfoFlags;
enum : LSItemInfoFlags {
    kLSItemInfoIsPlainFile = 0x00000001,   // a regular file (or a link to one)
    kLSItemInfoIsContainer = 0x00000008,   // a folder
    kLSItemInfoIsSymlink = 0x00000020,     // a symbolic link
    kLSItemInfoIsInvisible = 0x00000040,   // its name starts with "."
};
struct LSItemInfoRecord {
    LSItemInfoFlags flags;
    OSType filetype;
    OSType creator;
    CFStringRef extension;
};

// Fills outItemInfo->flags for the item (the other fields are zero or
// nil; only kLSRequestBasicFlagsOnly is supported). fnfErr if the item has
// gone.
OSStatus LSCopyItemInfoForRef(const FSRef* inItemRef, LSRequestedInfo inWhichInfo, LSItemInfoRecord* outItemInfo);
