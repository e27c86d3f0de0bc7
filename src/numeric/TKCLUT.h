// TKCLUT: the grid store of a look-up table: nodes of OutDim samples (byte, word or double),
// first input channel slowest, values normalized to 0..1.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

class TKVector;

class TKCLUT {
public:
    // Sample sizes in bytes.
    enum SampleSize : int32_t { kByte = 1, kWord = 2, kDouble = 8 };
    // No grid may exceed this many bytes: an ICC table that asks for more is refused before any
    // allocation.
    static constexpr uint64_t kMaxDataSize = uint64_t(1) << 30;

    TKCLUT() = default;
    TKCLUT(const TKCLUT& other);
    TKCLUT& operator=(const TKCLUT& other);
    TKCLUT(TKCLUT&&) noexcept = default;
    TKCLUT& operator=(TKCLUT&&) noexcept = default;

    // Allocates a zeroed grid. ArgErr for a grid point below 1, no channels, an output count
    // below 1 or a sample size other than 1, 2, 8; MemFullErr for a grid beyond kMaxDataSize.
    void Setup(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize);
    void Clear();
    // Sets the grid's shape without storing nodes, for tables whose nodes live elsewhere (a
    // device link keeps 16-bit nodes of its own): positions work, node reads are IndexError.
    void SetShape(const std::vector<int32_t>& gridPoints, int32_t outDim, int32_t sampleSize);

    int32_t GetInDim() const { return int32_t(fGridPoints.size()); }
    const std::vector<int32_t>& GetGridPoints() const { return fGridPoints; }
    int32_t GetGridPoints(int32_t channel) const { return fGridPoints[channel]; }
    int32_t GetOutDim() const { return fOutDim; }
    int32_t GetSampleSize() const { return fSampleSize; }
    int32_t GetNodeCount() const { return fNodeCount; }
    uint64_t GetDataSize() const { return fDataSize; }
    const uint8_t* GetData() const { return fData.get(); }
    uint8_t* GetMutableData() { return fData.get(); }

    // Node values as normalized doubles; IndexError for a bad node.
    void GetNode(int32_t node, double* values) const;
    // Writes normalized values, bytes and words through DoubleToByte and DoubleToWord on 0..1.
    void SetNode(int32_t node, const double* values);
    // The value a node would read back after SetNode: the sample rounding applied.
    void Quantize(double* values) const;

    // Typed access to one node; ArgErr if the grid holds samples of another size.
    const uint8_t* NodeBytes(int32_t node) const;
    const uint16_t* NodeWords(int32_t node) const;
    const double* NodeDoubles(int32_t node) const;
    uint8_t* MutableNodeBytes(int32_t node);
    uint16_t* MutableNodeWords(int32_t node);
    double* MutableNodeDoubles(int32_t node);

    // Grid coordinate k of channel i, as the position k / (g - 1) (0 for one point).
    double AxisPosition(int32_t channel, int32_t k) const;

private:
    void CheckNode(int32_t node) const;
    uint8_t* NodeAddress(int32_t node, int32_t sampleSize) const;

    std::vector<int32_t> fGridPoints;
    int32_t fOutDim = 0;
    int32_t fSampleSize = kWord;
    std::unique_ptr<uint8_t[]> fData;
    uint64_t fDataSize = 0;
    int32_t fNodeCount = 0;
};
