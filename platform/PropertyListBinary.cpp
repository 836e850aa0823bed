// The binary property-list form, read here rather than by libplist: libplist 2.2 holds
// texts and dictionary keys as C strings, so it cuts an ASCII text at a NUL, asserts when it hands
// out a key holding one, and offers no way to make such a text or key; it also expands shared
// objects without bound and recurses without limit on nesting.

#include "platform/internal/PropertyList.h"

#include <cstring>
#include <utility>

namespace platform::internal {

namespace {

std::uint64_t BigEndian(const unsigned char* p, unsigned size) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = (value << 8) | p[i];
    return value;
}

void AppendUtf8(std::string& out, std::uint32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

} // namespace

bool Utf16ToUtf8(const unsigned char* p, std::uint64_t units, std::string& out) {
    for (std::uint64_t i = 0; i < units; ++i) {
        std::uint32_t unit = static_cast<std::uint32_t>(BigEndian(p + 2 * i, 2));
        if (unit >= 0xDC00 && unit <= 0xDFFF)
            return false;
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            if (i + 1 == units)
                return false;
            std::uint32_t low = static_cast<std::uint32_t>(BigEndian(p + 2 * ++i, 2));
            if (low < 0xDC00 || low > 0xDFFF)
                return false;
            unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        }
        AppendUtf8(out, unit);
    }
    return true;
}

namespace {

class BinaryReader {
public:
    explicit BinaryReader(const std::string& file)
        : data_(reinterpret_cast<const unsigned char*>(file.data())), size_(file.size()) {}

    std::optional<Value> read(ReadError& error) {
        error = ReadError::Unparsable;
        constexpr std::size_t kHeader = 8, kTrailer = 32;
        if (size_ < kHeader + kTrailer || std::memcmp(data_, "bplist00", kHeader) != 0)
            return std::nullopt;
        const unsigned char* trailer = data_ + size_ - kTrailer;
        offsetSize_ = trailer[6];
        refSize_ = trailer[7];
        count_ = BigEndian(trailer + 8, 8);
        const std::uint64_t top = BigEndian(trailer + 16, 8);
        table_ = BigEndian(trailer + 24, 8);
        end_ = size_ - kTrailer;
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8)
            return std::nullopt;
        if (table_ < kHeader || table_ > end_ || count_ == 0 || top >= count_ ||
            count_ > (end_ - table_) / offsetSize_)
            return std::nullopt;
        Value root;
        if (!object(top, 0, root) || root.kind != Value::Kind::Dictionary) {
            if (tooLarge_)
                error = ReadError::TooLarge;
            return std::nullopt;
        }
        // What the store would write for this tree must stay under the bound too, so that a file
        // read can always be written back.
        if (!WriteBinary(root)) {
            error = ReadError::TooLarge;
            return std::nullopt;
        }
        error = ReadError::None;
        return root;
    }

private:
    // Every object reached is charged at least what writing it out would cost, so shared objects
    // that expand past the bound are stopped long before they exhaust memory or time.
    bool charge(std::uint64_t bytes) {
        spent_ += bytes;
        if (spent_ >= kStoreFileLimit)
            tooLarge_ = true;
        return !tooLarge_;
    }

    bool length(std::size_t& pos, unsigned low, std::uint64_t& out) {
        if (low != 0xF) {
            out = low;
            return true;
        }
        if (pos >= end_ || (data_[pos] >> 4) != 0x1 || (data_[pos] & 0xF) > 3)
            return false;
        unsigned width = 1u << (data_[pos] & 0xF);
        if (width > end_ - pos - 1)
            return false;
        out = BigEndian(data_ + pos + 1, width);
        pos += 1 + width;
        return true;
    }

    bool object(std::uint64_t ref, int depth, Value& out) {
        if (ref >= count_)
            return false;
        const std::uint64_t offset = BigEndian(data_ + table_ + ref * offsetSize_, offsetSize_);
        if (offset < 8 || offset >= end_)
            return false;
        const unsigned marker = data_[offset], low = marker & 0xF;
        std::size_t pos = offset + 1;
        const auto fits = [&](std::uint64_t bytes) { return bytes <= end_ - pos; };
        switch (marker >> 4) {
        case 0x0:
            if (low != 0 && low != 8 && low != 9)
                return false;
            out.kind = low == 0 ? Value::Kind::Null : Value::Kind::Boolean;
            out.bits = low == 9;
            return charge(2);
        case 0x1: {
            if (low > 4 || !fits(1u << low))
                return false;
            out.kind = Value::Kind::Integer;
            if (low < 4) {
                out.bits = BigEndian(data_ + pos, 1u << low);
                return charge(2 + (1u << low));
            }
            const std::uint64_t high = BigEndian(data_ + pos, 8);
            out.bits = BigEndian(data_ + pos + 8, 8);
            if (high == ~std::uint64_t{0} && (out.bits >> 63))
                return charge(18); // a negative number in the wide form
            out.wide = out.bits >> 63;
            return high == 0 && charge(18);
        }
        case 0x2:
            if ((low != 2 && low != 3) || !fits(1u << low))
                return false;
            out.kind = Value::Kind::Real;
            out.wide = low == 2;
            if (low == 2) {
                const std::uint32_t bits = static_cast<std::uint32_t>(BigEndian(data_ + pos, 4));
                float single;
                std::memcpy(&single, &bits, 4);
                out = Value::Double(single);
                out.wide = true;
            } else {
                out.bits = BigEndian(data_ + pos, 8);
            }
            return charge(10);
        case 0x3:
            if (low != 3 || !fits(8))
                return false;
            out.kind = Value::Kind::Date;
            out.bits = BigEndian(data_ + pos, 8);
            return charge(10);
        case 0x4:
        case 0x5: {
            std::uint64_t n = 0;
            if (!length(pos, low, n) || !fits(n) || !charge(10 + n))
                return false;
            out.kind = (marker >> 4) == 0x4 ? Value::Kind::Data : Value::Kind::String;
            out.bytes.assign(reinterpret_cast<const char*>(data_ + pos), n);
            if (out.kind == Value::Kind::String)
                for (unsigned char c : out.bytes)
                    if (c >= 0x80)
                        return false;
            return true;
        }
        case 0x6: {
            std::uint64_t n = 0;
            if (!length(pos, low, n) || n > (end_ - pos) / 2 || !charge(10 + 2 * n))
                return false;
            out.kind = Value::Kind::String;
            return Utf16ToUtf8(data_ + pos, n, out.bytes);
        }
        case 0x8:
            if (!fits(low + 1u) || low > 7)
                return false;
            out.kind = Value::Kind::Uid;
            out.bits = BigEndian(data_ + pos, low + 1);
            return charge(10);
        case 0xA:
        case 0xC:
        case 0xD: {
            std::uint64_t n = 0;
            const bool dict = (marker >> 4) == 0xD;
            if (depth > kMaxNesting || !length(pos, low, n) ||
                n > (end_ - pos) / refSize_ / (dict ? 2 : 1) || !charge(10 + (dict ? 2 : 1) * n))
                return false;
            out.kind = dict                   ? Value::Kind::Dictionary
                       : (marker >> 4) == 0xA ? Value::Kind::Array
                                              : Value::Kind::Set;
            out.items.resize(n);
            for (std::uint64_t i = 0; i < n; ++i) {
                const std::uint64_t at = pos + (dict ? n + i : i) * refSize_;
                if (!object(BigEndian(data_ + at, refSize_), depth + 1, out.items[i]))
                    return false;
            }
            for (std::uint64_t i = 0; dict && i < n; ++i) {
                Value key;
                if (!object(BigEndian(data_ + pos + i * refSize_, refSize_), depth + 1, key) ||
                    key.kind != Value::Kind::String)
                    return false;
                out.keys.push_back(std::move(key.bytes));
            }
            return true;
        }
        default:
            return false;
        }
    }

    const unsigned char* data_;
    std::size_t size_, end_ = 0;
    unsigned offsetSize_ = 0, refSize_ = 0;
    std::uint64_t count_ = 0, table_ = 0, spent_ = 0;
    bool tooLarge_ = false;
};

} // namespace

std::optional<Value> ReadBinary(const std::string& file, ReadError& error) {
    return BinaryReader(file).read(error);
}

} // namespace platform::internal
