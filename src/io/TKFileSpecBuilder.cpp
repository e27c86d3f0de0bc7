// Names from templates and macros.
#include "io/TKFileSpecBuilder.h"

#include <strings.h>

#include "io/TKFileInfo.h"
#include "io/TKFileKinds.h"

TKFileSpecBuilder::TKFileSpecBuilder() : fMacros(TKMakeRef<TKDataBase>()) {}

TKFileSpecBuilder::TKFileSpecBuilder(const TKFileSpec& spec) : TKFileSpec(spec), fMacros(TKMakeRef<TKDataBase>()) {}

TKFileSpecBuilder::TKFileSpecBuilder(const TKFileSpecBuilder& other)
    : TKFileSpec(other),
      fMacros(TKMakeRef<TKDataBase>(*other.fMacros)),
      fTemplate(other.fTemplate),
      fExplicitName(other.fExplicitName) {}

TKFileSpecBuilder& TKFileSpecBuilder::operator=(const TKFileSpecBuilder& other) {
    if (this != &other) {
        TKFileSpec::operator=(other);
        fMacros = TKMakeRef<TKDataBase>(*other.fMacros);
        fTemplate = other.fTemplate;
        fExplicitName = other.fExplicitName;
    }
    return *this;
}

TKFileSpecBuilder::~TKFileSpecBuilder() = default;

void TKFileSpecBuilder::SetMacro(const char* name, const TKString& value) {
    if (!name || !name[0]) TKThrow(ArgErr);
    fMacros->SetString(name, value);
}

TKString TKFileSpecBuilder::Macro(const char* name) const {
    if (!name || !name[0]) TKThrow(ArgErr);
    return fMacros->GetString(name);
}

TKString TKFileSpecBuilder::BuildName() {
    const TKDateRecord now = TKDateRecord::Now();
    SetMacro("DATE", TKString::Format("%04d-%02d-%02d", now.year, now.month, now.day));
    SetMacro("DATETIME", TKString::Format("%04d-%02d-%02d_%02d-%02d-%02d", now.year, now.month, now.day, now.hour,
                                          now.minute, now.second));
    SetMacro("DATETIME_ISO", TKString::Format("%04d%02d%02dT%02d%02d%02d", now.year, now.month, now.day, now.hour,
                                              now.minute, now.second));
    TKString name = fExplicitName;
    if (name.IsEmpty()) {
        name = fTemplate;
        for (int32_t i = 0; i < fMacros->Count(); ++i) {
            const TKString macro = TKString("$[") + fMacros->Key(i) + "]";
            name.Replace(macro.CString(), SanitizeName(fMacros->Value(i)).CString());
        }
    }
    const TKFileKindRow& row = TKFileKindForType(FileType());
    if (row.kind != kFileKindUnknown && row.extension[0]) {
        const TKString ending = TKString(".") + row.extension;
        const int32_t n = name.Length(), m = ending.Length();
        if (n < m || strcasecmp(name.CString() + (n - m), ending.CString()) != 0) name += ending;
    }
    return name;
}

void TKFileSpecBuilder::Build() {
    const uint32_t type = FileType(), creator = Creator();
    SetName(BuildName());
    if (type != 0) {
        SetFileType(type);
        SetCreator(creator);
    }
}
