// File attributes from the POSIX stat calls.
#include "io/TKFileInfo.h"

#include <fcntl.h>
#include <sys/stat.h>

TKDateRecord TKDateRecord::FromTime(std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    TKDateRecord record;
    record.year = local.tm_year + 1900;
    record.month = local.tm_mon + 1;
    record.day = local.tm_mday;
    record.hour = local.tm_hour;
    record.minute = local.tm_min;
    record.second = local.tm_sec;
    record.weekDay = local.tm_wday;
    record.yearDay = local.tm_yday;
    record.dst = local.tm_isdst > 0 ? 1 : (local.tm_isdst == 0 ? 0 : -1);
    return record;
}

TKDateRecord TKDateRecord::Now() { return FromTime(std::time(nullptr)); }

std::time_t TKDateRecord::ToTime() const {
    std::tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = dst;
    return std::mktime(&local);
}

TKFileInfo::TKFileInfo(const TKFileSpec& spec, bool read) : TKFileSpec(spec) {
    if (read) Update();
}

bool TKFileInfo::Update() {
    fCreated = fModified = TKDateRecord();
    fDirectory = false;
    fSize = 0;
    if (IsEmpty()) return false;
    std::time_t born = 0;
#ifdef STATX_BTIME
    // The birth time where the file system keeps one; the status change time otherwise.
    struct statx extended;
    if (::statx(AT_FDCWD, SystemPath().CString(), 0, STATX_BTIME | STATX_BASIC_STATS, &extended) == 0 &&
        (extended.stx_mask & STATX_BTIME))
        born = std::time_t(extended.stx_btime.tv_sec);
#endif
    struct stat info;
    if (::stat(SystemPath().CString(), &info) != 0) return false;
    if (born == 0) born = info.st_ctime;
    fCreated = TKDateRecord::FromTime(born);
    fModified = TKDateRecord::FromTime(info.st_mtime);
    fDirectory = S_ISDIR(info.st_mode);
    fSize = fDirectory ? 0 : int64_t(info.st_size);
    return true;
}
