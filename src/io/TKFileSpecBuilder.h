// TKFileSpecBuilder: a file spec whose name is made from a template with macros such as
// "$[DATE]" and "$[JOB]", and gets the extension of its file type.
#pragma once

#include "foundation/TKObject.h"
#include "io/TKDataBase.h"
#include "io/TKFileSpec.h"

class TKFileSpecBuilder : public TKFileSpec {
public:
    TKFileSpecBuilder();
    explicit TKFileSpecBuilder(const TKFileSpec& spec);
    // A copy has a data base of its own.
    TKFileSpecBuilder(const TKFileSpecBuilder& other);
    TKFileSpecBuilder& operator=(const TKFileSpecBuilder& other);
    ~TKFileSpecBuilder() override;

    // The template, e.g. "proof_$[JOB]_$[DATE]". Macros are written "$[NAME]".
    void SetTemplate(const TKString& nameTemplate) { fTemplate = nameTemplate; }
    TKString Template() const { return fTemplate; }
    // A name that is used instead of the template when not empty.
    void SetExplicitName(const TKString& name) { fExplicitName = name; }
    TKString ExplicitName() const { return fExplicitName; }

    // Macro values by name without the "$[" and "]".
    void SetMacro(const char* name, const TKString& value);
    TKString Macro(const char* name) const;
    TKDataBase& Macros() { return *fMacros; }

    // Sets "DATE" (2026-11-22), "DATETIME" (2026-11-22_14-05-09) and "DATETIME_ISO"
    // (20261122T140509, the basic ISO 8601 form, which has no colons) from the current time,
    // expands the template (or takes the explicit name), and appends the extension of the file
    // type unless the name already ends in it. Macro values are sanitized so that they cannot
    // add folders to the name.
    TKString BuildName();
    // Builds the name and puts it into this file spec's folder, keeping the file type.
    void Build();

private:
    TKRefPtr<TKDataBase> fMacros;
    TKString fTemplate;
    TKString fExplicitName;
};
