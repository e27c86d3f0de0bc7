// The channel options of a profile: "ChannelInfo<n>" and "DstChannelInfo<n>" read and write the
// name and colour of a channel in the colorant tags, as text "name,type,values".
#include <cctype>
#include <cstring>
#include <string>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "exported/TKExport.h"
#include "icc/TKICCColorantTags.h"
#include "icc/TKICCProfile.h"
#include "tintara.h"

namespace {

struct ChannelKey {
    bool valid = false;
    bool destination = false;
    int32_t index = 0;
};

// "ChannelInfo" or "DstChannelInfo" followed directly by a decimal index; case-sensitive.
ChannelKey ParseKey(const char* key) {
    ChannelKey result;
    const char* rest = nullptr;
    if (std::strncmp(key, "DstChannelInfo", 14) == 0) {
        result.destination = true;
        rest = key + 14;
    } else if (std::strncmp(key, "ChannelInfo", 11) == 0) {
        rest = key + 11;
    } else {
        return result;
    }
    if (!std::isdigit(static_cast<unsigned char>(*rest))) return result;
    int64_t index = 0;
    for (; std::isdigit(static_cast<unsigned char>(*rest)); ++rest) {
        index = index * 10 + (*rest - '0');
        if (index > INT32_MAX) return result;  // no profile has that many channels
    }
    result.index = int32_t(index);
    result.valid = true;
    return result;
}

bool IsLink(TKICCProfile& profile) { return profile.GetHeader().deviceClass == TKICCSig("link"); }

// The colorant tag a key addresses, or null when the profile has none.
TKColorantTableTag* ChannelTag(TKICCProfile& profile, bool destination) {
    const uint32_t signature = destination && IsLink(profile) ? TKICCSig("clot") : TKICCSig("clrt");
    TKICCTag* tag = profile.GetTag(signature);
    return tag ? static_cast<TKColorantTableTag*>(tag->Cast("TKColorantTableTag")) : nullptr;
}

// The space the tag keeps its colours in: "Lab " for links, the connection space otherwise.
uint32_t TagSpace(TKICCProfile& profile) {
    const uint32_t pcs = profile.GetHeader().pcs;
    return !IsLink(profile) && pcs == TKXYZSpace ? TKXYZSpace : TKLabSpace;
}

struct Channel {
    TKString name;
    TKVector colour;
};

Channel ReadChannel(TKICCProfile& profile, const ChannelKey& key) {
    Channel channel;
    if (TKColorantTableTag* tag = ChannelTag(profile, key.destination)) {
        channel.name = tag->GetName(key.index);
        channel.colour = tag->GetPCS(key.index, TagSpace(profile));
        return channel;
    }
    // Without a tag the standard channel of the device space stands in: its name and primary.
    uint32_t space = 0;
    if (!key.destination)
        space = TKICCProfileBasic::TranslateOldSpace(profile.GetHeader().colorSpace);
    else if (IsLink(profile))
        space = TKICCProfileBasic::TranslateOldSpace(profile.GetHeader().pcs);
    if (space == 0) return channel;
    channel.name = GetChannelName(space, key.index, 1);
    channel.colour = GetPrimary(space, key.index);
    return channel;
}

// Splits at the first two of "," and ";": name, type, and the colour text after them.
void SplitValue(const char* value, TKString fields[3]) {
    std::string parts[3];
    int32_t field = 0;
    for (const char* c = value; *c; ++c) {
        if ((*c == ',' || *c == ';') && field < 2)
            ++field;
        else
            parts[field] += *c;
    }
    for (int32_t i = 0; i < 3; ++i) {
        fields[i] = TKString(parts[i].c_str());
        fields[i].Trim();
    }
}

// A type given by its shown name ("Lab") or by its four-character signature ("Lab ").
uint32_t TypeOfText(const TKString& text) {
    if (uint32_t type = GetTypeFromName(text.CString())) return type;
    if (text.Length() < 1 || text.Length() > 4) return 0;
    char sig[4] = {' ', ' ', ' ', ' '};
    std::memcpy(sig, text.CString(), size_t(text.Length()));
    const uint32_t type = uint32_t(uint8_t(sig[0])) << 24 | uint32_t(uint8_t(sig[1])) << 16 |
                          uint32_t(uint8_t(sig[2])) << 8 | uint32_t(uint8_t(sig[3]));
    return IsKnownSpace(type) ? type : 0;
}

}  // namespace

extern "C" {

int32_t TKGetProfileOption(TKICCProfile* profile, const char* key, char* value, int32_t size) {
    if (!key || !key[0]) return int32_t(NoErr);
    if (!profile) return TK_ARG_ERROR();
    const ChannelKey channelKey = ParseKey(key);
    if (!channelKey.valid) return int32_t(ArgErr);
    return TKGuardCode([&] {
        const Channel channel = ReadChannel(*profile, channelKey);
        if (channel.name.IsEmpty()) return int32_t(ArgErr);
        TKString text;
        if (uint32_t type = uint32_t(channel.colour.GetType())) {
            text = channel.name;
            text.Append(",").Append(GetTypeName(type)).Append(",").Append(GetColorText(channel.colour));
        }
        if (value && size > 0) {
            if (int64_t(text.Length()) >= int64_t(size)) return int32_t(BufferTooSmall);
            std::strncpy(value, text.CString(), size_t(size));
        }
        return int32_t(NoErr);
    });
}

int32_t TKSetProfileOption(TKICCProfile* profile, const char* key, const char* value) {
    if (!key || !key[0]) return int32_t(NoErr);
    if (!profile || !value) return TK_ARG_ERROR();
    const ChannelKey channelKey = ParseKey(key);
    if (!channelKey.valid) return int32_t(ArgErr);
    return TKGuardCode([&] {
        TKColorantTableTag* tag = ChannelTag(*profile, channelKey.destination);
        // Channels exist only where a tag holds them; anything else is left as it is.
        if (!tag || channelKey.index >= tag->GetCount()) return int32_t(NoErr);
        TKString fields[3];
        SplitValue(value, fields);
        if (!fields[0].IsEmpty()) tag->SetName(channelKey.index, fields[0]);
        if (!fields[1].IsEmpty() && !fields[2].IsEmpty()) {
            const uint32_t type = TypeOfText(fields[1]);
            if (!type) TKThrow(WrongDataType);
            TKVector colour;
            GetColorFromText(colour, type, fields[2].CString(), true);
            tag->SetPCS(channelKey.index, ConvertColor(TagSpace(*profile), colour));
        }
        return int32_t(NoErr);
    });
}

}  // extern "C"
