// BFilename.cpp — components, delimiters, the storage and catalog forms, SetPath, the text
// utilities, the serialised form and the path operations. Nothing here touches the file system.
#include "base/BFilename.h"

#include "base/BMemFile.h"
#include "base/StrList.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

constexpr char kTab = '\t';
constexpr char kDefaultOS = '/';
constexpr char kDefaultMAC = '/';
constexpr char kDefaultWIN = '\\';
// Longest path SetPath accepts; longer ones leave the object unchanged.
constexpr std::size_t kMaxPath = 2048;

// The n characters at p as a string.
Str Slice(const char* p, std::size_t n) {
    Str s;
    if (n > 0)
        s.AppendChars(p, static_cast<int>(n));
    return s;
}

bool IsCatalogDelimiter(char c) {
    return c == '/' || c == '\\';
}

// Index of the last '/' or '\' among text[0 .. limit), or npos.
std::size_t LastCatalogDelimiter(const char* text, std::size_t limit) {
    for (std::size_t i = limit; i > 0; --i) {
        if (IsCatalogDelimiter(text[i - 1]))
            return i - 1;
    }
    return std::string::npos;
}

// Splits text[0 .. n) at its last '/' or '\' other than the final character into a head (through
// the delimiter) and a tail; without such a delimiter the head is empty.
void SplitCatalogPath(const char* text, std::size_t n, Str& head, Str& tail) {
    const std::size_t split = n > 0 ? LastCatalogDelimiter(text, n - 1) : std::string::npos;
    if (split == std::string::npos) {
        tail = Slice(text, n);
        return;
    }
    head = Slice(text, split + 1);
    tail = Slice(text + split + 1, n - split - 1);
}

// Cuts a disk name off text[0 .. n) at its first tab: the disk name is everything after the tab
// and n becomes the length before it.
void CutDiskName(const char* text, std::size_t& n, Str& disk) {
    const void* tab = std::memchr(text, kTab, n);
    if (tab == nullptr)
        return;
    const std::size_t at = static_cast<const char*>(tab) - text;
    disk = Slice(text + at + 1, n - at - 1);
    n = at;
}

// Leading decimal value of text as the C library's atoi reads it (white space, sign, digits), but
// wrapping in 32 bits instead of overflowing.
int LeadingNumber(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r'))
        ++text;
    bool negative = false;
    if (*text == '+' || *text == '-')
        negative = *text++ == '-';
    std::uint32_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        value = value * 10u + static_cast<std::uint32_t>(*text - '0');
    if (negative)
        value = 0u - value;
    return static_cast<int>(value);
}

// The storage string of the given components, as GetStorageString renders it.
Str StorageOf(const Str& directory, const Str& zipName, const Str& zipPath, const Str& fileName,
              const Str& diskName) {
    // Sized once, so the five pieces are copied without a further block.
    Str s;
    s.Preallocate(directory.GetLength() + zipName.GetLength() + zipPath.GetLength() +
                  fileName.GetLength() + diskName.GetLength() + 4);
    s += directory;
    for (const Str* field : {&zipName, &zipPath, &fileName, &diskName}) {
        s.AppendChar(kTab);
        s += *field;
    }
    return s;
}

} // namespace

BFilename::BFilename()
    : m_OSDelimiter(kDefaultOS), m_MACDelimiter(kDefaultMAC), m_WINDelimiter(kDefaultWIN) {}

BFilename::BFilename(Str text) : BFilename() {
    SetStorageString(text);
}

BFilename::BFilename(const BFilename& source) : BFilename() {
    operator=(source);
}

BFilename::~BFilename() = default;

BFilename& BFilename::operator=(const BFilename& source) {
    if (&source == this)
        return *this;
    BFilenameHelper();
    m_DiskName = source.m_DiskName;
    m_FileName = source.m_FileName;
    m_ZipName = source.m_ZipName;
    m_ZipPath = source.m_ZipPath;
    m_Directory = source.m_Directory;
    m_metaData.RemoveAll();
    m_metaData += source.m_metaData;
    BMetaData::operator=(source);
    return *this;
}

BFilename& BFilename::BFilenameHelper() {
    m_OSDelimiter = kDefaultOS;
    m_MACDelimiter = kDefaultMAC;
    m_WINDelimiter = kDefaultWIN;
    return *this;
}

char BFilename::OSDelimiter(char delimiter) {
    if (delimiter != 0)
        m_OSDelimiter = delimiter;
    return m_OSDelimiter;
}

char BFilename::MACDelimiter(char delimiter) {
    if (delimiter != 0)
        m_MACDelimiter = delimiter;
    return m_MACDelimiter;
}

char BFilename::WINDelimiter(char delimiter) {
    if (delimiter != 0)
        m_WINDelimiter = delimiter;
    return m_WINDelimiter;
}

void BFilename::Clear() {
    m_ZipName.Reset();
    m_ZipPath.Reset();
    m_DiskName.Reset();
    m_FileName.Reset();
    m_Directory.Reset();
}

Str BFilename::GetFileName() const {
    return m_FileName;
}

Str BFilename::GetZipName() const {
    return m_ZipName;
}

void BFilename::SetZipName(char const* name) {
    m_ZipName = Slice(name, name ? std::strlen(name) : 0);
}

Str BFilename::GetDiskName() const {
    return m_DiskName;
}

void BFilename::SetDiskName(char const* name) {
    m_DiskName = Slice(name, name ? std::strlen(name) : 0);
}

bool BFilename::IsAZip() const {
    return !m_ZipName.IsEmpty();
}

Str BFilename::GetExtension() const {
    const char* dot = std::strrchr(m_FileName, '.');
    return dot ? Str(dot + 1) : Str();
}

bool BFilename::IsA(char const* extension) const {
    if (extension == nullptr)
        extension = "";
    if (*extension == '.')
        ++extension;
    // GetExtension's text, read in place.
    const char* dot = std::strrchr(m_FileName, '.');
    return StrImplementation::STR_stricmp_ex(extension, dot ? dot + 1 : "") == 0;
}

Str BFilename::GetStorageString() const {
    return StorageOf(m_Directory, m_ZipName, m_ZipPath, m_FileName, m_DiskName);
}

void BFilename::SetStorageString(char const* text) {
    Clear();
    if (text == nullptr || std::strchr(text, kTab) == nullptr) {
        SetPath(text);
        return;
    }
    const char* tab = std::strchr(text, kTab);
    m_Directory = Slice(text, tab - text);
    const char* rest = tab + 1;
    // Middle fields are taken only while a tab ends them; a missing tab leaves them empty and
    // keeps the remainder for the disk name.
    for (Str* field : {&m_ZipName, &m_ZipPath, &m_FileName}) {
        tab = std::strchr(rest, kTab);
        if (tab == nullptr)
            break;
        *field = Slice(rest, tab - rest);
        rest = tab + 1;
    }
    if (*rest == 0)
        return;
    tab = std::strchr(rest, kTab);
    if (tab == nullptr || tab == rest)
        m_DiskName = rest;
    else
        m_DiskName = Slice(rest, tab - rest);
}

Str BFilename::GetCatalogString() const {
    Str s;
    if (IsAZip()) {
        s = "Zip:";
        s += m_Directory;
        s += m_ZipName;
        s.AppendChar(':');
        s += m_ZipPath;
        s += m_FileName;
    } else {
        s = m_Directory;
        s += m_FileName;
    }
    if (!m_DiskName.IsEmpty()) {
        s.AppendChar(kTab);
        s += m_DiskName;
    }
    return s;
}

void BFilename::SetCatalogString(char const* text) {
    Clear();
    if (text == nullptr)
        return;
    if (std::strncmp(text, "Zip:", 4) != 0) {
        std::size_t n = std::strlen(text);
        CutDiskName(text, n, m_DiskName);
        SplitCatalogPath(text, n, m_Directory, m_FileName);
        return;
    }
    // The archive part ends at the first ':' from position 2 on, so a drive letter's colon is
    // skipped. Fewer than two characters after the prefix raise ecIndexRange from the search.
    const Str remainder(text + 4);
    const int colon = remainder.Find(':', 2);
    const char* rest = remainder;
    const std::size_t archiveLength = colon < 0 ? static_cast<std::size_t>(remainder.GetLength())
                                                : static_cast<std::size_t>(colon);
    const std::size_t split = LastCatalogDelimiter(rest, archiveLength);
    if (split == std::string::npos) {
        m_ZipName = Slice(rest, archiveLength);
    } else {
        m_Directory = Slice(rest, split + 1);
        m_ZipName = Slice(rest + split + 1, archiveLength - split - 1);
    }
    if (colon < 0)
        return;
    const char* member = rest + colon + 1;
    std::size_t n = std::strlen(member);
    CutDiskName(member, n, m_DiskName);
    SplitCatalogPath(member, n, m_ZipPath, m_FileName);
}

Str BFilename::GetPath() const {
    return m_Directory + m_FileName;
}

void BFilename::SetPath(char const* path) {
    if (path == nullptr) {
        m_FileName.Reset();
        m_Directory.Reset();
        return;
    }
    const std::size_t n = std::strlen(path);
    if (n == 0 || n > kMaxPath)
        return;
    // The working copy lives on the stack, and the delimiters are converted in it directly rather
    // than through PathForOS, whose returned copy nothing here would use.
    char work[kMaxPath + 1];
    std::memcpy(work, path, n + 1);
    ReplaceChar(work, m_MACDelimiter, m_OSDelimiter);
    ReplaceChar(work, m_WINDelimiter, m_OSDelimiter);
    const char* split = std::strrchr(work, m_OSDelimiter);
    Str directory;
    if (split == nullptr) {
        m_FileName = StripIllegals(work);
    } else {
        directory = Slice(work, split - work + 1);
        m_FileName = StripIllegals(split + 1);
    }
    if (IsA("zip")) {
        m_ZipName = m_FileName;
        m_FileName.Reset();
    }
    // A directory that already ends with a delimiter is what VerifyBackslash would copy.
    m_Directory = EndsWithDelimiter(directory) ? directory : VerifyBackslash(directory);
}

void BFilename::ReplaceChar(char* text, char from, char to) const {
    if (text == nullptr || from == to)
        return;
    for (; *text; ++text) {
        if (*text == from)
            *text = to;
    }
}

Str BFilename::PathForOS(char* text) const {
    if (text == nullptr)
        return Str();
    ReplaceChar(text, m_MACDelimiter, m_OSDelimiter);
    ReplaceChar(text, m_WINDelimiter, m_OSDelimiter);
    return Str(text);
}

bool BFilename::EndsWithDelimiter(char const* text) const {
    if (text == nullptr || *text == 0)
        return false;
    const char last = text[std::strlen(text) - 1];
    return last == m_MACDelimiter || last == m_WINDelimiter;
}

Str BFilename::VerifyBackslash(char const* text) const {
    if (text == nullptr || *text == 0)
        return Str();
    Str s(text);
    if (!EndsWithDelimiter(text))
        s.AppendChar(m_OSDelimiter);
    return s;
}

Str BFilename::StripIllegals(char const* text) const {
    Str s;
    if (text == nullptr)
        return s;
    for (const char* run = text;; ++run) {
        const std::size_t n = std::strcspn(run, "\\/:*?<>|");
        if (n > 0)
            s.AppendChars(run, static_cast<int>(n));
        run += n;
        if (*run == 0)
            break;
    }
    return s;
}

void BFilename::Set() {
    BMemFile file;
    const Str storage = GetStorageString();
    const unsigned int length = static_cast<unsigned int>(storage.GetLength());
    file.Write(length);
    file.Write(static_cast<const char*>(storage), length);
    m_metaData.Write(file, 1);
    CreateDataBuff(file.m_length);
    if (file.m_length > 0)
        std::memcpy(GetDataPtr(), file.m_buffer, file.m_length);
}

void BFilename::Get() {
    const unsigned int size = m_size;
    BMemFile file;
    file.Attach(GetDataPtr(), static_cast<int>(size));
    // The data stays with this object whatever happens while reading.
    struct Detacher {
        BMemFile& file;
        ~Detacher() { file.Detach(); }
    } detacher{file};

    unsigned int length = 0;
    const int lengthBytes = file.Read(length);
    // The storage string can only be as long as what follows the length word; the working
    // buffer is sized from that, never from the length word alone.
    const unsigned int available = size - static_cast<unsigned int>(lengthBytes);
    std::vector<char> text(static_cast<std::size_t>(length < available ? length : available) + 1,
                           0);
    file.Read(text.data(), static_cast<unsigned int>(text.size() - 1));
    SetStorageString(text.data());
    m_metaData.Read(file, 1);
}

Str BFilename::OSPath() const {
    return PathForOS(GetPath());
}

Str BFilename::PathForOS(Str path) const {
    if (path.IsEmpty())
        return Str();
    // Sized from the path, so a path of any length converts in full.
    std::string work(path, static_cast<std::size_t>(path.GetLength()));
    return PathForOS(work.data());
}

Str BFilename::GetDirectory() {
    m_Directory = VerifyBackslash(m_Directory);
    return m_Directory;
}

void BFilename::SetDirectory(char const* text) {
    m_Directory = VerifyBackslash(text);
}

Str BFilename::StripBackslash() {
    if (m_Directory.IsEmpty())
        return m_Directory;
    if (m_Directory.GetLastChar() == m_MACDelimiter)
        m_Directory.TruncateAt(m_Directory.GetLength() - 1);
    if (!m_Directory.IsEmpty() && m_Directory.GetLastChar() == m_WINDelimiter)
        m_Directory.TruncateAt(m_Directory.GetLength() - 1);
    return m_Directory;
}

Str BFilename::RenameLastDirectory(char const* name) {
    // The final character is the directory's own trailing delimiter, so the search starts before
    // it; the delimiter found stays.
    const char* text = m_Directory;
    for (int i = m_Directory.GetLength() - 2; i >= 0; --i) {
        if (text[i] == m_OSDelimiter) {
            m_Directory.TruncateAt(i + 1);
            break;
        }
    }
    Str renamed(m_Directory);
    if (name != nullptr)
        renamed += name;
    m_Directory = VerifyBackslash(renamed);
    return m_Directory;
}

void BFilename::DividePath(char const* path, StrList* list) const {
    Str rest(path != nullptr ? path : "");
    while (!rest.IsEmpty()) {
        const int at = rest.FindOneOf("/\\");
        if (at < 0)
            break;
        Str level = rest.Mid(0, at + 1);
        list->AddTail(level);
        rest = rest.Mid(at + 1, rest.GetLength());
    }
    if (!rest.IsEmpty())
        list->AddTail(rest);
}

void BFilename::SetFileName(char const* text) {
    m_FileName = StripIllegals(text);
}

Str BFilename::SetExtension(char const* extension) {
    const int dot = m_FileName.ReverseFind('.');
    if (dot >= 0)
        m_FileName.TruncateAt(dot);
    if (extension != nullptr && *extension != 0) {
        if (*extension == '.')
            ++extension;
        m_FileName.AppendChar('.');
        m_FileName += extension;
    }
    return m_FileName;
}

Str BFilename::StripExtension() const {
    const int dot = m_FileName.ReverseFind('.');
    return dot >= 0 ? m_FileName.Mid(0, dot) : m_FileName;
}

bool BFilename::IsMatchingExt(StrList& list) const {
    const Str extension = GetExtension();
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;) {
        auto* node = reinterpret_cast<BListNode<Str>*>(pos);
        if (StrImplementation::STR_stricmp_ex(extension, node->value) == 0)
            return true;
        pos = reinterpret_cast<__POSITION*>(node->next);
    }
    return false;
}

Str BFilename::RenameFile(char const* name) {
    const Str extension = GetExtension();
    SetFileName(name);
    return SetExtension(extension);
}

void BFilename::AppendToName(char const* suffix) {
    Str name = StripExtension();
    if (suffix != nullptr)
        name += suffix;
    RenameFile(name);
}

Str BFilename::GetNextUniqueName() {
    Str base = StripExtension();
    const Str extension = GetExtension();
    const int open = base.FindOneOf("(");
    if (open >= 0 && base.GetLastChar() == ')') {
        const char* text = base;
        const int number = LeadingNumber(text + open + 1);
        base.TruncateAt(open + 1);
        // Wraps like the 32-bit counter it is instead of overflowing.
        Str next;
        next.Format("%i", static_cast<int>(static_cast<std::uint32_t>(number) + 1u));
        base += next;
        base += ").";
    } else {
        base += "(2).";
    }
    if (extension.IsEmpty())
        base.Remove('.');
    base += extension;
    m_FileName = base;
    return m_FileName;
}

void BFilename::SetZipPath(char const* path) {
    if (path == nullptr || *path == 0) {
        m_FileName.Reset();
        m_ZipPath.Reset();
        return;
    }
    std::size_t split = std::strlen(path);
    while (split > 0 && path[split - 1] != m_MACDelimiter && path[split - 1] != m_WINDelimiter)
        --split;
    m_ZipPath = Slice(path, split);
    m_FileName = StripIllegals(path + split);
}

Str BFilename::GetZipPath() {
    if (!m_ZipPath.IsEmpty() && !EndsWithDelimiter(m_ZipPath))
        m_ZipPath.AppendChar(m_OSDelimiter);
    return m_ZipPath;
}

Str BFilename::UnZipFilename() {
    m_FileName.Reset();
    m_ZipPath.Reset();
    // The archive itself: the same directory and disk, no member.
    return StorageOf(m_Directory, Str(), Str(), Str(), m_DiskName);
}

Str BFilename::GetDisplayName() {
    Str s;
    if (!IsAZip()) {
        s = GetPath();
    } else {
        s = GetDirectory();
        s += m_ZipName;
        s += ">>";
        s += GetZipPath();
        s += m_FileName;
    }
    if (!m_DiskName.IsEmpty()) {
        s += " disk: '";
        s += m_DiskName;
        s += "'.";
    }
    return s;
}

int BFilename::Compare(BFilename other) const {
    // Disk names take no part in the order.
    const Str theirs =
        StorageOf(other.m_Directory, other.m_ZipName, other.m_ZipPath, other.m_FileName, Str());
    const Str mine = StorageOf(m_Directory, m_ZipName, m_ZipPath, m_FileName, Str());
    return StrImplementation::STR_strcmp_ex(theirs, mine);
}

Str BFilename::ToUpperLower(char const* text) const {
    Str s(text != nullptr ? text : "");
    if (s.IsEmpty())
        return s;
    s.Str_MakeUL(0);
    const int length = s.GetLength();
    char* p = s.GetBuffer();
    // Words start at the beginning and after a space or a backslash; '/' does not start one.
    for (int i = 0; i < length; ++i) {
        if (i == 0 || p[i - 1] == ' ' || p[i - 1] == '\\')
            StrImplementation::STR_ToUpper(p + i, 1);
    }
    s.ReleaseBuffer(length);
    return s;
}
