#include <cstdlib>
#include <cstring>

#include "support/TestSupport.h"

std::string TestDataPath(const std::string& name) {
    const char* root = std::getenv("TINTARA_TEST_DATA");
    return std::string(root && root[0] ? root : TINTARA_TEST_DATA) + "/" + name;
}

namespace {
std::string Fingerprint(const TKError& e) {
    return std::to_string(e.code()) + "|" + e.message() + "|" + e.file() + "|" + std::to_string(e.line());
}
}  // namespace

void TKNoErrorTest::SetUp() { fLastBefore = Fingerprint(TKError::LastError()); }

void TKNoErrorTest::TearDown() {
    TKError last = TKError::LastError();
    EXPECT_EQ(Fingerprint(last), fLastBefore) << "unexpected error recorded: " << last.Describe();
}
