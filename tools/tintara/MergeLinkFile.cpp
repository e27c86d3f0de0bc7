// The host's file form of a merge link: its members as ICC device links in one file.
#include "MergeLinkFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "IccLinkWriter.h"
#include "LinkBake.h"
#include "LinkFile.h"

namespace host {

namespace {

constexpr uint32_t kFormat = 1;
// Members beyond this are refused before anything is read: a merge link adds one spot a member.
constexpr uint32_t kMaxMembers = 32;

void PutU32(std::vector<uint8_t>& bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes.push_back(uint8_t(value >> (8 * i)));
}

uint32_t GetU32(const std::vector<uint8_t>& bytes, size_t at) {
    return uint32_t(bytes[at]) | uint32_t(bytes[at + 1]) << 8 | uint32_t(bytes[at + 2]) << 16 |
           uint32_t(bytes[at + 3]) << 24;
}

// One member profile baked into a link and written back as an ICC device link.
std::vector<uint8_t> BakedMember(const std::string& path, int32_t gridBits, size_t index) {
    const std::vector<uint8_t> profile = ReadFileBytes(path);
    Ref link = BakeDeviceLinkProfile(path, gridBits);
    IccLinkInfo info;
    info.description = "tintara merge link member " + std::to_string(index + 1) + ": " + BaseName(path);
    info.sequence.push_back(SequenceMemberOf(profile));
    return MakeIccDeviceLink(ParseNativeLink(SavedLinkBytes(link.get()), path), info);
}

// Temporary files that go again with their owner: the library reads merge members from files.
class TemporaryFiles {
public:
    ~TemporaryFiles() {
        for (const std::string& path : paths_) std::remove(path.c_str());
    }
    std::string Write(const std::vector<uint8_t>& bytes) {
        const char* folder = std::getenv("TMPDIR");
        std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/tintara-member-XXXXXX";
        const int fd = mkstemp(pattern.data());
        if (fd < 0) throw Failure("cannot write a temporary file: " + std::string(std::strerror(errno)));
        paths_.push_back(pattern);
        size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
            if (written <= 0) {
                close(fd);
                throw Failure("cannot write a temporary file: " + std::string(std::strerror(errno)));
            }
            done += size_t(written);
        }
        close(fd);
        return pattern;
    }

private:
    std::vector<std::string> paths_;
};

}  // namespace

bool IsMergeLinkFile(const std::vector<uint8_t>& head) {
    return head.size() >= 4 && std::memcmp(head.data(), "TMRG", 4) == 0;
}

bool IsMergeLinkFileAt(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> head(4);
    in.read(reinterpret_cast<char*>(head.data()), 4);
    return in.gcount() == 4 && IsMergeLinkFile(head);
}

std::vector<uint8_t> MergeLinkFileOf(const ChainOptions& chain, int32_t gridBits) {
    std::vector<uint8_t> bytes{'T', 'M', 'R', 'G'};
    PutU32(bytes, kFormat);
    PutU32(bytes, uint32_t(chain.merge.size()));
    for (size_t i = 0; i < chain.merge.size(); ++i) {
        const std::vector<uint8_t> member = BakedMember(chain.merge[i], gridBits, i);
        PutU32(bytes, uint32_t(member.size()));
        bytes.insert(bytes.end(), member.begin(), member.end());
    }
    bytes.insert(bytes.end(), {'E', 'M', 'R', 'G'});
    return bytes;
}

std::vector<std::vector<uint8_t>> MergeLinkMembers(const std::vector<uint8_t>& bytes, const std::string& path) {
    auto fail = [&](const std::string& flaw) { return Failure("cannot read merge link " + path + ": " + flaw); };
    if (bytes.size() < 16 || !IsMergeLinkFile(bytes)) throw fail("it is not a merge link file");
    if (GetU32(bytes, 4) != kFormat) throw fail("its format " + std::to_string(GetU32(bytes, 4)) + " is unknown");
    const uint32_t count = GetU32(bytes, 8);
    if (count < 1 || count > kMaxMembers) throw fail("it claims " + std::to_string(count) + " members");
    std::vector<std::vector<uint8_t>> members;
    size_t at = 12;
    for (uint32_t i = 0; i < count; ++i) {
        if (bytes.size() - at < 4) throw fail("it ends early");
        const uint32_t size = GetU32(bytes, at);
        at += 4;
        if (size > bytes.size() - at) throw fail("member " + std::to_string(i + 1) + " runs past the end");
        std::vector<uint8_t> member(bytes.begin() + long(at), bytes.begin() + long(at + size));
        if (KindOfLinkFile(member) != LinkFileKind::IccProfile || member.size() < 128 ||
            std::memcmp(member.data() + 12, "link", 4) != 0)
            throw fail("member " + std::to_string(i + 1) + " is no ICC device link");
        members.push_back(std::move(member));
        at += size;
    }
    if (bytes.size() - at != 4 || std::memcmp(bytes.data() + at, "EMRG", 4) != 0)
        throw fail("it does not end with 'EMRG' after its members");
    return members;
}

Ref LoadMergeLink(const std::string& path) {
    const std::vector<std::vector<uint8_t>> members = MergeLinkMembers(ReadFileBytes(path), path);
    TemporaryFiles files;
    std::vector<std::string> paths;
    std::vector<int32_t> grids;
    for (const auto& member : members) {
        paths.push_back(files.Write(member));
        grids.push_back(GridBitsOfDeviceLink(member));
    }
    return MergeLinkOfProfiles(paths, grids);
}

}  // namespace host
