#include "platform/corefoundation/XMLPropertyList.h"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <deque>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CFStringInternal.h"
#include "platform/corefoundation/PropertyListFile.h"

namespace {

// ---------------------------------------------------------------------------
// Base64, as the <data> element holds it

const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Decodes base64 text, skipping white space; false on any other character
// or on padding in the wrong place.
bool DecodeBase64(std::string_view text, std::vector<UInt8>* out) {
    UInt32 group = 0;
    int have = 0, padding = 0;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
        int value;
        if (c >= 'A' && c <= 'Z') value = c - 'A';
        else if (c >= 'a' && c <= 'z') value = c - 'a' + 26;
        else if (c >= '0' && c <= '9') value = c - '0' + 52;
        else if (c == '+') value = 62;
        else if (c == '/') value = 63;
        else if (c == '=') value = -1;
        else return false;
        if (value < 0) {
            ++padding;
            value = 0;
        } else if (padding > 0) {
            return false;  // nothing but padding after padding
        }
        group = (group << 6) | static_cast<UInt32>(value);
        if (++have == 4) {
            if (padding > 2) return false;
            out->push_back(static_cast<UInt8>(group >> 16));
            if (padding < 2) out->push_back(static_cast<UInt8>(group >> 8));
            if (padding < 1) out->push_back(static_cast<UInt8>(group));
            group = 0;
            have = 0;
        }
    }
    return have == 0;
}

// ---------------------------------------------------------------------------
// Reading

enum class Element { Plist, Dict, Array, Key, String, Integer, Real, True, False, Data, Date, Unknown };

Element ElementNamed(const char* name) {
    switch (name[0]) {
        case 'a': if (std::strcmp(name, "array") == 0) return Element::Array; break;
        case 'd':
            if (std::strcmp(name, "dict") == 0) return Element::Dict;
            if (std::strcmp(name, "data") == 0) return Element::Data;
            if (std::strcmp(name, "date") == 0) return Element::Date;
            break;
        case 'f': if (std::strcmp(name, "false") == 0) return Element::False; break;
        case 'i': if (std::strcmp(name, "integer") == 0) return Element::Integer; break;
        case 'k': if (std::strcmp(name, "key") == 0) return Element::Key; break;
        case 'p': if (std::strcmp(name, "plist") == 0) return Element::Plist; break;
        case 'r': if (std::strcmp(name, "real") == 0) return Element::Real; break;
        case 's': if (std::strcmp(name, "string") == 0) return Element::String; break;
        case 't': if (std::strcmp(name, "true") == 0) return Element::True; break;
        default: break;
    }
    return Element::Unknown;
}

bool IsXMLSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsXMLSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsXMLSpace(text.back())) text.remove_suffix(1);
    return text;
}

// Builds the tree as the parser reports elements. Children of the open
// containers wait on one shared stack and become their container when it
// closes, so each container is made once at its final size.
class Reader {
public:
    Reader() : parser_(XML_ParserCreate(nullptr)) {}
    ~Reader() {
        if (parser_ != nullptr) XML_ParserFree(parser_);
        for (const void* item : items_) {
            if (item != nil) CFRelease(item);
        }
        for (CFStringRef interned : interned_) {
            if (interned != nil) CFRelease(interned);
        }
        for (auto& integer : integers_) CFRelease(integer.second);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    CFPropertyListRef read(const std::string& bytes, std::string* fault) {
        if (parser_ == nullptr) {
            *fault = "out of memory";
            return nil;
        }
        XML_SetUserData(parser_, this);
        XML_SetElementHandler(parser_, &Reader::OnStart, &Reader::OnEnd);
        XML_SetCharacterDataHandler(parser_, &Reader::OnText);
        XML_SetEntityDeclHandler(parser_, &Reader::OnEntityDeclaration);
        XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);

        // Fed in slices: the parser then keeps only a slice's worth of
        // the text, not a copy of the whole file.
        const std::size_t kSlice = 1 << 20;
        std::size_t at = 0;
        bool parsed = true;
        do {
            std::size_t length = std::min(kSlice, bytes.size() - at);
            bool last = at + length == bytes.size();
            parsed = XML_Parse(parser_, bytes.data() + at, static_cast<int>(length), last) == XML_STATUS_OK;
            at += length;
        } while (parsed && at < bytes.size());

        if (!fault_.empty()) {
            *fault = fault_;
            return nil;
        }
        if (!parsed) {
            char where[64];
            std::snprintf(where, sizeof where, " at line %lu",
                          static_cast<unsigned long>(XML_GetCurrentLineNumber(parser_)));
            *fault = std::string("malformed property list: ") + XML_ErrorString(XML_GetErrorCode(parser_)) + where;
            return nil;
        }
        if (!root_) {
            *fault = "malformed property list: no value in <plist>";
            return nil;
        }
        return root_.release();
    }

private:
    struct Frame {
        Element kind;
        std::size_t firstItem;  // where this container's children start in items_
        std::size_t keysNotInterned = 0;  // keysNotInterned_ when it opened
    };

    static void XMLCALL OnStart(void* self, const XML_Char* name, const XML_Char**) {
        static_cast<Reader*>(self)->start(name);
    }
    static void XMLCALL OnEnd(void* self, const XML_Char*) { static_cast<Reader*>(self)->end(); }
    static void XMLCALL OnText(void* self, const XML_Char* text, int length) {
        static_cast<Reader*>(self)->text(text, static_cast<std::size_t>(length));
    }
    static void XMLCALL OnEntityDeclaration(void* self, const XML_Char*, int, const XML_Char*, int,
                                            const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
        static_cast<Reader*>(self)->fail("malformed property list: entity declarations are not allowed");
    }

    void fail(std::string fault) {
        if (fault_.empty()) fault_ = std::move(fault);
        XML_StopParser(parser_, XML_FALSE);
    }

    void start(const char* name) {
        if (!fault_.empty()) return;
        Element kind = ElementNamed(name);
        if (inLeaf_) return fail(std::string("malformed property list: <") + name + "> inside a value");
        if (kind == Element::Unknown) return fail(std::string("malformed property list: unknown element <") + name + ">");
        if (frames_.empty()) {
            if (kind != Element::Plist || sawPlist_) return fail("malformed property list: the root element is not <plist>");
            sawPlist_ = true;
            frames_.push_back(Frame{Element::Plist, items_.size()});
            return;
        }
        if (kind == Element::Plist) return fail("malformed property list: <plist> inside <plist>");
        const Frame& parent = frames_.back();
        bool wantKey = parent.kind == Element::Dict && (items_.size() - parent.firstItem) % 2 == 0;
        if (wantKey != (kind == Element::Key)) {
            return fail(wantKey ? "malformed property list: a dictionary value without a key"
                                : "malformed property list: a key outside a dictionary or without a value");
        }
        if (parent.kind == Element::Plist && items_.size() > parent.firstItem)
            return fail("malformed property list: more than one value in <plist>");
        if (kind == Element::Dict || kind == Element::Array) {
            // The <plist> element is the first frame, not a level of nesting.
            if (frames_.size() > static_cast<std::size_t>(kPropertyListMaxDepth)) {
                return fail("containers nested deeper than " + std::to_string(kPropertyListMaxDepth) + " levels");
            }
            frames_.push_back(Frame{kind, items_.size(), keysNotInterned_});
            return;
        }
        inLeaf_ = true;
        leaf_ = kind;
        text_.clear();
    }

    void end() {
        if (!fault_.empty()) return;
        if (inLeaf_) {
            inLeaf_ = false;
            CFTypeRef value = makeLeaf();
            if (value != nil) items_.push_back(value);
            return;
        }
        Frame frame = frames_.back();
        frames_.pop_back();
        if (frame.kind == Element::Plist) {
            if (items_.size() > frame.firstItem) {
                root_.reset(items_.back());
                items_.pop_back();
            }
            return;
        }
        std::size_t count = items_.size() - frame.firstItem;
        const void** children = items_.data() + frame.firstItem;
        CFTypeRef container;
        if (frame.kind == Element::Dict) {
            if (count % 2 != 0) return fail("malformed property list: a key without a value");
            CFMutableDictionaryRef dict = CFDictionaryCreateMutable(
                kCFAllocatorDefault, static_cast<CFIndex>(count / 2), &kCFTypeDictionaryKeyCallBacks,
                &kCFTypeDictionaryValueCallBacks);
            if (keysDistinct(children, count, keysNotInterned_ == frame.keysNotInterned)) {
                // The dictionary takes over the claims on its children.
                for (std::size_t i = 0; i < count; i += 2) cfrt::DictionaryAdoptNewKey(dict, children[i], children[i + 1]);
                count = 0;
            } else {
                // A key given twice keeps its first place and its last value.
                for (std::size_t i = 0; i < count; i += 2) CFDictionarySetValue(dict, children[i], children[i + 1]);
            }
            container = dict;
        } else {
            CFMutableArrayRef array =
                CFArrayCreateMutable(kCFAllocatorDefault, static_cast<CFIndex>(count), &kCFTypeArrayCallBacks);
            for (std::size_t i = 0; i < count; ++i) CFArrayAppendValue(array, children[i]);
            container = array;
        }
        // The claims that the container did not take over.
        for (std::size_t i = 0; i < count; ++i) CFRelease(children[i]);
        items_.resize(frame.firstItem);
        items_.push_back(container);
    }

    // Whether the keys among children (every other item) are known to
    // differ: all interned (allInterned), so that equal texts would be one
    // object, and no object twice.
    bool keysDistinct(const void** children, std::size_t count, bool allInterned) {
        if (!allInterned) return false;
        keys_.clear();
        for (std::size_t i = 0; i < count; i += 2) keys_.push_back(children[i]);
        if (keys_.size() <= 16) {
            for (std::size_t i = 1; i < keys_.size(); ++i) {
                for (std::size_t k = 0; k < i; ++k) {
                    if (keys_[i] == keys_[k]) return false;
                }
            }
            return true;
        }
        std::sort(keys_.begin(), keys_.end());
        return std::adjacent_find(keys_.begin(), keys_.end()) == keys_.end();
    }

    void text(const char* text, std::size_t length) {
        if (!fault_.empty()) return;
        if (inLeaf_) {
            text_.append(text, length);
            return;
        }
        for (std::size_t i = 0; i < length; ++i) {
            if (!IsXMLSpace(text[i])) return fail("malformed property list: text outside a value");
        }
    }

    CFTypeRef makeLeaf() {
        switch (leaf_) {
            case Element::Key:
            case Element::String: {
                bool interned = false;
                CFStringRef string = makeString(text_, &interned);
                if (string == nil) fail("malformed property list: a string is not valid UTF-8");
                if (leaf_ == Element::Key && !interned) ++keysNotInterned_;
                return string;
            }
            case Element::Integer: return makeInteger(Trimmed(text_));
            case Element::Real: return makeReal(Trimmed(text_));
            case Element::True:
            case Element::False:
                if (!Trimmed(text_).empty()) {
                    fail("malformed property list: text inside <true/> or <false/>");
                    return nil;
                }
                return CFRetain(leaf_ == Element::True ? kCFBooleanTrue : kCFBooleanFalse);
            case Element::Data: {
                std::vector<UInt8> bytes;
                if (!DecodeBase64(text_, &bytes)) {
                    fail("malformed property list: <data> is not base64");
                    return nil;
                }
                return CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size()));
            }
            case Element::Date:
                fail("unsupported value of type date");
                return nil;
            default:
                fail("malformed property list");
                return nil;
        }
    }

    // Short ASCII texts (keys above all) recur throughout a store: each is
    // made once and shared, found again through an open-addressing table
    // of the strings made so far.
    static constexpr std::size_t kInternedLength = 64;

    // *interned tells whether the string is the shared one for its text.
    CFStringRef makeString(const std::string& text, bool* interned) {
        const UInt8* bytes = reinterpret_cast<const UInt8*>(text.data());
        bool ascii = false;
        std::uint64_t hash = text.size() <= kInternedLength ? cfrt::HashBytes(bytes, text.size(), &ascii) : 0;
        *interned = ascii;
        if (!ascii) return cfstring::MakeFromUTF8(bytes, text.size());
        if (2 * (internedCount_ + 1) > interned_.size()) growInterned();
        std::size_t mask = interned_.size() - 1;
        std::size_t slot = static_cast<std::size_t>(hash) & mask;
        for (; interned_[slot] != nil; slot = (slot + 1) & mask) {
            __CFString::View known = interned_[slot]->view();
            if (known.length == text.size() && std::memcmp(known.data, text.data(), text.size()) == 0)
                return static_cast<CFStringRef>(CFRetain(interned_[slot]));
        }
        __CFString* string = cfstring::MakeNarrow(bytes, text.size());
        interned_[slot] = static_cast<CFStringRef>(CFRetain(string));
        ++internedCount_;
        return string;
    }

    void growInterned() {
        std::vector<CFStringRef> old(interned_.empty() ? 1024 : 2 * interned_.size(), nil);
        old.swap(interned_);
        std::size_t mask = interned_.size() - 1;
        for (CFStringRef string : old) {
            if (string == nil) continue;
            __CFString::View view = string->view();
            bool ascii = false;
            std::size_t slot = static_cast<std::size_t>(cfrt::HashBytes(view.narrow(), view.length, &ascii)) & mask;
            while (interned_[slot] != nil) slot = (slot + 1) & mask;
            interned_[slot] = string;
        }
    }

    CFTypeRef makeInteger(std::string_view text) {
        bool negative = !text.empty() && text.front() == '-';
        if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
        std::uint64_t magnitude = 0;
        if (!cfrt::ParseMagnitude(text, &magnitude) || (negative && magnitude > (UInt64(1) << 63))) {
            fail("malformed property list: <integer> is not an integer of at most 64 bits");
            return nil;
        }
        // Values past the signed range are kept as their 64-bit pattern.
        SInt64 value = static_cast<SInt64>(negative ? UInt64(0) - magnitude : magnitude);
        // Numbers cannot change: equal ones are made once and shared.
        auto [slot, isNew] = integers_.try_emplace(value, nil);
        if (isNew) slot->second = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
        return CFRetain(slot->second);
    }

    CFTypeRef makeReal(std::string_view text) {
        if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
        double value = 0;
        auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (text.empty() || end != text.data() + text.size() ||
            (error != std::errc() && error != std::errc::result_out_of_range)) {
            fail("malformed property list: <real> is not a number");
            return nil;
        }
        return CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &value);
    }

    XML_Parser parser_;
    std::vector<Frame> frames_;
    std::vector<const void*> items_;  // owned claims on the open containers' children
    std::vector<const void*> keys_;   // scratch for keysDistinct
    std::size_t keysNotInterned_ = 0;  // keys read so far that are not shared strings
    bool sawPlist_ = false;
    bool inLeaf_ = false;
    Element leaf_ = Element::Unknown;
    std::string text_;
    std::string fault_;
    CFRef<CFTypeRef> root_;
    std::vector<CFStringRef> interned_;  // owned claims; nil for a free slot
    std::size_t internedCount_ = 0;
    std::unordered_map<SInt64, CFNumberRef> integers_;             // owned claims
};

// ---------------------------------------------------------------------------
// Writing

const char kHeader[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

// Base64 of <data> is indented with its element, at most eight tabs deep,
// in lines that narrow as the indentation grows.
const int kDataIndentLimit = 8;
const int kDataLineWidth = 76;

// The text an encode produces, written straight into the caller's string:
// it grows in steps of at most a megabyte within the room the string
// already has (so pages far past the text are not touched), and at least
// doubles past it.
class Output {
public:
    explicit Output(std::string& text) : text_(text) {
        text_.clear();
        cur_ = end_ = text_.data();
    }
    void put(const char* data, std::size_t length) {
        room(length);
        std::memcpy(cur_, data, length);
        cur_ += length;
    }
    template <std::size_t N>
    void put(const char (&literal)[N]) {
        put(literal, N - 1);
    }
    void put(char c) {
        room(1);
        *cur_++ = c;
    }
    void repeat(char c, std::size_t count) {
        room(count);
        std::memset(cur_, c, count);
        cur_ += count;
    }
    // Ends the text where it was written to.
    void finish() { text_.resize(static_cast<std::size_t>(cur_ - text_.data())); }

private:
    void room(std::size_t length) {
        if (static_cast<std::size_t>(end_ - cur_) >= length) [[likely]] return;
        std::size_t used = static_cast<std::size_t>(cur_ - text_.data());
        std::size_t step = std::clamp<std::size_t>(used, 4096, std::size_t(1) << 20);
        std::size_t need = used + length;
        std::size_t room = text_.capacity();
        text_.resize(need <= room ? std::min(room, need + step) : std::max(need + step, 2 * room));
        cur_ = text_.data() + used;
        end_ = text_.data() + text_.size();
    }

    std::string& text_;
    char* cur_;
    char* end_;
};

// Which bytes of one-byte text go out as they are: printable ASCII but the
// three that XML escapes.
struct PlainBytes {
    bool plain[256] = {};
    constexpr PlainBytes() {
        for (int c = 0x20; c < 0x80; ++c) plain[c] = c != '&' && c != '<' && c != '>';
    }
};
constexpr PlainBytes kPlainBytes;

class Writer {
public:
    Writer(std::string* out, std::string* fault) : out_(*out), fault_(*fault) {}

    bool write(CFPropertyListRef root) {
        out_.put(kHeader, sizeof kHeader - 1);
        bool ok = value(root, 0);
        if (ok) out_.put("</plist>\n");
        out_.finish();
        return ok;
    }

private:
    bool fail(std::string fault) {
        fault_ = std::move(fault);
        return false;
    }

    void indent(int depth) { out_.repeat('\t', static_cast<std::size_t>(depth)); }

    bool value(CFTypeRef node, int depth) {
        if (node == nil) return fail("a value is missing");
        CFTypeID type = CFGetTypeID(node);
        // The readers refuse what lies deeper, so it is never written.
        if ((type == CFDictionaryGetTypeID() || type == CFArrayGetTypeID()) && depth >= kPropertyListMaxDepth)
            return fail("containers nested deeper than " + std::to_string(kPropertyListMaxDepth) + " levels");
        indent(depth);
        if (type == CFStringGetTypeID()) {
            out_.put("<string>");
            if (!text(static_cast<CFStringRef>(node))) return false;
            out_.put("</string>\n");
            return true;
        }
        if (type == CFDictionaryGetTypeID()) return dictionary(static_cast<CFDictionaryRef>(node), depth);
        if (type == CFArrayGetTypeID()) return array(static_cast<CFArrayRef>(node), depth);
        if (type == CFNumberGetTypeID()) {
            number(static_cast<CFNumberRef>(node));
            return true;
        }
        if (type == CFBooleanGetTypeID()) {
            if (CFBooleanGetValue(static_cast<CFBooleanRef>(node))) out_.put("<true/>\n");
            else out_.put("<false/>\n");
            return true;
        }
        if (type == CFDataGetTypeID()) {
            data(static_cast<CFDataRef>(node), depth);
            return true;
        }
        return fail("a value is not a property-list value");
    }

    bool dictionary(CFDictionaryRef dict, int depth) {
        CFIndex count = CFDictionaryGetCount(dict);
        if (count == 0) {
            out_.put("<dict/>\n");
            return true;
        }
        // Each depth has its own scratch lists, reused from one dictionary
        // to the next.
        if (scratch_.size() <= static_cast<std::size_t>(depth)) scratch_.resize(static_cast<std::size_t>(depth) + 1);
        Scratch& lists = scratch_[static_cast<std::size_t>(depth)];
        std::vector<const void*>& keys = lists.keys;
        std::vector<const void*>& values = lists.values;
        keys.resize(static_cast<std::size_t>(count));
        values.resize(static_cast<std::size_t>(count));
        CFDictionaryGetKeysAndValues(dict, keys.data(), values.data());
        // Keys in the order macOS writes them: by UTF-16 code units.
        std::vector<std::pair<__CFString::View, std::size_t>>& order = lists.order;
        order.clear();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (CFGetTypeID(keys[i]) != CFStringGetTypeID()) return fail("a dictionary key is not a string");
            order.emplace_back(static_cast<CFStringRef>(keys[i])->view(), i);
        }
        auto before = [](const auto& a, const auto& b) { return cfstring::CompareUnits(a.first, b.first) < 0; };
        if (order.size() <= 16) {
            // The usual few keys: an insertion sort does less than a full one.
            for (std::size_t i = 1; i < order.size(); ++i) {
                auto item = order[i];
                std::size_t at = i;
                for (; at > 0 && before(item, order[at - 1]); --at) order[at] = order[at - 1];
                order[at] = item;
            }
        } else {
            std::sort(order.begin(), order.end(), before);
        }
        out_.put("<dict>\n");
        for (const auto& [key, i] : order) {
            indent(depth + 1);
            out_.put("<key>");
            if (!text(static_cast<CFStringRef>(keys[i]))) return false;
            out_.put("</key>\n");
            if (!value(values[i], depth + 1)) return false;
        }
        indent(depth);
        out_.put("</dict>\n");
        return true;
    }

    bool array(CFArrayRef array, int depth) {
        CFIndex count = CFArrayGetCount(array);
        if (count == 0) {
            out_.put("<array/>\n");
            return true;
        }
        out_.put("<array>\n");
        for (CFIndex i = 0; i < count; ++i) {
            if (!value(CFArrayGetValueAtIndex(array, i), depth + 1)) return false;
        }
        indent(depth);
        out_.put("</array>\n");
        return true;
    }

    void number(CFNumberRef number) {
        char digits[40];
        std::to_chars_result written;
        if (CFNumberIsFloatType(number)) {
            double real = 0;
            CFNumberGetValue(number, kCFNumberFloat64Type, &real);
            out_.put("<real>");
            if (std::isnan(real)) {
                out_.put("nan");
            } else if (std::isinf(real)) {
                if (real > 0) out_.put("+infinity");
                else out_.put("-infinity");
            } else if (real == 0) {
                out_.put("0.0");
            } else {
                int length = std::snprintf(digits, sizeof digits, "%.17g", real);
                out_.put(digits, static_cast<std::size_t>(length));
            }
            out_.put("</real>\n");
            return;
        }
        SInt64 integer = 0;
        CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
        written = std::to_chars(digits, digits + sizeof digits, integer);
        out_.put("<integer>");
        out_.put(digits, static_cast<std::size_t>(written.ptr - digits));
        out_.put("</integer>\n");
    }

    void data(CFDataRef data, int depth) {
        const UInt8* bytes = CFDataGetBytePtr(data);
        std::size_t length = static_cast<std::size_t>(CFDataGetLength(data));
        int tabs = depth < kDataIndentLimit ? depth : kDataIndentLimit;
        std::size_t width = static_cast<std::size_t>(kDataLineWidth - 8 * tabs);
        out_.put("<data>\n");
        std::size_t column = 0;
        auto put = [&](char c) {
            if (column == 0) indent(tabs);
            out_.put(c);
            if (++column == width) {
                out_.put('\n');
                column = 0;
            }
        };
        for (std::size_t i = 0; i < length; i += 3) {
            UInt32 group = UInt32(bytes[i]) << 16;
            if (i + 1 < length) group |= UInt32(bytes[i + 1]) << 8;
            if (i + 2 < length) group |= bytes[i + 2];
            put(kBase64[(group >> 18) & 63]);
            put(kBase64[(group >> 12) & 63]);
            put(i + 1 < length ? kBase64[(group >> 6) & 63] : '=');
            put(i + 2 < length ? kBase64[group & 63] : '=');
        }
        if (column != 0) out_.put('\n');
        indent(depth);
        out_.put("</data>\n");
    }

    // The text of a string in UTF-8, with "&", "<" and ">" as entities and
    // a carriage return as a character reference (a reader would turn a raw
    // one into a line feed).
    bool text(CFStringRef string) {
        __CFString::View view = string->view();
        if (!view.wide) {
            // Runs of plain ASCII go out whole.
            const UInt8* bytes = view.narrow();
            std::size_t i = 0;
            while (i < view.length) {
                std::size_t run = i;
                while (run < view.length && kPlainBytes.plain[bytes[run]]) ++run;
                out_.put(reinterpret_cast<const char*>(bytes + i), run - i);
                if (run == view.length) return true;
                if (!character(bytes[run])) return false;
                i = run + 1;
            }
            return true;
        }
        for (std::size_t i = 0; i < view.length; ++i) {
            char32_t c = view[i];
            if (c >= 0xD800 && c <= 0xDFFF) {
                bool paired = c <= 0xDBFF && i + 1 < view.length && view[i + 1] >= 0xDC00 && view[i + 1] <= 0xDFFF;
                if (!paired) return unwritable(c);
                c = 0x10000 + ((c - 0xD800) << 10) + (view[++i] - 0xDC00);
            }
            if (!character(c)) return false;
        }
        return true;
    }

    // One character (no surrogate) in UTF-8, escaped as text() says.
    bool character(char32_t c) {
        if (c < 0x80) {
            switch (c) {
                case '&': out_.put("&amp;"); return true;
                case '<': out_.put("&lt;"); return true;
                case '>': out_.put("&gt;"); return true;
                case '\r': out_.put("&#13;"); return true;
                case '\t':
                case '\n': break;
                default:
                    if (c < 0x20) return unwritable(c);
            }
            out_.put(static_cast<char>(c));
        } else if (c < 0x800) {
            out_.put(static_cast<char>(0xC0 | (c >> 6)));
            out_.put(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            if (c == 0xFFFE || c == 0xFFFF) return unwritable(c);
            out_.put(static_cast<char>(0xE0 | (c >> 12)));
            out_.put(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out_.put(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out_.put(static_cast<char>(0xF0 | (c >> 18)));
            out_.put(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out_.put(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out_.put(static_cast<char>(0x80 | (c & 0x3F)));
        }
        return true;
    }

    bool unwritable(char32_t c) {
        char code[16];
        std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(c));
        return fail(std::string("a string holds ") + code + ", which an XML property list cannot carry");
    }

    struct Scratch {
        std::vector<const void*> keys, values;
        std::vector<std::pair<__CFString::View, std::size_t>> order;
    };

    Output out_;
    std::string& fault_;
    std::deque<Scratch> scratch_;  // a deque: growing it keeps the outer levels' lists in place
};

}  // namespace

CFPropertyListRef XMLPropertyListCreate(const std::string& bytes, std::string* fault) {
    Reader reader;
    return reader.read(bytes, fault);
}

bool XMLPropertyListEncode(CFPropertyListRef root, std::string* bytes, std::string* fault) {
    Writer writer(bytes, fault);
    if (writer.write(root)) return true;
    bytes->clear();
    return false;
}
