// TKCLUT: grid storage with checked sizes and typed node access.
#include "numeric/TKCLUT.h"

#include <cstring>
#include <new>

#include "foundation/TKError.h"
#include "numeric/TKSampleConversions.h"

TKCLUT::TKCLUT(const TKCLUT& other) { *this = other; }

TKCLUT& TKCLUT::operator=(const TKCLUT& other) {
    if (this == &other) return *this;
    std::unique_ptr<uint8_t[]> data;
    if (other.fData) {
        data.reset(new (std::nothrow) uint8_t[other.fDataSize]);
        if (!data) TKThrow(MemFullErr);
        std::memcpy(data.get(), other.fData.get(), other.fDataSize);
    }
    fGridPoints = other.fGridPoints;
    fOutDim = other.fOutDim;
    fSampleSize = other.fSampleSize;
    fData = std::move(data);
    fDataSize = other.fDataSize;
    fNodeCount = other.fNodeCount;
    return *this;
}

namespace {

// The node count of a grid, checked against the size limit before anything is allocated.
uint64_t CheckedNodeCount(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize) {
    if (gridPoints.empty() || outDim < 1) TKThrow(ArgErr);
    if (sampleSize != TKCLUT::kByte && sampleSize != TKCLUT::kWord && sampleSize != TKCLUT::kDouble) TKThrow(ArgErr);
    uint64_t nodes = 1;
    for (int32_t g : gridPoints) {
        if (g < 1) TKThrow(ArgErr);
        nodes *= uint64_t(g);
        if (nodes * uint64_t(outDim) * uint64_t(sampleSize) > TKCLUT::kMaxDataSize) TKThrow(MemFullErr);
    }
    return nodes;
}

}  // namespace

void TKCLUT::Setup(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize) {
    const uint64_t nodes = CheckedNodeCount(gridPoints, outDim, sampleSize);
    const uint64_t size = nodes * uint64_t(outDim) * uint64_t(sampleSize);
    std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[size]());
    if (!data) TKThrow(MemFullErr);
    fGridPoints = gridPoints;
    fOutDim = outDim;
    fSampleSize = sampleSize;
    fData = std::move(data);
    fDataSize = size;
    fNodeCount = int32_t(nodes);
}

void TKCLUT::SetShape(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize) {
    const uint64_t nodes = CheckedNodeCount(gridPoints, outDim, sampleSize);
    fGridPoints = gridPoints;
    fOutDim = outDim;
    fSampleSize = sampleSize;
    fData.reset();
    fDataSize = 0;
    fNodeCount = int32_t(nodes);
}

void TKCLUT::Clear() {
    fGridPoints.clear();
    fOutDim = 0;
    fData.reset();
    fDataSize = 0;
    fNodeCount = 0;
}

void TKCLUT::CheckNode(int32_t node) const {
    if (node < 0 || node >= fNodeCount || !fData) TKThrow(IndexError);
}

uint8_t* TKCLUT::NodeAddress(int32_t node, int32_t sampleSize) const {
    CheckNode(node);
    if (sampleSize != fSampleSize) TKThrow(ArgErr);
    return fData.get() + uint64_t(node) * uint64_t(fOutDim) * uint64_t(fSampleSize);
}

void TKCLUT::GetNode(int32_t node, double* values) const {
    CheckNode(node);
    const uint8_t* at = fData.get() + uint64_t(node) * uint64_t(fOutDim) * uint64_t(fSampleSize);
    for (int32_t o = 0; o < fOutDim; ++o) {
        switch (fSampleSize) {
            case kByte: values[o] = at[o] / 255.0; break;
            case kWord: {
                uint16_t w;
                std::memcpy(&w, at + 2 * o, 2);
                values[o] = w / 65535.0;
                break;
            }
            default: std::memcpy(&values[o], at + 8 * o, 8);
        }
    }
}

void TKCLUT::SetNode(int32_t node, const double* values) {
    CheckNode(node);
    uint8_t* at = fData.get() + uint64_t(node) * uint64_t(fOutDim) * uint64_t(fSampleSize);
    for (int32_t o = 0; o < fOutDim; ++o) {
        switch (fSampleSize) {
            case kByte: at[o] = DoubleToByte(values[o], 0.0, 1.0); break;
            case kWord: {
                const uint16_t w = DoubleToWord(values[o], 0.0, 1.0);
                std::memcpy(at + 2 * o, &w, 2);
                break;
            }
            default: std::memcpy(at + 8 * o, &values[o], 8);
        }
    }
}

void TKCLUT::Quantize(double* values) const {
    for (int32_t o = 0; o < fOutDim; ++o) {
        if (fSampleSize == kByte) values[o] = DoubleToByte(values[o], 0.0, 1.0) / 255.0;
        else if (fSampleSize == kWord) values[o] = DoubleToWord(values[o], 0.0, 1.0) / 65535.0;
    }
}

const uint8_t* TKCLUT::NodeBytes(int32_t node) const { return NodeAddress(node, kByte); }
const uint16_t* TKCLUT::NodeWords(int32_t node) const {
    return reinterpret_cast<const uint16_t*>(NodeAddress(node, kWord));
}
const double* TKCLUT::NodeDoubles(int32_t node) const {
    return reinterpret_cast<const double*>(NodeAddress(node, kDouble));
}
uint8_t* TKCLUT::MutableNodeBytes(int32_t node) { return NodeAddress(node, kByte); }
uint16_t* TKCLUT::MutableNodeWords(int32_t node) { return reinterpret_cast<uint16_t*>(NodeAddress(node, kWord)); }
double* TKCLUT::MutableNodeDoubles(int32_t node) { return reinterpret_cast<double*>(NodeAddress(node, kDouble)); }

double TKCLUT::AxisPosition(int32_t channel, int32_t k) const {
    const int32_t g = fGridPoints[channel];
    return g > 1 ? double(k) / double(g - 1) : 0.0;
}
