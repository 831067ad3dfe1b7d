#include "platform/corefoundation/BinaryPropertyList.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/corefoundation/CFKeyedArchiverUID.h"
#include "platform/corefoundation/CFStringInternal.h"
#include "platform/corefoundation/PropertyListFile.h"

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
    int64_t add(CFTypeRef value, int depth = 0) {
        if (value == nil) return fail("a value is missing");
        CFTypeID type = CFGetTypeID(value);
        if (type == CFDictionaryGetTypeID() || type == CFArrayGetTypeID()) {
            if (depth >= kPropertyListMaxDepth) return fail("containers nested too deep");
            if (type == CFDictionaryGetTypeID()) return addDictionary(static_cast<CFDictionaryRef>(value), depth + 1);
            return addArray(static_cast<CFArrayRef>(value), depth + 1);
        }

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

    int64_t addDictionary(CFDictionaryRef dict, int depth) {
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
            int64_t ref = add(value, depth);
            if (ref < 0) return -1;
            refs.push_back(ref);
        }
        objects_[static_cast<std::size_t>(self)].refs = std::move(refs);
        return self;
    }

    int64_t addArray(CFArrayRef array, int depth) {
        CFIndex count = CFArrayGetCount(array);
        int64_t self = addContainer(kMarkerArray, count);
        std::vector<int64_t> refs;
        refs.reserve(static_cast<std::size_t>(count));
        for (CFIndex i = 0; i < count; ++i) {
            int64_t ref = add(CFArrayGetValueAtIndex(array, i), depth);
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

// ---------------------------------------------------------------------------
// Reading

namespace {

const std::size_t kTrailerSize = 32;

const char* TypeNameOfMarker(uint8_t marker) {
    switch (marker >> 4) {
        case 0x0: return marker == 0x00 ? "null" : "fill";
        case 0x3: return "date";
        case 0x7: return "UTF-8 string";
        case 0x8: return "uid";
        case 0xB: return "ordered set";
        case 0xC: return "set";
        default: return "unknown";
    }
}

uint64_t ReadBigEndian(const uint8_t* at, unsigned size) {
    uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i) value = (value << 8) | at[i];
    return value;
}

// Reads the objects of a file into a tree without recursion: open
// containers wait on an explicit stack. Every offset, count and length is
// checked against the file before it is used; a container that contains
// itself, nesting past kPropertyListMaxDepth, and a tree that would expand
// to more values than the file has bytes (shared containers are copied per
// reference) are refused.
class Decoder {
public:
    Decoder(const std::string& bytes, bool keyedArchiveUIDs, std::string* fault)
        : data_(reinterpret_cast<const uint8_t*>(bytes.data())),
          size_(bytes.size()),
          keyedArchiveUIDs_(keyedArchiveUIDs),
          fault_(fault) {}

    ~Decoder() {
        for (auto& frame : stack_) {
            for (const void* item : frame.items) CFRelease(item);
        }
        for (auto& leaf : leaves_) CFRelease(leaf.second);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    CFPropertyListRef decode() {
        if (size_ < 8 + kTrailerSize + 1) return fail("malformed binary property list: too short");
        const uint8_t* trailer = data_ + size_ - kTrailerSize;
        offsetSize_ = trailer[6];
        refSize_ = trailer[7];
        count_ = ReadBigEndian(trailer + 8, 8);
        uint64_t top = ReadBigEndian(trailer + 16, 8);
        tableOffset_ = ReadBigEndian(trailer + 24, 8);
        std::size_t objectsEnd = size_ - kTrailerSize;
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || count_ == 0 || top >= count_ ||
            tableOffset_ < 8 || tableOffset_ > objectsEnd || count_ > (objectsEnd - tableOffset_) / offsetSize_)
            return fail("malformed binary property list: the trailer does not fit the file");
        limit_ = size_;
        onPath_.assign(count_, false);

        CFTypeRef root = nil;
        if (!start(top, &root)) return nil;
        while (!stack_.empty()) {
            Frame& frame = stack_.back();
            std::size_t total = frame.isDictionary ? 2 * frame.count : frame.count;
            if (frame.items.size() == total) {
                CFTypeRef done = finish(frame);
                onPath_[frame.object] = false;
                stack_.pop_back();
                if (stack_.empty()) {
                    root = done;
                } else {
                    stack_.back().items.push_back(done);
                }
                continue;
            }
            std::size_t position = frame.items.size();
            bool isKey = frame.isDictionary && position % 2 == 0;
            // Keys are stored first, then the values: item 2i is key i, item
            // 2i+1 value i.
            std::size_t slot = frame.isDictionary ? (isKey ? position / 2 : frame.count + position / 2) : position;
            uint64_t child = ReadBigEndian(frame.refs + slot * refSize_, refSize_);
            if (child >= count_) return fail("malformed binary property list: a reference past the last object");
            CFTypeRef value = nil;
            if (!start(child, &value, isKey)) return nil;
            if (value != nil) stack_.back().items.push_back(value);
        }
        return root;
    }

private:
    struct Frame {
        uint64_t object;
        bool isDictionary;
        uint64_t count;
        const uint8_t* refs;
        std::vector<const void*> items;  // owned: keys and values alternate in a dictionary
    };

    CFTypeRef fail(const std::string& fault) {
        *fault_ = fault;
        return nil;
    }

    // Makes the object, or opens a frame for it when it is a container
    // (then *value stays nil). False on a fault.
    bool start(uint64_t object, CFTypeRef* value, bool mustBeString = false) {
        if (++made_ > limit_) {
            fail("malformed binary property list: its objects expand to more values than the file has bytes");
            return false;
        }
        std::size_t at = 0;
        if (!offsetOf(object, &at)) return false;
        uint8_t marker = data_[at];
        uint8_t type = marker >> 4;
        bool isString = type == 0x5 || type == 0x6;
        if (mustBeString && !isString) {
            fail("malformed binary property list: a dictionary key is not a string");
            return false;
        }
        if (type == 0xA || type == 0xD) return open(object, at, type == 0xD);
        auto cached = leaves_.find(object);
        if (cached != leaves_.end()) {
            *value = CFRetain(cached->second);
            return true;
        }
        *value = leaf(at);
        if (*value == nil) return false;
        leaves_.emplace(object, CFRetain(*value));
        return true;
    }

    bool offsetOf(uint64_t object, std::size_t* at) {
        uint64_t offset = ReadBigEndian(data_ + tableOffset_ + object * offsetSize_, offsetSize_);
        if (offset < 8 || offset >= tableOffset_) {
            fail("malformed binary property list: an object offset outside the file");
            return false;
        }
        *at = static_cast<std::size_t>(offset);
        return true;
    }

    // The count of a string, data or container at `at`, and where its
    // contents begin; false when it does not fit before the offset table.
    bool countOf(std::size_t at, uint64_t unitSize, uint64_t* count, std::size_t* contents) {
        uint8_t low = data_[at] & 0x0F;
        std::size_t next = at + 1;
        if (low != 0x0F) {
            *count = low;
        } else {
            if (next >= tableOffset_ || (data_[next] >> 4) != 0x1 || (data_[next] & 0x0F) > 3) {
                fail("malformed binary property list: a bad length");
                return false;
            }
            unsigned size = 1u << (data_[next] & 0x0F);
            if (next + 1 + size > tableOffset_) {
                fail("malformed binary property list: a length past the objects");
                return false;
            }
            *count = ReadBigEndian(data_ + next + 1, size);
            next += 1 + size;
        }
        *contents = next;
        if (*count > (tableOffset_ - next) / unitSize) {
            fail("malformed binary property list: an object runs past the objects");
            return false;
        }
        return true;
    }

    bool open(uint64_t object, std::size_t at, bool isDictionary) {
        if (onPath_[object]) {
            fail("malformed binary property list: a container contains itself");
            return false;
        }
        if (stack_.size() >= static_cast<std::size_t>(kPropertyListMaxDepth)) {
            fail("containers nested deeper than " + std::to_string(kPropertyListMaxDepth) + " levels");
            return false;
        }
        uint64_t count = 0;
        std::size_t contents = 0;
        if (!countOf(at, isDictionary ? 2 * refSize_ : refSize_, &count, &contents)) return false;
        onPath_[object] = true;
        stack_.push_back(Frame{object, isDictionary, count, data_ + contents, {}});
        stack_.back().items.reserve(static_cast<std::size_t>(isDictionary ? 2 * count : count));
        return true;
    }

    CFTypeRef finish(Frame& frame) {
        CFIndex count = static_cast<CFIndex>(frame.count);
        CFTypeRef container;
        if (frame.isDictionary) {
            CFMutableDictionaryRef dict = CFDictionaryCreateMutable(kCFAllocatorDefault, count, &kCFTypeDictionaryKeyCallBacks,
                                                                    &kCFTypeDictionaryValueCallBacks);
            for (std::size_t i = 0; i + 1 < frame.items.size(); i += 2)
                CFDictionarySetValue(dict, frame.items[i], frame.items[i + 1]);
            container = dict;
        } else {
            CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, count, &kCFTypeArrayCallBacks);
            for (const void* item : frame.items) CFArrayAppendValue(array, item);
            container = array;
        }
        for (const void* item : frame.items) CFRelease(item);
        frame.items.clear();
        return container;
    }

    CFTypeRef leaf(std::size_t at) {
        uint8_t marker = data_[at];
        uint8_t low = marker & 0x0F;
        switch (marker >> 4) {
            case 0x0:
                if (marker == kMarkerFalse) return CFRetain(kCFBooleanFalse);
                if (marker == kMarkerTrue) return CFRetain(kCFBooleanTrue);
                break;
            case 0x1: {
                // 1, 2, 4 and 8 bytes; 16 bytes when the value fits in 64 bits.
                if (low > 4) break;
                unsigned size = 1u << low;
                if (at + 1 + size > tableOffset_) return fail("malformed binary property list: an integer runs past the objects");
                if (size == 16 && ReadBigEndian(data_ + at + 1, 8) != 0)
                    return fail("malformed binary property list: an integer wider than 64 bits");
                SInt64 value = static_cast<SInt64>(ReadBigEndian(data_ + at + 1 + (size == 16 ? 8 : 0), size == 16 ? 8 : size));
                return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
            }
            case 0x2: {
                if (low != 2 && low != 3) break;
                unsigned size = 1u << low;
                if (at + 1 + size > tableOffset_) return fail("malformed binary property list: a real runs past the objects");
                uint64_t bits = ReadBigEndian(data_ + at + 1, size);
                double value;
                if (size == 4) {
                    uint32_t narrow = static_cast<uint32_t>(bits);
                    float single;
                    std::memcpy(&single, &narrow, sizeof single);
                    value = single;
                } else {
                    std::memcpy(&value, &bits, sizeof value);
                }
                return CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &value);
            }
            case 0x4:
            case 0x5:
            case 0x6: {
                bool wide = (marker >> 4) == 0x6;
                uint64_t count = 0;
                std::size_t contents = 0;
                if (!countOf(at, wide ? 2 : 1, &count, &contents)) return nil;
                const uint8_t* bytes = data_ + contents;
                if ((marker >> 4) == 0x4) return CFDataCreate(kCFAllocatorDefault, bytes, static_cast<CFIndex>(count));
                // Every character is kept, U+0000 included.
                if (!wide) return cfstring::MakeNarrow(bytes, static_cast<std::size_t>(count));
                std::u16string units(static_cast<std::size_t>(count), u'\0');
                for (std::size_t i = 0; i < units.size(); ++i)
                    units[i] = static_cast<char16_t>((bytes[2 * i] << 8) | bytes[2 * i + 1]);
                return cfstring::Make(units);
            }
            case 0x8: {
                // An archive's object reference: 1 to 4 bytes, as archives
                // never hold more objects than that.
                if (!keyedArchiveUIDs_) break;
                unsigned size = low + 1u;
                if (size > 4) return fail("malformed binary property list: a UID wider than 32 bits");
                if (at + 1 + size > tableOffset_) return fail("malformed binary property list: a UID runs past the objects");
                return _CFKeyedArchiverUIDCreate(kCFAllocatorDefault, static_cast<uint32_t>(ReadBigEndian(data_ + at + 1, size)));
            }
            default:
                break;
        }
        return fail(std::string("unsupported value of type ") + TypeNameOfMarker(marker));
    }

    const uint8_t* data_;
    std::size_t size_;
    bool keyedArchiveUIDs_;
    std::string* fault_;
    unsigned offsetSize_ = 0;
    unsigned refSize_ = 0;
    uint64_t count_ = 0;
    std::size_t tableOffset_ = 0;
    uint64_t made_ = 0;
    uint64_t limit_ = 0;
    std::vector<bool> onPath_;
    std::vector<Frame> stack_;
    std::unordered_map<uint64_t, CFTypeRef> leaves_;  // owned: leaves made once and shared
};

}  // namespace

CFPropertyListRef BinaryPropertyListCreate(const std::string& bytes, std::string* fault, bool keyedArchiveUIDs) {
    Decoder decoder(bytes, keyedArchiveUIDs, fault);
    return decoder.decode();
}

bool BinaryPropertyListMakeRoomAfterHeader(std::string_view bytes, std::size_t room, std::size_t* objectsEnd,
                                           std::string* tableAndTrailer) {
    if (bytes.size() < 8 + kTrailerSize || bytes.substr(0, 8) != "bplist00") return false;
    const uint8_t* data = reinterpret_cast<const uint8_t*>(bytes.data());
    const uint8_t* trailer = data + bytes.size() - kTrailerSize;
    unsigned offsetSize = trailer[6];
    uint64_t count = ReadBigEndian(trailer + 8, 8);
    uint64_t tableOffset = ReadBigEndian(trailer + 24, 8);
    std::size_t tableEnd = bytes.size() - kTrailerSize;
    if (offsetSize < 1 || offsetSize > 8 || tableOffset < 8 || tableOffset > tableEnd ||
        count > (tableEnd - tableOffset) / offsetSize)
        return false;

    // Every object moves by room; so does the table, whose entries may
    // need more bytes each.
    uint64_t movedTableOffset = tableOffset + room;
    unsigned movedOffsetSize = ByteSizeFor(movedTableOffset);
    tableAndTrailer->clear();
    tableAndTrailer->reserve(static_cast<std::size_t>(count) * movedOffsetSize + kTrailerSize);
    for (uint64_t i = 0; i < count; ++i) {
        AppendBigEndian(tableAndTrailer, ReadBigEndian(data + tableOffset + i * offsetSize, offsetSize) + room,
                        movedOffsetSize);
    }
    tableAndTrailer->append(reinterpret_cast<const char*>(trailer), 6);
    tableAndTrailer->push_back(static_cast<char>(movedOffsetSize));
    // The reference size, the object count and the top object stay.
    tableAndTrailer->append(reinterpret_cast<const char*>(trailer) + 7, 17);
    AppendBigEndian(tableAndTrailer, movedTableOffset, 8);
    *objectsEnd = static_cast<std::size_t>(tableOffset);
    return true;
}
