// The data sets of the linearization exports: reading rows through callbacks, serving a matrix
// as a data set, and the codes and last errors the exports leave.
#include <cmath>

#include "color/TKColors.h"
#include "exported/TKVectorDataSet.h"
#include "foundation/TKHandle.h"
#include "linearization/TKColorLinearization.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

int32_t FailWithFive(int32_t, double*, void*) { return 5; }

class LinearizationExportsTest : public ::testing::Test {};

TEST_F(LinearizationExportsTest, DataSetsReadThroughCallbacks) {
    TKMatrix rows(3, 4, int32_t(TKCMYKSpace));
    for (int32_t r = 0; r < 3; ++r)
        for (int32_t c = 0; c < 4; ++c) rows(r, c) = 10.0 * r + c;
    TKVectorDataSet set;
    TKInitVectorDataSetFromMatrix(&set, rows);
    EXPECT_EQ(set.colorType, uint32_t(TKCMYKSpace));
    const TKMatrix read = TKReadVectorDataSet(&set, 3);
    EXPECT_EQ(read, rows);
    EXPECT_EQ(uint32_t(read.GetType()), uint32_t(TKCMYKSpace));

    // Served rows: null user data is 3, an index outside the matrix 7.
    double values[36];
    EXPECT_EQ(set.callback(1, values, nullptr), 3);
    EXPECT_EQ(set.callback(3, values, set.userData), 7);
    EXPECT_EQ(set.callback(2, values, set.userData), 0);
    EXPECT_EQ(values[3], 23.0);

    // Nothing to read is no error: an empty matrix.
    TKInitVectorDataSetFromMatrix(&set, TKMatrix());
    EXPECT_TRUE(set.colorType == 0 && set.callback == nullptr && set.userData == nullptr);
    EXPECT_TRUE(TKReadVectorDataSet(nullptr, 5).IsEmpty());
    EXPECT_TRUE(TKReadVectorDataSet(&set, 5).IsEmpty());
    TKInitVectorDataSetFromMatrix(&set, rows);
    EXPECT_TRUE(TKReadVectorDataSet(&set, 0).IsEmpty());
    TKInitVectorDataSetFromMatrix(nullptr, rows);  // ignored

    // Rows wider than 36 values and failing callbacks are DimMismatch, whatever their code.
    TKVectorDataSet wide;
    TKInitVectorDataSet(&wide, GetDeviceType(37), FailWithFive, nullptr);
    EXPECT_TKERROR(TKReadVectorDataSet(&wide, 2), DimMismatch);
    TKInitVectorDataSet(&wide, TKCMYKSpace, FailWithFive, nullptr);
    EXPECT_TKERROR(TKReadVectorDataSet(&wide, 2), DimMismatch);
}

// Argument failures store a last error; a row type of more than 36 channels returns 23.
TEST_F(LinearizationExportsTest, CodesAndLastErrors) {
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    ASSERT_NE(RefObjectAs<TKColorLinearization>(lin, "TKColorLinearization"), nullptr);
    TKVectorDataSet set;
    TKInitVectorDataSet(&set, GetDeviceType(40), FailWithFive, nullptr);
    EXPECT_EQ(TKCalcLinearization(lin, 1, &set, &set, nullptr), 3);
    EXPECT_EQ(TKError::LastError().code(), ArgErr);
    EXPECT_EQ(TKCalcGrayBalance(lin, 5, &set, &set), 23);
    TKFreeTKLinearizationRef(lin);
}

}  // namespace
