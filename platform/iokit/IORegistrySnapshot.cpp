// Registry dump files: read with a bound, then told apart by their first
// bytes. A binary or XML property list is either what "ioreg -a -l" writes
// (the root entry's dictionary) or a save file of IORegistryExplorer (a
// keyed archive, "$archiver" at its root); text that draws the tree of
// entries ("+-o Root  <class IORegistryEntry, ...>") is what "ioreg -l"
// writes.
#include <cstring>

#include "platform/corefoundation/BinaryPropertyList.h"
#include "platform/corefoundation/XMLPropertyList.h"
#include "platform/iokit/IORegistry.h"
#include "platform/posix/AtomicFile.h"

namespace {

enum class DumpForm { PropertyList, Text, Unknown };

DumpForm FormOf(const std::string& bytes) {
    if (bytes.compare(0, 8, "bplist00") == 0) return DumpForm::PropertyList;
    std::size_t start = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;  // a byte order mark
    std::size_t first = bytes.find_first_not_of(" \t\r\n", start);
    if (first == std::string::npos) return DumpForm::Unknown;
    if (bytes[first] == '<') return DumpForm::PropertyList;
    if (bytes.compare(first, 4, "+-o ") == 0) return DumpForm::Text;
    // A dump copied from a report or a terminal may begin with a few lines
    // of its own (the command that made it, say).
    std::size_t tree = bytes.find("\n+-o ");
    if (tree != std::string::npos && tree < 4096) return DumpForm::Text;
    return DumpForm::Unknown;
}

bool IsKeyedArchive(CFDictionaryRef root) {
    return CFDictionaryGetValue(root, CFSTR("$archiver")) != nullptr &&
           CFDictionaryGetValue(root, CFSTR("$objects")) != nullptr;
}

}  // namespace

std::shared_ptr<IORegistry> IORegistryCreateFromDump(const std::string& bytes, std::string* fault,
                                                     IORegistryNotes* notes) {
    std::shared_ptr<IORegistry> registry;
    switch (FormOf(bytes)) {
        case DumpForm::Text:
            registry = IORegistryCreateFromText(bytes, fault, notes);
            break;
        case DumpForm::PropertyList: {
            // Save files refer to their objects by UID, which only they hold.
            bool binary = bytes.compare(0, 8, "bplist00") == 0;
            CFRef<CFPropertyListRef> root(binary ? BinaryPropertyListCreate(bytes, fault, true)
                                                 : XMLPropertyListCreate(bytes, fault));
            if (!root) break;
            if (CFGetTypeID(root.get()) != CFDictionaryGetTypeID()) {
                *fault = "the property list's root is not a dictionary";
                break;
            }
            auto dict = static_cast<CFMutableDictionaryRef>(const_cast<void*>(root.get()));
            registry = IsKeyedArchive(dict) ? IORegistryCreateFromArchive(dict, fault)
                                            : IORegistryCreateFromPropertyList(dict, fault);
            break;
        }
        case DumpForm::Unknown:
            *fault = bytes.empty() ? "empty file"
                                   : "neither a property list nor the text of ioreg (which begins \"+-o Root\")";
            break;
    }
    if (registry) registry->Finish(notes);
    return registry;
}

std::shared_ptr<IORegistry> IORegistryReadSnapshot(const std::string& path, IOReturn* status, std::string* fault,
                                                   IORegistryNotes* notes) {
    std::string bytes;
    FileStamp stamp;
    int error = 0;
    const char* kind = "not a regular file";
    switch (ReadRegularFile(path, kIORegistryMaxDumpSize, &bytes, &stamp, &error, &kind)) {
        case FileReadResult::Read:
            break;
        case FileReadResult::Missing:
        case FileReadResult::Failed:
            *fault = std::strerror(error);
            *status = kIOReturnNotReadable;
            return nullptr;
        case FileReadResult::NotRegular:
            *fault = std::string("it is ") + kind;
            *status = kIOReturnNotReadable;
            return nullptr;
        case FileReadResult::TooLarge:
            *fault = "larger than the limit of " + std::to_string(kIORegistryMaxDumpSize) + " bytes";
            *status = kIOReturnNotReadable;
            return nullptr;
    }
    std::shared_ptr<IORegistry> registry = IORegistryCreateFromDump(bytes, fault, notes);
    *status = registry ? kIOReturnSuccess : kIOReturnError;
    return registry;
}
