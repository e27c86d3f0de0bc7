// TKDataBase: the ordered key / text value store with nested bases, addressed by "/" paths,
// and its one text format (plain and angle form) used by everything that persists settings.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/TKObject.h"
#include "foundation/TKSort.h"
#include "foundation/TKString.h"

class TKDataBase;
class TKFileSpec;

// One entry: key, text value and an optional nested data base.
struct TKDataBaseEntry {
    TKRefPtr<TKDataBase> subBase;
    TKString key;
    TKString value;
};

class TKDataBase : public TKObject {
    TK_DECLARE_CLASS(TKDataBase, TKObject)
public:
    TKDataBase();
    // A copy shares the entry array until either side writes; nested bases stay shared.
    TKDataBase(const TKDataBase& other);
    TKDataBase& operator=(const TKDataBase& other);
    ~TKDataBase() noexcept override;

    // The process-wide choice of the angle text form; returns the previous setting.
    static bool SetAngleFormat(bool angle);
    static bool AngleFormat();

    // Path look-up. Returns the base that holds the last component and its index there,
    // or null with index -1.
    TKDataBase* Find(const char* path, int32_t* index);
    const TKDataBase* Find(const char* path, int32_t* index) const;
    // As Find; with create set, missing components are appended (intermediate ones with a sub base).
    TKDataBase* FindOrCreate(const char* path, int32_t* index, bool create);

    // Typed access by path. Values are text; typed getters convert on every read.
    TKString GetString(const char* path, const char* defaultValue = "") const;
    void SetString(const char* path, const TKString& value);
    TKString GetOrAddString(const char* path, const char* defaultValue, bool add);
    int32_t GetInt(const char* path, int32_t defaultValue = 0) const;
    void SetInt(const char* path, int32_t value);
    void SetLong(const char* path, long value);
    double GetDouble(const char* path, double defaultValue = 0) const;
    void SetDouble(const char* path, double value);
    bool GetBool(const char* path, bool defaultValue = false) const;
    void SetBool(const char* path, bool value);
    bool Exists(const char* path) const;

    // Nested bases, counted. GetSubBase gives null when the path or its sub base is missing.
    TKRefPtr<TKDataBase> GetSubBase(const char* path) const;
    // adopt: true takes over the caller's count, false adds one.
    void SetSubBase(int32_t index, TKDataBase* base, bool adopt);
    TKRefPtr<TKDataBase> SubBaseAt(int32_t index) const;

    // Plain entry access; an index outside raises IndexError.
    int32_t Count() const;
    TKString Key(int32_t index) const;
    TKString Value(int32_t index) const;
    void SetKey(int32_t index, const TKString& key);
    void SetValue(int32_t index, const TKString& value);
    int32_t IndexOfKey(const char* key) const;
    int32_t IndexOfValue(const char* value) const;
    // Appends an entry (keys need not be unique) and returns its index.
    int32_t Add(const TKString& key, const TKString& value, TKDataBase* subBase = nullptr, bool adopt = false);
    void Remove(int32_t index);
    void Clear();
    void SwapEntries(int32_t i, int32_t j);

    // In place, not stable: by the integer value of the keys (ties by key text), or by the value
    // that a path has in each entry's sub base.
    void Sort();
    void SortBySubKey(const char* path);

    // The content of the "_DBInfo" block.
    TKRefPtr<TKDataBase> GetInfoBase() const;
    void SetInfoBase(TKDataBase* base, bool adopt);

    // Text written as line end; empty means "\r\n".
    void SetLineEnd(const TKString& lineEnd);
    TKString GetLineEnd() const;

    // The text format. FromText appends what it reads to the entries already present.
    TKString ToText() const;
    void FromText(const TKString& text);
    void FromText(const char* text, int64_t length);

    // Through a TKFile (mode 2 for Save, 1 for Load).
    void Save(const TKFileSpec& spec) const;
    void Load(const TKFileSpec& spec);

private:
    friend class TKDataBaseParser;
    std::vector<TKDataBaseEntry>& Entries();  // made private first: copy on write
    const std::vector<TKDataBaseEntry>& Entries() const;
    const TKDataBaseEntry& EntryAt(int32_t index) const;
    TKDataBaseEntry& MutableEntryAt(int32_t index);
    void WriteLevel(TKString& out, int depth, bool angle, const TKString& lineEnd) const;

    std::shared_ptr<std::vector<TKDataBaseEntry>> fEntries;
    TKString fLineEnd;
    TKRefPtr<TKDataBase> fInfoBase;
};

// Sorters of data base entries, used by TKDataBase::Sort and SortBySubKey.
class TKSortDB : public TKSortClass {
public:
    explicit TKSortDB(TKDataBase& base) : fBase(base) {}
    int32_t Count() override { return fBase.Count(); }
    // By the integer value of the keys; on a tie by the keys as text.
    int Compare(int32_t i, int32_t j) override;
    void Swap(int32_t i, int32_t j) override { fBase.SwapEntries(i, j); }
    // The index sort of the containers: not stable, no swap when already in order.
    void Sort(int32_t first = 0, int32_t last = -1) { ::Sort(*this, first, last); }

protected:
    TKDataBase& fBase;
};

// By the value that a path has in each entry's sub base: equal bases are equal, a missing sub
// base sorts first, the values compare as text.
class TKSortDBBySubDBKey : public TKSortDB {
public:
    TKSortDBBySubDBKey(TKDataBase& base, const char* path) : TKSortDB(base), fPath(path) {}
    int Compare(int32_t i, int32_t j) override;

private:
    TKString fPath;
};
