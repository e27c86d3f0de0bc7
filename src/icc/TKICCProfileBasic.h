// TKICCProfileBasic: one ICC profile as its 128-byte header and an ordered list of tags, read
// from and written to any TKStream (ICC.1, versions 2 and 4).
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/TKObject.h"
#include "foundation/TKString.h"
#include "icc/TKICCTag.h"

class TKFileSpec;
class TKStream;

// The header in host byte order; offsets in the comments are those of the file.
struct TKICCHeader {
    uint32_t size = 0;                           // 0
    uint32_t cmm = TKICCSig("MSFT");             // 4
    uint32_t version = 0x02400000;               // 8
    uint32_t deviceClass = TKICCSig("mntr");     // 12
    uint32_t colorSpace = TKICCSig("RGB ");      // 16
    uint32_t pcs = TKICCSig("XYZ ");             // 20
    uint16_t date[6] = {};                       // 24: year, month, day, hour, minute, second
    uint32_t magic = TKICCSig("acsp");           // 36
    uint32_t platform = TKICCSig("MSFT");        // 40
    uint32_t flags = 0;                          // 44
    uint32_t manufacturer = 0;                   // 48
    uint32_t model = 0;                          // 52
    uint32_t attributes[2] = {0, 0};             // 56, each its own 32-bit word
    uint32_t renderingIntent = 0;                // 64
    int32_t illuminant[3] = {0x0000F6D6, 0x00010000, 0x0000D32D};  // 68: s15Fixed16 D50
    uint32_t creator = TKICCSig("Qvrl");         // 80
    uint8_t profileID[16] = {};                  // 84
    uint8_t reserved[28] = {};                   // 100

    static constexpr uint32_t kBytes = 128;
    // The rendering intent proper: the low 16 bits of the field. The high 16 bits are reserved
    // and some writers put flags there, so they must never change which intent is meant.
    int32_t Intent() const { return int32_t(renderingIntent & 0xFFFFu); }
    void ToBytes(uint8_t out[kBytes]) const;     // big-endian, as in files
    void FromBytes(const uint8_t in[kBytes]);
};

// Bits of `versionFlags` in Write and AdaptTextTags.
enum TKICCVersionFlags : int32_t { kICCWriteVersion2 = 2, kICCWriteVersion4 = 4 };

class TKICCProfileBasic : public TKObject {
    TK_DECLARE_CLASS(TKICCProfileBasic, TKObject)
public:
    // The header's date is now; everything else as TKICCHeader gives it.
    TKICCProfileBasic();
    // Copies share the tags (one more count each); tags are never cloned.
    TKICCProfileBasic(const TKICCProfileBasic& other);
    TKICCProfileBasic& operator=(const TKICCProfileBasic& other);
    ~TKICCProfileBasic() noexcept override;

    virtual TKString GetDescription();
    virtual TKICCHeader& GetHeader() { return fHeader; }
    // Null is ignored. Replaces any tag of the same signature and appends. With
    // keepCallerReference false the profile adds a count of its own.
    virtual void AddTag(TKICCTag* tag, bool keepCallerReference);
    // The first tag with that signature, or null; with `validate` an invalid tag counts as absent.
    virtual TKICCTag* GetTag(uint32_t signature, bool validate = true) const;
    virtual int32_t GetTagCount() const { return int32_t(fTags.size()); }
    virtual TKICCTag* GetTagAt(int32_t index) const;  // IndexError outside
    // The text of a valid "text", "desc", "mluc" or "csed" tag; empty otherwise.
    virtual TKString GetTagText(uint32_t signature) const;
    // Replaces the text of an existing "text", "desc" or "mluc" tag; returns whether it did.
    virtual bool SetTagText(uint32_t signature, const TKString& text);
    virtual void RemoveAllTags();
    virtual void RemoveTag(uint32_t signature);
    // From the last tag to the first: removes each whose membership in the list equals inList.
    virtual void RemoveTags(const std::vector<uint32_t>& signatures, bool inList);

    // level 0: header only; 1: also the tag table; 2 or more: also all tag bodies.
    virtual void Read(TKStream& stream, int32_t level = 2);
    // See the algorithm in the source. sort without recalculate is UndefProc.
    virtual void Write(TKStream& stream, int32_t versionFlags = 0, bool sort = false, bool recalculate = true);
    virtual void ReadFile(const TKFileSpec& spec, int32_t level = 2);
    // As Write, into a file; a version 4 profile then gets its profile ID.
    virtual void WriteFile(const TKFileSpec& spec, int32_t versionFlags = 0, bool sort = false,
                           bool recalculate = true);
    // Sets the version by the flags, then trades "desc" and "cprt" between the v2 and v4 types.
    virtual void AdaptTextTags(int32_t versionFlags);

    virtual void GetProfileID(uint8_t id[16]) const;
    virtual void SetProfileID(const uint8_t id[16]);
    // The header as text, one "Key: \tvalue" line per field; ParseHeader reads it back.
    virtual void DumpHeader(TKStream& stream) const;
    virtual TKString HeaderText() const;
    virtual void ParseHeader(const TKString& text);
    virtual TKString GetExtraInfo() const { return TKString(); }
    // Gives every tag its own place after the table and stores the total size.
    virtual void CalculateOffsets();
    virtual void SortTags();
    virtual void ReadTag(TKICCTag* tag, TKStream& stream);
    virtual void WriteTag(TKICCTag* tag, TKStream& stream);

    // The header date as "YYYY-MM-DD hh:mm:ss"; SetDate reads that form (missing parts stay).
    TKString GetDate() const;
    void SetDate(const TKString& date);
    void SetDateNow();
    // MD5 of a profile file read in chunks: with flags, rendering intent and profile ID zeroed
    // (the ICC profile ID), and of the bytes as they stand. Either output may be null.
    static void ComputeProfileID(const TKFileSpec& spec, uint8_t* digestZeroed, uint8_t* digestWhole);
    // The old multi-channel colour space names "MCH1".."MCHE" to "1CLR".."FCLR".
    static uint32_t TranslateOldSpace(uint32_t space);

protected:
    // Replaces the tag at `index`, keeping its place in the list.
    void ReplaceTagAt(size_t index, TKRefPtr<TKICCTag> tag);
    // A tag object for one entry of a table being read, of the class the factory gives (type,
    // signature), with offset, size and, for named colours, the header's spaces.
    TKRefPtr<TKICCTag> NewTableTag(uint32_t type, uint32_t signature, uint32_t offset, uint32_t size);

    TKICCHeader fHeader;
    std::vector<TKRefPtr<TKICCTag>> fTags;
};
