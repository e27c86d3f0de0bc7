// The boundary between hosts and the class tree: each export checks its arguments, calls
// into the engine and turns a thrown TKError into its return code.
#pragma once

#include <cstdint>
#include <utility>

#include "foundation/TKError.h"

// Builds (and so logs and remembers) an ArgErr record without throwing it, and gives its code.
int32_t TKArgumentError(const char* file, int32_t line);
#define TK_ARG_ERROR() TKArgumentError(__FILE__, __LINE__)

// Functions that return a code: a TKError becomes the result, anything else passes.
template <class Body>
int32_t TKGuardCode(Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const TKError& e) {
        return e.code();
    }
}

// Functions that return a new reference: any failure gives null, without a reason.
template <class Body>
auto TKGuardRef(Body&& body) noexcept -> decltype(body()) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return nullptr;
    }
}
