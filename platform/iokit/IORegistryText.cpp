// Registry dumps in the form "ioreg -l" writes them: one line per entry,
// indented two columns a level behind the tree's drawing ("| " and spaces),
//
//   +-o en0@0  <class IOEthernetAVBInterface, id 0x100000279, registered, ...>
//     {
//       "BSD Name" = "en0"
//       "IOMACAddress" = <10ddb1ea91fa>
//     }
//
// then the entry's properties, one a line, between braces. Values are
// strings ("en0"), numbers (decimal, or hexadecimal after 0x), Yes and No,
// data (<hex digits>, or <"text","text"> for zero-terminated texts), arrays
// (a,b) and dictionaries {"key"=value,...}. Strings are written as they
// are: a string ends at the next double quote (a property's own string
// value, at the last one of its line).
//
// ioreg cuts lines at the terminal's width unless told -w0. A property
// line that ends before its value does is left out, and the dump as a
// whole is then noted as cut.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"
#include "platform/iokit/IORegistry.h"

namespace {

// How reading a value ended.
enum class Parse { Done, CutShort, Malformed };

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

unsigned HexValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    return static_cast<unsigned>((c | 0x20) - 'a' + 10);
}

// Values up to this long are shared between the entries that hold them.
constexpr std::size_t kMaxSharedValue = 128;

class TextReader {
public:
    TextReader(std::string_view text, std::string* fault, IORegistryNotes* notes)
        : text_(text), fault_(fault), notes_(notes) {
        // About one string, and one short value, in every few lines.
        strings_.reserve(text.size() / 256);
        values_.reserve(text.size() / 1024);
    }

    std::shared_ptr<IORegistry> Read() {
        if (text_.compare(0, 3, "\xEF\xBB\xBF") == 0) position_ = 3;  // a byte order mark
        // Lines before the root's (a command line, a report's heading) are
        // not the dump's.
        if (text_.compare(position_, 4, "+-o ") != 0) {
            std::size_t tree = text_.find("\n+-o ", position_);
            if (tree != std::string_view::npos) {
                lineNumber_ += static_cast<std::size_t>(std::count(text_.begin() + static_cast<std::ptrdiff_t>(position_),
                                                                   text_.begin() + static_cast<std::ptrdiff_t>(tree) + 1, '\n'));
                position_ = tree + 1;
            }
        }
        std::string_view line;
        while (NextLine(&line)) {
            std::size_t column = line.find_first_not_of(" |");
            if (column == std::string_view::npos) continue;  // between entries
            std::string_view rest = line.substr(column);
            bool ok = true;
            if (inBlock_) {
                if (rest == "}") inBlock_ = false;
                else if (rest.front() == '"') ok = ReadProperty(WithContinuation(rest));
                else ok = Fail("expected a property or the \"}\" that ends them");
            } else if (rest.compare(0, 4, "+-o ") == 0) {
                ok = ReadEntry(column, rest.substr(4));
            } else if (rest == "{") {
                if (registry_.size() == 0 || blockRead_) ok = Fail("properties that belong to no entry");
                inBlock_ = blockRead_ = true;
                blockPrefix_ = line.substr(0, column);
            } else {
                ok = Fail("expected an entry (\"+-o\") or its properties");
            }
            if (!ok) return nullptr;
        }
        if (inBlock_) {
            *fault_ = "the text ends inside the properties of the " + registry_.entry(registry_.size() - 1).className +
                      " at " + registry_.PathOf(registry_.size() - 1) + " (a truncated dump?)";
            return nullptr;
        }
        if (registry_.size() == 0) {
            *fault_ = "no entries";
            return nullptr;
        }
        if (cutShort_ > 0) {
            notes_->push_back(std::to_string(cutShort_) +
                              " property lines are cut short (ioreg cuts lines at the terminal's width unless given "
                              "-w0), and those properties are left out");
        }
        return std::make_shared<IORegistry>(std::move(registry_));
    }

private:
    bool NextLine(std::string_view* line) {
        if (position_ >= text_.size()) return false;
        std::size_t end = text_.find('\n', position_);
        if (end == std::string_view::npos) end = text_.size();
        *line = text_.substr(position_, end - position_);
        if (!line->empty() && line->back() == '\r') line->remove_suffix(1);
        position_ = end + 1;
        ++lineNumber_;
        return true;
    }

    // A property line with the lines that continue it: a string value may
    // hold line breaks, and ioreg writes them as they are. Every line of the
    // block begins with the prefix of its "{"; a line that does not is the
    // rest of the property before it.
    std::string_view WithContinuation(std::string_view property) {
        std::size_t next = position_;
        std::size_t end = next;
        while (next < text_.size() && text_.compare(next, blockPrefix_.size(), blockPrefix_) != 0) {
            end = text_.find('\n', next);
            if (end == std::string_view::npos) end = text_.size();
            next = end + 1;
            ++lineNumber_;
        }
        if (next == position_) return property;
        joined_.assign(property);
        joined_.push_back('\n');
        // Line ends within the value are line feeds, whatever the file's.
        for (std::size_t i = position_; i < end; ++i) {
            if (text_[i] != '\r' || (i + 1 < end && text_[i + 1] != '\n')) joined_.push_back(text_[i]);
        }
        position_ = next;
        return joined_;
    }

    bool Fail(const std::string& what) {
        *fault_ = "line " + std::to_string(lineNumber_) + ": " + what;
        return false;
    }

    // "name@location  <class C, id ..., ...>" drawn at column: a level every
    // two columns.
    bool ReadEntry(std::size_t column, std::string_view text) {
        if (column % 2 != 0) return Fail("an entry between two levels of the tree");
        std::size_t depth = column / 2;
        if (depth > static_cast<std::size_t>(kIORegistryMaxDepth)) {
            return Fail("entries nested deeper than " + std::to_string(kIORegistryMaxDepth) + " levels");
        }
        if ((depth == 0) != (registry_.size() == 0) || depth > path_.size()) {
            return Fail(depth == 0 ? "a second root entry" : "an entry deeper than the entry before it allows");
        }
        std::size_t classAt = text.find("  <class ");
        std::string_view name = text.substr(0, classAt);
        std::string_view className;
        if (classAt != std::string_view::npos) {
            className = text.substr(classAt + 9);
            className = className.substr(0, className.find_first_of(",>"));
        } else {
            ++cutShort_;  // a line cut before its class
        }
        if (className.empty()) className = "IOService";
        path_.resize(depth);
        std::size_t parent = depth == 0 ? IORegistry::kNoParent : path_.back();
        CFRef<CFMutableDictionaryRef> properties(
            CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        path_.push_back(registry_.AddEntry(parent, std::string(className), std::move(properties), std::string(name)));
        blockRead_ = false;
        return true;
    }

    // "key" = value
    bool ReadProperty(std::string_view text) {
        std::size_t keyEnd = text.find("\" = ", 1);
        if (keyEnd == std::string_view::npos) {
            ++cutShort_;
            return true;
        }
        CFStringRef key = Intern(text.substr(1, keyEnd - 1));
        if (key == nullptr) return Fail("a key that is not UTF-8 text");
        std::string_view valueText = text.substr(keyEnd + 4);
        CFMutableDictionaryRef properties = registry_.entry(registry_.size() - 1).properties.get();
        // Many entries hold the same short data, arrays and dictionaries:
        // each is read once and shared (nothing changes a registry's
        // values). Long ones are mostly an entry's own.
        bool shared = InDump(valueText) && !valueText.empty() && valueText.size() <= kMaxSharedValue &&
                      (valueText.front() == '<' || valueText.front() == '(' || valueText.front() == '{');
        if (shared) {
            auto known = values_.find(valueText);
            if (known != values_.end()) {
                CFDictionarySetValue(properties, key, known->second.get());
                return true;
            }
        }
        CFRef<CFTypeRef> value;
        switch (ParseValue(valueText, &value)) {
            case Parse::Done:
                CFDictionarySetValue(properties, key, value.get());
                if (shared) values_.emplace(valueText, std::move(value));
                return true;
            case Parse::CutShort:
                ++cutShort_;
                return true;
            case Parse::Malformed:
                break;
        }
        return Fail(problem_ + " in the value of \"" + std::string(text.substr(1, std::min<std::size_t>(keyEnd - 1, 64))) +
                    "\"");
    }

    // A container being read: its values so far, and in a dictionary the
    // key waiting for its value.
    struct Frame {
        bool isDictionary;
        CFRef<CFTypeRef> container;
        CFStringRef key = nullptr;  // interned, borrowed
    };

    Parse Malformed(const char* problem) {
        problem_ = problem;
        return Parse::Malformed;
    }

    void SkipSpaces(std::string_view text, std::size_t* at) {
        while (*at < text.size() && text[*at] == ' ') ++*at;
    }

    // Reads the value that makes up the whole of text, without recursion.
    Parse ParseValue(std::string_view text, CFRef<CFTypeRef>* result) {
        std::vector<Frame> stack;
        std::size_t at = 0;
        for (;;) {
            SkipSpaces(text, &at);
            if (at == text.size()) return Parse::CutShort;
            if (!stack.empty() && stack.back().isDictionary && stack.back().key == nullptr) {
                if (text[at] != '"') return Malformed("a dictionary key that is not a string");
                std::size_t end = text.find('"', at + 1);
                if (end == std::string_view::npos) return Parse::CutShort;
                stack.back().key = Intern(text.substr(at + 1, end - at - 1));
                if (stack.back().key == nullptr) return Malformed("text that is not UTF-8");
                at = end + 1;
                SkipSpaces(text, &at);
                if (at == text.size()) return Parse::CutShort;
                if (text[at] != '=') return Malformed("a dictionary key without \"=\"");
                ++at;
                continue;
            }

            CFRef<CFTypeRef> value;
            char c = text[at];
            if (c == '(' || c == '{') {
                if (stack.size() >= static_cast<std::size_t>(kIORegistryMaxDepth)) {
                    return Malformed("values nested too deep");
                }
                bool isDictionary = c == '{';
                CFTypeRef container =
                    isDictionary ? static_cast<CFTypeRef>(CFDictionaryCreateMutable(
                                       nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks))
                                 : static_cast<CFTypeRef>(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
                stack.push_back(Frame{isDictionary, CFRef<CFTypeRef>(container)});
                ++at;
                SkipSpaces(text, &at);
                if (at == text.size()) return Parse::CutShort;
                if (text[at] != (isDictionary ? '}' : ')')) continue;
                ++at;
                value = std::move(stack.back().container);
                stack.pop_back();
            } else {
                Parse leaf = ParseLeaf(text, &at, stack.empty(), &value);
                if (leaf != Parse::Done) return leaf;
            }

            // Hand the value to its container, closing every container that
            // ends with it.
            for (;;) {
                SkipSpaces(text, &at);
                if (stack.empty()) {
                    if (at != text.size()) return Malformed("text after the value");
                    *result = std::move(value);
                    return Parse::Done;
                }
                Frame& top = stack.back();
                if (top.isDictionary) {
                    CFDictionarySetValue(static_cast<CFMutableDictionaryRef>(const_cast<void*>(top.container.get())),
                                         top.key, value.get());
                    top.key = nullptr;
                } else {
                    CFArrayAppendValue(static_cast<CFMutableArrayRef>(const_cast<void*>(top.container.get())),
                                       value.get());
                }
                if (at == text.size()) return Parse::CutShort;
                if (text[at] == ',') {
                    ++at;
                    break;
                }
                if (text[at] != (top.isDictionary ? '}' : ')')) return Malformed("a value followed by neither \",\" nor the container's end");
                ++at;
                value = std::move(top.container);
                stack.pop_back();
            }
        }
    }

    // A string, number, Yes or No, or data at *at.
    Parse ParseLeaf(std::string_view text, std::size_t* at, bool whole, CFRef<CFTypeRef>* value) {
        char c = text[*at];
        if (c == '"') {
            // A property's own string runs to the line's last quote, so that
            // quotes inside it do not end it.
            std::size_t end = whole ? text.rfind('"') : text.find('"', *at + 1);
            if (end == std::string_view::npos || end <= *at) return Parse::CutShort;
            CFStringRef string = Intern(text.substr(*at + 1, end - *at - 1));
            if (string == nullptr) return Malformed("text that is not UTF-8");
            value->reset(CFRetain(string));
            *at = end + 1;
            return Parse::Done;
        }
        if (c == '<') return ParseData(text, at, value);
        if (c == 'Y' || c == 'N') {
            std::string_view word = c == 'Y' ? "Yes" : "No";
            std::string_view have = text.substr(*at, word.size());
            if (have != word) return word.compare(0, have.size(), have) == 0 ? Parse::CutShort : Malformed("an unknown word");
            value->reset(CFRetain(c == 'Y' ? kCFBooleanTrue : kCFBooleanFalse));
            *at += word.size();
            return Parse::Done;
        }
        if (c == '-' || (c >= '0' && c <= '9')) return ParseNumber(text, at, value);
        return Malformed("a value of no known kind");
    }

    // Decimal or 0x hexadecimal; values past the signed range keep their
    // 64-bit pattern, as ioreg prints unsigned numbers.
    Parse ParseNumber(std::string_view text, std::size_t* at, CFRef<CFTypeRef>* value) {
        std::size_t end = *at;
        while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '-')) ++end;
        std::string_view digits = text.substr(*at, end - *at);
        bool negative = !digits.empty() && digits.front() == '-';
        if (negative) digits.remove_prefix(1);
        std::uint64_t magnitude = 0;
        if (!cfrt::ParseMagnitude(digits, &magnitude)) {
            if (end == text.size()) return Parse::CutShort;
            return Malformed("a number of more than 64 bits, or not a number");
        }
        SInt64 number = static_cast<SInt64>(negative ? UInt64(0) - magnitude : magnitude);
        auto [slot, isNew] = numbers_.try_emplace(number);
        if (isNew) slot->second.reset(CFNumberCreate(nullptr, kCFNumberSInt64Type, &number));
        value->reset(CFRetain(slot->second.get()));
        *at = end;
        return Parse::Done;
    }

    // <hex digits>, or <"text","text"> for texts each ending in a zero byte.
    Parse ParseData(std::string_view text, std::size_t* at, CFRef<CFTypeRef>* value) {
        std::string bytes;
        std::size_t i = *at + 1;
        if (i < text.size() && text[i] == '"') {
            for (;;) {
                std::size_t end = text.find('"', i + 1);
                if (end == std::string_view::npos) return Parse::CutShort;
                bytes.append(text.substr(i + 1, end - i - 1));
                bytes.push_back('\0');
                i = end + 1;
                if (i == text.size()) return Parse::CutShort;
                if (text[i] == '>') break;
                if (text[i] != ',') return Malformed("texts of data not separated by \",\"");
                if (++i == text.size()) return Parse::CutShort;
                if (text[i] != '"') return Malformed("data that mixes texts and digits");
            }
        } else {
            std::size_t end = i;
            while (end < text.size() && IsHexDigit(text[end])) ++end;
            if (end == text.size()) return Parse::CutShort;
            if (text[end] != '>') return Malformed("data that is not hexadecimal digits");
            if ((end - i) % 2 != 0) return Malformed("data of an odd number of hexadecimal digits");
            bytes.reserve((end - i) / 2);
            for (; i < end; i += 2) bytes.push_back(static_cast<char>(HexValue(text[i]) * 16 + HexValue(text[i + 1])));
            i = end;
        }
        value->reset(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()), static_cast<CFIndex>(bytes.size())));
        *at = i + 1;
        return Parse::Done;
    }

    bool InDump(std::string_view part) const {
        return part.data() >= text_.data() && part.data() + part.size() <= text_.data() + text_.size();
    }

    // The string of UTF-8 text, made once per text (borrowed); nil when the
    // text is not UTF-8.
    CFStringRef Intern(std::string_view utf8) {
        auto found = strings_.find(utf8);
        if (found != strings_.end()) return found->second.get();
        CFRef<CFStringRef> string(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(utf8.data()),
                                                          static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8,
                                                          false));
        if (!string) return nullptr;
        CFStringRef interned = string.get();
        // The table holds views of the dump itself; a property of several
        // lines is read from a copy that does not last.
        if (InDump(utf8)) strings_.emplace(utf8, std::move(string));
        else loose_.push_back(std::move(string));
        return interned;
    }

    std::string_view text_;
    std::string* fault_;
    IORegistryNotes* notes_;
    std::size_t position_ = 0;
    std::size_t lineNumber_ = 0;
    IORegistry registry_;
    std::vector<std::size_t> path_;  // the entries from the root to the last one read
    bool inBlock_ = false;           // between "{" and "}"
    std::string_view blockPrefix_;   // what comes before the "{" on its line
    std::string joined_;             // a property of several lines
    bool blockRead_ = false;         // the last entry has its properties
    std::size_t cutShort_ = 0;
    std::string problem_;
    std::unordered_map<std::string_view, CFRef<CFStringRef>> strings_;
    std::vector<CFRef<CFStringRef>> loose_;  // strings read from joined_
    std::unordered_map<SInt64, CFRef<CFNumberRef>> numbers_;
    std::unordered_map<std::string_view, CFRef<CFTypeRef>> values_;  // by their text
};

}  // namespace

std::shared_ptr<IORegistry> IORegistryCreateFromText(std::string_view text, std::string* fault,
                                                     IORegistryNotes* notes) {
    TextReader reader(text, fault, notes);
    return reader.Read();
}
