// The default table evaluation of TKTrafo: a row loop that maps equal neighbouring rows once.
#include <algorithm>
#include <chrono>

#include "foundation/TKProgress.h"
#include "numeric/TKTrafo.h"

namespace {
// Reports during a long table at most this often.
constexpr auto kReportInterval = std::chrono::milliseconds(200);
}  // namespace

TKMatrix TKTrafo::TrafoMatrix(const TKMatrix& source, TKProgress* progress) const {
    int32_t height = source.GetHeight();
    if (height == 0) return TKMatrix(0, 0, GetDstType(source.GetType()));
    TKVector first = Trafo(source.GetRow(0));
    TKMatrix result(height, first.GetDim(), first.GetType());
    result.SetRow(0, first);
    int32_t width = source.GetWidth();
    auto lastReport = std::chrono::steady_clock::now();
    for (int32_t r = 1; r < height; ++r) {
        if (progress) {
            auto now = std::chrono::steady_clock::now();
            if (now - lastReport > kReportInterval) {
                progress->SetProgress(double(r) / double(height - 1));
                lastReport = now;
            }
        }
        const double* row = source.Row(r);
        const double* previous = source.Row(r - 1);
        if (std::equal(row, row + width, previous)) {
            // Same colour as the row before: its result is already in the row before.
            std::copy(result.Row(r - 1), result.Row(r - 1) + result.GetWidth(), result.MutableValues() + int64_t(r) * result.GetWidth());
            continue;
        }
        result.SetRow(r, Trafo(source.GetRow(r)));
    }
    return result;
}
