// Builds binary property-list files object by object, for tests that need
// files no writer would make: strings holding U+0000, deep nesting,
// cycles, and offsets, counts and references that do not fit the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class BinaryPlist {
public:
    // Each call adds one object and returns its number.
    int ascii(const std::string& text) { return add(Marker(0x50, text.size()) + text); }
    int utf16(const std::u16string& text) {
        std::string bytes = Marker(0x60, text.size());
        for (char16_t c : text) {
            bytes += static_cast<char>(c >> 8);
            bytes += static_cast<char>(c & 0xFF);
        }
        return add(bytes);
    }
    int array(const std::vector<int>& refs) { return add(Marker(0xA0, refs.size()), refs); }
    int dict(const std::vector<int>& keys, const std::vector<int>& values) {
        std::vector<int> refs = keys;
        refs.insert(refs.end(), values.begin(), values.end());
        return add(Marker(0xD0, keys.size()), refs);
    }
    // An object given as raw bytes (a marker and what follows it).
    int raw(const std::string& bytes) { return add(bytes); }
    // Makes object `at` an array of refs (for references to objects added
    // later, such as cycles).
    void makeArray(int at, const std::vector<int>& refs) {
        objects_[static_cast<std::size_t>(at)] = Object{Marker(0xA0, refs.size()), refs};
    }

    // The file with `top` as its root, references of refSize bytes and
    // offsets of offsetSize bytes.
    std::string file(int top, int refSize = 1, int offsetSize = 4) const {
        std::string out = "bplist00";
        std::vector<uint64_t> offsets;
        for (const Object& object : objects_) {
            offsets.push_back(out.size());
            out += object.bytes;
            for (int ref : object.refs) Put(out, static_cast<uint64_t>(ref), refSize);
        }
        uint64_t table = out.size();
        for (uint64_t offset : offsets) Put(out, offset, offsetSize);
        out.append(6, '\0');
        out += static_cast<char>(offsetSize);
        out += static_cast<char>(refSize);
        Put(out, objects_.size(), 8);
        Put(out, static_cast<uint64_t>(top), 8);
        Put(out, table, 8);
        return out;
    }

private:
    struct Object {
        std::string bytes;
        std::vector<int> refs;
    };
    int add(const std::string& bytes, const std::vector<int>& refs = {}) {
        objects_.push_back(Object{bytes, refs});
        return static_cast<int>(objects_.size() - 1);
    }
    static std::string Marker(int type, std::size_t count) {
        if (count < 15) return std::string(1, static_cast<char>(type | static_cast<int>(count)));
        std::string out{static_cast<char>(type | 0x0F), '\x12'};
        Put(out, count, 4);
        return out;
    }
    static void Put(std::string& out, uint64_t value, int size) {
        for (int shift = size; shift-- > 0;) out += static_cast<char>((value >> (8 * shift)) & 0xFF);
    }
    std::vector<Object> objects_;
};
