// Fuzz target: the data base text parser on untrusted text. What parsed must also survive
// being written in both text forms and read again: an error there escapes and is reported.
#include <cstddef>
#include <cstdint>

#include "io/TKDataBase.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 1u << 20) return 0;
    auto base = TKMakeRef<TKDataBase>();
    try {
        base->FromText(reinterpret_cast<const char*>(data), int64_t(size));
        base->GetString("a/b", "");
        base->Sort();
    } catch (const TKError&) {
        return 0;
    }
    for (bool angle : {false, true}) {
        bool old = TKDataBase::SetAngleFormat(angle);
        TKString text = base->ToText();
        TKDataBase::SetAngleFormat(old);
        auto back = TKMakeRef<TKDataBase>();
        back->FromText(text);
    }
    return 0;
}
