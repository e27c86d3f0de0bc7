// TKMD5 against the test suite of RFC 1321, appendix A.5.
#include <string>

#include "icc/TKMD5.h"
#include "support/TestSupport.h"

namespace {
std::string Hex(const TKMD5::Digest& d) {
    std::string s;
    char b[3];
    for (uint8_t v : d) {
        snprintf(b, sizeof b, "%02x", v);
        s += b;
    }
    return s;
}
std::string MD5(const std::string& text) { return Hex(TKMD5::Of(text.data(), text.size())); }
}  // namespace

TEST(MD5, RFC1321Vectors) {
    EXPECT_EQ(MD5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(MD5("a"), "0cc175b9c0f1b6a831c399e269772661");
    // 55, 56 and 57 bytes: the padding moves to a block of its own (Python's hashlib.md5).
    EXPECT_EQ(MD5(std::string(55, 'a')), "ef1772b6dff9a122358552954ad0df65");
    EXPECT_EQ(MD5(std::string(56, 'a')), "3b0c8ac703f828b04c6c197006d17218");
    EXPECT_EQ(MD5(std::string(57, 'a')), "652b906d60af96844ebd21b674f35e93");
    EXPECT_EQ(MD5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(MD5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(MD5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(MD5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(MD5("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(MD5, PiecewiseEqualsWhole) {
    std::string text(1000, 'x');
    for (size_t i = 0; i < text.size(); ++i) text[i] = char('a' + i * 7 % 26);
    TKMD5 md5;
    for (size_t at = 0, step = 1; at < text.size(); at += step, step = step * 3 % 97 + 1)
        md5.Update(text.data() + at, std::min(step, text.size() - at));
    EXPECT_EQ(Hex(md5.Final()), MD5(text));
}
