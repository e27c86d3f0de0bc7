// The error record: code table, file-name reduction, last error, Describe.
#include "support/TestSupport.h"

TEST(ErrorRecord, ReducesFileNames) {
    EXPECT_STREQ(TKError(ArgErr, nullptr, "C:\\dev\\TKMatrix", 1).file(), "Matrix");
    EXPECT_STREQ(TKError(ArgErr, nullptr, "..\\TKError", 1).file(), "TKError");
    EXPECT_STREQ(TKError(ArgErr, nullptr, "tkVector", 1).file(), "Vector");
    EXPECT_STREQ(TKError(ArgErr, nullptr, "/src/icc/TKICCProfile.cpp", 1).file(), "TKICCProfile.cpp");
    EXPECT_STREQ(TKError(ArgErr, nullptr, "TKAddRGBTrafo", 1).file(), "TKAddRGBTrafo");
    EXPECT_STREQ(TKError(ArgErr, nullptr, "plain", 1).file(), "plain");
    EXPECT_STREQ(TKError(ArgErr).file(), "");
    EXPECT_STREQ(TKError(ArgErr).message(), "");
}

TEST(ErrorRecord, RemembersLastErrorButNotCancel) {
    TKError{IndexError, "first", "x.cpp", 7};
    EXPECT_EQ(TKError::LastError().code(), IndexError);
    EXPECT_STREQ(TKError::LastError().message(), "first");
    TKError{Cancel, "stop", "y.cpp", 8};
    EXPECT_EQ(TKError::LastError().code(), IndexError);
    TKError{NoErr};
    EXPECT_EQ(TKError::LastError().code(), IndexError);
    TKError{DimMismatch, nullptr, nullptr, 0, TKError::kNoLog};
    EXPECT_EQ(TKError::LastError().code(), DimMismatch);
}

TEST(ErrorRecord, Describe) {
    EXPECT_STREQ(TKError(FormatErr).Describe(), "Error=19 (FormatErr)");
    EXPECT_STREQ(TKError(FormatErr, nullptr, "f", 12).Describe(), "Error=19 (FormatErr, 12)");
    EXPECT_STREQ(TKError(NoErr).Describe(), "No Error");
    EXPECT_STREQ(TKError(ArgErr, "bad thing", "TKLongFileName.cpp", 3).Describe(), "Error=3 (bad thing, 3)");
    EXPECT_STREQ(TKError(30).Describe(), "Error=30 (UnknownErorr)");
}

TEST(ErrorRecord, SystemError) {
    EXPECT_EQ(TKERROR_MESSAGE(TKError::ThrowSystemError(2, "open failed"), SystemError), "System error: 2 open failed");
    EXPECT_EQ(TKError::LastError().code(), SystemError);
    EXPECT_TKERROR(TKError::ThrowSystemError(5, ""), SystemError);
    EXPECT_STREQ(TKError::LastError().message(), "System error: 5");
}
