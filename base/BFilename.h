/// @file
/// BFilename.h — one file named by separate text components instead of one path: the directory, the
/// file name, the disk (volume) name and, for a file inside a zip archive, the archive's name and
/// the path inside it. Three delimiter characters (system, Mac, Windows) steer path conversion.
///
/// Text forms: the storage string (five fields joined by four tabs: directory, zip name, zip path,
/// file name, disk name), the catalog string (one readable line, "Zip:" marks archive members, a
/// tab precedes the disk name) and the path (directory followed by file name).
///
/// Memory: the five components are independent Str values owned by the object. Through its base a
/// BFilename is a tagged item whose data holds its serialised form, and it owns a tagged list.
///
/// Invariant: none beyond the delimiters being set (defaults '/', '/', '\'). An empty component
/// means absent; the object is an archive member exactly when the zip name is non-empty. Setters
/// normalise as documented; the storage and catalog readers store exactly what they parse.
///
/// Copying: the five strings are shared (one count increment each), the tagged list and the data
/// are duplicated. A copy gets the default delimiters and keeps its own tag.
#pragma once

#include "base/BMetaDataClass.h"
#include "base/Str.h"

class StrList;

/// One file named by separate text components instead of one path (see BFilename.h).
class BFilename : public BMetaDataClass {
public:
    // --- Construction, copy, delimiters ---------------------------------------------------

    /// All components empty, default delimiters.
    BFilename();
    /// Parses text with SetStorageString: a storage string, or a plain path when it has no tab.
    explicit BFilename(Str text);
    /// Default object, then operator=(source): delimiters are not copied.
    BFilename(const BFilename& source);
    virtual ~BFilename();

    /// Copies the components, the tagged list and the data; resets the delimiters to the defaults
    /// and keeps this object's tag. Assigning an object to itself changes nothing.
    BFilename& operator=(const BFilename& source);
    /// Sets the three delimiters back to '/', '/', '\'.
    BFilename& BFilenameHelper();
    ///@{
    /// Non-zero: stores and returns the delimiter; zero: returns the current one unchanged.
    char OSDelimiter(char delimiter);
    char MACDelimiter(char delimiter);
    char WINDelimiter(char delimiter);
    ///@}

    // --- Components -----------------------------------------------------------------------

    /// The file name component.
    Str GetFileName() const;
    /// The archive name component.
    Str GetZipName() const;
    /// Stores the name as given: no delimiter or illegal-character processing.
    void SetZipName(char const* name);
    /// The disk name component.
    Str GetDiskName() const;
    /// Stores the name as given.
    void SetDiskName(char const* name);
    /// True when the zip name is non-empty.
    bool IsAZip() const;
    /// Text of the file name after its last '.'; empty without a '.'.
    Str GetExtension() const;
    /// Case-insensitive test of the file name's extension; one leading '.' of the argument is
    /// ignored, so "" and "." match a file name without extension.
    bool IsA(char const* extension) const;

    // --- Text forms -----------------------------------------------------------------------

    /// Directory, zip name, zip path, file name, disk name joined by four tabs; no escaping.
    Str GetStorageString() const;
    /// Strictly positional parse of a storage string; a text without a tab is taken as a path
    /// (SetPath). Never rejects input.
    void SetStorageString(char const* text);
    /// "dir" + "file", or "Zip:" + dir + zip name + ':' + zip path + file; tab + disk name if set.
    Str GetCatalogString() const;
    /// Parses a catalog string with '/' and '\' as delimiters, whatever the settings. Throws
    /// StrException (ecIndexRange) for "Zip:" followed by fewer than two characters; the components
    /// are then all empty.
    void SetCatalogString(char const* text);
    /// Directory followed by file name, unconverted.
    Str GetPath() const;
    /// Null: empties directory and file name. Empty or longer than 2048 characters: no change.
    /// Otherwise converts delimiters to the system one, splits at the last one, strips illegal
    /// characters from the file name, turns a ".zip" file name into the zip name and makes a
    /// non-empty directory end with a delimiter. Leaves disk name and zip path alone.
    void SetPath(char const* path);

    // --- Text utilities (use at most the delimiters) --------------------------------------

    /// Replaces every from by to in text, in place; nothing when they are equal.
    void ReplaceChar(char* text, char from, char to) const;
    /// Converts Mac, then Windows delimiters of text to the system one in place and returns a
    /// copy; null gives an empty Str.
    Str PathForOS(char* text) const;
    /// As above on a copy of path; the caller's string is not changed. Any length.
    Str PathForOS(Str path) const;
    /// True when text ends with the Mac or the Windows delimiter; the system one is not tested.
    bool EndsWithDelimiter(char const* text) const;
    /// Empty stays empty; otherwise text plus the system delimiter unless EndsWithDelimiter.
    Str VerifyBackslash(char const* text) const;
    /// Copy of text without any of \ / : * ? < > |.
    Str StripIllegals(char const* text) const;

    // --- Serialisation --------------------------------------------------------------------

    /// Data becomes: 32-bit length L, the L bytes of the storage string, then the tagged list
    /// record. The tag is not touched.
    void Set() override;
    /// Restores the components and the tagged list from the data, which stays unchanged. Short or
    /// damaged data restores what it holds; the delimiters and the tag are kept.
    void Get() override;

    // --- Paths ----------------------------------------------------------------------------

    /// The path with Mac and Windows delimiters converted to the system one. Any length.
    Str OSPath() const;
    /// Makes a non-empty directory end with a delimiter, stores it and returns it.
    Str GetDirectory();
    /// Stores VerifyBackslash(text); no conversion, no character removed.
    void SetDirectory(char const* text);
    /// Drops one trailing Mac delimiter, then one trailing Windows delimiter; stores and returns.
    Str StripBackslash();
    /// Replaces the last level of the directory by name (a trailing delimiter is added).
    Str RenameLastDirectory(char const* name);
    /// Appends the levels of path to list, each with its '/' or '\'; the list is not emptied.
    void DividePath(char const* path, StrList* list) const;

    // --- File name and extension ----------------------------------------------------------

    /// Stores StripIllegals(text) as the file name.
    void SetFileName(char const* text);
    /// Replaces the extension (none when extension is empty; one leading '.' is ignored) and
    /// returns the new file name.
    Str SetExtension(char const* extension);
    /// File name without its last '.' and what follows; does not change the object.
    Str StripExtension() const;
    /// True when the extension equals one of the list's strings, case ignored.
    bool IsMatchingExt(StrList& list) const;
    /// New name (illegal characters removed) with the old extension; returns the file name.
    Str RenameFile(char const* name);
    /// Inserts suffix before the extension ("a.txt" + "_1" gives "a_1.txt").
    void AppendToName(char const* suffix);
    /// Turns "name.ext" into "name(2).ext", "name(n).ext" into "name(n+1).ext"; returns the new
    /// file name. Does not look at the file system.
    Str GetNextUniqueName();

    // --- Archive members ------------------------------------------------------------------

    /// Splits path at its last Mac or Windows delimiter into zip path and (cleaned) file name.
    void SetZipPath(char const* path);
    /// Makes a non-empty zip path end with a delimiter, stores it and returns it.
    Str GetZipPath();
    /// Empties file name and zip path; returns the storage string of the archive itself.
    Str UnZipFilename();

    // --- Presentation and ordering --------------------------------------------------------

    /// Path, or dir + zip name + ">>" + zip path + file for a member; then " disk: '<name>'." when
    /// a disk name is set. Normalises directory and zip path as GetDirectory/GetZipPath do.
    Str GetDisplayName();
    /// Storage strings of other and this, both without disk name, compared byte-wise: -1, 0, 1.
    int Compare(BFilename other) const;
    /// First character and every character after a space or '\' upper case, the rest lower case.
    Str ToUpperLower(char const* text) const;

private:
    friend class BFilenameTestPeer;
    /// Its sort reads the components in place.
    friend class BFilenameList;

    /// Sets the five components to empty.
    void Clear();

    Str m_ZipName;
    Str m_ZipPath;
    Str m_DiskName;
    Str m_FileName;
    Str m_Directory;
    char m_OSDelimiter;
    char m_MACDelimiter;
    char m_WINDelimiter;
};
