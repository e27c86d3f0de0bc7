// Test main: every test must end with as many live TKObjects as it started with.
#include <cstdio>
#include <cstdlib>

#include "support/TestSupport.h"

namespace {

class LeakListener : public ::testing::EmptyTestEventListener {
public:
    void OnTestStart(const ::testing::TestInfo&) override { fBefore = TKObject::LiveObjects(); }
    void OnTestEnd(const ::testing::TestInfo& info) override {
        int32_t after = TKObject::LiveObjects();
        if (after != fBefore) {
            std::fprintf(stderr, "LEAK: %s.%s left %d live object(s)\n", info.test_suite_name(), info.name(),
                         int(after - fBefore));
            leaked = true;
        }
    }
    bool leaked = false;

private:
    int32_t fBefore = 0;
};

}  // namespace

int main(int argc, char** argv) {
    // The library's log goes to the debugging folder; a test run keeps it in the build tree.
    setenv("XDG_STATE_HOME", TINTARA_TEST_STATE, 1);
    ::testing::InitGoogleTest(&argc, argv);
    auto* listener = new LeakListener;
    ::testing::UnitTest::GetInstance()->listeners().Append(listener);
    int result = RUN_ALL_TESTS();
    if (listener->leaked) return 1;
    return result;
}
