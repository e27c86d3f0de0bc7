// Profiles that travel inside images: which one is the source of a job, which one the result
// carries, and the checks that keep a wrong one from converting silently.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Chain.h"

namespace host {

// What the header of an ICC profile says about its use.
struct ProfileHeader {
    uint32_t deviceClass = 0;  // 'scnr', 'mntr', 'prtr', 'link', 'spac', 'abst', 'nmcl'
    uint32_t colourSpace = 0;  // data colour space: 'RGB ', 'CMYK', 'GRAY', 'Lab ', '6CLR', ...
    uint32_t pcs = 0;          // connection space; the output space of a device link
    int channels = 0;          // channels of the data colour space; 0 when the space is unknown
};

// The header of the profile in `bytes`, or a text saying why these bytes are no profile.
std::optional<ProfileHeader> ReadProfileHeader(const std::vector<uint8_t>& bytes, std::string& why);
// Channels of a colour space signature, 0 for one this host does not know.
int ChannelsOfSpace(uint32_t space);
// Whether a profile of this class describes colours of its own (not a link, abstract or named).
bool DescribesAColourSpace(uint32_t deviceClass);

// A file holding bytes for as long as the object lives: the library reads profiles from files.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::vector<uint8_t>& bytes);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// The source of a conversion: the chain as given, or with the image's own profile in front.
struct SourceChoice {
    ChainOptions chain;
    std::unique_ptr<TemporaryFile> embedded;  // holds the image's profile while the chain is built
    bool usesEmbedded = false;
};

// Puts the profile embedded in `imageName` in front of the chain's profiles, unless `ignore` is
// set, the chain is a link, or the first profile given is that very profile. A profile that is
// broken or does not fit the image's `colourChannels` is refused, naming the option that ignores it.
SourceChoice ChooseSource(const ChainOptions& chain, const std::vector<uint8_t>& embedded, int colourChannels,
                          const std::string& imageName, bool ignore);

// The profile the result carries: `requested` if given (checked against the output), else the
// chain's last profile when it describes the output's colours; never a device link.
std::vector<uint8_t> ProfileToEmbed(const ChainOptions& chain, const std::string& requested, int outputChannels,
                                    std::string& shownName);

}  // namespace host
