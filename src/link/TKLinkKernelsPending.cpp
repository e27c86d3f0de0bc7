// Placeholder definitions of the pixel kernels, their dispatch and the link file's records,
// so that the link model links before those land. Each raises UndefProc. The sources that
// define the real operations (TKLinkKernels*.cpp, TKLinkFile*.cpp) replace this file: delete it
// in the same commit that adds them.
#include "foundation/TKError.h"
#include "link/TKLinkGeneric.h"
#include "link/TKLinkGenericTrafo.h"

#define TK_PENDING_KERNEL(Name, Src, Dst)                                                        \
    void TKLinkGeneric::Name(int32_t, const Src* const*, Dst* const*, const int32_t*, const int32_t*, \
                             TKProgress*) {                                                      \
        TKThrowMsg(UndefProc, "TKLinkGeneric::" #Name " is not built");                          \
    }
#define TK_PENDING_BITS_KERNEL(Name)                                                             \
    void TKLinkGeneric::Name(int32_t, const void* const*, void* const*, const int32_t*, const int32_t*, \
                             int32_t, int32_t, TKProgress*) {                                    \
        TKThrowMsg(UndefProc, "TKLinkGeneric::" #Name " is not built");                          \
    }

TK_PENDING_KERNEL(Match16, uint16_t, uint16_t)
TK_PENDING_KERNEL(Match8, uint8_t, uint8_t)
TK_PENDING_KERNEL(Match8To16, uint8_t, uint16_t)
TK_PENDING_KERNEL(MatchGrid8, uint8_t, uint8_t)
TK_PENDING_KERNEL(MatchGrid16, uint16_t, uint16_t)
TK_PENDING_KERNEL(MatchGrid8To16, uint8_t, uint16_t)
TK_PENDING_KERNEL(MatchShift16, uint16_t, uint16_t)
TK_PENDING_KERNEL(MatchShift8, uint8_t, uint8_t)
TK_PENDING_BITS_KERNEL(Match3)
TK_PENDING_BITS_KERNEL(Match4Simplex)
TK_PENDING_KERNEL(MatchGridN8, uint8_t, uint8_t)
TK_PENDING_KERNEL(MatchGridN16, uint16_t, uint16_t)
TK_PENDING_KERNEL(MatchGridN8To16, uint8_t, uint16_t)
TK_PENDING_KERNEL(MatchShiftN16, uint16_t, uint16_t)
TK_PENDING_KERNEL(MatchShiftN8, uint8_t, uint8_t)
TK_PENDING_BITS_KERNEL(Match4)

void TKLinkGeneric::Read(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGeneric::Read is not built"); }
void TKLinkGeneric::Write(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGeneric::Write is not built"); }

void TKLinkGenericTrafo::Load(TKFileSpec*) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::Load is not built"); }
void TKLinkGenericTrafo::LoadStream(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::LoadStream is not built"); }
void TKLinkGenericTrafo::Save(TKFileSpec*) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::Save is not built"); }
void TKLinkGenericTrafo::SaveStream(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::SaveStream is not built"); }
