// Shared helpers of the test programs.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "foundation/TKError.h"
#include "foundation/TKObject.h"

// Path of a file below tests/data.
std::string TestDataPath(const std::string& name);

// Runs a statement that must throw a TKError with the given code.
#define EXPECT_TKERROR(statement, expectedCode)                                  \
    do {                                                                         \
        try {                                                                    \
            statement;                                                           \
            ADD_FAILURE() << "expected TKError " << (expectedCode) << " from " #statement; \
        } catch (const TKError& tkError_) {                                      \
            EXPECT_EQ(tkError_.code(), (expectedCode)) << #statement;            \
        }                                                                        \
    } while (0)

// The message of the TKError a statement must throw with the given code ("" and a failure when
// it throws none), for the tests of what a host or user reads.
#define TKERROR_MESSAGE(statement, expectedCode)                                 \
    [&]() -> std::string {                                                       \
        try {                                                                    \
            statement;                                                           \
        } catch (const TKError& tkError_) {                                      \
            EXPECT_EQ(tkError_.code(), (expectedCode)) << #statement;            \
            return tkError_.message();                                           \
        }                                                                        \
        ADD_FAILURE() << "expected TKError " << (expectedCode) << " from " #statement; \
        return std::string();                                                    \
    }()

// A fixture for tests that must leave no error behind: it fails a test after which
// TKError::LastError() changed although the test did not expect a failure.
class TKNoErrorTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    std::string fLastBefore;
};
