#include "platform/iokit/IOKitLib.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/iokit/IORegistry.h"
#include "platform/posix/RootPath.h"

namespace {

// The one master port; any value but 0 would do.
constexpr mach_port_t kMasterPort = 0x0B03;

// What a handle stands for: an entry of a registry, or an iterator over
// some entries of one. Both keep their registry alive.
struct HeldObject {
    std::shared_ptr<const IORegistry> registry;
    bool isIterator = false;
    std::size_t entry = 0;                  // an entry
    std::vector<std::size_t> matches;       // an iterator: what is left to hand out
    std::size_t next = 0;
    long references = 1;
};

// The live handles. Handles are never reused, so a stale one is always
// recognised as such.
class HandleTable {
public:
    io_object_t Add(HeldObject object) {
        std::lock_guard<std::mutex> lock(mutex_);
        io_object_t handle = nextHandle_++;
        objects_.emplace(handle, std::move(object));
        return handle;
    }

    kern_return_t Release(io_object_t handle) {
        std::unique_lock<std::mutex> lock(mutex_);
        auto found = objects_.find(handle);
        if (found == objects_.end()) return kIOReturnBadArgument;
        if (--found->second.references > 0) return kIOReturnSuccess;
        // The registry may go with the object: let it go outside the lock.
        HeldObject gone = std::move(found->second);
        objects_.erase(found);
        lock.unlock();
        return kIOReturnSuccess;
    }

    // The registry and entry a handle stands for; false for anything else.
    bool GetEntry(io_object_t handle, std::shared_ptr<const IORegistry>* registry, std::size_t* entry) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = objects_.find(handle);
        if (found == objects_.end() || found->second.isIterator) return false;
        *registry = found->second.registry;
        *entry = found->second.entry;
        return true;
    }

    // Takes the next entry from an iterator; false at its end.
    bool TakeNext(io_object_t handle, std::shared_ptr<const IORegistry>* registry, std::size_t* entry) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = objects_.find(handle);
        if (found == objects_.end() || !found->second.isIterator) return false;
        HeldObject& iterator = found->second;
        if (iterator.next >= iterator.matches.size()) return false;
        *registry = iterator.registry;
        *entry = iterator.matches[iterator.next++];
        return true;
    }

private:
    std::mutex mutex_;
    std::unordered_map<io_object_t, HeldObject> objects_;
    io_object_t nextHandle_ = 0x1003;
};

HandleTable& Handles() {
    static HandleTable* table = new HandleTable;  // lives as long as the process
    return *table;
}

io_object_t AddEntryHandle(std::shared_ptr<const IORegistry> registry, std::size_t entry) {
    HeldObject object;
    object.registry = std::move(registry);
    object.entry = entry;
    return Handles().Add(std::move(object));
}

// Writes what a reader left out, one line each, after the source it read.
void ReportNotes(const std::string& source, const IORegistryNotes& notes) {
    for (const std::string& note : notes) std::fprintf(stderr, "IOKit: %s: %s\n", source.c_str(), note.c_str());
}

// The last snapshot read, kept while its file stays the same: the three
// queries of a port listing then read a large snapshot once (and report
// what it left out once).
class SnapshotCache {
public:
    std::shared_ptr<const IORegistry> Read(const std::string& path, kern_return_t* status) {
        struct stat info {};
        bool known = ::stat(path.c_str(), &info) == 0;
        std::lock_guard<std::mutex> lock(mutex_);
        if (known && registry_ && path == path_ && SameFile(info, info_)) {
            *status = kIOReturnSuccess;
            return registry_;
        }
        std::string fault;
        IORegistryNotes notes;
        std::shared_ptr<const IORegistry> registry = IORegistryReadSnapshot(path, status, &fault, &notes);
        if (!registry) {
            std::fprintf(stderr, "IOKit: cannot read the registry snapshot %s: %s\n", path.c_str(), fault.c_str());
        }
        ReportNotes(path, notes);
        registry_ = known ? registry : nullptr;
        path_ = path;
        info_ = info;
        return registry;
    }

private:
    static bool SameFile(const struct stat& a, const struct stat& b) {
        return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
               a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec &&
               a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
    }

    std::mutex mutex_;
    std::string path_;
    struct stat info_ {};
    std::shared_ptr<const IORegistry> registry_;
};

// The registry of the configured source: the snapshot named by
// TARNWICK_IOREG, else this machine's sysfs (read anew each time, as
// devices come and go).
std::shared_ptr<const IORegistry> ReadRegistry(kern_return_t* status) {
    static SnapshotCache* snapshots = new SnapshotCache;  // lives as long as the process
    const char* snapshot = std::getenv("TARNWICK_IOREG");
    if (snapshot != nullptr && *snapshot != 0) return snapshots->Read(snapshot, status);
    *status = kIOReturnSuccess;
    IORegistryNotes notes;
    std::shared_ptr<IORegistry> registry = IORegistryReadSysfs(TarnwickRootPath("/sys"), &notes);
    registry->Finish(&notes);
    // Each query reads sysfs again: what the last read reported stays
    // unsaid while it stays so.
    static IORegistryNotes* reported = new IORegistryNotes;  // lives as long as the process
    static std::mutex reporting;
    std::lock_guard<std::mutex> lock(reporting);
    IORegistryNotes fresh;
    for (const std::string& note : notes) {
        if (std::find(reported->begin(), reported->end(), note) == reported->end()) fresh.push_back(note);
    }
    ReportNotes("sysfs", fresh);
    *reported = std::move(notes);
    return registry;
}

bool IsString(const void* value) { return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID(); }

// Whether every key of wanted is a property of the entry with an equal value.
bool HasProperties(CFDictionaryRef properties, CFDictionaryRef wanted, bool skipMatchingKeys) {
    CFIndex count = CFDictionaryGetCount(wanted);
    std::vector<const void*> keys(static_cast<std::size_t>(count)), values(static_cast<std::size_t>(count));
    CFDictionaryGetKeysAndValues(wanted, keys.data(), values.data());
    for (CFIndex i = 0; i < count; ++i) {
        if (skipMatchingKeys && (CFEqual(keys[i], CFSTR(kIOProviderClassKey)) ||
                                 CFEqual(keys[i], CFSTR(kIOPropertyMatchKey)))) {
            continue;
        }
        const void* have = properties ? CFDictionaryGetValue(properties, keys[i]) : nullptr;
        if (have == nullptr || !CFEqual(have, values[i])) return false;
    }
    return true;
}

bool Matches(const IORegistry& registry, std::size_t index, CFDictionaryRef matching,
             const std::string& providerClass) {
    const IORegistryEntry& entry = registry.entry(index);
    if (!entry.matchable || !registry.ConformsTo(index, providerClass)) return false;
    const void* propertyMatch = CFDictionaryGetValue(matching, CFSTR(kIOPropertyMatchKey));
    if (propertyMatch != nullptr) {
        if (CFGetTypeID(propertyMatch) != CFDictionaryGetTypeID()) return false;
        if (!HasProperties(entry.properties.get(), static_cast<CFDictionaryRef>(propertyMatch), false)) return false;
    }
    return HasProperties(entry.properties.get(), matching, true);
}

}  // namespace

kern_return_t IOMasterPort(mach_port_t /*bootstrapPort*/, mach_port_t* masterPort) {
    if (masterPort == nullptr) return kIOReturnBadArgument;
    *masterPort = kMasterPort;
    return kIOReturnSuccess;
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
    if (name == nullptr) return nullptr;
    CFRef<CFStringRef> className(CFStringCreateWithCString(nullptr, name, kCFStringEncodingUTF8));
    if (!className) return nullptr;
    CFMutableDictionaryRef matching =
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    if (matching != nullptr) CFDictionarySetValue(matching, CFSTR(kIOProviderClassKey), className.get());
    return matching;
}

kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching, io_iterator_t* existing) {
    CFRef<CFDictionaryRef> consumed(matching);
    if (existing == nullptr || matching == nullptr || CFGetTypeID(matching) != CFDictionaryGetTypeID()) {
        return kIOReturnBadArgument;
    }
    if (masterPort != kIOMasterPortDefault && masterPort != kMasterPort) return kIOReturnBadArgument;

    std::string providerClass = "IOService";
    const void* wantedClass = CFDictionaryGetValue(matching, CFSTR(kIOProviderClassKey));
    if (wantedClass != nullptr) {
        char text[128];
        if (!IsString(wantedClass) ||
            !CFStringGetCString(static_cast<CFStringRef>(wantedClass), text, sizeof(text), kCFStringEncodingUTF8)) {
            return kIOReturnBadArgument;
        }
        providerClass = text;
    }

    kern_return_t status = kIOReturnSuccess;
    std::shared_ptr<const IORegistry> registry = ReadRegistry(&status);
    if (!registry) return status;

    HeldObject iterator;
    iterator.isIterator = true;
    for (std::size_t index : registry->DepthFirstOrder()) {
        if (registry->ConformsTo(index, "IOService") && Matches(*registry, index, matching, providerClass)) {
            iterator.matches.push_back(index);
        }
    }
    iterator.registry = std::move(registry);
    *existing = Handles().Add(std::move(iterator));
    return kIOReturnSuccess;
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    std::shared_ptr<const IORegistry> registry;
    std::size_t entry = 0;
    if (!Handles().TakeNext(iterator, &registry, &entry)) return IO_OBJECT_NULL;
    return AddEntryHandle(std::move(registry), entry);
}

kern_return_t IOObjectRelease(io_object_t object) { return Handles().Release(object); }

boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className) {
    std::shared_ptr<const IORegistry> registry;
    std::size_t entry = 0;
    if (className == nullptr || !Handles().GetEntry(object, &registry, &entry)) return false;
    return registry->ConformsTo(entry, className);
}

kern_return_t IOObjectGetClass(io_object_t object, io_name_t className) {
    std::shared_ptr<const IORegistry> registry;
    std::size_t entry = 0;
    if (className == nullptr || !Handles().GetEntry(object, &registry, &entry)) return kIOReturnBadArgument;
    std::snprintf(className, sizeof(io_name_t), "%s", registry->entry(entry).className.c_str());
    return kIOReturnSuccess;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef allocator,
                                          IOOptionBits /*options*/) {
    std::shared_ptr<const IORegistry> registry;
    std::size_t index = 0;
    if (key == nullptr || !Handles().GetEntry(entry, &registry, &index)) return nullptr;
    CFDictionaryRef properties = registry->entry(index).properties.get();
    const void* value = properties ? CFDictionaryGetValue(properties, key) : nullptr;
    if (value == nullptr) return nullptr;
    return CFPropertyListCreateDeepCopy(allocator, value, kCFPropertyListImmutable);
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits /*options*/) {
    std::shared_ptr<const IORegistry> registry;
    std::size_t index = 0;
    if (properties == nullptr || !Handles().GetEntry(entry, &registry, &index)) return kIOReturnBadArgument;
    CFDictionaryRef source = registry->entry(index).properties.get();
    CFMutableDictionaryRef copy =
        source ? static_cast<CFMutableDictionaryRef>(const_cast<void*>(
                     CFPropertyListCreateDeepCopy(allocator, source, kCFPropertyListMutableContainers)))
               : CFDictionaryCreateMutable(allocator, 0, &kCFTypeDictionaryKeyCallBacks,
                                           &kCFTypeDictionaryValueCallBacks);
    if (copy == nullptr) return kIOReturnNoMemory;
    *properties = copy;
    return kIOReturnSuccess;
}

kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                            io_registry_entry_t* parent) {
    std::shared_ptr<const IORegistry> registry;
    std::size_t index = 0;
    if (parent == nullptr || plane == nullptr || !Handles().GetEntry(entry, &registry, &index)) {
        return kIOReturnBadArgument;
    }
    if (std::strcmp(plane, kIOServicePlane) != 0) return kIOReturnBadArgument;
    std::size_t parentIndex = registry->entry(index).parent;
    if (parentIndex == IORegistry::kNoParent) return kIOReturnNoDevice;
    *parent = AddEntryHandle(std::move(registry), parentIndex);
    return kIOReturnSuccess;
}
