// The settings text of the exception logic: a grid size, spot rules, ink ranges and an ink-sum
// band, one per line. Settings come from hosts and users; a line that cannot be read completely
// is skipped as a whole, so a typing error never leaves half a rule behind.
#include <cmath>
#include <string>
#include <vector>

#include "color/TKColors.h"
#include "separation/TKColorException.h"
#include "separation/TKDirectColor.h"
#include "separation/TKNumberToken.h"

namespace {

using Tokens = std::vector<std::string>;

bool ReadNumber(const std::string& token, double& value) { return TKReadNumberToken(token.c_str(), value); }

std::vector<Tokens> SplitLines(const char* text) {
    std::vector<Tokens> lines(1);
    std::string token;
    auto endToken = [&] {
        if (!token.empty()) lines.back().push_back(token);
        token.clear();
    };
    for (const char* p = text; *p; ++p) {
        if (*p == '\r' || *p == '\n') {
            endToken();
            lines.emplace_back();
        } else if (*p == ' ' || *p == '\t') {
            endToken();
        } else {
            token += *p;
        }
    }
    endToken();
    return lines;
}

// `count` channel values of `type` from tokens[first...], each within the type's range.
bool ReadColour(const Tokens& tokens, size_t first, uint32_t type, TKVector& colour) {
    const int32_t n = GetChannelCount(type);
    if (n < 1 || tokens.size() < first + size_t(n)) return false;
    colour = TKVector(n, int32_t(type));
    for (int32_t i = 0; i < n; ++i) {
        double v = 0.0;
        if (!ReadNumber(tokens[first + size_t(i)], v)) return false;
        if (v < GetChannelMin(type, i) || v > GetChannelMax(type, i)) return false;
        colour[i] = v;
    }
    return true;
}

bool Has(const Tokens& tokens, const char* word) {
    for (const std::string& t : tokens)
        if (t == word) return true;
    return false;
}

// The grid points of `type` around a value: the nearest below and above (the same point when
// the value lies on the grid).
void EnclosingGridPoints(double value, double lo, double hi, int32_t points, double& below, double& above) {
    const double step = (hi - lo) / double(points - 1);
    const double position = (value - lo) / step;
    const double floorIndex = std::floor(position + 1e-9), ceilIndex = std::ceil(position - 1e-9);
    below = lo + step * floorIndex;
    above = lo + step * ceilIndex;
}

}  // namespace

void TKColorException::ParseSettings(const TKString& text) {
    fRules.clear();
    fTACMin = fTACMax = -1.0;
    fGridSize = 0;
    for (const Tokens& tokens : SplitLines(text.CString())) {
        if (tokens.empty()) continue;
        const std::string& key = tokens[0];
        if (key == "GridSize" && tokens.size() >= 2) {
            double grid = 0.0;
            if (ReadNumber(tokens[1], grid) && grid >= 0.0 && grid <= 256.0) fGridSize = int32_t(grid);
        } else if (key == "Spot" && tokens.size() >= 2) {
            const uint32_t type = GetTypeFromName(tokens[1].c_str());
            if (!IsDeviceSpace(type) || type == TKHSVSpace || type == TKHLSSpace) continue;
            const size_t n = size_t(GetChannelCount(type));
            TKSpotRule rule;
            if (tokens.size() < n + 2 || !ReadColour(tokens, 2, type, rule.lo)) continue;
            rule.hi = rule.lo;
            const double scale = TKChannelScale(type);
            rule.border = fTolerance * scale;
            bool valid = true;
            if (tokens.size() > n + 2 && tokens[n + 2] == "Border") {
                if (tokens.size() < n + 4) continue;
                if (tokens[n + 3] == "Auto") {
                    // The cell of the link's grid that holds the spot; a channel on a grid line
                    // gets a box of a thousandth of its range.
                    const int32_t points = fGridSize < 2 ? 11 : fGridSize;
                    for (size_t i = 0; i < n; ++i) {
                        const int32_t c = int32_t(i);
                        const double v = rule.lo[c];
                        double below, above;
                        EnclosingGridPoints(v, GetChannelMin(type, c), GetChannelMax(type, c), points, below, above);
                        if (v - below < 0.001 * scale || above - v < 0.001 * scale) {
                            below = v - 0.001 * scale;
                            above = v + 0.001 * scale;
                        }
                        rule.lo[c] = below;
                        rule.hi[c] = above;
                    }
                } else {
                    double b = 0.0;
                    valid = ReadNumber(tokens[n + 3], b) && b >= 0.0;
                    rule.lo.SubtractScalar(b);
                    rule.hi.AddScalar(b);
                }
            }
            for (size_t at : {n + 2, n + 4}) {
                if (tokens.size() > at + 1 && tokens[at] == "Radius") {
                    double radius = 0.0;
                    valid = valid && ReadNumber(tokens[at + 1], radius) && radius >= 0.0;
                    rule.radius = radius;
                }
            }
            if (!valid) continue;
            rule.useInkLimit = !Has(tokens, "IgnoreTAC");
            fRules.push_back(rule);
        } else if (key == "Range") {
            if (tokens.size() < 11 || tokens[1] != "CMYK" || tokens[6] != "CMYK") continue;
            TKSpotRule rule;
            if (!ReadColour(tokens, 2, TKCMYKSpace, rule.lo) || !ReadColour(tokens, 7, TKCMYKSpace, rule.hi)) continue;
            bool ordered = true;
            for (int32_t i = 0; i < 4; ++i) ordered = ordered && rule.lo[i] <= rule.hi[i];
            if (!ordered) continue;
            rule.border = 100.0 * fTolerance;
            rule.useInkLimit = !Has(tokens, "IgnoreTAC");
            fRules.push_back(rule);
        } else if (key == "TAC") {
            double lo = 0.0, hi = 0.0;
            if (tokens.size() < 5 || tokens[1] != "Min" || tokens[3] != "Max") continue;
            if (!ReadNumber(tokens[2], lo) || !ReadNumber(tokens[4], hi) || lo < 0.0 || hi <= lo) continue;
            fTACMin = lo;
            fTACMax = hi;
        }
    }
}
