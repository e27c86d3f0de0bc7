// The text-carrying tag types: "text", "desc", "mluc" and the read-only "csed".
// Text is UTF-8 inside; 8-bit text in tags is Latin-1, 16-bit text stays big-endian in the block.
#pragma once

#include "icc/TKICCTag.h"

// "text": the string with its terminating zero.
class TKICCTextTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCTextTag, TKICCTag)
public:
    explicit TKICCTextTag(uint32_t signature = 0) : TKICCTag(TKICCSig("text"), signature) {}
    virtual TKString GetText();
    virtual void SetText(const TKString& text);
    void Dump(TKStream& stream) override;
    void SetFromText(const TKString& text) override { SetText(text); }
    TKString GetSummary() override;
};

// "desc": the ICC v2 description with ASCII, Unicode and Macintosh parts.
class TKICCDescriptionTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCDescriptionTag, TKICCTag)
public:
    explicit TKICCDescriptionTag(uint32_t signature = 0) : TKICCTag(TKICCSig("desc"), signature) {}
    // The Unicode part when it is complete, otherwise the ASCII part. InvalidICCTag for a block
    // too short for its own counts.
    virtual TKString GetText();
    virtual void SetText(const TKString& text);
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    void SetFromText(const TKString& text) override { SetText(text); }
    TKString GetSummary() override { return GetText(); }
};

// "mluc": multi-localized Unicode; only the first record is read.
class TKICCMLUCTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCMLUCTag, TKICCTag)
public:
    // The language word written when none is given. Held as one host-order 32-bit value and
    // swapped by halves, it reaches the file as the bytes "USen".
    static constexpr uint32_t kDefaultLanguage = 0x656E5553;

    explicit TKICCMLUCTag(uint32_t signature = 0) : TKICCTag(TKICCSig("mluc"), signature) {}
    virtual TKString GetText();
    // One record with `language` (0 for the default word).
    virtual void SetText(const TKString& text, uint32_t language = 0);
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    void SetFromText(const TKString& text) override { SetText(text); }
    // Cut like the summary of a "text" tag, since mluc texts are often long.
    TKString GetSummary() override;
};

// "csed": a description type of other producers, read only.
class TKCSEDTag : public TKICCTag {
    TK_DECLARE_CLASS(TKCSEDTag, TKICCTag)
public:
    // "text" until Read brings the real type.
    explicit TKCSEDTag(uint32_t signature = 0) : TKICCTag(TKICCSig("text"), signature) {}
    virtual TKString GetText();
    void SetFromText(const TKString& text) override;  // UndefProc: the type is not written here
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;
};
