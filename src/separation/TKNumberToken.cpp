// Whole-token numbers: "12,5" reads as 12.5, "12x" and "" do not read at all.
#include "separation/TKNumberToken.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

bool TKReadNumberToken(const char* token, double& value) {
    if (!token || !*token) return false;
    std::string text(token);
    for (char& c : text)
        if (c == ',') c = '.';
    errno = 0;
    char* end = nullptr;
    const double read = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || errno != 0 || !std::isfinite(read)) return false;
    value = read;
    return true;
}
