// The XML form of a property list, read through expat with the property-list rules applied on top,
// and written here.
//
// The rules a file must keep, or it is not read at all (never half read, never given a value it
// does not spell out):
// - one <plist> element holding exactly one value, which for a store file is a <dict>; after it
//   only white space, comments and processing instructions;
// - in a <dict>, <key> and one value alternate; <key/> is the empty key; a key repeated keeps its
//   first place and its last value; <key> appears nowhere else;
// - <integer>: decimal with an optional sign (leading zeros stay decimal) or 0x hexadecimal,
//   within 64 bits signed or unsigned; <real>: a decimal or inf/nan number; <date>:
//   YYYY-MM-DDTHH:MM:SSZ of an existing day; <data>: base64, white space anywhere, padding as
//   base64 has it; in all four the whole text is the number, white space around it aside;
// - <true/> and <false/> hold nothing; texts sit only inside <key>, <string>, <data> and the four
//   above; no entity declarations and no entity the document does not define.

#include "platform/internal/Calendar.h"
#include "platform/internal/PropertyList.h"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace platform::internal {

namespace {

bool IsXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string Trimmed(const std::string& text) {
    std::size_t begin = 0, end = text.size();
    while (begin < end && IsXmlSpace(text[begin]))
        ++begin;
    while (end > begin && IsXmlSpace(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

// A text as messages quote it: at most 24 bytes, the rest elided.
std::string Quote(const std::string& text) {
    return "'" + (text.size() > 24 ? text.substr(0, 24) + "..." : text) + "'";
}

bool ParseInteger(const std::string& text, Value& out) {
    const std::string t = Trimmed(text);
    std::size_t i = 0;
    const bool negative = i < t.size() && t[i] == '-';
    if (i < t.size() && (t[i] == '-' || t[i] == '+'))
        ++i;
    int base = 10;
    if (t.size() - i > 2 && t[i] == '0' && (t[i + 1] == 'x' || t[i + 1] == 'X')) {
        base = 16;
        i += 2;
    }
    std::uint64_t magnitude = 0;
    const char* first = t.data() + i;
    const char* last = t.data() + t.size();
    if (first == last || *first == '+' || *first == '-')
        return false;
    auto [end, error] = std::from_chars(first, last, magnitude, base);
    if (error != std::errc() || end != last)
        return false;
    if (negative && magnitude > (std::uint64_t{1} << 63))
        return false;
    out = Value::Number(0);
    out.bits = negative ? ~magnitude + 1 : magnitude;
    out.wide = !negative && (magnitude >> 63);
    return true;
}

bool ParseReal(const std::string& text, Value& out) {
    std::string t = Trimmed(text);
    if (!t.empty() && t[0] == '+') {
        t.erase(0, 1);
        if (!t.empty() && t[0] == '-')
            return false;
    }
    double number = 0;
    auto [end, error] = std::from_chars(t.data(), t.data() + t.size(), number);
    if (error != std::errc() || end != t.data() + t.size())
        return false;
    out = Value::Double(number);
    return true;
}

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Strict base64: white space anywhere, '=' only to pad the last group, no bits left over.
bool DecodeBase64(const std::string& text, std::string& out) {
    std::uint32_t group = 0;
    int sextets = 0, padding = 0;
    for (char c : text) {
        if (IsXmlSpace(c))
            continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const char* at = c ? std::strchr(kBase64, c) : nullptr;
        if (!at || padding)
            return false;
        group = group << 6 | static_cast<std::uint32_t>(at - kBase64);
        if (++sextets == 4) {
            out += static_cast<char>(group >> 16);
            out += static_cast<char>(group >> 8);
            out += static_cast<char>(group);
            sextets = 0;
            group = 0;
        }
    }
    if (sextets == 0)
        return padding == 0;
    if (sextets == 1 || (padding && sextets + padding != 4))
        return false;
    const int bits = 6 * sextets, bytes = bits / 8;
    if (group & ((1u << (bits - 8 * bytes)) - 1))
        return false; // bits the last byte does not use must be zero
    for (int i = bytes - 1; i >= 0; --i)
        out += static_cast<char>(group >> (bits - 8 * bytes + 8 * i));
    return true;
}

std::string EncodeBase64(const std::string& bytes) {
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= n ? kBase64[(group >> (18 - 6 * k)) & 0x3F] : '=';
    }
    return out;
}

class XmlReader {
public:
    XmlReader() : parser_(XML_ParserCreate(nullptr)) {
        XML_SetUserData(parser_, this);
        XML_SetElementHandler(parser_, &XmlReader::Start, &XmlReader::End);
        XML_SetCharacterDataHandler(parser_, &XmlReader::Text);
        XML_SetEntityDeclHandler(parser_, &XmlReader::EntityDeclared);
        XML_SetSkippedEntityHandler(parser_, &XmlReader::EntitySkipped);
    }
    ~XmlReader() { XML_ParserFree(parser_); }
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    std::optional<Value> read(const std::string& file, ReadFailure& failure) {
        failure = ReadFailure();
        if (!parser_) {
            failure = {ReadError::Unparsable, "out of memory"};
            return std::nullopt;
        }
        const bool parsed = XML_Parse(parser_, file.data(), static_cast<int>(file.size()),
                                      XML_TRUE) == XML_STATUS_OK;
        if (tooLarge_ || (parsed && problem_.empty() && written_.total() >= kStoreFileLimit)) {
            failure = {ReadError::TooLarge, "it would take more than the limit of " +
                                                StoreFileLimitText() + " once written"};
            return std::nullopt;
        }
        if (!problem_.empty() || !parsed) {
            const std::string why =
                problem_.empty() ? XML_ErrorString(XML_GetErrorCode(parser_)) : problem_;
            failure = {ReadError::Unparsable,
                       "line " + std::to_string(line_ ? line_ : Line()) + ": " + why};
            return std::nullopt;
        }
        if (!root_) {
            failure = {ReadError::Unparsable, "its <plist> holds no value"};
            return std::nullopt;
        }
        if (root_->kind != Value::Kind::Dictionary) {
            failure = {ReadError::Unparsable, "its top value is not a <dict>"};
            return std::nullopt;
        }
        return std::move(root_);
    }

private:
    enum class Element { Plist, Dict, Array, Key, String, Data, Date, Integer, Real, True, False };

    struct Frame {
        Element element;
        Value value;
        std::string text;
        std::optional<std::string> key; // Dict: the key whose value comes next
    };

    static std::optional<Element> ElementNamed(const char* name) {
        static const std::pair<const char*, Element> names[] = {
            {"plist", Element::Plist}, {"dict", Element::Dict},       {"array", Element::Array},
            {"key", Element::Key},     {"string", Element::String},   {"data", Element::Data},
            {"date", Element::Date},   {"integer", Element::Integer}, {"real", Element::Real},
            {"true", Element::True},   {"false", Element::False}};
        for (const auto& [text, element] : names)
            if (std::strcmp(text, name) == 0)
                return element;
        return std::nullopt;
    }
    static bool HoldsValues(Element e) {
        return e == Element::Plist || e == Element::Dict || e == Element::Array;
    }

    unsigned long Line() const {
        return static_cast<unsigned long>(XML_GetCurrentLineNumber(parser_));
    }

    // Stops the parse with `problem`, naming the key path of the value being read.
    void fail(const std::string& problem) {
        if (!problem_.empty())
            return;
        std::vector<std::string> path;
        for (const Frame& frame : stack_) {
            if (frame.element == Element::Dict && frame.key)
                path.push_back(*frame.key);
            else if (frame.element == Element::Array)
                path.push_back(std::to_string(frame.value.items.size()));
        }
        problem_ = problem + (path.empty() ? "" : " at " + KeyPathText(path));
        line_ = Line();
        XML_StopParser(parser_, XML_FALSE);
    }

    void start(const char* name) {
        const auto element = ElementNamed(name);
        if (!element)
            return fail("unknown element <" + std::string(name) + ">");
        if (stack_.empty()) {
            if (*element != Element::Plist)
                return fail("the document is <" + std::string(name) + ">, not <plist>");
        } else {
            Frame& parent = stack_.back();
            if (!HoldsValues(parent.element))
                return fail("<" + std::string(name) + "> inside a value that holds text");
            if (*element == Element::Plist)
                return fail("<plist> inside <plist>");
            if (parent.element == Element::Plist && (root_ || parent.key))
                return fail("a second value in <plist>");
            if (parent.element == Element::Dict && !parent.key && *element != Element::Key)
                return fail("<" + std::string(name) + "> where a <key> belongs");
            if (parent.element == Element::Dict && parent.key && *element == Element::Key)
                return fail("<key> " + Quote(*parent.key) + " has no value");
            if (parent.element != Element::Dict && *element == Element::Key)
                return fail("<key> outside a <dict>");
            if (parent.element == Element::Plist)
                parent.key = std::string(); // the one value has begun
        }
        if ((*element == Element::Dict || *element == Element::Array) && ++depth_ > kMaxNesting + 1)
            return fail("dictionaries and arrays nested deeper than " +
                        std::to_string(kMaxNesting));
        stack_.push_back({*element, Value(), {}, {}});
    }

    void text(const char* text, int length) {
        if (stack_.empty())
            return;
        Frame& frame = stack_.back();
        if (HoldsValues(frame.element) || frame.element == Element::True ||
            frame.element == Element::False) {
            const std::string chunk(text, static_cast<std::size_t>(length));
            if (!std::all_of(chunk.begin(), chunk.end(), IsXmlSpace))
                fail("the text " + Quote(Trimmed(chunk)) + " outside a value");
            return;
        }
        frame.text.append(text, static_cast<std::size_t>(length));
    }

    void end() {
        if (stack_.back().element == Element::Dict && stack_.back().key)
            return fail("<key> " + Quote(*stack_.back().key) + " has no value");
        Frame frame = std::move(stack_.back());
        stack_.pop_back();
        Value& value = frame.value;
        switch (frame.element) {
        case Element::Plist:
            return;
        case Element::Key:
            written_.addKey(frame.text);
            stack_.back().key = std::move(frame.text);
            return checkSize();
        case Element::Dict:
            value.kind = Value::Kind::Dictionary;
            KeepLastOfEachKey(value);
            --depth_;
            break;
        case Element::Array:
            value.kind = Value::Kind::Array;
            --depth_;
            break;
        case Element::String:
            value = Value::Text(std::move(frame.text));
            break;
        case Element::Data:
            value = Value::Blob({});
            if (!DecodeBase64(frame.text, value.bytes))
                return fail("<data> that is not base64");
            break;
        case Element::Date: {
            const auto seconds = ParseDate(Trimmed(frame.text), false);
            if (!seconds)
                return fail("<date> " + Quote(frame.text) + " is not YYYY-MM-DDTHH:MM:SSZ");
            value = Value::Moment(*seconds);
            break;
        }
        case Element::Integer:
            if (!ParseInteger(frame.text, value))
                return fail("<integer> " + Quote(frame.text) + " is not a 64-bit integer");
            break;
        case Element::Real:
            if (!ParseReal(frame.text, value))
                return fail("<real> " + Quote(frame.text) + " is not a number");
            break;
        case Element::True:
        case Element::False:
            value = Value::Flag(frame.element == Element::True);
            break;
        }
        written_.addValue(value);
        Frame& parent = stack_.back();
        if (parent.element == Element::Plist) {
            root_ = std::move(value);
        } else {
            if (parent.element == Element::Dict)
                parent.value.keys.push_back(std::move(*parent.key));
            parent.key.reset();
            parent.value.items.push_back(std::move(value));
        }
        checkSize();
    }

    void checkSize() {
        if (written_.atLeast() >= kStoreFileLimit && !tooLarge_) {
            tooLarge_ = true;
            XML_StopParser(parser_, XML_FALSE);
        }
    }

    // A stopped parser may still report what it had already read; that is ignored.
    bool stopped() const { return !problem_.empty() || tooLarge_; }
    static void XMLCALL Start(void* self, const XML_Char* name, const XML_Char**) {
        if (auto* reader = static_cast<XmlReader*>(self); !reader->stopped())
            reader->start(name);
    }
    // expat has checked that every end tag matches its start tag.
    static void XMLCALL End(void* self, const XML_Char*) {
        if (auto* reader = static_cast<XmlReader*>(self); !reader->stopped())
            reader->end();
    }
    static void XMLCALL Text(void* self, const XML_Char* text, int length) {
        if (auto* reader = static_cast<XmlReader*>(self); !reader->stopped())
            reader->text(text, length);
    }
    static void XMLCALL EntityDeclared(void* self, const XML_Char* name, int, const XML_Char*, int,
                                       const XML_Char*, const XML_Char*, const XML_Char*,
                                       const XML_Char*) {
        static_cast<XmlReader*>(self)->fail("a declaration of the entity &" + std::string(name) +
                                            ";");
    }
    static void XMLCALL EntitySkipped(void* self, const XML_Char* name, int) {
        static_cast<XmlReader*>(self)->fail("the undefined entity &" + std::string(name) + ";");
    }

    XML_Parser parser_;
    std::vector<Frame> stack_;
    std::optional<Value> root_;
    int depth_ = 0; // open <dict> and <array> elements
    BinarySize written_;
    bool tooLarge_ = false;
    std::string problem_;
    unsigned long line_ = 0;
};

class XmlWriter {
public:
    std::optional<std::string> write(const Value& root, std::string& error) {
        out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
        if (!value(root, 0)) {
            error = problem_ + (path_.empty() ? "" : " at " + KeyPathText(path_));
            return std::nullopt;
        }
        out_ += "</plist>\n";
        return std::move(out_);
    }

private:
    bool bad(std::string problem) {
        problem_ = std::move(problem);
        return false;
    }
    bool unwind(std::string step) {
        path_.insert(path_.begin(), std::move(step));
        return false;
    }

    // XML 1.0 has no way to write the other control characters, nor U+FFFE and U+FFFF; a
    // carriage return is written as a reference, since readers turn a raw one into a line feed.
    bool escaped(const std::string& text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            const auto c = static_cast<unsigned char>(text[i]);
            if (c == '&')
                out_ += "&amp;";
            else if (c == '<')
                out_ += "&lt;";
            else if (c == '>')
                out_ += "&gt;";
            else if (c == '\r')
                out_ += "&#13;";
            else if ((c < 0x20 && c != '\t' && c != '\n') ||
                     (c == 0xEF && text.compare(i + 1, 2, "\xBF\xBE") == 0) ||
                     (c == 0xEF && text.compare(i + 1, 2, "\xBF\xBF") == 0))
                return bad("a text with a control character, which XML cannot carry");
            else
                out_ += static_cast<char>(c);
        }
        return true;
    }

    bool element(int indent, const char* name, const std::string& text, bool escape = true) {
        out_.append(static_cast<std::size_t>(indent), '\t');
        out_ += std::string("<") + name + ">";
        if (!escape)
            out_ += text;
        else if (!escaped(text))
            return false;
        out_ += std::string("</") + name + ">\n";
        return true;
    }

    bool value(const Value& v, int indent) {
        using Kind = Value::Kind;
        const std::string tabs(static_cast<std::size_t>(indent), '\t');
        switch (v.kind) {
        case Kind::Boolean:
            out_ += tabs + (v.bits ? "<true/>\n" : "<false/>\n");
            return true;
        case Kind::Integer:
            return element(indent, "integer",
                           v.wide ? std::to_string(v.bits)
                                  : std::to_string(static_cast<std::int64_t>(v.bits)),
                           false);
        case Kind::Real: {
            char text[32];
            auto result = std::to_chars(text, text + sizeof text, v.real());
            return element(indent, "real", std::string(text, result.ptr), false);
        }
        case Kind::Date: {
            const auto text = IsoDate(v.real());
            if (!text)
                return bad("a date that is not a whole second of the years 1 to 9999");
            return element(indent, "date", *text, false);
        }
        case Kind::Data:
            return element(indent, "data", EncodeBase64(v.bytes), false);
        case Kind::String:
            return element(indent, "string", v.bytes);
        case Kind::Null:
            return bad("a null, which XML has no element for");
        case Kind::Uid:
            return bad("a UID, which XML has no element for");
        case Kind::Set:
            return bad("a set, which XML has no element for");
        case Kind::Array:
        case Kind::Dictionary: {
            const bool dict = v.kind == Kind::Dictionary;
            const char* name = dict ? "dict" : "array";
            if (v.items.empty()) {
                out_ += tabs + "<" + name + "/>\n";
                return true;
            }
            out_ += tabs + "<" + name + ">\n";
            for (std::size_t i = 0; i < v.items.size(); ++i) {
                if (dict && !element(indent + 1, "key", v.keys[i]))
                    return unwind(v.keys[i]);
                if (!value(v.items[i], indent + 1))
                    return unwind(dict ? v.keys[i] : std::to_string(i));
            }
            out_ += tabs + "</" + name + ">\n";
            return true;
        }
        }
        return true;
    }

    std::string out_, problem_;
    std::vector<std::string> path_;
};

} // namespace

std::optional<Value> ReadXml(const std::string& file, ReadFailure& failure) {
    return XmlReader().read(file, failure);
}

std::optional<std::string> WriteXml(const Value& root, std::string& error) {
    return XmlWriter().write(root, error);
}

} // namespace platform::internal
