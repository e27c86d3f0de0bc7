// Fuzz target: separations by name, with parameters, limits and colours taken from the input.
// Whatever comes in, the factory gives a separation or throws TKError, and a separation maps
// every colour to finite inks within 0..100 both ways.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/TKError.h"
#include "separation/TKGCRSeparation.h"

namespace {
void Check(bool condition) {
    if (!condition) std::abort();
}

// The next byte as a percent from -10 to 117.5, so that values outside the range come too.
double Percent(const uint8_t*& data, size_t& size) {
    if (size == 0) return 50.0;
    --size;
    return *data++ / 2.0 - 10.0;
}

void CheckInks(const TKVector& inks) {
    for (int32_t i = 0; i < inks.GetDim(); ++i) Check(std::isfinite(inks[i]) && inks[i] >= 0.0 && inks[i] <= 100.0);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > 4096) return 0;
    // The name runs up to the first zero byte; what follows feeds the numbers.
    const size_t nameLength = strnlen(reinterpret_cast<const char*>(data), size);
    const std::string name(reinterpret_cast<const char*>(data), nameLength);
    data += nameLength, size -= nameLength;
    if (size > 0) ++data, --size;
    const double p1 = Percent(data, size), p2 = Percent(data, size), tac = Percent(data, size) * 4.0;
    const int32_t limitCount = size > 0 ? *data % 6 : 0;
    TKVector limits(limitCount);
    for (int32_t i = 0; i < limitCount; ++i) limits[i] = Percent(data, size);
    try {
        TKRefPtr<TKColorSeparationBase> separation = TKNewSeparation(name.c_str(), limits, p1, p2, tac);
        if (!separation) return 0;
        while (size >= 3) {
            const TKVector cmy({Percent(data, size), Percent(data, size), Percent(data, size)}, int32_t(TKCMYSpace));
            const TKVector cmyk = separation->CMY2CMYK(cmy);
            CheckInks(cmyk);
            CheckInks(separation->CMYK2CMY(cmyk));
        }
    } catch (const TKError&) {
    }
    return 0;
}
