// The link file: inner record (TKLinkGeneric) and outer record (TKLinkGenericTrafo).
#include "foundation/TKError.h"
#include "link/TKLinkGeneric.h"
#include "link/TKLinkGenericTrafo.h"

void TKLinkGeneric::Read(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGeneric::Read is not built"); }
void TKLinkGeneric::Write(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGeneric::Write is not built"); }
void TKLinkGenericTrafo::Load(TKFileSpec*) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::Load is not built"); }
void TKLinkGenericTrafo::LoadStream(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::LoadStream is not built"); }
void TKLinkGenericTrafo::Save(TKFileSpec*) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::Save is not built"); }
void TKLinkGenericTrafo::SaveStream(TKStream&) { TKThrowMsg(UndefProc, "TKLinkGenericTrafo::SaveStream is not built"); }
