// Builds the trafo of a chain of profiles or loads a saved link through the public interface.
#include "Chain.h"

#include <sys/stat.h>

#include <cerrno>
#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>

#include "LinkBake.h"
#include "LinkFile.h"
#include "MergeLinkFile.h"
#include "ProfileInfo.h"

namespace host {

namespace {

// The library reports a missing file with its own code; the host names the reason first.
void RequireReadable(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) throw Failure("cannot read " + path + ": " + std::strerror(errno));
    if (S_ISDIR(info.st_mode)) throw Failure("cannot read " + path + ": it is a directory");
}

uint32_t PcsType(const std::string& text, const std::string& option) {
    if (text == "lab" || text == "Lab") return kLab;
    if (text == "xyz" || text == "XYZ") return kXYZ;
    throw UsageError("option " + option + " takes lab or xyz, not '" + text + "'");
}

// The first bytes of a file: enough for an ICC header or a link file's magic.
std::vector<uint8_t> FileHead(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> head(128);
    in.read(reinterpret_cast<char*>(head.data()), std::streamsize(head.size()));
    head.resize(size_t(in.gcount()));
    return head;
}

uint32_t BigEndian32(const std::vector<uint8_t>& bytes, size_t at) {
    return bytes.size() < at + 4 ? 0
                                 : uint32_t(bytes[at]) << 24 | uint32_t(bytes[at + 1]) << 16 |
                                       uint32_t(bytes[at + 2]) << 8 | bytes[at + 3];
}

}  // namespace

int32_t GridBitsOfDeviceLink(const std::vector<uint8_t>& profile) {
    const TagPlace table = FindTag(profile, SignatureFrom("A2B0"));
    uint32_t points = 0;
    const uint32_t type = table.size >= 12 ? BigEndian32(profile, size_t(table.offset)) : 0;
    if ((type == SignatureFrom("mft1") || type == SignatureFrom("mft2")) && table.size > 10) {
        points = profile[size_t(table.offset) + 10];
    } else if (type == SignatureFrom("mAB ") && table.size >= 32) {
        const uint64_t clut = BigEndian32(profile, size_t(table.offset) + 24);
        const uint32_t inputs = profile[size_t(table.offset) + 8];
        for (uint32_t c = 0; clut && c < inputs && c < 16 && clut + c < table.size; ++c)
            points = std::max<uint32_t>(points, profile[size_t(table.offset + clut + c)]);
    }
    if (points < 2) return kHostDefaultGrid;
    int32_t bits = 1;
    while (bits < 6 && (1u << bits) + 1 < points) ++bits;
    return bits;
}

namespace {

// The intent a member asks for, with black point compensation when the chain wants it; the
// header's intent is looked up first, as compensation needs to know which intent it is.
int32_t MemberIntent(const ChainOptions& chain, const ChainOptions::Member& member) {
    if (!chain.bpc) return member.intent;
    int32_t intent = member.intent;
    if (intent == 20) intent = int32_t(BigEndian32(FileHead(member.path), 64));
    return WithBlackPointCompensation(intent);
}

#if TINTARA_HOST_PROFILES
// The intent bit that asks for a table into device values refined by inverse search.
constexpr int32_t kRefineIntentBit = 0x40;
// The library's code for colour types that do not chain.
constexpr int32_t kWrongDataType = 10;
#endif

}  // namespace

bool HaveProfiles() { return TINTARA_HOST_PROFILES != 0; }

const char* ChainUsage() {
    return TINTARA_HOST_PROFILES
               ? "  -i, --intent INTENT  intent of the profiles that follow (default perceptual):\n"
                 "        perceptual, p, 0      the profile's perceptual tables: pleasing, the gamut compressed\n"
                 "        relative, r, 1        colorimetric, the media white mapped to the destination white\n"
                 "        saturation, s, 2      the profile's saturation tables: vivid business graphics\n"
                 "        absolute, a, 3        colorimetric, the paper colour kept (for proofs)\n"
                 "        perceptual-bpc, 9     perceptual with black point compensation\n"
                 "        relative-bpc, 10      relative with black point compensation: the source black\n"
                 "                              scaled onto the destination black, shadows kept open\n"
                 "        header, 20            the intent the profile's header names\n"
                 "        custom1, 21           between relative and absolute: the white moved half the way\n"
                 "                              (mode and factor from CustomIntent0/ in TKGlobalData.txt)\n"
                 "        custom2-custom5       22-25: as set under CustomIntent1/ to CustomIntent4/\n"
                 "        11-19, 26-30          the library's further intents, by number or by name\n"
                 "                              (RelativeCompression, MinimumCompression, ...)\n"
                 "  -p, --profile FILE   an ICC profile of the chain (up to ten, in order)\n"
                 "  -l, --link FILE      a saved device link instead of profiles\n"
                 "  -m, --merge FILE     a device-link profile of a merge link for spot colours: the\n"
                 "                       first maps the process colours, each further one adds its own\n"
                 "                       extra channels (CMYK + a spot to CMYK); repeat in channel order\n"
                 "      --from lab|xyz   start in the connection space of the one profile\n"
                 "      --to lab|xyz     end in the connection space of the one profile\n"
                 "  -b, --bpc            black point compensation on every profile (perceptual and\n"
                 "                       relative intents: the same as perceptual-bpc, relative-bpc)\n"
                 "      --refine         refine each table into device values by searching the ink\n"
                 "                       whose colour its forward table meets (slower, more exact)\n"
               : "  -l, --link FILE      a saved device link\n"
                 "  (this build of the library has no profile functions; profile chains are not offered)\n";
}

bool ChainOptions::Take(Args& args) {
    const std::string word = args.Peek();
    if (word == "-l" || word == "--link") {
        args.Take();
        link = args.Value(word);
        return true;
    }
    if (!HaveProfiles()) return false;
    if (word == "-m" || word == "--merge") {
        args.Take();
        merge.push_back(args.Value(word));
        return true;
    }
    if (word == "-i" || word == "--intent") {
        args.Take();
        intent = ParseIntent(args.Value(word));
    } else if (word == "-p" || word == "--profile") {
        args.Take();
        if (profiles.size() == 10) throw UsageError("a chain holds at most ten profiles");
        profiles.push_back({args.Value(word), intent});
    } else if (word == "--refine") {
        args.Take();
        refine = true;
    } else if (word == "-b" || word == "--bpc") {
        args.Take();
        bpc = true;
    } else if (word == "--from") {
        args.Take();
        pcsIn = PcsType(args.Value(word), word);
    } else if (word == "--to") {
        args.Take();
        pcsOut = PcsType(args.Value(word), word);
    } else {
        return false;
    }
    return true;
}

Ref BakeDeviceLinkProfile(const std::string& path, int32_t gridBits) {
    FileSpec spec(path);
    TKFileSpec* specs[] = {spec.get()};
    const int32_t intents[] = {0};
    Ref trafo;
    Check(TKConcatICCProfiles(trafo.out(), 1, specs, intents), "reading device link " + path);
    double seconds = 0;
    return BakeLink(trafo.get(), gridBits ? gridBits : GridBitsOfDeviceLink(ReadFileBytes(path)), seconds);
}

bool IsDeviceLinkProfile(const std::string& path) {
    const std::vector<uint8_t> head = FileHead(path);
    return KindOfLinkFile(head) == LinkFileKind::IccProfile && BigEndian32(head, 12) == SignatureFrom("link");
}

std::string ChainOptions::DestinationProfile() const {
    if (profiles.empty() || IsDeviceLinkProfile(profiles.back().path)) return std::string();
    return profiles.back().path;
}

Ref LoadLink(const std::string& path) {
    RequireReadable(path);
    const std::vector<uint8_t> head = FileHead(path);
    const LinkFileKind kind = KindOfLinkFile(head);
    if (IsMergeLinkFile(head)) return LoadMergeLink(path);
    if (kind == LinkFileKind::Unknown)
        throw Failure("cannot read link " + path + ": neither a link file, a merge link file nor an ICC device-link profile");
    if (kind == LinkFileKind::IccProfile) {
        const uint32_t deviceClass = BigEndian32(head, 12);
        if (deviceClass != SignatureFrom("link"))
            throw Failure("cannot read link " + path + ": an ICC profile of class '" + SignatureText(deviceClass) +
                          "', not a device link (give it with -p)");
        if (!HaveProfiles()) throw Failure("cannot read link " + path + ": this build of the library reads no ICC profiles");
        return BakeDeviceLinkProfile(path, kHostDefaultGrid);
    }
    Ref link(TKNewTKLink16Ref());
    if (!link.get()) throw Failure("cannot create a link object");
    FileSpec spec(path);
    Check(TKLoadLink16(link.get(), spec.get()), "loading link " + path);
    return link;
}

Ref MergeLinkOfProfiles(const std::vector<std::string>& paths, const std::vector<int32_t>& gridBits) {
    std::vector<std::unique_ptr<FileSpec>> specs;
    std::vector<TKFileSpec*> pointers;
    for (const std::string& path : paths) {
        RequireReadable(path);
        specs.push_back(std::make_unique<FileSpec>(path));
        pointers.push_back(specs.back()->get());
    }
    Ref link(TKNewTKMCLink16Ref());
    if (!link.get()) throw Failure("cannot create a merge link object");
    Check(TKDLProfiles2MCLink16(link.get(), int32_t(pointers.size()), pointers.data(), gridBits.data()),
          "building the merge link of " + std::to_string(pointers.size()) + " device-link profiles");
    return link;
}

Ref BuildMergeLink(const ChainOptions& chain, int32_t gridBits) {
    if (!chain.link.empty() || !chain.profiles.empty())
        throw UsageError("give either merge-link profiles (-m) or a link or profiles, not both");
    if (chain.pcsIn || chain.pcsOut) throw UsageError("--from and --to do not apply to a merge link");
    return MergeLinkOfProfiles(chain.merge, std::vector<int32_t>(chain.merge.size(), gridBits));
}

Ref BuildTrafo(const ChainOptions& chain) {
    if (!chain.merge.empty()) throw UsageError("a merge link (-m) cannot be used here");
    if (!chain.link.empty()) {
        if (!chain.profiles.empty()) throw UsageError("give either a link or profiles, not both");
        if (chain.pcsIn || chain.pcsOut) throw UsageError("--from and --to need profiles, not a link");
        return LoadLink(chain.link);
    }
    if (chain.profiles.empty()) throw UsageError(HaveProfiles() ? "no profile or link given" : "no link given");
    for (const auto& member : chain.profiles) RequireReadable(member.path);
    if ((chain.pcsIn || chain.pcsOut) && chain.profiles.size() != 1)
        throw UsageError("--from and --to take a chain of one profile");
#if TINTARA_HOST_PROFILES
    if (chain.pcsIn && chain.pcsOut) throw UsageError("--from and --to together make no trafo");
    std::vector<std::unique_ptr<FileSpec>> specs;
    std::vector<TKFileSpec*> pointers;
    std::vector<int32_t> intents;
    std::string names;
    for (const auto& member : chain.profiles) {
        specs.push_back(std::make_unique<FileSpec>(member.path));
        pointers.push_back(specs.back()->get());
        intents.push_back(MemberIntent(chain, member) | (chain.refine ? kRefineIntentBit : 0));
        names += (names.empty() ? "" : " -> ") + member.path;
    }
    // A chain from a connection space is the profile's way back to device values; the library
    // converts between Lab and XYZ where the profile's own space is the other one.
    Ref trafo;
    const int32_t code = TKConcatICCProfilesEx(trafo.out(), chain.pcsIn, chain.pcsOut, int32_t(pointers.size()),
                                               pointers.data(), intents.data());
    if (code == kWrongDataType && (chain.pcsIn || chain.pcsOut))
        throw Failure(names + (chain.pcsIn ? " does not take colours from a connection space (--from)"
                                           : " does not deliver a connection space (--to)"));
    Check(code, "building the trafo of " + names);
    return trafo;
#else
    throw Failure("this build of the library has no profile functions");
#endif
}

}  // namespace host
