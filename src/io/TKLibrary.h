// One dynamic library loaded into the process: TKLibrary is the abstract handle, TKDlLibrary
// the dlopen form. A library is counted, so that objects made from its code keep it loaded
// for as long as anyone holds them.
#pragma once

#include "foundation/TKObject.h"
#include "foundation/TKString.h"
#include "io/TKFileSpec.h"

class TKLibrary : public TKObject {
    TK_DECLARE_CLASS(TKLibrary, TKObject)
public:
    // Loads the library; a failure raises SystemError "Couldn't load library: <name>" and
    // leaves nothing loaded. Loading again first unloads what was loaded.
    virtual void Load(const TKFileSpec& file) = 0;
    // Unloads; nothing happens when nothing is loaded.
    virtual void Unload() = 0;
    virtual bool IsLoaded() const = 0;
    // The address of an exported symbol, null when it has none (or nothing is loaded).
    virtual void* GetProc(const char* name) const = 0;
    virtual TKString FileName() const = 0;
};

class TKDlLibrary : public TKLibrary {
    TK_DECLARE_CLASS(TKDlLibrary, TKLibrary)
public:
    TKDlLibrary() = default;
    ~TKDlLibrary() override;

    // The file is checked against the process's own machine, class and byte order before it
    // is handed to the loader, so that a library built for another architecture is refused
    // with that reason rather than the loader's.
    void Load(const TKFileSpec& file) override;
    void Unload() override;
    bool IsLoaded() const override { return fHandle != nullptr; }
    void* GetProc(const char* name) const override;
    TKString FileName() const override { return fFile.FullName(); }

private:
    void* fHandle = nullptr;
    TKFileSpec fFile;
};

// Why a file cannot be a library of this process: empty when its ELF header fits the running
// program (class, byte order, machine), otherwise a short reason. Unreadable files give a
// reason too.
TKString TKLibraryMismatch(const TKFileSpec& file);
