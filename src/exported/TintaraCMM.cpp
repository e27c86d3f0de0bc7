// Shared pieces of the exported layer.
#include "exported/TKExport.h"

int32_t TKArgumentError(const char* file, int32_t line) {
    TKStartLibrary();
    TKError record(ArgErr, nullptr, file, line);
    return record.code();
}
