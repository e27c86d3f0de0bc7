// TKFileSpec: the name of a file as a value: a UTF-8 path with "/" separators, a file type and a
// creator code. Not a counted object; hosts hold it bare through the file-spec exports.
#pragma once

#include <cstdint>

#include "foundation/TKString.h"

// Special folders by number; 11 is unassigned. A folder that the platform lacks gives an empty spec.
enum TKSpecialFolder : int32_t {
    kICCFolder = 1, kICCSystemFolder = 2, kICCUserFolder = 3, kICCCustomFolder = 4, kPreferencesFolder = 5,
    kDocumentsFolder = 6, kTemporaryFolder = 7, kCustomFolder = 8, kDebuggingFolder = 9,
    kApplicationDataFolder = 10, kTrashFolder = 12, kResourceFolder = 13, kApplicationResourceFolder = 14,
    kApplicationFolder = 15, kExecutableFolder = 16, kApplicationsFolder = 17,
    kInternalPreferencesFolder = 18, kGlobalPreferencesFolder = 19, kWinWindowsFolder = 20,
    kWinSystem32Folder = 21, kWinTempFolder = 22
};

class TKFileSpec {
public:
    TKFileSpec() = default;
    explicit TKFileSpec(const TKString& path) { SetPath(path); }
    // `name` inside a special folder; empty when the platform has no such folder.
    TKFileSpec(int32_t folder, const TKString& name);
    TKFileSpec(const TKFileSpec&) = default;
    TKFileSpec& operator=(const TKFileSpec&) = default;
    virtual ~TKFileSpec();

    // Stores the path with "/" separators and single slashes (a leading "//" of a network path
    // stays), then derives type and creator from the extension.
    void SetPath(const TKString& path);
    TKString FullName() const { return fPath; }
    // What follows the last "/", or the whole path.
    TKString Name() const;
    // The path up to and including the last "/", or empty.
    TKString Folder() const;
    // Name() without its extension if the kinds table knows that extension.
    TKString BaseName() const;
    // The part of Name() after the last dot; a leading dot counts as none.
    TKString Extension() const;
    // Replaces Name(), keeping the folder.
    void SetName(const TKString& name);
    // Replaces the known extension (or appends one); an empty extension removes the dot too.
    void SetExtension(const TKString& extension);
    // The path in the form that this platform's file calls take.
    TKString SystemPath() const;
    // The path in Windows form: "\\" separators, with the "\\?\" prefix for a path of 260
    // characters or more or a name of 256 or more.
    TKString WindowsPath() const;
    bool IsEmpty() const { return fPath.IsEmpty(); }

    uint32_t FileType() const { return fType; }
    uint32_t Creator() const { return fCreator; }
    void SetFileType(uint32_t type) { fType = type; }
    void SetCreator(uint32_t creator) { fCreator = creator; }
    // Type and creator of the first row of the kinds table that has this spec's extension.
    void SetTypeFromExtension();
    // The kind of the file type (0 when the table does not know it).
    int32_t Kind() const;

    // Whether a file or folder of this path exists.
    bool Exists() const;
    // While the path exists, tries "<folder><base>_001.<extension>" and so on.
    void MakeUnique();
    // A name ending in "icc" without the dot gets it ("Profileicc" becomes "Profile.icc"); an
    // existing file is moved along.
    void FixICCExtension();

    static bool IsAbsolute(const char* path);
    // Trims white space and replaces the characters that file systems refuse by "_".
    static TKString SanitizeName(const TKString& name);
    // The folder's name ("ICCFolder" and so on), empty for an unknown number.
    static TKString SpecialFolderName(int32_t folder);
    // The folder's path without a trailing "/", empty where the platform has none.
    static TKString SpecialFolderPath(int32_t folder);

    bool operator==(const TKFileSpec& other) const { return fPath == other.fPath; }

private:
    TKString fPath;
    uint32_t fType = 0;
    uint32_t fCreator = 0;
};
