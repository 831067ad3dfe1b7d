#include "platform/corefoundation/BinaryPropertyList.h"

#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

namespace {

// Object markers: the high nibble is the type, the low nibble a size or a
// count (0xF: the count follows as an integer object).
enum : uint8_t {
    kMarkerFalse = 0x08,
    kMarkerTrue = 0x09,
    kMarkerInteger = 0x10,
    kMarkerReal = 0x20,
    kMarkerData = 0x40,
    kMarkerASCIIString = 0x50,
    kMarkerUnicodeString = 0x60,
    kMarkerArray = 0xA0,
    kMarkerDictionary = 0xD0,
};

void AppendBigEndian(std::string* out, uint64_t value, unsigned size) {
    for (unsigned shift = size; shift-- > 0;) out->push_back(static_cast<char>((value >> (8 * shift)) & 0xFF));
}

// The smallest of 1, 2, 4 and 8 bytes that holds value.
unsigned ByteSizeFor(uint64_t value) {
    if (value <= 0xFF) return 1;
    if (value <= 0xFFFF) return 2;
    if (value <= 0xFFFFFFFFu) return 4;
    return 8;
}

// Integers of 1, 2 and 4 bytes are read as unsigned, 8 bytes as signed.
void AppendInteger(std::string* out, int64_t value) {
    unsigned size = value < 0 ? 8 : ByteSizeFor(static_cast<uint64_t>(value));
    unsigned log2 = size == 1 ? 0 : size == 2 ? 1 : size == 4 ? 2 : 3;
    out->push_back(static_cast<char>(kMarkerInteger | log2));
    AppendBigEndian(out, static_cast<uint64_t>(value), size);
}

void AppendMarker(std::string* out, uint8_t type, uint64_t count) {
    if (count < 15) {
        out->push_back(static_cast<char>(type | count));
    } else {
        out->push_back(static_cast<char>(type | 0x0F));
        AppendInteger(out, static_cast<int64_t>(count));
    }
}

class Encoder {
public:
    explicit Encoder(std::string* fault) : fault_(fault) {}

    // Adds value and everything under it; returns its object number, or -1.
    int64_t add(CFTypeRef value) {
        if (value == nil) return fail("a value is missing");
        CFTypeID type = CFGetTypeID(value);
        if (type == CFDictionaryGetTypeID()) return addDictionary(static_cast<CFDictionaryRef>(value));
        if (type == CFArrayGetTypeID()) return addArray(static_cast<CFArrayRef>(value));

        std::string encoded;
        if (type == CFStringGetTypeID()) {
            encodeString(static_cast<CFStringRef>(value), &encoded);
        } else if (type == CFNumberGetTypeID()) {
            CFNumberRef number = static_cast<CFNumberRef>(value);
            if (CFNumberIsFloatType(number)) {
                double real = 0;
                CFNumberGetValue(number, kCFNumberFloat64Type, &real);
                uint64_t bits = 0;
                std::memcpy(&bits, &real, sizeof bits);
                encoded.push_back(static_cast<char>(kMarkerReal | 3));
                AppendBigEndian(&encoded, bits, 8);
            } else {
                SInt64 integer = 0;
                CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
                AppendInteger(&encoded, integer);
            }
        } else if (type == CFBooleanGetTypeID()) {
            encoded.push_back(static_cast<char>(CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? kMarkerTrue
                                                                                                   : kMarkerFalse));
        } else if (type == CFDataGetTypeID()) {
            CFDataRef data = static_cast<CFDataRef>(value);
            AppendMarker(&encoded, kMarkerData, static_cast<uint64_t>(CFDataGetLength(data)));
            encoded.append(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                           static_cast<std::size_t>(CFDataGetLength(data)));
        } else {
            return fail("a value is not a property-list value");
        }
        // Equal leaves are one object: their encodings are equal too.
        auto [found, isNew] = leaves_.try_emplace(encoded, static_cast<int64_t>(objects_.size()));
        if (isNew) objects_.push_back(Object{std::move(encoded), {}, false});
        return found->second;
    }

    // Writes the objects, the offset table and the trailer.
    void write(int64_t top, std::string* out) const {
        uint64_t count = objects_.size();
        unsigned refSize = ByteSizeFor(count > 0 ? count - 1 : 0);
        std::vector<uint64_t> offsets;
        offsets.reserve(objects_.size());
        out->assign("bplist00");
        for (const Object& object : objects_) {
            offsets.push_back(out->size());
            *out += object.encoded;
            for (int64_t ref : object.refs) AppendBigEndian(out, static_cast<uint64_t>(ref), refSize);
        }
        uint64_t tableOffset = out->size();
        unsigned offsetSize = ByteSizeFor(tableOffset);
        for (uint64_t offset : offsets) AppendBigEndian(out, offset, offsetSize);
        out->append(6, '\0');
        out->push_back(static_cast<char>(offsetSize));
        out->push_back(static_cast<char>(refSize));
        AppendBigEndian(out, count, 8);
        AppendBigEndian(out, static_cast<uint64_t>(top), 8);
        AppendBigEndian(out, tableOffset, 8);
    }

private:
    struct Object {
        std::string encoded;        // a whole leaf, or a container's marker and count
        std::vector<int64_t> refs;  // a container's object numbers (keys, then values)
        bool container;
    };

    int64_t fail(const char* fault) {
        *fault_ = fault;
        return -1;
    }

    int64_t addContainer(uint8_t marker, CFIndex count) {
        Object object{std::string(), {}, true};
        AppendMarker(&object.encoded, marker, static_cast<uint64_t>(count));
        objects_.push_back(std::move(object));
        return static_cast<int64_t>(objects_.size() - 1);
    }

    int64_t addDictionary(CFDictionaryRef dict) {
        CFIndex count = CFDictionaryGetCount(dict);
        std::vector<const void*> keys(static_cast<std::size_t>(count)), values(static_cast<std::size_t>(count));
        CFDictionaryGetKeysAndValues(dict, keys.data(), values.data());
        int64_t self = addContainer(kMarkerDictionary, count);
        std::vector<int64_t> refs;
        refs.reserve(2 * keys.size());
        for (const void* key : keys) {
            if (CFGetTypeID(key) != CFStringGetTypeID()) return fail("a dictionary key is not a string");
            int64_t ref = add(key);
            if (ref < 0) return -1;
            refs.push_back(ref);
        }
        for (const void* value : values) {
            int64_t ref = add(value);
            if (ref < 0) return -1;
            refs.push_back(ref);
        }
        objects_[static_cast<std::size_t>(self)].refs = std::move(refs);
        return self;
    }

    int64_t addArray(CFArrayRef array) {
        CFIndex count = CFArrayGetCount(array);
        int64_t self = addContainer(kMarkerArray, count);
        std::vector<int64_t> refs;
        refs.reserve(static_cast<std::size_t>(count));
        for (CFIndex i = 0; i < count; ++i) {
            int64_t ref = add(CFArrayGetValueAtIndex(array, i));
            if (ref < 0) return -1;
            refs.push_back(ref);
        }
        objects_[static_cast<std::size_t>(self)].refs = std::move(refs);
        return self;
    }

    // ASCII text as bytes; anything else as big-endian UTF-16 code units.
    static void encodeString(CFStringRef string, std::string* out) {
        CFIndex length = CFStringGetLength(string);
        std::vector<UniChar> units(static_cast<std::size_t>(length));
        CFStringGetCharacters(string, CFRangeMake(0, length), units.data());
        bool ascii = true;
        for (UniChar unit : units) ascii = ascii && unit < 0x80;
        AppendMarker(out, ascii ? kMarkerASCIIString : kMarkerUnicodeString, static_cast<uint64_t>(length));
        for (UniChar unit : units) {
            if (ascii) out->push_back(static_cast<char>(unit));
            else AppendBigEndian(out, unit, 2);
        }
    }

    std::string* fault_;
    std::vector<Object> objects_;
    std::unordered_map<std::string, int64_t> leaves_;
};

}  // namespace

bool BinaryPropertyListEncode(CFPropertyListRef root, std::string* bytes, std::string* fault) {
    Encoder encoder(fault);
    int64_t top = encoder.add(root);
    if (top < 0) return false;
    encoder.write(top, bytes);
    return true;
}
