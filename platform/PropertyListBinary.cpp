// Reading the binary property-list form. Texts and keys may hold NUL; every object is charged
// what the store would write for it each time it is reached, so shared objects cannot expand a
// small file without bound; nesting and cycles are bounded.

#include "platform/internal/PropertyList.h"

#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

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

std::string Hex(std::uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

class BinaryReader {
public:
    BinaryReader(const std::string& file, const std::string* only)
        : data_(reinterpret_cast<const unsigned char*>(file.data())), fileSize_(file.size()),
          only_(only) {}

    std::optional<Value> read(ReadFailure& failure) {
        constexpr std::size_t kHeader = 8, kTrailer = 32;
        if (fileSize_ < kHeader + kTrailer || std::memcmp(data_, "bplist00", kHeader) != 0)
            return fail(failure,
                        "it is not a binary property list (no bplist00 header or trailer)");
        const unsigned char* trailer = data_ + fileSize_ - kTrailer;
        offsetSize_ = trailer[6];
        refSize_ = trailer[7];
        count_ = BigEndian(trailer + 8, 8);
        const std::uint64_t top = BigEndian(trailer + 16, 8);
        table_ = BigEndian(trailer + 24, 8);
        end_ = fileSize_ - kTrailer;
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 ||
            table_ < kHeader || table_ > end_ || count_ == 0 || top >= count_ ||
            count_ > (end_ - table_) / offsetSize_)
            return fail(failure, "its binary trailer is damaged");
        onPath_.assign(count_, false);
        Value root;
        if (!object(top, 0, root))
            return fail(failure, problem_ + (path_.empty() ? "" : " at " + KeyPathText(path_)));
        if (root.kind != Value::Kind::Dictionary)
            return fail(failure, "its top object is not a dictionary");
        if (written_.total() >= kStoreFileLimit)
            return fail(failure, TooLargeText(), ReadError::TooLarge);
        failure = ReadFailure();
        return root;
    }

private:
    std::optional<Value> fail(ReadFailure& failure, std::string reason,
                              ReadError kind = ReadError::Unparsable) {
        failure.kind = tooLarge_ ? ReadError::TooLarge : kind;
        failure.reason = tooLarge_ ? TooLargeText() : std::move(reason);
        return std::nullopt;
    }
    static std::string TooLargeText() {
        return "it would take more than the limit of " + StoreFileLimitText() +
               " once its shared objects are written out";
    }
    bool bad(std::string problem) {
        problem_ = std::move(problem);
        return false;
    }
    // Objects are charged as they are reached, so shared objects that expand past the bound stop
    // the reading long before they exhaust memory or time.
    bool within(std::uint64_t more = 0) {
        if (written_.atLeast(more) >= kStoreFileLimit)
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
            return bad("a reference to object " + std::to_string(ref) + " of " +
                       std::to_string(count_));
        const std::uint64_t offset = BigEndian(data_ + table_ + ref * offsetSize_, offsetSize_);
        if (offset < 8 || offset >= end_)
            return bad("object " + std::to_string(ref) + " lies outside the file");
        const unsigned marker = data_[offset], low = marker & 0xF;
        std::size_t pos = offset + 1;
        const auto fits = [&](std::uint64_t bytes) { return bytes <= end_ - pos; };
        const std::string truncated = "object " + std::to_string(ref) + " is cut short";
        switch (marker >> 4) {
        case 0x0:
            if (low != 0 && low != 8 && low != 9)
                return bad("object " + std::to_string(ref) + " has the unknown marker " +
                           Hex(marker));
            out.kind = low == 0 ? Value::Kind::Null : Value::Kind::Boolean;
            out.bits = low == 9;
            break;
        case 0x1: {
            if (low > 4)
                return bad("an integer of " + std::to_string(8u << low) + " bits, beyond 64 bits");
            if (!fits(1u << low))
                return bad(truncated);
            out.kind = Value::Kind::Integer;
            if (low < 4) {
                out.bits = BigEndian(data_ + pos, 1u << low);
                break;
            }
            const std::uint64_t high = BigEndian(data_ + pos, 8);
            out.bits = BigEndian(data_ + pos + 8, 8);
            if (high == ~std::uint64_t{0} && (out.bits >> 63))
                break; // a negative number in the wide form
            if (high != 0)
                return bad("an integer beyond 64 bits");
            out.wide = out.bits >> 63;
            break;
        }
        case 0x2:
            if (low != 2 && low != 3)
                return bad("a real of " + std::to_string(8u << low) + " bits");
            if (!fits(1u << low))
                return bad(truncated);
            if (low == 2) {
                const std::uint32_t bits = static_cast<std::uint32_t>(BigEndian(data_ + pos, 4));
                float single;
                std::memcpy(&single, &bits, 4);
                out = Value::Double(single);
                out.wide = true;
            } else {
                out.kind = Value::Kind::Real;
                out.bits = BigEndian(data_ + pos, 8);
            }
            break;
        case 0x3:
            if (low != 3)
                return bad("a date of " + std::to_string(8u << low) + " bits");
            if (!fits(8))
                return bad(truncated);
            out.kind = Value::Kind::Date;
            out.bits = BigEndian(data_ + pos, 8);
            break;
        case 0x4:
        case 0x5: {
            std::uint64_t n = 0;
            if (!length(pos, low, n) || !fits(n))
                return bad(truncated);
            if (!within(BinarySize::leastForText(n)))
                return false;
            out.kind = (marker >> 4) == 0x4 ? Value::Kind::Data : Value::Kind::String;
            out.bytes.assign(reinterpret_cast<const char*>(data_ + pos), n);
            if (out.kind == Value::Kind::String)
                for (unsigned char c : out.bytes)
                    if (c >= 0x80)
                        return bad("an ASCII text holding the byte " + Hex(c));
            break;
        }
        case 0x6: {
            std::uint64_t n = 0;
            if (!length(pos, low, n) || n > (end_ - pos) / 2)
                return bad(truncated);
            if (!within(BinarySize::leastForText(n)))
                return false;
            out.kind = Value::Kind::String;
            if (!Utf16ToUtf8(data_ + pos, n, out.bytes))
                return bad("a text with a UTF-16 surrogate that does not pair up");
            break;
        }
        case 0x8:
            if (low > 7 || !fits(low + 1u))
                return bad(truncated);
            out.kind = Value::Kind::Uid;
            out.bits = BigEndian(data_ + pos, low + 1);
            break;
        case 0xA:
        case 0xC:
        case 0xD:
            return container(ref, marker, pos, depth, out);
        default:
            return bad("object " + std::to_string(ref) + " has the unknown marker " + Hex(marker));
        }
        written_.addValue(out);
        return within();
    }

    bool container(std::uint64_t ref, unsigned marker, std::size_t pos, int depth, Value& out) {
        std::uint64_t n = 0;
        const bool dict = (marker >> 4) == 0xD;
        if (depth > kMaxNesting)
            return bad("dictionaries and arrays nested deeper than " + std::to_string(kMaxNesting));
        if (onPath_[ref])
            return bad("a dictionary or array that holds itself");
        if (!length(pos, marker & 0xF, n) || n > (end_ - pos) / refSize_ / (dict ? 2 : 1))
            return bad("object " + std::to_string(ref) + " is cut short");
        out.kind = dict                   ? Value::Kind::Dictionary
                   : (marker >> 4) == 0xA ? Value::Kind::Array
                                          : Value::Kind::Set;
        // Asked for one key, the reader reads and checks every item of the top dictionary but keeps
        // only that one; the others pass through one scratch value whose memory is reused.
        const bool keepOne = only_ && depth == 0 && dict;
        if (!keepOne)
            out.items.resize(n);
        written_.addContainer(n);
        if (!within(dict ? 2 * n : n))
            return false;
        onPath_[ref] = true;
        if (dict) {
            out.keys.resize(n);
            for (std::uint64_t i = 0; i < n; ++i) {
                Value key;
                if (!object(BigEndian(data_ + pos + i * refSize_, refSize_), depth + 1, key))
                    return Unwind("(key " + std::to_string(i + 1) + ")");
                if (key.kind != Value::Kind::String) {
                    bad("a dictionary key that is not a text");
                    return Unwind("(key " + std::to_string(i + 1) + ")");
                }
                out.keys[i] = std::move(key.bytes);
            }
        }
        Value wanted;
        bool found = false;
        for (std::uint64_t i = 0; i < n; ++i) {
            const std::uint64_t at = pos + (dict ? n + i : i) * refSize_;
            Value* into = nullptr;
            if (!keepOne) {
                into = &out.items[i];
            } else if (out.keys[i] == *only_) {
                wanted = Value(); // a repeated key keeps its last value
                found = true;
                into = &wanted;
            } else {
                into = &Recycled();
            }
            if (!object(BigEndian(data_ + at, refSize_), depth + 1, *into))
                return Unwind(dict ? out.keys[i] : std::to_string(i));
        }
        onPath_[ref] = false;
        if (keepOne) {
            out.keys.clear();
            if (found) {
                out.keys.push_back(*only_);
                out.items.push_back(std::move(wanted));
            }
        } else if (dict) {
            KeepLastOfEachKey(out);
        }
        return true;
    }

    Value& Recycled() {
        scratch_.kind = Value::Kind::Null;
        scratch_.wide = false;
        scratch_.bits = 0;
        scratch_.bytes.clear();
        scratch_.items.clear();
        scratch_.keys.clear();
        return scratch_;
    }

    // The path of a failure is gathered on the way back up, so that a read that succeeds keeps
    // no path at all.
    bool Unwind(std::string step) {
        path_.insert(path_.begin(), std::move(step));
        return false;
    }

    const unsigned char* data_;
    std::size_t fileSize_, end_ = 0;
    unsigned offsetSize_ = 0, refSize_ = 0;
    std::uint64_t count_ = 0, table_ = 0;
    const std::string* only_;  // the one key of the top dictionary to keep, or null: all
    Value scratch_;            // where the items not kept are read
    std::vector<bool> onPath_; // the containers being read, to tell a cycle
    BinarySize written_;
    bool tooLarge_ = false;
    std::string problem_;
    std::vector<std::string> path_;
};

} // namespace

std::optional<Value> ReadBinary(const std::string& file, ReadFailure& failure,
                                const std::string* onlyKey) {
    return BinaryReader(file, onlyKey).read(failure);
}

} // namespace platform::internal
