// Differential run of the editing operations: the input is decoded into a sequence of operations on
// two strings, each applied to a Str and to a std::string model. After every step both strings
// must equal their models, sit on well-formed blocks, and an operation the model rejects must
// throw the expected code and leave the string as it was. The two strings are copied into each
// other along the way, so edits of shared blocks are exercised too.
#include "FuzzCheck.h"
#include "base/Str.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

namespace {

// Reads the operation stream; past the end every read gives zero.
class Input {
public:
    Input(const std::uint8_t* p, std::size_t n) : p_(p), end_(p + n) {}
    bool More() const { return p_ < end_; }
    unsigned Byte() { return p_ < end_ ? *p_++ : 0u; }
    // A small signed number, mostly near the lengths in play, sometimes far off or negative.
    int Number() {
        const unsigned b = Byte();
        switch (b >> 6) {
        case 0:
            return static_cast<int>(b & 63);
        case 1:
            return -static_cast<int>(b & 7) - 1;
        case 2:
            return static_cast<int>(b & 63) * 16;
        default:
            return (b & 1) ? 0x7fffffff : -0x7fffffff - 1;
        }
    }
    // A non-zero character; the operations search with strchr, so zero is never taken.
    char Char() {
        const unsigned b = Byte();
        return static_cast<char>(b == 0 ? 'a' : b);
    }
    // A short text without zero bytes, drawn from a small alphabet so that searches hit.
    std::string Text() {
        const unsigned n = Byte() % 24;
        std::string t;
        for (unsigned i = 0; i < n; ++i) {
            const unsigned b = Byte();
            t += (b & 0x80) ? static_cast<char>(b == 0x80 ? 'x' : b) : "ab \tXY/\r\n"[b % 9];
        }
        return t;
    }

private:
    const std::uint8_t* p_;
    const std::uint8_t* end_;
};

void CheckSame(const Str& s, const std::string& m) {
    FUZZ_CHECK(s.GetLength() == static_cast<int>(m.size()));
    const char* text = s;
    FUZZ_CHECK(std::memcmp(text, m.data(), m.size()) == 0);
    FUZZ_CHECK(text[m.size()] == 0);
    const StrImplementation::SBlock* b = StrImplementation::SBlock::of(text);
    FUZZ_CHECK((b->capacity & 63) == 63);
    FUZZ_CHECK(b->capacity >= b->length);
    FUZZ_CHECK(b->refCount >= 1);
}

// Runs op, which must throw code; the string must not change.
template <typename Op> void ExpectThrow(Str& s, const std::string& m, Str::StrEC code, Op op) {
    bool thrown = false;
    try {
        op();
    } catch (const StrException& e) {
        thrown = true;
        FUZZ_CHECK(e.code == code);
    }
    FUZZ_CHECK(thrown);
    CheckSame(s, m);
}

const char kDefaultSet[] = " \t\r\n";

void TrimLeftModel(std::string& m, const std::string& set) {
    m.erase(0, std::min(m.find_first_not_of(set), m.size()));
}

void TrimRightModel(std::string& m, const std::string& set) {
    const std::size_t last = m.find_last_not_of(set);
    m.erase(last == std::string::npos ? 0 : last + 1);
}

int ToInt(std::size_t n) {
    return n == std::string::npos ? -1 : static_cast<int>(n);
}

void Step(Input& in, Str* strs, std::string* models) {
    const unsigned op = in.Byte();
    const unsigned which = op & 1;
    Str& s = strs[which];
    std::string& m = models[which];
    const int len = static_cast<int>(m.size());
    switch ((op >> 1) % 30) {
    case 0: {
        const std::string t = in.Text();
        s += t.c_str();
        m += t;
        break;
    }
    case 1: {
        // A piece of the string's own text: the source lives in the block being grown.
        const int at = len ? static_cast<int>(in.Byte()) % (len + 1) : 0;
        const int n = static_cast<int>(in.Byte()) % (len - at + 1);
        const std::string piece =
            m.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(n));
        s.AppendChars(static_cast<const char*>(s) + at, n);
        m += piece;
        break;
    }
    case 2: {
        const char c = in.Char();
        s.AppendChar(c);
        m += c;
        break;
    }
    case 3: {
        const std::string t = in.Text();
        const int pos = in.Number();
        const int count = (in.Byte() & 1) ? -1 : in.Number();
        const std::size_t n =
            count == -1 ? t.size()
                        : std::min(t.size(), static_cast<std::size_t>(std::max(count, 0)));
        if (n != 0 && (pos < 0 || pos > len)) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.Insert(t.c_str(), pos, count); });
            return;
        }
        s.Insert(t.c_str(), pos, count);
        if (n != 0)
            m.insert(static_cast<std::size_t>(pos), t, 0, n);
        break;
    }
    case 4: {
        // Insertion of the string's own tail into itself.
        const int at = len ? static_cast<int>(in.Byte()) % len : 0;
        const int pos = len ? static_cast<int>(in.Byte()) % (len + 1) : 0;
        const std::string piece = m.substr(static_cast<std::size_t>(at));
        s.Insert(static_cast<const char*>(s) + at, pos, -1);
        m.insert(static_cast<std::size_t>(pos), piece);
        break;
    }
    case 5: {
        const int pos = in.Number();
        const int count = in.Number();
        if (pos < 0) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.Delete(pos, count); });
            return;
        }
        s.Delete(pos, count);
        if (pos >= len)
            m.clear();
        else
            m.erase(static_cast<std::size_t>(pos), static_cast<std::size_t>(std::max(count, 0)));
        break;
    }
    case 6: {
        const int n = in.Number();
        s.DeleteLeft(n);
        if (n >= len)
            m.clear();
        else if (n > 0)
            m.erase(0, static_cast<std::size_t>(n));
        break;
    }
    case 7: {
        const int n = std::max(in.Number(), 0);
        s.DeleteRight(n);
        m.resize(len > n ? static_cast<std::size_t>(len - n) : 0);
        break;
    }
    case 8: {
        const int n = std::max(in.Number(), 0);
        s.TruncateAt(n);
        if (len > n)
            m.resize(static_cast<std::size_t>(n));
        break;
    }
    case 9: {
        const char c = in.Char();
        const int removed = s.Remove(c);
        const std::size_t before = m.size();
        m.erase(std::remove(m.begin(), m.end(), c), m.end());
        FUZZ_CHECK(removed == static_cast<int>(before - m.size()));
        break;
    }
    case 10: {
        const int i = in.Number();
        const char c = in.Char();
        if (i < 0 || i >= len) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.SetAt(i, c); });
            return;
        }
        s.SetAt(i, c);
        m[static_cast<std::size_t>(i)] = c;
        break;
    }
    case 11: {
        const int pos = in.Number();
        const int count = in.Number();
        const std::string t = in.Text();
        if (count <= 0 || pos < 0 || pos > len - count) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.ReplaceAt(pos, count, t.c_str()); });
            return;
        }
        s.ReplaceAt(pos, count, t.c_str());
        m.replace(static_cast<std::size_t>(pos), static_cast<std::size_t>(count), t);
        break;
    }
    case 12: {
        // Replacement by a piece of the string's own text.
        if (len == 0)
            return;
        const int pos = static_cast<int>(in.Byte()) % len;
        const int count = 1 + static_cast<int>(in.Byte()) % (len - pos);
        const int at = static_cast<int>(in.Byte()) % len;
        const std::string piece = m.substr(static_cast<std::size_t>(at));
        s.ReplaceAt(pos, count, static_cast<const char*>(s) + at);
        m.replace(static_cast<std::size_t>(pos), static_cast<std::size_t>(count), piece);
        break;
    }
    case 13: {
        const unsigned kind = in.Byte() % 4;
        const std::string set = (kind == 0) ? std::string(kDefaultSet) : in.Text();
        const char* arg = kind == 0 ? nullptr : set.c_str();
        switch (in.Byte() % 3) {
        case 0:
            s.TrimLeft(arg);
            TrimLeftModel(m, set);
            break;
        case 1:
            s.TrimRight(arg);
            TrimRightModel(m, set);
            break;
        default:
            s.Trim(arg);
            TrimRightModel(m, set);
            TrimLeftModel(m, set);
            break;
        }
        break;
    }
    case 14: {
        const int start = in.Number();
        const int count = in.Number();
        if (start < 0) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.Mid(start, count); });
            return;
        }
        const Str r = s.Mid(start, count);
        CheckSame(r, count > 0 && start < len ? m.substr(static_cast<std::size_t>(start),
                                                         static_cast<std::size_t>(count))
                                              : std::string());
        break;
    }
    case 15: {
        const int n = in.Number();
        const Str r = s.Right(n);
        CheckSame(r, n < 0     ? std::string()
                     : len > n ? m.substr(static_cast<std::size_t>(len - n))
                               : m);
        break;
    }
    case 16: {
        const char c = in.Char();
        const int start = in.Number();
        if (start < 0 || start > len) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.Find(c, start); });
            return;
        }
        FUZZ_CHECK(s.Find(c, start) == ToInt(m.find(c, static_cast<std::size_t>(start))));
        break;
    }
    case 17: {
        const std::string t = in.Text();
        const int start = in.Number();
        if (start < 0) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.Find(t.c_str(), start); });
            return;
        }
        const int want = t.empty() ? -1 : ToInt(m.find(t, static_cast<std::size_t>(start)));
        FUZZ_CHECK(s.Find(t.c_str(), start) == want);
        break;
    }
    case 18: {
        const char c = in.Char();
        const int start = (in.Byte() & 1) ? -1 : in.Number();
        if (start != -1 && start >= len) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.ReverseFind(c, start); });
            return;
        }
        int want = -1;
        if (start == -1)
            want = ToInt(m.rfind(c));
        else if (start >= 0)
            want = ToInt(m.rfind(c, static_cast<std::size_t>(start)));
        FUZZ_CHECK(s.ReverseFind(c, start) == want);
        break;
    }
    case 19: {
        const std::string set = in.Text();
        const int start = in.Number();
        if (set.empty()) {
            ExpectThrow(s, m, Str::ecEmptyArg, [&] { s.FindOneOf(set.c_str(), start); });
            return;
        }
        if (start < 0 || (start >= 1 && start >= len)) {
            ExpectThrow(s, m, Str::ecIndexRange, [&] { s.FindOneOf(set.c_str(), start); });
            return;
        }
        FUZZ_CHECK(s.FindOneOf(set.c_str(), start) ==
                   ToInt(m.find_first_of(set, static_cast<std::size_t>(start))));
        break;
    }
    case 20:
        strs[which ^ 1] = s;
        models[which ^ 1] = m;
        break;
    case 21:
        strs[which ^ 1] = static_cast<const char*>(s);
        models[which ^ 1] = m;
        break;
    case 22:
        if (in.Byte() & 1)
            s.Empty();
        else
            s.Reset();
        m.clear();
        break;
    case 23: {
        const int n = std::max(in.Number(), 0);
        if (n == 0x7fffffff) {
            // A block that size cannot be described: the request fails and changes nothing.
            bool refused = false;
            try {
                s.Preallocate(n);
            } catch (const std::bad_alloc&) {
                refused = true;
            }
            FUZZ_CHECK(refused);
        } else {
            s.Preallocate(n);
        }
        break;
    }
    case 24:
        s.Compact(std::max(in.Number(), 0));
        break;
    case 25: {
        // Writing through the buffer: the old text stays, the new tail is what was written.
        const int n = static_cast<int>(in.Byte()) % 200;
        const char fill = in.Char();
        char* buffer = s.GetBufferSetLength(n);
        for (int i = len; i < n; ++i)
            buffer[i] = fill;
        m.resize(static_cast<std::size_t>(n), fill);
        break;
    }
    case 26: {
        const Str other = strs[which ^ 1];
        const std::string& om = models[which ^ 1];
        switch (in.Byte() % 4) {
        case 0:
            CheckSame(s + other, m + om);
            break;
        case 1:
            CheckSame(s + om.c_str(), m + om);
            break;
        case 2: {
            const char c = in.Char();
            CheckSame(s + c, m + c);
            CheckSame(c + s, c + m);
            break;
        }
        default:
            CheckSame(om.c_str() + s, om + m);
            break;
        }
        break;
    }
    case 27:
        s += strs[which ^ 1];
        m += models[which ^ 1];
        break;
    case 28:
        s.EndInSlash();
        if (!m.empty() && m.back() != '/')
            m += '/';
        break;
    default: {
        const bool upper = in.Byte() & 1;
        s.Str_MakeUL(upper ? 1 : 0);
        for (char& c : m)
            c = static_cast<char>(upper ? std::toupper(static_cast<unsigned char>(c))
                                        : std::tolower(static_cast<unsigned char>(c)));
        break;
    }
    }
    for (int k = 0; k < 2; ++k) {
        CheckSame(strs[k], models[k]);
        // Self-appends double the text; keep the run's memory bounded.
        if (models[k].size() > 65536) {
            strs[k].Reset();
            models[k].clear();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    Str strs[2];
    std::string models[2];
    for (int steps = 0; in.More() && steps < 400; ++steps)
        Step(in, strs, models);
    return 0;
}
