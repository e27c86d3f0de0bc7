// TKFileInfo: a file spec with the attributes of the file it names: dates, kind of entry, size.
#pragma once

#include <cstdint>
#include <ctime>

#include "io/TKFileSpec.h"

// A broken-down local time: the nine fields of a calendar date and clock time.
struct TKDateRecord {
    int32_t year = 0;    // e.g. 2026
    int32_t month = 0;   // 1 to 12
    int32_t day = 0;     // 1 to 31
    int32_t hour = 0;
    int32_t minute = 0;
    int32_t second = 0;
    int32_t weekDay = 0;  // 0 is Sunday
    int32_t yearDay = 0;  // 0 is the first of January
    int32_t dst = 0;      // daylight saving time in effect: 1, not: 0, unknown: -1

    static TKDateRecord FromTime(std::time_t time);
    static TKDateRecord Now();
    // Seconds since 1970 of the local time this record holds.
    std::time_t ToTime() const;
    bool operator<(const TKDateRecord& other) const { return ToTime() < other.ToTime(); }
};

class TKFileInfo : public TKFileSpec {
public:
    TKFileInfo() = default;
    // Reads the attributes at once when `read` is set; a missing file leaves them empty.
    explicit TKFileInfo(const TKFileSpec& spec, bool read = true);

    // Reads the attributes again; false when the path cannot be examined.
    bool Update();

    const TKDateRecord& CreationDate() const { return fCreated; }
    const TKDateRecord& ModificationDate() const { return fModified; }
    bool IsDirectory() const { return fDirectory; }
    int64_t Size() const { return fSize; }

private:
    TKDateRecord fCreated;
    TKDateRecord fModified;
    bool fDirectory = false;
    int64_t fSize = 0;
};
