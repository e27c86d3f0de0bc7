// Profiles that travel inside images: the source of a job and the profile its result carries.
#include "EmbeddedProfile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace host {

namespace {

uint32_t BigEndian32(const std::vector<uint8_t>& bytes, size_t at) {
    return uint32_t(bytes[at]) << 24 | uint32_t(bytes[at + 1]) << 16 | uint32_t(bytes[at + 2]) << 8 | bytes[at + 3];
}

constexpr uint32_t kLinkClass = 0x6C696E6B;  // 'link'

std::string SpaceText(const ProfileHeader& header) {
    std::string text = SignatureText(header.colourSpace);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

#if TINTARA_HOST_PROFILES
struct ProfileDeleter {
    void operator()(TKICCProfile* profile) const { TKFreeICCProfileRef(profile); }
};

// The library's own reading of a profile file: zero when it takes it.
int32_t LibraryReads(const std::string& path) {
    std::unique_ptr<TKICCProfile, ProfileDeleter> profile(TKNewICCProfileRef());
    if (!profile) throw Failure("cannot create a profile object");
    FileSpec spec(path);
    return TKReadProfile(profile.get(), spec.get());
}
#endif

}  // namespace

int ChannelsOfSpace(uint32_t space) {
    switch (space) {
        case 0x47524159: return 1;  // 'GRAY'
        case 0x434D594B: return 4;  // 'CMYK'
        case 0x52474220: case 0x434D5920: case 0x4C616220: case 0x58595A20: case 0x59436272:
        case 0x4C757620: case 0x59787920: case 0x48535620: case 0x484C5320: case 0x4C757676:
            return 3;  // 'RGB ', 'CMY ', 'Lab ', 'XYZ ', 'YCbr', 'Luv ', 'Yxy ', 'HSV ', 'HLS ', 'Luvv'
        default: break;
    }
    // '2CLR' to 'FCLR': the first character is the count in hexadecimal.
    if ((space & 0x00FFFFFF) == 0x00434C52) {
        const char digit = char(space >> 24);
        if (digit >= '2' && digit <= '9') return digit - '0';
        if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    }
    return 0;
}

bool DescribesAColourSpace(uint32_t deviceClass) {
    // 'scnr', 'mntr', 'prtr', 'spac'
    return deviceClass == 0x73636E72 || deviceClass == 0x6D6E7472 || deviceClass == 0x70727472 ||
           deviceClass == 0x73706163;
}

std::optional<ProfileHeader> ReadProfileHeader(const std::vector<uint8_t>& bytes, std::string& why) {
    if (bytes.size() < 132) {
        why = "only " + std::to_string(bytes.size()) + " bytes, less than a profile header and tag count";
        return std::nullopt;
    }
    if (BigEndian32(bytes, 36) != 0x61637370) {  // 'acsp'
        why = "no profile signature in its header";
        return std::nullopt;
    }
    const uint32_t size = BigEndian32(bytes, 0);
    if (size < 132 || size > bytes.size()) {
        why = "its header gives a size of " + std::to_string(size) + " bytes for " + std::to_string(bytes.size());
        return std::nullopt;
    }
    ProfileHeader header;
    header.deviceClass = BigEndian32(bytes, 12);
    header.colourSpace = BigEndian32(bytes, 16);
    header.pcs = BigEndian32(bytes, 20);
    header.channels = ChannelsOfSpace(header.colourSpace);
    return header;
}

TemporaryFile::TemporaryFile(const std::vector<uint8_t>& bytes) {
    const char* dir = std::getenv("TMPDIR");
    std::string pattern = std::string(dir && *dir ? dir : "/tmp") + "/tintara-profile-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) throw Failure("cannot make a temporary file: " + std::string(std::strerror(errno)));
    path_ = name.data();
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + written, bytes.size() - written);
        if (n <= 0) {
            close(fd);
            std::remove(path_.c_str());
            throw Failure("cannot write a temporary file: " + std::string(std::strerror(errno)));
        }
        written += size_t(n);
    }
    close(fd);
}

TemporaryFile::~TemporaryFile() { std::remove(path_.c_str()); }

SourceChoice ChooseSource(const ChainOptions& chain, const std::vector<uint8_t>& embedded, int colourChannels,
                          const std::string& imageName, bool ignore) {
    SourceChoice choice;
    choice.chain = chain;
    if (ignore || embedded.empty() || chain.profiles.empty() || !chain.link.empty() || !chain.merge.empty() ||
        chain.pcsIn)
        return choice;
    // The same profile given again as the first of the chain is the source, not a second step.
    if (ReadFileBytes(chain.profiles.front().path) == embedded) return choice;
    const std::string advice = "; give --no-embedded and the source profile with -p";
    std::string why;
    const std::optional<ProfileHeader> header = ReadProfileHeader(embedded, why);
    if (!header) throw Failure("the profile embedded in " + imageName + " is broken: " + why + advice);
    if (!DescribesAColourSpace(header->deviceClass))
        throw Failure("the profile embedded in " + imageName + " is a " + SignatureText(header->deviceClass) +
                      " profile, not one of the image's colours" + advice);
    if (header->channels != colourChannels)
        throw Failure("the profile embedded in " + imageName + " is for " + SpaceText(*header) + ", which does not fit the " +
                      std::to_string(colourChannels) + " colour channels of the image" + advice);
    choice.embedded = std::make_unique<TemporaryFile>(embedded);
#if TINTARA_HOST_PROFILES
    const int32_t code = LibraryReads(choice.embedded->Path());
    if (code != 0)
        throw Failure("the profile embedded in " + imageName + " is broken: " + CodeName(code) + " (" +
                      std::to_string(code) + ")" + advice);
#endif
    choice.chain.profiles.insert(choice.chain.profiles.begin(),
                                 {choice.embedded->Path(), chain.profiles.front().intent});
    if (choice.chain.profiles.size() > 10)
        throw UsageError("with the profile embedded in " + imageName + " the chain holds more than ten profiles");
    choice.usesEmbedded = true;
    return choice;
}

std::vector<uint8_t> ProfileToEmbed(const ChainOptions& chain, const std::string& requested, int outputChannels,
                                    std::string& shownName) {
    shownName.clear();
    const std::string path = requested.empty() ? chain.DestinationProfile() : requested;
    if (path.empty()) return {};
    std::vector<uint8_t> bytes = ReadFileBytes(path);
    std::string why;
    const std::optional<ProfileHeader> header = ReadProfileHeader(bytes, why);
    if (requested.empty()) {
        // The last profile of a chain is embedded only when it says what the result's numbers mean.
        if (!header || !DescribesAColourSpace(header->deviceClass) || header->channels != outputChannels) return {};
    } else {
        if (!header) throw Failure("cannot embed " + path + ": " + why);
        if (header->deviceClass == kLinkClass || !DescribesAColourSpace(header->deviceClass))
            throw Failure("cannot embed " + path + ": a " + SignatureText(header->deviceClass) +
                          " profile describes no colours of the result");
        if (header->channels != outputChannels)
            throw Failure("cannot embed " + path + ": it is for " + SpaceText(*header) + ", the result has " +
                          std::to_string(outputChannels) + " colour channels");
    }
    shownName = path;
    return bytes;
}

}  // namespace host
