// Registry dumps saved by IORegistryExplorer (".ioreg" files): a keyed
// archive whose objects refer to each other by UID, an index into its
// "$objects" array. "$top" names the data store; its "registryEntries" list
// every entry. An entry holds
//
//   "inheritance"        its class, then each class it derives from
//   "properties"         its properties, as the bytes of a property list
//   "namesInPlanes", "locationsInPlanes", "childrenInPlanes"
//                        a dictionary per plane ("IOService", ...)
//   "isRegistryRoot"     true for the root
//
// Arrays and dictionaries of the archive are objects with "NS.objects" (and
// "NS.keys"), each element a UID. The "IOService" plane is walked from the
// root. An entry with several parents there appears under each, as ioreg
// shows it.
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/corefoundation/CFKeyedArchiverUID.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/iokit/IORegistry.h"

namespace {

bool IsType(CFTypeRef value, CFTypeID type) { return value != nullptr && CFGetTypeID(value) == type; }

std::string Utf8(CFStringRef string) {
    CFIndex length = CFStringGetLength(string);
    std::string text(static_cast<std::size_t>(CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8)) + 1,
                     '\0');
    if (!CFStringGetCString(string, text.data(), static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8)) return {};
    text.resize(std::char_traits<char>::length(text.c_str()));
    return text;
}

class ArchiveReader {
public:
    ArchiveReader(CFDictionaryRef archive, std::string* fault) : archive_(archive), fault_(fault) {}

    std::shared_ptr<IORegistry> Read() {
        const void* objects = CFDictionaryGetValue(archive_, CFSTR("$objects"));
        const void* top = CFDictionaryGetValue(archive_, CFSTR("$top"));
        if (!IsType(objects, CFArrayGetTypeID()) || !IsType(top, CFDictionaryGetTypeID())) {
            return Fail("a keyed archive without its \"$objects\" or \"$top\"");
        }
        objects_ = static_cast<CFArrayRef>(objects);
        onPath_.assign(static_cast<std::size_t>(CFArrayGetCount(objects_)), false);

        CFDictionaryRef store = nullptr;
        Numbers entries;
        const void* storeReference = CFDictionaryGetValue(static_cast<CFDictionaryRef>(top), CFSTR("root"));
        if (storeReference == nullptr || !Dictionary(storeReference, &store) || store == nullptr ||
            !Elements(CFDictionaryGetValue(store, CFSTR("registryEntries")), &entries) || entries->empty()) {
            return Fail("a keyed archive that is no saved registry (no \"registryEntries\")");
        }
        UInt32 root = entries->front();
        for (UInt32 entry : *entries) {
            CFDictionaryRef dict = nullptr;
            if (!Dictionary(entry, &dict) || dict == nullptr) return Fail("an entry that is no dictionary");
            if (CFDictionaryGetValue(dict, CFSTR("isRegistryRoot")) == kCFBooleanTrue) {
                root = entry;
                break;
            }
        }
        return Walk(root) ? std::make_shared<IORegistry>(std::move(registry_)) : nullptr;
    }

private:
    std::shared_ptr<IORegistry> Fail(const std::string& what) {
        if (fault_->empty()) *fault_ = "malformed save file: " + what;
        return nullptr;
    }
    bool Failed(const std::string& what) {
        Fail(what);
        return false;
    }

    // The object number a reference holds: a UID, or in an XML archive a
    // dictionary {"CF$UID": number}. False for anything else.
    bool Reference(CFTypeRef value, UInt32* number) {
        if (IsType(value, _CFKeyedArchiverUIDGetTypeID())) {
            *number = _CFKeyedArchiverUIDGetValue(static_cast<CFKeyedArchiverUIDRef>(value));
        } else if (IsType(value, CFDictionaryGetTypeID()) &&
                   CFDictionaryGetCount(static_cast<CFDictionaryRef>(value)) == 1) {
            const void* uid = CFDictionaryGetValue(static_cast<CFDictionaryRef>(value), CFSTR("CF$UID"));
            SInt64 wide = -1;
            if (!IsType(uid, CFNumberGetTypeID()) || !CFNumberGetValue(static_cast<CFNumberRef>(uid), kCFNumberSInt64Type, &wide) ||
                wide < 0 || wide > UINT32_MAX) {
                return Failed("a reference that is not a UID");
            }
            *number = static_cast<UInt32>(wide);
        } else {
            return Failed("a reference that is not a UID");
        }
        if (*number >= onPath_.size()) return Failed("a UID past the last object");
        return true;
    }

    // The object a reference points to; nil for the archive's "$null".
    bool Object(UInt32 number, CFTypeRef* object) {
        *object = CFArrayGetValueAtIndex(objects_, static_cast<CFIndex>(number));
        if (IsType(*object, CFStringGetTypeID()) && CFEqual(*object, CFSTR("$null"))) *object = nullptr;
        return true;
    }
    bool Resolve(CFTypeRef reference, CFTypeRef* object) {
        UInt32 number = 0;
        return Reference(reference, &number) && Object(number, object);
    }

    bool Dictionary(UInt32 number, CFDictionaryRef* dict) {
        CFTypeRef object = nullptr;
        Object(number, &object);
        if (object != nullptr && !IsType(object, CFDictionaryGetTypeID())) return Failed("an object that is no dictionary");
        *dict = static_cast<CFDictionaryRef>(object);
        return true;
    }
    bool Dictionary(CFTypeRef reference, CFDictionaryRef* dict) {
        UInt32 number = 0;
        return Reference(reference, &number) && Dictionary(number, dict);
    }

    // The elements (object numbers) of an archived array, or with keys set
    // the keys of an archived dictionary; none for "$null". Each array is
    // read once, however many entries share it.
    using Numbers = std::shared_ptr<const std::vector<UInt32>>;
    bool Elements(CFTypeRef reference, Numbers* elements, bool keys = false) {
        UInt32 number = 0;
        if (reference == nullptr) {  // none
            *elements = std::make_shared<const std::vector<UInt32>>();
            return true;
        }
        return Reference(reference, &number) && Elements(number, elements, keys);
    }
    bool Elements(UInt32 number, Numbers* elements, bool keys = false) {
        auto known = elements_.find({number, keys});
        if (known != elements_.end()) {
            *elements = known->second;
            return true;
        }
        CFDictionaryRef array = nullptr;
        if (!Dictionary(number, &array)) return false;
        auto read = std::make_shared<std::vector<UInt32>>();
        if (array != nullptr) {
            const void* items = CFDictionaryGetValue(array, keys ? CFSTR("NS.keys") : CFSTR("NS.objects"));
            if (!IsType(items, CFArrayGetTypeID())) {
                return Failed(std::string("an archived collection without its ") + (keys ? "keys" : "objects"));
            }
            CFIndex count = CFArrayGetCount(static_cast<CFArrayRef>(items));
            read->reserve(static_cast<std::size_t>(count));
            for (CFIndex i = 0; i < count; ++i) {
                UInt32 element = 0;
                if (!Reference(CFArrayGetValueAtIndex(static_cast<CFArrayRef>(items), i), &element)) return false;
                read->push_back(element);
            }
        }
        *elements = read;
        elements_.emplace(std::make_pair(number, keys), std::move(read));
        return true;
    }

    // The text of an archived string (a string, or {"NS.string": ...}); ""
    // for "$null". Names are short: a longer text is refused rather than
    // copied into every entry that shares it.
    bool Text(UInt32 number, std::string* text) {
        auto known = texts_.find(number);
        if (known != texts_.end()) {
            *text = known->second;
            return true;
        }
        CFTypeRef object = nullptr;
        Object(number, &object);
        if (IsType(object, CFDictionaryGetTypeID())) object = CFDictionaryGetValue(static_cast<CFDictionaryRef>(object), CFSTR("NS.string"));
        text->clear();
        if (object != nullptr && !IsType(object, CFStringGetTypeID())) return Failed("a name that is no string");
        if (object != nullptr && CFStringGetLength(static_cast<CFStringRef>(object)) > kMaxNameLength) {
            return Failed("a name longer than " + std::to_string(kMaxNameLength) + " characters");
        }
        if (object != nullptr) *text = Utf8(static_cast<CFStringRef>(object));
        texts_.emplace(number, *text);
        return true;
    }
    bool Text(CFTypeRef reference, std::string* text) {
        UInt32 number = 0;
        return Reference(reference, &number) && Text(number, text);
    }

    // The value for the "IOService" plane in an entry's dictionary of
    // planes (key); *found false when there is none.
    bool InServicePlane(CFDictionaryRef entry, CFStringRef key, UInt32* value, bool* found) {
        *found = false;
        const void* planes = CFDictionaryGetValue(entry, key);
        UInt32 number = 0;
        if (planes == nullptr) return true;
        if (!Reference(planes, &number)) return false;
        auto known = planes_.find(number);
        if (known == planes_.end()) {
            Numbers keys, values;
            if (!Elements(number, &keys, true) || !Elements(number, &values)) return false;
            if (keys->size() != values->size()) return Failed("an archived dictionary with more keys than values");
            std::pair<bool, UInt32> service{false, 0};
            for (std::size_t i = 0; i < keys->size() && !service.first; ++i) {
                std::string plane;
                if (!Text((*keys)[i], &plane)) return false;
                if (plane == "IOService") service = {true, (*values)[i]};
            }
            known = planes_.emplace(number, service).first;
        }
        *found = known->second.first;
        *value = known->second.second;
        return true;
    }

    // The name (and location) in the "IOService" plane, else the entry's own.
    bool NameOf(CFDictionaryRef entry, std::string* name) {
        UInt32 number = 0;
        bool found = false;
        std::string location;
        if (!InServicePlane(entry, CFSTR("namesInPlanes"), &number, &found)) return false;
        if (found ? !Text(number, name)
                  : CFDictionaryContainsKey(entry, CFSTR("name")) && !Text(CFDictionaryGetValue(entry, CFSTR("name")), name)) {
            return false;
        }
        if (!InServicePlane(entry, CFSTR("locationsInPlanes"), &number, &found)) return false;
        if (found ? !Text(number, &location)
                  : CFDictionaryContainsKey(entry, CFSTR("location")) &&
                        !Text(CFDictionaryGetValue(entry, CFSTR("location")), &location)) {
            return false;
        }
        if (!name->empty() && !location.empty()) *name += "@" + location;
        return true;
    }

    // The entry's properties: the bytes of a property list, held in place
    // or as an archived data object. Read once per entry.
    bool PropertiesOf(UInt32 number, CFDictionaryRef entry, CFRef<CFMutableDictionaryRef>* properties) {
        auto known = properties_.find(number);
        if (known != properties_.end()) {
            *properties = CFRef<CFMutableDictionaryRef>::Retain(known->second.get());
            return true;
        }
        CFTypeRef value = CFDictionaryGetValue(entry, CFSTR("properties"));
        if (value != nullptr && !IsType(value, CFDataGetTypeID())) {
            if (!Resolve(value, &value)) return false;
            if (IsType(value, CFDictionaryGetTypeID())) value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(value), CFSTR("NS.data"));
        }
        if (value == nullptr) {
            properties->reset(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        } else if (!IsType(value, CFDataGetTypeID())) {
            return Failed("properties that are not the bytes of a property list");
        } else if (auto parsed = parsed_.find(value); parsed != parsed_.end()) {
            // The same bytes, shared by several entries: read once.
            *properties = CFRef<CFMutableDictionaryRef>::Retain(parsed->second.get());
        } else {
            CFDataRef data = static_cast<CFDataRef>(value);
            std::string bytes(reinterpret_cast<const char*>(CFDataGetBytePtr(data)), static_cast<std::size_t>(CFDataGetLength(data)));
            PropertyListFormat format;
            std::string fault;
            properties->reset(PropertyListCreateFromFileBytes(bytes, &format, &fault));
            if (!*properties) return Failed("an entry's properties: " + fault);
            parsed_.emplace(value, CFRef<CFMutableDictionaryRef>::Retain(properties->get()));
        }
        properties_.emplace(number, CFRef<CFMutableDictionaryRef>::Retain(properties->get()));
        return true;
    }

    // Adds the entry under parent; *children receives its children in the
    // "IOService" plane.
    bool AddEntry(UInt32 number, std::size_t parent, Numbers* children) {
        CFDictionaryRef entry = nullptr;
        if (!Dictionary(number, &entry)) return false;
        if (entry == nullptr) return Failed("an entry that is \"$null\"");
        Numbers lineage;
        if (!Elements(CFDictionaryGetValue(entry, CFSTR("inheritance")), &lineage)) return false;
        if (lineage->size() > kMaxLineage) return Failed("a class lineage of more than " + std::to_string(kMaxLineage) + " classes");
        std::vector<std::string> classes(lineage->size());
        for (std::size_t i = 0; i < lineage->size(); ++i) {
            if (!Text((*lineage)[i], &classes[i])) return false;
        }
        if (classes.empty() || classes.front().empty()) return Failed("an entry without its class");

        std::string name;
        CFRef<CFMutableDictionaryRef> properties;
        UInt32 childList = 0;
        bool hasChildren = false;
        if (!NameOf(entry, &name) || !PropertiesOf(number, entry, &properties) ||
            !InServicePlane(entry, CFSTR("childrenInPlanes"), &childList, &hasChildren)) {
            return false;
        }
        *children = std::make_shared<const std::vector<UInt32>>();
        if (hasChildren && !Elements(childList, children)) return false;
        std::size_t index = registry_.AddEntry(parent, classes.front(), std::move(properties), std::move(name));
        classes.erase(classes.begin());
        registry_.entry(index).superclasses = std::move(classes);
        return true;
    }

    // Walks the "IOService" plane from the root, without recursion. An
    // entry that is its own ancestor, nesting past kIORegistryMaxDepth, and
    // entries shared under so many parents that the tree would outgrow
    // the archive are refused.
    bool Walk(UInt32 root) {
        struct Frame {
            UInt32 number;
            std::size_t index;
            Numbers children;
            std::size_t next = 0;
        };
        std::vector<Frame> stack(1);
        stack.back().number = root;
        if (!AddEntry(root, IORegistry::kNoParent, &stack.back().children)) return false;
        stack.back().index = 0;
        onPath_[root] = true;
        while (!stack.empty()) {
            Frame& top = stack.back();
            if (top.next == top.children->size()) {
                onPath_[top.number] = false;
                stack.pop_back();
                continue;
            }
            UInt32 child = (*top.children)[top.next++];
            std::size_t parent = top.index;
            if (onPath_[child]) return Failed("an entry that is its own ancestor");
            if (stack.size() >= static_cast<std::size_t>(kIORegistryMaxDepth)) {
                return Failed("entries nested deeper than " + std::to_string(kIORegistryMaxDepth) + " levels");
            }
            if (registry_.size() > 4 * properties_.size() + 64) {
                return Failed("entries shared under so many parents that the tree outgrows the file");
            }
            stack.push_back(Frame{child, registry_.size(), {}});
            if (!AddEntry(child, parent, &stack.back().children)) return false;
            onPath_[child] = true;
        }
        return true;
    }

    // Names, classes and planes are short; lineages have a dozen classes.
    static constexpr CFIndex kMaxNameLength = 1024;
    static constexpr std::size_t kMaxLineage = 64;

    struct PairHash {
        std::size_t operator()(const std::pair<UInt32, bool>& key) const { return key.first * 2u + key.second; }
    };

    CFDictionaryRef archive_;
    std::string* fault_;
    std::unordered_map<std::pair<UInt32, bool>, Numbers, PairHash> elements_;  // per array (or keys) read
    std::unordered_map<UInt32, std::string> texts_;                            // per string read
    std::unordered_map<UInt32, std::pair<bool, UInt32>> planes_;               // per dictionary of planes
    std::unordered_map<const void*, CFRef<CFMutableDictionaryRef>> parsed_;    // per property-list bytes
    CFArrayRef objects_ = nullptr;
    std::vector<bool> onPath_;  // per object: an entry on the way from the root to the one being read
    std::unordered_map<UInt32, CFRef<CFMutableDictionaryRef>> properties_;  // per entry read
    IORegistry registry_;
};

}  // namespace

std::shared_ptr<IORegistry> IORegistryCreateFromArchive(CFDictionaryRef archive, std::string* fault) {
    fault->clear();
    ArchiveReader reader(archive, fault);
    return reader.Read();
}
