// The boundary between hosts and the class tree: each export checks its arguments, calls
// into the engine and turns a thrown TKError into its return code.
#pragma once

#include <cstdint>
#include <utility>

#include "foundation/TKError.h"

// Sets up what is global on the first call from a host: debug settings and log file from the
// global settings, then the plug-ins. Runs once; later calls cost one check. Never throws.
void TKStartLibrary() noexcept;
// Global settings read by the start: the log's folder (present and empty: no log file) and its
// size limit in bytes.
extern const char kTKStartupLogFolderKey[];
extern const char kTKStartupLogMaxSizeKey[];

// Builds (and so logs and remembers) an ArgErr record without throwing it, and gives its code.
int32_t TKArgumentError(const char* file, int32_t line);
#define TK_ARG_ERROR() TKArgumentError(__FILE__, __LINE__)

// Functions that return a code: a TKError becomes the result, anything else passes.
template <class Body>
int32_t TKGuardCode(Body&& body) {
    TKStartLibrary();
    try {
        return std::forward<Body>(body)();
    } catch (const TKError& e) {
        return e.code();
    }
}

// Functions that return a new reference: any failure gives null, without a reason.
template <class Body>
auto TKGuardRef(Body&& body) noexcept -> decltype(body()) {
    TKStartLibrary();
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return nullptr;
    }
}
