// TKDictionary: keys mapped to values through two parallel arrays kept in key order, so a
// look-up is a binary search and iteration runs in key order. Both arrays are TKArrays,
// so a copied dictionary shares its storage until either side writes.
#pragma once

#include <cstdint>

#include "foundation/TKArray.h"
#include "foundation/TKError.h"
#include "foundation/TKString.h"

template <class K, class V>
class TKDictionaryOf {
public:
    int32_t Count() const { return fKeys.Count(); }
    bool IsEmpty() const { return fKeys.Count() == 0; }

    // Index of the key, or -1.
    int32_t Find(const K& key) const {
        int32_t at = LowerBound(key);
        return at < fKeys.Count() && !(key < fKeys[at]) ? at : -1;
    }
    bool Contains(const K& key) const { return Find(key) >= 0; }

    // Sets the value of a key, adding the key in order if it is new. Returns its index.
    int32_t Set(const K& key, const V& value) {
        int32_t at = LowerBound(key);
        if (at < fKeys.Count() && !(key < fKeys[at])) {
            fValues[at] = value;
        } else {
            fKeys.Insert(at, key);
            fValues.Insert(at, value);
        }
        return at;
    }
    // The value of a key, or the fallback when the key is missing.
    V Get(const K& key, const V& fallback = V()) const {
        int32_t at = Find(key);
        return at >= 0 ? fValues[at] : fallback;
    }
    // The value of a key; NotFound when it is missing.
    const V& At(const K& key) const {
        int32_t at = Find(key);
        if (at < 0) TKThrow(NotFound);
        return fValues[at];
    }
    // Removes a key; false if it was not there.
    bool Remove(const K& key) {
        int32_t at = Find(key);
        if (at < 0) return false;
        RemoveAt(at);
        return true;
    }
    void RemoveAt(int32_t index) {
        fKeys.Remove(index);
        fValues.Remove(index);
    }
    void Clear() {
        fKeys.Clear();
        fValues.Clear();
    }

    // Entries by index, in key order. IndexError outside.
    const K& KeyAt(int32_t index) const { return fKeys[index]; }
    const V& ValueAt(int32_t index) const { return fValues[index]; }
    void SetValueAt(int32_t index, const V& value) { fValues[index] = value; }

private:
    // First index whose key does not sort before the given one.
    int32_t LowerBound(const K& key) const {
        int32_t low = 0;
        int32_t high = fKeys.Count();
        while (low < high) {
            int32_t mid = low + (high - low) / 2;
            if (fKeys[mid] < key)
                low = mid + 1;
            else
                high = mid;
        }
        return low;
    }

    TKArray<K> fKeys;
    TKArray<V> fValues;
};

// The common case: text keys (compared byte-wise) to text values.
using TKDictionary = TKDictionaryOf<TKString, TKString>;
