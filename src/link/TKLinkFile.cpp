// The link file: the inner record of the tables (TKLinkGeneric::Read/Write, "BNGL" ... "ENGL")
// and the outer record with the four ranges (TKLinkGenericTrafo, "BEGT" ... "EEGT"), little-endian.
// Reading trusts nothing: dimensions, sizes and magics are checked, and the bytes the tables need
// must be in the stream before anything is allocated.
#include "foundation/TKError.h"
#include "io/TKBinaryReader.h"
#include "io/TKBuffer.h"
#include "io/TKFile.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkFileFormat.h"
#include "link/TKLinkGeneric.h"
#include "link/TKLinkGenericTrafo.h"

namespace {

// 16-bit tables go out in one block on a little-endian host, else word by word.
void WriteWords(TKBinaryWriter& out, const uint16_t* words, uint64_t count) {
    if (TKHostByteOrder() == kLittleEndian) out.Bytes(words, size_t(count) * 2);
    else out.Values(words, size_t(count));
}

void ExpectMagic(TKBinaryReader& in, uint32_t magic) {
    if (in.U32() != magic) TKThrowMsg(FormatErr, "not a link file record");
}

}  // namespace

// ---- Inner record ----

void TKLinkGeneric::Write(TKStream& stream) {
    if (!fInputCurves || !fOutputCurves || !fNodes || !fInput8 || !fOutput8) TKThrow(PtrInvalid);
    // A saved link is complete: a lazy one computes its missing nodes first.
    if (!IsComplete()) FillNodes(nullptr);
    const TKLinkFileLayout layout = TKLinkFileLayout::For(fGridPoints, fSrcDim, fDstDim);
    TKBinaryWriter out(stream, kLittleEndian);
    out.U32(TKLinkFileLayout::kInnerBegin);
    out.S32(fGridPoints);
    out.S32(fSrcDim);
    out.S32(fDstDim);
    out.S32(fHasInputCurves ? 1 : 0);
    out.S32(fHasOutputCurves ? 1 : 0);
    out.S32(fInputCurveSize);
    WriteWords(out, fInputCurves.get(), uint64_t(fSrcDim) * uint64_t(fInputCurveSize));
    WriteWords(out, fInput8.get(), uint64_t(fSrcDim) * uint64_t(fInput8Size));
    out.S32(fOutputCurveSize);
    WriteWords(out, fOutputCurves.get(), uint64_t(fDstDim) * uint64_t(fOutputCurveSize));
    out.Bytes(fOutput8.get(), size_t(fDstDim) * size_t(fOutput8Size));
    out.U32(uint32_t(layout.nodeBytes));
    WriteWords(out, fNodes.get(), layout.nodeBytes / 2);
    out.U32(TKLinkFileLayout::kInnerEnd);
}

void TKLinkGeneric::Read(TKStream& stream) {
    TKBinaryReader in(stream, kLittleEndian);
    ExpectMagic(in, TKLinkFileLayout::kInnerBegin);
    const int32_t grid = in.S32();
    const int32_t srcDim = in.S32();
    const int32_t dstDim = in.S32();
    // The dimensions decide every size below; the stream must hold all of it before Init
    // allocates tables that a short or hostile file could never fill.
    const TKLinkFileLayout layout = TKLinkFileLayout::For(grid, srcDim, dstDim);
    const uint64_t bodyBytes = layout.innerBytes - TKLinkFileLayout::kHeaderBytes;
    auto readTables = [&](TKBinaryReader& body) {
        Init(srcDim, dstDim, grid, 0);
        fHasInputCurves = body.S32() != 0;
        fHasOutputCurves = body.S32() != 0;
        if (body.S32() != fInputCurveSize) TKThrowMsg(FormatErr, "link file: unexpected input curve size");
        body.Values(fInputCurves.get(), size_t(fSrcDim) * size_t(fInputCurveSize));
        body.Values(fInput8.get(), size_t(fSrcDim) * size_t(fInput8Size));
        if (body.S32() != fOutputCurveSize) TKThrowMsg(FormatErr, "link file: unexpected output curve size");
        body.Values(fOutputCurves.get(), size_t(fDstDim) * size_t(fOutputCurveSize));
        body.Bytes(fOutput8.get(), size_t(fDstDim) * size_t(fOutput8Size));
        if (body.U32() != layout.nodeBytes) TKThrowMsg(FormatErr, "link file: unexpected grid size");
        body.Values(fNodes.get(), size_t(layout.nodeBytes / 2));
        ExpectMagic(body, TKLinkFileLayout::kInnerEnd);
    };
    if (in.Remaining() >= 0) {
        in.RequireAvailable(bodyBytes);
        readTables(in);
        return;
    }
    // A stream that cannot tell its length (a pipe, a socket) is taken in first: memory grows
    // with the bytes that really arrive, not with what the header claims, and a short stream
    // fails before any table exists.
    TKBuffer held;
    {
        const std::vector<uint8_t> bytes = in.Block(bodyBytes);
        held.Write(bytes.data(), bytes.size());
    }
    held.Seek(0, kSeekStart);
    TKBinaryReader body(held, kLittleEndian);
    readTables(body);
}

// ---- Outer record ----

void TKLinkGenericTrafo::SaveStream(TKStream& stream) {
    TKBinaryWriter out(stream, kLittleEndian);
    out.U32(TKLinkFileLayout::kOuterBegin);
    Write(stream);
    fSrcMin.Write(stream);
    fSrcMax.Write(stream);
    fDstMin.Write(stream);
    fDstMax.Write(stream);
    out.U32(TKLinkFileLayout::kOuterEnd);
}

void TKLinkGenericTrafo::LoadStream(TKStream& stream) {
    try {
        TKBinaryReader in(stream, kLittleEndian);
        ExpectMagic(in, TKLinkFileLayout::kOuterBegin);
        Read(stream);
        TKVector range[4];  // SrcMin, SrcMax, DstMin, DstMax
        for (int32_t i = 0; i < 4; ++i) {
            if (range[i].Read(stream) != 0) TKThrowMsg(EOFReached, "link file: ranges missing");
            if (range[i].GetDim() != (i < 2 ? fSrcDim : fDstDim))
                TKThrowMsg(FormatErr, "link file: range of another dimension");
        }
        ExpectMagic(in, TKLinkFileLayout::kOuterEnd);
        // The colour types name the spaces; the ranges keep what the file stored (six decimals).
        SetRanges(range[0].GetType(), range[2].GetType());
        fSrcMin = range[0];
        fSrcMax = range[1];
        fDstMin = range[2];
        fDstMax = range[3];
        // The colour machinery of whatever link this object held before has no meaning now.
        fColorFrom = TKRefPtr<TKTrafo>();
        fColorTo = TKRefPtr<TKTrafo>();
        ReleaseStagesIfComplete();
    } catch (...) {
        // A half-read link must not be matched with tables that don't fit its ranges.
        ClearTables();
        throw;
    }
}

void TKLinkGenericTrafo::Save(TKFileSpec* fileSpec) {
    if (!fileSpec) TKThrow(ArgErr);
    TKFile file(*fileSpec, TKFile::kWrite);
    SaveStream(file);
    file.Close();
}

void TKLinkGenericTrafo::Load(TKFileSpec* fileSpec) {
    if (!fileSpec) TKThrow(ArgErr);
    TKFile file(*fileSpec, TKFile::kRead);
    LoadStream(file);
}
