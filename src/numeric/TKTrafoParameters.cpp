// Vectors and matrices as data-base entries.
#include "numeric/TKTrafoParameters.h"

#include "io/TKDataBase.h"

namespace {
// Seventeen significant digits carry every double through text unchanged.
constexpr const char* kExactFormat = "%.17g";

TKString Key(const char* key, const char* suffix) { return TKString(key) + suffix; }
}  // namespace

void TKSaveVector(TKDataBase& base, const char* key, const TKVector& vector) {
    base.SetString(key, vector.ToString(kExactFormat, ','));
    if (vector.GetType() != 0) base.SetInt(Key(key, "Type"), vector.GetType());
}

TKVector TKLoadVector(const TKDataBase& base, const char* key) {
    TKVector vector;
    vector.FromString(base.GetString(key).CString());
    vector.SetType(base.GetInt(Key(key, "Type"), 0));
    return vector;
}

void TKSaveMatrix(TKDataBase& base, const char* key, const TKMatrix& matrix) {
    base.SetInt(Key(key, "Height"), matrix.GetHeight());
    base.SetInt(Key(key, "Width"), matrix.GetWidth());
    base.SetInt(Key(key, "Type"), matrix.GetType());
    TKVector values;
    values.SetFromArray(int32_t(int64_t(matrix.GetHeight()) * matrix.GetWidth()), matrix.Values());
    base.SetString(key, values.ToString(kExactFormat, ','));
}

TKMatrix TKLoadMatrix(const TKDataBase& base, const char* key) {
    int32_t height = base.GetInt(Key(key, "Height"), 0);
    int32_t width = base.GetInt(Key(key, "Width"), 0);
    TKVector values;
    values.FromString(base.GetString(key).CString());
    if (height < 0 || width < 0 || int64_t(height) * width != values.GetDim())
        TKThrowMsg(FormatErr, "matrix entry has the wrong count");
    TKMatrix matrix(height, width, base.GetInt(Key(key, "Type"), 0));
    if (values.GetDim() > 0) std::copy(values.Values(), values.Values() + values.GetDim(), matrix.MutableValues());
    return matrix;
}
