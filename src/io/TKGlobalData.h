// TKGlobalData: the process-wide settings of the library, one TKDataBase shared by all threads,
// with the optional file "TKGlobalData.txt" in the preferences folder and typed access under a lock.
//
// Where the file lies: the folder named by the environment variable TINTARA_PREFERENCES_DIR when it
// is set (read once, on first use; test programs point it at a scratch folder so that they never
// touch the user's settings), otherwise the platform's preferences folder (XDG_CONFIG_HOME, or
// ~/.config). A missing file is normal; an unreadable or malformed one is skipped, and the
// built-in values stand.
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "foundation/TKString.h"
#include "io/TKDataBase.h"
#include "io/TKFileSpec.h"

// The numeric keys every global data base holds from its creation on.
constexpr const char* kTKGlobalBrightenerSrc2DstFactor = "gBrightenerSrc2DstFactor";  // double
constexpr const char* kTKGlobalDensityMode = "gDensityMode";                          // integer
constexpr const char* kTKGlobalSeparationDefaultFactor = "gSeparationDefaultFactor";  // double
constexpr const char* kTKGlobalInvColorFlags = "gInvColorFlags";                      // integer
constexpr const char* kTKGlobalInvColorDefaultRho = "gInvColorDefaultRho";            // double
constexpr const char* kTKGlobalInvColorDefaultErrLimit = "gInvColorDefaultErrLimit";  // double

class TKGlobalData {
public:
    static constexpr const char* kFileName = "TKGlobalData.txt";
    static constexpr const char* kFolderVariable = "TINTARA_PREFERENCES_DIR";

    // The typed getters. A missing key gives `defaultValue`; with `add` set the default is then
    // stored under the key, so later readers and a saved file see it. Keys are "/" paths and
    // are case-sensitive.
    static TKString GetString(const char* key, const char* defaultValue = "", bool add = false);
    static int32_t GetInt(const char* key, int32_t defaultValue = 0, bool add = false);
    static double GetDouble(const char* key, double defaultValue = 0.0, bool add = false);
    static bool GetBool(const char* key, bool defaultValue = false, bool add = false);
    static bool Exists(const char* key);

    static void SetString(const char* key, const TKString& value);
    static void SetInt(const char* key, int32_t value);
    static void SetDouble(const char* key, double value);
    static void SetBool(const char* key, bool value);

    // A private copy of the whole base as it stands now.
    static TKRefPtr<TKDataBase> Snapshot();
    // The built-in values of the six numeric keys, as they were before any file or caller
    // changed them. Never written after creation, so it is read without a lock.
    static const TKDataBase& BuiltIn();

    // The file the base is read from (and Save writes to); empty where there is no
    // preferences folder.
    static TKFileSpec FileSpec();
    // Writes the base to FileSpec(). Nothing happens automatically: settings changed by a host
    // last for the process unless it asks for them to be kept.
    static void Save();

    // A new base with the built-in values, overridden by the entries of `file` if it exists and
    // reads; what first use does for the shared base.
    static TKRefPtr<TKDataBase> Build(const TKFileSpec& file);
};
