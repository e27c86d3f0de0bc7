// The process-wide settings store: built-in values, the optional settings file, locked typed access.
#include "io/TKGlobalData.h"

#include <cstdlib>
#include <mutex>

#include "foundation/TKError.h"
#include "foundation/TKSpinLock.h"

namespace {

struct BuiltInNumber {
    const char* key;
    const char* value;
};

// The six numeric settings and the values the library has when nothing else is said.
constexpr BuiltInNumber kBuiltInNumbers[] = {
    {kTKGlobalBrightenerSrc2DstFactor, "0.15"}, {kTKGlobalDensityMode, "1"},
    {kTKGlobalSeparationDefaultFactor, "0.9"},  {kTKGlobalInvColorFlags, "1"},
    {kTKGlobalInvColorDefaultRho, "0.7"},       {kTKGlobalInvColorDefaultErrLimit, "0.1"},
};

// Custom intents 21 to 25 keep their mode and factor in these blocks.
constexpr int kCustomIntentBlocks = 5;

TKRefPtr<TKDataBase> NewBuiltInBase() {
    auto base = TKMakeRef<TKDataBase>();
    for (const BuiltInNumber& number : kBuiltInNumbers) base->Add(number.key, number.value);
    // The blocks exist from the start, empty, so that setting a custom intent from any thread
    // writes values into a fixed structure instead of growing it.
    for (int i = 0; i < kCustomIntentBlocks; ++i)
        base->SetSubBase(base->Add(TKString::Format("CustomIntent%d", i), TKString()), new TKDataBase, true);
    return base;
}

// Copies every value of `from` into `to` by path, so that entries of a file replace the
// built-in ones rather than standing behind them.
void MergeInto(TKDataBase& to, const TKDataBase& from, const TKString& prefix) {
    for (int32_t i = 0; i < from.Count(); ++i) {
        const TKString key = from.Key(i);
        // An empty key or one holding the path separator cannot be addressed: skipped.
        if (key.IsEmpty() || key.FindChar('/') >= 0) continue;
        const TKString path = prefix + key;
        if (TKRefPtr<TKDataBase> sub = from.SubBaseAt(i)) {
            int32_t index = -1;
            TKDataBase* holder = to.FindOrCreate(path.CString(), &index, true);
            if (!holder->SubBaseAt(index)) holder->SetSubBase(index, new TKDataBase, true);
            if (!from.Value(i).IsEmpty()) holder->SetValue(index, from.Value(i));
            MergeInto(to, *sub, path + "/");
        } else {
            to.SetString(path.CString(), from.Value(i));
        }
    }
}

// A copy that shares nothing: the copy constructor of TKDataBase keeps nested bases shared.
TKRefPtr<TKDataBase> DeepCopy(const TKDataBase& from) {
    auto copy = TKMakeRef<TKDataBase>();
    for (int32_t i = 0; i < from.Count(); ++i) {
        TKRefPtr<TKDataBase> sub = from.SubBaseAt(i);
        TKRefPtr<TKDataBase> subCopy = sub ? DeepCopy(*sub) : TKRefPtr<TKDataBase>();
        copy->Add(from.Key(i), from.Value(i), subCopy.Get(), false);
    }
    return copy;
}

TKFileSpec LocateFile() {
    const char* folder = std::getenv(TKGlobalData::kFolderVariable);
    if (folder && folder[0]) {
        TKString path(folder);
        if (path.FindLastChar('/') != path.Length() - 1) path += "/";
        return TKFileSpec(path + TKGlobalData::kFileName);
    }
    return TKFileSpec(kPreferencesFolder, TKGlobalData::kFileName);
}

// The shared base and its locks. The two data bases are made when the library is loaded, with
// no file access, so that they are not charged to whichever caller comes first; the settings
// file is read on first use.
struct Store {
    TKRefPtr<TKDataBase> base = NewBuiltInBase();
    TKRefPtr<TKDataBase> builtIn = NewBuiltInBase();
    TKFileSpec file;
    std::once_flag fileRead;
    TKSpinLock lock;
};

Store& TheStore() {
    // Never destroyed: hosts may read settings from their own static destructors.
    static Store* store = new Store;
    return *store;
}

const bool kStoreMadeAtLoad = (TheStore(), true);

// The store with its file read, as every access needs it.
Store& Ready() {
    Store& store = TheStore();
    std::call_once(store.fileRead, [&store] {
        store.file = LocateFile();
        if (store.file.IsEmpty() || !store.file.Exists()) return;
        auto fromFile = TKGlobalData::Build(store.file);
        TKSpinLockGuard guard(&store.lock);
        MergeInto(*store.base, *fromFile, TKString());
    });
    return store;
}

// Runs `access` on the shared base under its lock.
template <class Access>
auto Locked(Access&& access) {
    Store& store = Ready();
    TKSpinLockGuard guard(&store.lock);
    return access(*store.base);
}

}  // namespace

TKString TKGlobalData::GetString(const char* key, const char* defaultValue, bool add) {
    return Locked([&](TKDataBase& base) { return base.GetOrAddString(key, defaultValue, add); });
}

int32_t TKGlobalData::GetInt(const char* key, int32_t defaultValue, bool add) {
    return Locked([&](TKDataBase& base) {
        if (add && !base.Exists(key)) base.SetInt(key, defaultValue);
        return base.GetInt(key, defaultValue);
    });
}

double TKGlobalData::GetDouble(const char* key, double defaultValue, bool add) {
    return Locked([&](TKDataBase& base) {
        if (!base.Exists(key)) {
            // The default itself, not its stored text, which may be rounded.
            if (add) base.SetDouble(key, defaultValue);
            return defaultValue;
        }
        return base.GetDouble(key, defaultValue);
    });
}

bool TKGlobalData::GetBool(const char* key, bool defaultValue, bool add) {
    return Locked([&](TKDataBase& base) {
        if (add && !base.Exists(key)) base.SetBool(key, defaultValue);
        return base.GetBool(key, defaultValue);
    });
}

bool TKGlobalData::Exists(const char* key) {
    return Locked([&](TKDataBase& base) { return base.Exists(key); });
}

void TKGlobalData::SetString(const char* key, const TKString& value) {
    Locked([&](TKDataBase& base) { base.SetString(key, value); });
}

void TKGlobalData::SetInt(const char* key, int32_t value) {
    Locked([&](TKDataBase& base) { base.SetInt(key, value); });
}

void TKGlobalData::SetDouble(const char* key, double value) {
    Locked([&](TKDataBase& base) { base.SetDouble(key, value); });
}

void TKGlobalData::SetBool(const char* key, bool value) {
    Locked([&](TKDataBase& base) { base.SetBool(key, value); });
}

TKRefPtr<TKDataBase> TKGlobalData::Snapshot() {
    return Locked([](TKDataBase& base) { return DeepCopy(base); });
}

const TKDataBase& TKGlobalData::BuiltIn() { return *TheStore().builtIn; }

TKFileSpec TKGlobalData::FileSpec() { return Ready().file; }

void TKGlobalData::Save() {
    const TKFileSpec file = FileSpec();
    if (file.IsEmpty()) TKThrowMsg(InvalidFileSpec, "no preferences folder for the global data");
    // Written from a copy: the spin lock guards short regions, never file output.
    Snapshot()->Save(file);
}

TKRefPtr<TKDataBase> TKGlobalData::Build(const TKFileSpec& file) {
    TKRefPtr<TKDataBase> base = NewBuiltInBase();
    if (file.IsEmpty() || !file.Exists()) return base;
    auto fromFile = TKMakeRef<TKDataBase>();
    try {
        fromFile->Load(file);
    } catch (const TKError&) {
        // A damaged settings file must not stop the library: its error is logged, and the
        // built-in values stand.
        return base;
    }
    MergeInto(*base, *fromFile, TKString());
    return base;
}
