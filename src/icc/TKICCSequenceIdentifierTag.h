// "psid": the profile sequence identifier of a link, a list of profile IDs with descriptions.
#pragma once

#include <array>

#include "icc/TKICCTag.h"
#include "icc/TKICCTextTags.h"

class TKICCProfileBasic;

class TKICCSequenceIdentifierTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCSequenceIdentifierTag, TKICCTag)
public:
    static constexpr int32_t kMaxEntries = 10;
    using ProfileID = std::array<uint8_t, 16>;

    explicit TKICCSequenceIdentifierTag(uint32_t signature = TKICCSig("psid"));

    // Entries as parsed from the block. A block that is malformed or announces more than
    // kMaxEntries entries leaves the tag invalid: it is kept and written back as it is, and
    // the entry accessors raise InvalidICCTag.
    int32_t GetCount() const;
    ProfileID GetID(int32_t index) const;                          // IndexError outside
    TKRefPtr<TKICCMLUCTag> GetDescription(int32_t index) const;    // IndexError outside
    // Appends the profile's ID and its description ("mluc" copied, else made from its name).
    void AddProfile(TKICCProfileBasic& profile);
    void AddEntry(const ProfileID& id, const TKString& description);
    void RemoveAll();

    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    bool IsValid() const override;

protected:
    void BlockChanged() override;

private:
    struct Entry {
        ProfileID id{};
        TKRefPtr<TKICCMLUCTag> description;
    };
    void RequireParsed() const;
    void Rebuild();
    void Append(const ProfileID& id, TKRefPtr<TKICCMLUCTag> description);

    std::vector<Entry> fEntries;
    bool fParsed = true;
};
