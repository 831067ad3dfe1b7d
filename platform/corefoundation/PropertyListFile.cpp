#include "platform/corefoundation/PropertyListFile.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "platform/corefoundation/BinaryPropertyList.h"
#include "platform/corefoundation/CFRef.h"

namespace {

const char kBinaryMagic[] = "bplist00";
const std::size_t kBinaryMagicLength = sizeof kBinaryMagic - 1;

struct PlistFree {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
// A libplist tree owned by the code that holds it.
using PlistHolder = std::unique_ptr<void, PlistFree>;

struct MallocFree {
    void operator()(void* block) const { std::free(block); }
};
// Keys and iterators that libplist hands out with malloc.
template <class T>
using MallocHolder = std::unique_ptr<T, MallocFree>;

const char* NodeTypeName(plist_type type) {
    switch (type) {
        case PLIST_BOOLEAN: return "boolean";
        case PLIST_UINT: return "integer";
        case PLIST_REAL: return "real";
        case PLIST_STRING: return "string";
        case PLIST_ARRAY: return "array";
        case PLIST_DICT: return "dictionary";
        case PLIST_DATE: return "date";
        case PLIST_DATA: return "data";
        case PLIST_KEY: return "key";
        case PLIST_UID: return "uid";
        default: return "unknown";
    }
}

CFStringRef CreateStringFromUTF8(const char* text, std::size_t length) {
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text),
                                   static_cast<CFIndex>(length), kCFStringEncodingUTF8, false);
}

CFMutableDictionaryRef CreateEmptyDictionary() {
    return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks);
}

// ---------------------------------------------------------------------------
// File bytes to CoreFoundation values

CFTypeRef CreateValueFromNode(plist_t node, std::string* fault);

CFTypeRef CreateDictionaryFromNode(plist_t node, std::string* fault) {
    CFRef<CFMutableDictionaryRef> dict(CreateEmptyDictionary());
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(node, &rawIterator);
    MallocHolder<void> iterator(rawIterator);
    for (;;) {
        char* rawKey = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, rawIterator, &rawKey, &child);
        MallocHolder<char> key(rawKey);
        if (child == nullptr) break;
        CFRef<CFStringRef> cfKey(CreateStringFromUTF8(rawKey, std::strlen(rawKey)));
        if (!cfKey) {
            *fault = "a dictionary key is not valid UTF-8";
            return nil;
        }
        CFRef<CFTypeRef> value(CreateValueFromNode(child, fault));
        if (!value) return nil;
        CFDictionarySetValue(dict.get(), cfKey.get(), value.get());
    }
    return dict.release();
}

CFTypeRef CreateArrayFromNode(plist_t node, std::string* fault) {
    CFRef<CFMutableArrayRef> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    plist_array_iter rawIterator = nullptr;
    plist_array_new_iter(node, &rawIterator);
    MallocHolder<void> iterator(rawIterator);
    for (;;) {
        plist_t child = nullptr;
        plist_array_next_item(node, rawIterator, &child);
        if (child == nullptr) break;
        CFRef<CFTypeRef> value(CreateValueFromNode(child, fault));
        if (!value) return nil;
        CFArrayAppendValue(array.get(), value.get());
    }
    return array.release();
}

CFTypeRef CreateValueFromNode(plist_t node, std::string* fault) {
    plist_type type = plist_get_node_type(node);
    switch (type) {
        case PLIST_DICT:
            return CreateDictionaryFromNode(node, fault);
        case PLIST_ARRAY:
            return CreateArrayFromNode(node, fault);
        case PLIST_STRING: {
            uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            CFStringRef string = CreateStringFromUTF8(text != nullptr ? text : "", text != nullptr ? length : 0);
            if (string == nil) *fault = "a string is not valid UTF-8";
            return string;
        }
        case PLIST_UINT: {
            // libplist keeps every integer in 64 bits; read back as signed,
            // they are the values the file holds (negative ones included).
            uint64_t raw = 0;
            plist_get_uint_val(node, &raw);
            SInt64 value = static_cast<SInt64>(raw);
            return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &value);
        }
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return CFRetain(value ? kCFBooleanTrue : kCFBooleanFalse);
        }
        case PLIST_DATA: {
            uint64_t length = 0;
            const char* bytes = plist_get_data_ptr(node, &length);
            return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes),
                                static_cast<CFIndex>(bytes != nullptr ? length : 0));
        }
        default:
            *fault = std::string("unsupported value of type ") + NodeTypeName(type);
            return nil;
    }
}

// libplist accepts an XML document that stops right after its last value;
// a file cut short there is still a truncated file.
bool XMLHasClosingTag(const std::string& bytes) {
    static const char kClosing[] = "</plist>";
    std::size_t end = bytes.find_last_not_of(" \t\r\n");
    if (end == std::string::npos) return false;
    std::size_t length = sizeof kClosing - 1;
    return end + 1 >= length && bytes.compare(end + 1 - length, length, kClosing) == 0;
}

// ---------------------------------------------------------------------------
// CoreFoundation values to file bytes

plist_t CreateNodeFromValue(CFTypeRef value, std::string* fault);

bool CopyUTF8(CFStringRef string, std::string* text) {
    CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return false;
    text->assign(buffer.data());
    return true;
}

plist_t CreateDictionaryNode(CFDictionaryRef dict, std::string* fault) {
    CFIndex count = CFDictionaryGetCount(dict);
    std::vector<const void*> keys(static_cast<std::size_t>(count));
    std::vector<const void*> values(static_cast<std::size_t>(count));
    CFDictionaryGetKeysAndValues(dict, keys.data(), values.data());
    for (const void* key : keys) {
        if (CFGetTypeID(key) != CFStringGetTypeID()) {
            *fault = "a dictionary key is not a string";
            return nullptr;
        }
    }
    // Keys in the order macOS writes them: by UTF-16 code units.
    std::vector<std::size_t> order(keys.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(), [&keys](std::size_t a, std::size_t b) {
        return CFStringCompare(static_cast<CFStringRef>(keys[a]), static_cast<CFStringRef>(keys[b]), 0) ==
               kCFCompareLessThan;
    });

    PlistHolder node(plist_new_dict());
    std::string keyText;
    for (std::size_t i : order) {
        if (!CopyUTF8(static_cast<CFStringRef>(keys[i]), &keyText)) {
            *fault = "a dictionary key cannot be written as UTF-8";
            return nullptr;
        }
        plist_t child = CreateNodeFromValue(values[i], fault);
        if (child == nullptr) return nullptr;
        plist_dict_set_item(node.get(), keyText.c_str(), child);
    }
    return node.release();
}

plist_t CreateArrayNode(CFArrayRef array, std::string* fault) {
    PlistHolder node(plist_new_array());
    CFIndex count = CFArrayGetCount(array);
    for (CFIndex i = 0; i < count; ++i) {
        plist_t child = CreateNodeFromValue(CFArrayGetValueAtIndex(array, i), fault);
        if (child == nullptr) return nullptr;
        plist_array_append_item(node.get(), child);
    }
    return node.release();
}

plist_t CreateNodeFromValue(CFTypeRef value, std::string* fault) {
    if (value == nil) {
        *fault = "a value is missing";
        return nullptr;
    }
    CFTypeID type = CFGetTypeID(value);
    if (type == CFDictionaryGetTypeID()) return CreateDictionaryNode(static_cast<CFDictionaryRef>(value), fault);
    if (type == CFArrayGetTypeID()) return CreateArrayNode(static_cast<CFArrayRef>(value), fault);
    if (type == CFStringGetTypeID()) {
        std::string text;
        if (!CopyUTF8(static_cast<CFStringRef>(value), &text)) {
            *fault = "a string cannot be written as UTF-8";
            return nullptr;
        }
        return plist_new_string(text.c_str());
    }
    if (type == CFNumberGetTypeID()) {
        CFNumberRef number = static_cast<CFNumberRef>(value);
        if (CFNumberIsFloatType(number)) {
            double real = 0;
            CFNumberGetValue(number, kCFNumberFloat64Type, &real);
            return plist_new_real(real);
        }
        SInt64 integer = 0;
        CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
        return plist_new_uint(static_cast<uint64_t>(integer));
    }
    if (type == CFBooleanGetTypeID()) return plist_new_bool(CFBooleanGetValue(static_cast<CFBooleanRef>(value)));
    if (type == CFDataGetTypeID()) {
        CFDataRef data = static_cast<CFDataRef>(value);
        return plist_new_data(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                              static_cast<uint64_t>(CFDataGetLength(data)));
    }
    *fault = "a value is not a property-list value";
    return nullptr;
}

}  // namespace

CFMutableDictionaryRef PropertyListCreateFromFileBytes(const std::string& bytes, PropertyListFormat* format,
                                                       std::string* fault) {
    if (bytes.empty()) {
        *fault = "empty file";
        return nil;
    }
    if (bytes.size() > std::numeric_limits<uint32_t>::max()) {
        *fault = "file too large";
        return nil;
    }
    bool binary = bytes.compare(0, kBinaryMagicLength, kBinaryMagic) == 0;
    plist_t rawRoot = nullptr;
    if (binary) {
        plist_from_bin(bytes.data(), static_cast<uint32_t>(bytes.size()), &rawRoot);
    } else if (XMLHasClosingTag(bytes)) {
        plist_from_xml(bytes.data(), static_cast<uint32_t>(bytes.size()), &rawRoot);
    }
    PlistHolder root(rawRoot);
    if (!root) {
        *fault = binary ? "malformed binary property list" : "malformed property list";
        return nil;
    }
    plist_type rootType = plist_get_node_type(root.get());
    if (rootType != PLIST_DICT) {
        *fault = std::string("root is not a dictionary but ") + NodeTypeName(rootType);
        return nil;
    }
    CFTypeRef tree = CreateValueFromNode(root.get(), fault);
    if (tree == nil) return nil;
    *format = binary ? PropertyListFormat::Binary : PropertyListFormat::XML;
    return static_cast<CFMutableDictionaryRef>(const_cast<void*>(tree));
}

bool PropertyListEncodeFileBytes(CFPropertyListRef root, PropertyListFormat format, std::string* bytes,
                                 std::string* fault) {
    // libplist's binary writer slows down quadratically past a few thousand
    // objects; the binary format is written by our own linear encoder.
    if (format == PropertyListFormat::Binary) return BinaryPropertyListEncode(root, bytes, fault);

    PlistHolder node(CreateNodeFromValue(root, fault));
    if (!node) return false;
    char* encoded = nullptr;
    uint32_t length = 0;
    plist_to_xml(node.get(), &encoded, &length);
    if (encoded == nullptr) {
        *fault = "the property list could not be encoded";
        return false;
    }
    bytes->assign(encoded, length);
    plist_to_xml_free(encoded);
    return true;
}
