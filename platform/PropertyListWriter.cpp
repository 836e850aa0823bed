// The binary property-list form as the store writes it: every object where it is reached (so the
// size written is the size a reader expands the file to), with the fewest bytes for each number,
// offset and reference. Written here because libplist 2.2 cannot make a text or key holding NUL.

#include "platform/internal/PropertyList.h"

#include <cstring>
#include <utility>

namespace platform::internal {

namespace {

void PutBigEndian(std::string& out, std::uint64_t value, unsigned size) {
    for (unsigned i = size; i-- > 0;)
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

// The width of an integer object: 1, 2, 4 or 8 bytes.
unsigned BytesFor(std::uint64_t value) {
    return value < (1u << 8) ? 1 : value < (1u << 16) ? 2 : value <= 0xFFFFFFFFu ? 4 : 8;
}

// The width of an offset or reference, which may be any number of bytes.
unsigned FewestBytes(std::uint64_t value) {
    unsigned n = 1;
    while (n < 8 && (value >> (8 * n)) != 0)
        ++n;
    return n;
}

// The marker byte of a container or run of `n`, and the integer object after it when n >= 15.
std::uint64_t HeaderBytes(std::uint64_t n) {
    return n < 15 ? 1 : 2 + BytesFor(n);
}

bool IsAscii(const std::string& text) {
    for (unsigned char c : text)
        if (c >= 0x80)
            return false;
    return true;
}

// UTF-16 units of a valid UTF-8 text: one per character, two from U+10000 on.
std::uint64_t Utf16Units(const std::string& text) {
    std::uint64_t units = 0;
    for (unsigned char c : text)
        units += (c & 0xC0) != 0x80 ? (c >= 0xF0 ? 2 : 1) : 0;
    return units;
}

std::uint64_t TextBytes(const std::string& text) {
    if (IsAscii(text))
        return HeaderBytes(text.size()) + text.size();
    const std::uint64_t units = Utf16Units(text);
    return HeaderBytes(units) + 2 * units;
}

// What encode() writes for one value, references left out.
std::uint64_t ValueBytes(const Value& value) {
    using Kind = Value::Kind;
    switch (value.kind) {
    case Kind::Null:
    case Kind::Boolean:
        return 1;
    case Kind::Integer:
        return value.wide                                  ? 17
               : static_cast<std::int64_t>(value.bits) < 0 ? 9
                                                           : 1 + BytesFor(value.bits);
    case Kind::Real:
        return value.wide ? 5 : 9;
    case Kind::Date:
        return 9;
    case Kind::Data:
        return HeaderBytes(value.bytes.size()) + value.bytes.size();
    case Kind::String:
        return TextBytes(value.bytes);
    case Kind::Uid:
        return 1 + BytesFor(value.bits);
    case Kind::Array:
    case Kind::Set:
    case Kind::Dictionary:
        return HeaderBytes(value.items.size());
    }
    return 0;
}

// UTF-8 (valid: every text in a tree is checked when it enters) to UTF-16 big-endian units.
std::string Utf8ToUtf16(const std::string& text, std::uint64_t& units) {
    std::string out;
    units = 0;
    for (std::size_t i = 0; i < text.size();) {
        unsigned char lead = static_cast<unsigned char>(text[i]);
        int tail = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        std::uint32_t cp = tail == 0 ? lead : lead & (0x3F >> tail);
        for (int t = 1; t <= tail && i + t < text.size(); ++t)
            cp = (cp << 6) | (static_cast<unsigned char>(text[i + t]) & 0x3F);
        i += 1 + tail;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            PutBigEndian(out, 0xD800 + (cp >> 10), 2);
            cp = 0xDC00 + (cp & 0x3FF);
            ++units;
        }
        PutBigEndian(out, cp, 2);
        ++units;
    }
    return out;
}

// Adds every object of the tree under `value` to `size`; the number of objects.
std::uint64_t Measure(const Value& value, BinarySize& size) {
    size.addValue(value);
    std::uint64_t objects = 1 + value.keys.size();
    for (const std::string& key : value.keys)
        size.addKey(key);
    for (const Value& item : value.items)
        objects += Measure(item, size);
    return objects;
}

class BinaryWriter {
public:
    explicit BinaryWriter(std::size_t limit) : limit_(limit) {}

    std::optional<std::string> write(const Value& root) {
        // Measured first, so that a tree past the limit is refused before anything is built and
        // the output is allocated once.
        BinarySize size;
        const std::uint64_t count = Measure(root, size);
        if (size.total() >= limit_)
            return std::nullopt;
        objects_.reserve(count);
        out_.reserve(size.total());
        number(root);
        refSize_ = FewestBytes(objects_.size() - 1);
        out_ = "bplist00";
        std::vector<std::uint64_t> offsets;
        offsets.reserve(objects_.size());
        for (const Entry& entry : objects_) {
            offsets.push_back(out_.size());
            entry.key ? text(*entry.key) : encode(*entry.value, entry.refs);
        }
        const std::uint64_t table = out_.size();
        const unsigned offsetSize = FewestBytes(table);
        for (std::uint64_t offset : offsets)
            PutBigEndian(out_, offset, offsetSize);
        out_.append(6, '\0');
        out_ += static_cast<char>(offsetSize);
        out_ += static_cast<char>(refSize_);
        PutBigEndian(out_, objects_.size(), 8);
        PutBigEndian(out_, 0, 8);
        PutBigEndian(out_, table, 8);
        return std::move(out_);
    }

private:
    struct Entry {
        const Value* value;
        const std::string* key;
        std::vector<std::uint64_t> refs; // a container's keys, then its items
    };

    // Objects are numbered depth first: each container, then its keys, then its items' subtrees.
    std::uint64_t number(const Value& value) {
        const std::uint64_t self = objects_.size();
        objects_.push_back({&value, nullptr, {}});
        std::vector<std::uint64_t> refs;
        refs.reserve(value.keys.size() + value.items.size());
        for (const std::string& key : value.keys) {
            refs.push_back(objects_.size());
            objects_.push_back({nullptr, &key, {}});
        }
        for (const Value& item : value.items)
            refs.push_back(number(item));
        objects_[self].refs = std::move(refs);
        return self;
    }

    void header(unsigned type, std::uint64_t n) {
        if (n < 15) {
            out_ += static_cast<char>(type << 4 | n);
            return;
        }
        out_ += static_cast<char>(type << 4 | 0xF);
        unsigned width = BytesFor(n);
        out_ += static_cast<char>(0x10 | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3));
        PutBigEndian(out_, n, width);
    }

    void text(const std::string& text) {
        if (IsAscii(text)) {
            header(0x5, text.size());
            out_ += text;
            return;
        }
        std::uint64_t units = 0;
        std::string wide = Utf8ToUtf16(text, units);
        header(0x6, units);
        out_ += wide;
    }

    void encode(const Value& value, const std::vector<std::uint64_t>& refs) {
        using Kind = Value::Kind;
        switch (value.kind) {
        case Kind::Null:
            out_ += '\0';
            break;
        case Kind::Boolean:
            out_ += static_cast<char>(value.bits ? 0x09 : 0x08);
            break;
        case Kind::Integer: {
            const auto number = static_cast<std::int64_t>(value.bits);
            if (value.wide) {
                out_ += '\x14';
                PutBigEndian(out_, 0, 8);
                PutBigEndian(out_, value.bits, 8);
                break;
            }
            const unsigned width = number < 0 ? 8 : BytesFor(value.bits);
            out_ += static_cast<char>(0x10 | (width == 1   ? 0
                                              : width == 2 ? 1
                                              : width == 4 ? 2
                                                           : 3));
            PutBigEndian(out_, value.bits, width);
            break;
        }
        case Kind::Real:
            if (value.wide) {
                const float single = static_cast<float>(value.real());
                std::uint32_t bits;
                std::memcpy(&bits, &single, 4);
                out_ += '\x22';
                PutBigEndian(out_, bits, 4);
            } else {
                out_ += '\x23';
                PutBigEndian(out_, value.bits, 8);
            }
            break;
        case Kind::Date:
            out_ += '\x33';
            PutBigEndian(out_, value.bits, 8);
            break;
        case Kind::Data:
            header(0x4, value.bytes.size());
            out_ += value.bytes;
            break;
        case Kind::String:
            text(value.bytes);
            break;
        case Kind::Uid: {
            const unsigned width = BytesFor(value.bits);
            out_ += static_cast<char>(0x80 | (width - 1));
            PutBigEndian(out_, value.bits, width);
            break;
        }
        case Kind::Array:
        case Kind::Set:
        case Kind::Dictionary:
            header(value.kind == Kind::Dictionary ? 0xD
                   : value.kind == Kind::Array    ? 0xA
                                                  : 0xC,
                   value.items.size());
            for (std::uint64_t ref : refs)
                PutBigEndian(out_, ref, refSize_);
            break;
        }
    }

    std::size_t limit_;
    std::vector<Entry> objects_;
    std::string out_;
    unsigned refSize_ = 1;
};

} // namespace

void BinarySize::addValue(const Value& value) {
    ++objects_;
    bytes_ += ValueBytes(value);
}

void BinarySize::addContainer(std::uint64_t count) {
    ++objects_;
    bytes_ += HeaderBytes(count);
}

void BinarySize::addKey(const std::string& key) {
    ++objects_;
    bytes_ += TextBytes(key);
}

std::uint64_t BinarySize::atLeast(std::uint64_t more) const {
    // Every reference and offset takes a byte at least; every object but the top is referred to
    // once.
    return 8 + bytes_ + more + (objects_ ? 2 * objects_ - 1 : 0) + 32;
}

std::uint64_t BinarySize::total() const {
    const std::uint64_t refs = objects_ ? objects_ - 1 : 0;
    const std::uint64_t table = 8 + bytes_ + refs * FewestBytes(refs);
    return table + objects_ * FewestBytes(table) + 32;
}

std::optional<std::string> WriteBinary(const Value& root, std::size_t limit) {
    return BinaryWriter(limit).write(root);
}

} // namespace platform::internal
