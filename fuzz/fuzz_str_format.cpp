// Formats built from the input by a small grammar: literal runs and conversions with flags,
// widths, precisions, '*' counts, length modifiers and every conversion letter but 'n' (plus
// unknown letters, a '%' at the very end, a specification cut off by the end of the format, and
// prefixes in an order printf would not read). Each conversion is handed an argument of the type
// it takes. Checks:
//  - every numeric conversion gives what the C library gives for the same specification and
//    argument; string conversions give the precision-cut text; '!' gives the Str's bytes;
//  - more than two '*' raises ecFormatStars and keeps the text formatted before;
//  - a wide format gives the same text as the narrow one, with 's' and 'S' swapped in meaning;
//  - formatting the whole format at once gives the concatenation of its pieces (when every
//    argument has one type, so one argument list serves the whole format).
#include "FuzzCheck.h"
#include "base/Str.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

class Input {
public:
    Input(const std::uint8_t* p, std::size_t n) : p_(p), end_(p + n) {}
    bool More() const { return p_ < end_; }
    unsigned Byte() { return p_ < end_ ? *p_++ : 0u; }
    template <typename T> T Bits() {
        unsigned char raw[sizeof(T)] = {};
        for (unsigned char& b : raw)
            b = static_cast<unsigned char>(Byte());
        T v;
        std::memcpy(&v, raw, sizeof(T));
        return v;
    }

private:
    const std::uint8_t* p_;
    const std::uint8_t* end_;
};

enum class Kind { None, Int, Long, LongLong, Double, LongDouble, Narrow, Wide, StrPtr, Pointer };

struct Arg {
    Kind kind = Kind::None;
    int i = 0;
    long l = 0;
    long long ll = 0;
    double d = 0;
    long double ld = 0;
    std::string text;
    std::wstring wide;
    Str str;
    bool null = false;
    void* p = nullptr;
};

// One piece of the format: literal text followed by at most one conversion.
struct Piece {
    std::string literal;
    std::string prefix; // between '%' and the letter
    char letter = 0;    // 0: no conversion; 1: the format ends inside the conversion
    int stars[3] = {};
    int nstars = 0;
    bool canonical = true; // prefix in printf's own order
    Arg arg;
};

const char kLetters[] = "cCdiouxXeEfgGpsS!%qzjtwbkyAaFI";

std::string Literal(Input& in) {
    std::string t;
    const unsigned n = in.Byte() % 6;
    for (unsigned i = 0; i < n; ++i) {
        const unsigned b = in.Byte();
        // ASCII only: a wide format must narrow to the same text.
        const char c = static_cast<char>(b & 0x7f);
        t += (c == 0 || c == '%') ? '.' : c;
    }
    return t;
}

std::string Digits(Input& in) {
    const unsigned b = in.Byte();
    std::string d = std::to_string(b % 8 == 7 ? 100 + b : b % 40);
    return d;
}

// Type of the value a letter takes with the given prefix, as this platform's printf reads it.
Kind KindOf(char letter, const std::string& prefix, bool wideFormat) {
    int ls = 0;
    bool bigL = false;
    for (char c : prefix) {
        ls += c == 'l';
        bigL = bigL || c == 'L';
    }
    const int length = bigL ? 2 : ls >= 2 ? 2 : ls;
    if (letter == 'c' || letter == 'C')
        return Kind::Int;
    if (std::strchr("diouxX", letter))
        return length == 0 ? Kind::Int : length == 1 ? Kind::Long : Kind::LongLong;
    if (std::strchr("eEfgG", letter))
        return length == 2 ? Kind::LongDouble : Kind::Double;
    if (letter == 'p')
        return Kind::Pointer;
    if (letter == 's' || letter == 'S')
        return ((letter == 's') == !wideFormat) ? Kind::Narrow : Kind::Wide;
    if (letter == '!')
        return Kind::StrPtr;
    return Kind::None;
}

bool TakesStars(char letter) {
    return letter != '!' && std::strchr("cCdiouxXeEfgGpsS", letter) != nullptr;
}

void FillArg(Input& in, Arg& a, char letter) {
    switch (a.kind) {
    case Kind::Int:
        a.i = (letter == 'c' || letter == 'C') ? 1 + static_cast<int>(in.Byte() % 126)
                                               : in.Bits<int>();
        break;
    case Kind::Long:
        a.l = in.Bits<long>();
        break;
    case Kind::LongLong:
        a.ll = in.Bits<long long>();
        break;
    case Kind::Double:
        a.d = in.Bits<double>();
        break;
    case Kind::LongDouble:
        a.ld = in.Bits<double>();
        break;
    case Kind::Narrow:
    case Kind::Wide:
    case Kind::StrPtr: {
        a.null = in.Byte() % 8 == 0;
        const unsigned n = in.Byte() % 20;
        for (unsigned k = 0; k < n; ++k) {
            const char c = static_cast<char>(' ' + in.Byte() % 95);
            a.text += c;
            a.wide += static_cast<wchar_t>(c);
        }
        a.str = a.text.c_str();
        if (in.Byte() % 4 == 0) {
            // A Str may hold zero bytes; '!' copies them all.
            const char zero = 0;
            a.str.AppendChars(&zero, 1);
            a.str += "z";
        }
        break;
    }
    case Kind::Pointer:
        a.p = reinterpret_cast<void*>(in.Bits<std::uintptr_t>());
        break;
    case Kind::None:
        break;
    }
}

Piece ReadPiece(Input& in, bool last) {
    Piece pc;
    pc.literal = Literal(in);
    const unsigned shape = in.Byte();
    if (shape % 8 == 0 && !last)
        return pc;
    std::string flags;
    for (unsigned n = in.Byte() % 4; n > 0; --n)
        flags += "-+ 0#"[in.Byte() % 5];
    std::string width;
    switch (in.Byte() % 4) {
    case 1:
        width = Digits(in);
        if (width[0] == '0')
            width.erase(0, 1);
        break;
    case 2:
        width = "*";
        break;
    default:
        break;
    }
    std::string precision;
    switch (in.Byte() % 5) {
    case 1:
        precision = ".";
        break;
    case 2:
        precision = "." + Digits(in);
        break;
    case 3:
        precision = ".*";
        break;
    default:
        break;
    }
    static const char* const kModifiers[] = {"", "", "h", "hh", "l", "ll", "L"};
    const std::string modifier = kModifiers[in.Byte() % 7];
    pc.prefix = flags + width + precision + modifier;
    const unsigned extra = in.Byte();
    if (extra % 16 == 0)
        pc.prefix += "***"; // more stars than any conversion takes
    if (extra % 16 == 1 && pc.prefix.size() > 1) {
        // Same characters, an order printf would not read.
        std::swap(pc.prefix[0], pc.prefix[pc.prefix.size() - 1]);
        pc.canonical = false;
    }
    if (last && shape % 8 == 0) {
        pc.letter = 1;
        return pc;
    }
    pc.letter = kLetters[in.Byte() % (sizeof(kLetters) - 1)];
    if (TakesStars(pc.letter))
        for (char c : pc.prefix)
            if (c == '*') {
                if (pc.nstars < 3)
                    pc.stars[pc.nstars] = static_cast<int>(in.Byte() % 64) - 16;
                ++pc.nstars;
            }
    return pc;
}

std::string FormatText(const Piece& pc) {
    std::string f = pc.literal;
    if (pc.letter != 0)
        f += "%" + pc.prefix;
    if (pc.letter > 1)
        f += pc.letter;
    return f;
}

// Calls f with the value of a, as the type the conversion reads.
template <typename F> void WithValue(const Arg& a, F f) {
    switch (a.kind) {
    case Kind::None:
        f();
        break;
    case Kind::Int:
        f(a.i);
        break;
    case Kind::Long:
        f(a.l);
        break;
    case Kind::LongLong:
        f(a.ll);
        break;
    case Kind::Double:
        f(a.d);
        break;
    case Kind::LongDouble:
        f(a.ld);
        break;
    case Kind::Narrow:
        f(a.null ? static_cast<const char*>(nullptr) : a.text.c_str());
        break;
    case Kind::Wide:
        f(a.null ? static_cast<const wchar_t*>(nullptr) : a.wide.c_str());
        break;
    case Kind::StrPtr:
        f(a.null ? static_cast<const Str*>(nullptr) : &a.str);
        break;
    case Kind::Pointer:
        f(a.p);
        break;
    }
}

// Calls f with the piece's '*' values (at most three) and then its value.
template <typename F> void WithArgs(const Piece& pc, F f) {
    WithValue(pc.arg, [&](auto... v) {
        switch (pc.nstars < 3 ? pc.nstars : 3) {
        case 0:
            f(v...);
            break;
        case 1:
            f(pc.stars[0], v...);
            break;
        case 2:
            f(pc.stars[0], pc.stars[1], v...);
            break;
        default:
            f(pc.stars[0], pc.stars[1], pc.stars[2], v...);
            break;
        }
    });
}

std::string CLibrary(const std::string& spec, const Piece& pc) {
    std::string out;
    WithArgs(pc, [&](auto... v) {
        if constexpr (sizeof...(v) > 0) {
            const int n = std::snprintf(nullptr, 0, spec.c_str(), v...);
            FUZZ_CHECK(n >= 0);
            std::vector<char> buf(static_cast<std::size_t>(n) + 1);
            std::snprintf(buf.data(), buf.size(), spec.c_str(), v...);
            out.assign(buf.data(), static_cast<std::size_t>(n));
        }
    });
    return out;
}

// The text a conversion must produce, or false when only consistency can be checked.
bool Expected(const Piece& pc, std::string& want) {
    want = pc.literal;
    if (pc.letter == 1)
        return true;
    if (pc.letter == 0)
        return true;
    const char L = pc.letter;
    if (L == '!') {
        if (pc.arg.null)
            want += "(null)";
        else
            want.append(static_cast<const char*>(pc.arg.str),
                        static_cast<std::size_t>(pc.arg.str.GetLength()));
        return true;
    }
    if (L == 's' || L == 'S') {
        const std::string text = pc.arg.null ? "(null)" : pc.arg.text;
        long prec = -1;
        const std::size_t dot = pc.prefix.find('.');
        if (dot != std::string::npos && dot + 1 < pc.prefix.size()) {
            if (pc.prefix[dot + 1] == '*') {
                int before = 0;
                for (std::size_t k = 0; k < dot; ++k)
                    before += pc.prefix[k] == '*';
                prec = pc.stars[before];
            } else {
                prec = std::strtol(pc.prefix.c_str() + dot + 1, nullptr, 10);
            }
        }
        want += prec >= 0 && static_cast<std::size_t>(prec) < text.size()
                    ? text.substr(0, static_cast<std::size_t>(prec))
                    : text;
        return true;
    }
    if (!TakesStars(L)) {
        want += L;
        return true;
    }
    if (!pc.canonical)
        return false;
    want += CLibrary("%" + pc.prefix + L, pc);
    return true;
}

std::wstring Widen(const std::string& s) {
    return std::wstring(s.begin(), s.end());
}

void AppendPiece(Str& out, const std::string& f, const Piece& pc) {
    WithArgs(pc, [&](auto... v) { out.AppendFormat(f.c_str(), v...); });
}

// Formats one piece on its own in the narrow and the wide form; returns the text (or the text
// before the conversion when it raised ecFormatStars).
std::string OnePiece(const Piece& pc, const Piece& widePc, bool& threw) {
    const std::string f = FormatText(pc);
    Str narrow;
    threw = false;
    try {
        WithArgs(pc, [&](auto... v) { narrow.Format(f.c_str(), v...); });
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecFormatStars);
        threw = true;
    }
    FUZZ_CHECK(threw == (TakesStars(pc.letter) && pc.nstars > 2));
    if (threw)
        FUZZ_CHECK(narrow == pc.literal.c_str());

    const std::wstring wf = Widen(f);
    Str wide;
    try {
        WithArgs(widePc, [&](auto... v) { wide.Format(wf.c_str(), v...); });
        FUZZ_CHECK(!threw);
    } catch (const StrException& e) {
        FUZZ_CHECK(threw && e.code == Str::ecFormatStars);
    }
    FUZZ_CHECK(wide == narrow);

    std::string want;
    if (!threw && Expected(pc, want)) {
        if (!(narrow.GetLength() == static_cast<int>(want.size()) &&
              std::memcmp(static_cast<const char*>(narrow), want.data(), want.size()) == 0)) {
            std::fprintf(stderr, "format \"%s\": got \"%s\", want \"%s\"\n", f.c_str(),
                         static_cast<const char*>(narrow), want.c_str());
            FUZZ_CHECK(false);
        }
    }
    return std::string(narrow, static_cast<std::size_t>(narrow.GetLength()));
}

// One argument list for the whole format when every argument the format takes is an int, a
// double or a narrow string: the format is formatted at once and compared with its pieces.
template <typename T>
void Whole(const std::vector<Piece>& pieces, const std::string& want, T (*get)(const Piece&)) {
    std::vector<T> args;
    std::string f;
    for (const Piece& pc : pieces) {
        f += FormatText(pc);
        for (int k = 0; k < pc.nstars; ++k)
            args.push_back(static_cast<T>(pc.stars[k]));
        if (pc.arg.kind != Kind::None)
            args.push_back(get(pc));
    }
    if (args.size() > 8)
        return;
    args.resize(8);
    Str s;
    s.Format(f.c_str(), args[0], args[1], args[2], args[3], args[4], args[5], args[6], args[7]);
    FUZZ_CHECK(s.GetLength() == static_cast<int>(want.size()));
    FUZZ_CHECK(std::memcmp(static_cast<const char*>(s), want.data(), want.size()) == 0);
}

int IntOf(const Piece& pc) {
    return pc.arg.i;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    std::vector<Piece> pieces;
    auto read = [&](bool last) {
        Piece pc = ReadPiece(in, last);
        pc.arg.kind = pc.letter > 1 ? KindOf(pc.letter, pc.prefix, false) : Kind::None;
        FillArg(in, pc.arg, pc.letter);
        pieces.push_back(std::move(pc));
    };
    while (in.More() && pieces.size() < 6)
        read(false);
    if (in.Byte() % 4 == 0)
        read(true);

    std::string all;
    Str appended;
    bool stopped = false;
    bool allInts = true;
    for (const Piece& pc : pieces) {
        Piece widePc = pc;
        if (pc.arg.kind == Kind::Narrow)
            widePc.arg.kind = Kind::Wide;
        else if (pc.arg.kind == Kind::Wide)
            widePc.arg.kind = Kind::Narrow;
        bool threw = false;
        const std::string text = OnePiece(pc, widePc, threw);
        allInts = allInts && (pc.arg.kind == Kind::Int || pc.arg.kind == Kind::None) &&
                  pc.nstars <= 2 && pc.letter != 1;
        try {
            AppendPiece(appended, FormatText(pc), pc);
        } catch (const StrException&) {
            FUZZ_CHECK(threw);
        }
        all += text;
        FUZZ_CHECK(appended.GetLength() == static_cast<int>(all.size()));
        FUZZ_CHECK(std::memcmp(static_cast<const char*>(appended), all.data(), all.size()) == 0);
        if (threw || pc.letter == 1) {
            stopped = true;
            break;
        }
    }
    if (!stopped && allInts)
        Whole<int>(pieces, all, IntOf);
    return 0;
}
