// TKDataBase: entries, paths, typed access, sorting and the text writer and reader.
#include "io/TKDataBase.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/TKDebug.h"
#include "foundation/TKError.h"
#include "io/TKFile.h"
#include "io/TKFileSpec.h"

namespace {

std::atomic<bool> gAngleFormat{false};

constexpr const char* kInfoKey = "_DBInfo";

// Splits a path on "/". A leading "/" is ignored; a backslash before "/" or "\" makes the
// separator part of the key, any other backslash stays as it is.
std::vector<TKString> SplitPath(const char* path) {
    std::vector<TKString> parts;
    if (!path) path = "";
    if (*path == '/') ++path;
    TKString part;
    for (const char* p = path; *p; ++p) {
        if (*p == '\\' && (p[1] == '/' || p[1] == '\\')) {
            part.Append(p[1]);
            ++p;
        } else if (*p == '/') {
            parts.push_back(part);
            part.Clear();
        } else {
            part.Append(*p);
        }
    }
    parts.push_back(part);
    return parts;
}

int32_t FindKey(const std::vector<TKDataBaseEntry>& entries, const TKString& key) {
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i].key.Equals(key.CString())) return int32_t(i);
    return -1;
}

bool NeedsQuotes(const TKString& text) {
    for (const char* p = text.CString(); *p; ++p)
        if (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n' || *p == '"') return true;
    return false;
}

// Keys also get quotes where the plain reader would otherwise see a comment, a block or
// the angle form, so that every key survives a round trip.
bool KeyNeedsQuotes(const TKString& key) {
    if (key.IsEmpty() || NeedsQuotes(key)) return true;
    char c = key.CString()[0];
    return c == '#' || c == '{' || c == '}' || c == '<';
}

void AppendQuoted(TKString& out, const TKString& text) {
    out.Append('"');
    for (const char* p = text.CString(); *p; ++p) {
        if (*p == '"' || *p == '\\') out.Append('\\');
        out.Append(*p);
    }
    out.Append('"');
}

void AppendTabs(TKString& out, int depth) {
    for (int i = 0; i < depth; ++i) out.Append('\t');
}

// Parsed text cannot nest deeper than this; deeper input is rejected instead of exhausting the stack.
constexpr int kMaxDepth = 200;

}  // namespace

// Reader of the text format: a cursor over the bytes with the skipping and token rules.
class TKDataBaseParser {
public:
    TKDataBaseParser(const char* text, int64_t length) : fText(text), fLength(length < 0 ? 0 : length) {
        // A zero byte ends the text.
        const void* zero = fLength ? std::memchr(fText, 0, size_t(fLength)) : nullptr;
        if (zero) fLength = static_cast<const char*>(zero) - fText;
    }

    void ParseLevel(TKDataBase& base, int depth) {
        // The block that wraps an angle-form text is no level of its own: the writer's limit
        // counts data bases, and what it writes must read back.
        if (depth - fWrapped > kMaxDepth) TKThrowMsg(FormatErr, "Data base nested too deeply");
        bool anyEntry = false;
        int32_t last = -1;  // index of the last entry read at this level
        for (;;) {
            SkipBlanksAndComments();
            if (AtEnd()) break;
            char c = Peek();
            if (c == '}') {
                ++fPos;
                break;
            }
            if (c == '{') {
                ++fPos;
                if (last < 0) {
                    // The angle form wraps the whole text in one block: at the top, before any
                    // entry, a block is read into the top level itself.
                    if (depth == 0 && !anyEntry) {
                        fWrapped = 1;
                        ParseLevel(base, depth + 1);
                        fWrapped = 0;
                        anyEntry = true;
                        continue;
                    }
                    TKThrow(IndexError);
                }
                TKDataBaseEntry& entry = base.MutableEntryAt(last);
                if (!entry.subBase) entry.subBase = TKMakeRef<TKDataBase>();
                ParseLevel(*entry.subBase, depth + 1);
                continue;
            }
            last = ParseEntry(base);
            anyEntry = true;
        }
        TakeInfoBase(base);
    }

private:
    bool AtEnd() const { return fPos >= fLength; }
    char Peek() const { return fText[fPos]; }
    static bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    void SkipBlanksAndComments() {
        while (!AtEnd()) {
            char c = Peek();
            if (IsSpace(c)) {
                ++fPos;
            } else if (c == '#') {
                if (fPos + 1 < fLength && fText[fPos + 1] == '{')
                    SkipBlockComment();
                else
                    SkipToLineEnd();
            } else {
                break;
            }
        }
    }

    // "#{" opens a block comment; the first "#}" after it ends it, and the text after "#}" counts.
    void SkipBlockComment() {
        fPos += 2;
        while (fPos + 1 < fLength && !(fText[fPos] == '#' && fText[fPos + 1] == '}')) ++fPos;
        fPos = fPos + 1 < fLength ? fPos + 2 : fLength;
    }

    void SkipToLineEnd() {
        while (!AtEnd() && Peek() != '\n' && Peek() != '\r') ++fPos;
    }

    // A quoted token, its quotes removed and backslash escapes resolved. An open quote runs to the end.
    TKString ReadQuoted() {
        TKString token;
        ++fPos;  // opening quote
        while (!AtEnd()) {
            char c = fText[fPos++];
            if (c == '\\' && !AtEnd()) {
                token.Append(fText[fPos++]);
            } else if (c == '"') {
                break;
            } else {
                token.Append(c);
            }
        }
        return token;
    }

    // A token up to the next blank, tab or line end (or ">" when an angle entry is open).
    TKString ReadBare(bool stopAtAngle) {
        int64_t start = fPos;
        while (!AtEnd() && !IsSpace(Peek()) && !(stopAtAngle && Peek() == '>')) ++fPos;
        return TKString(fText + start, int32_t(fPos - start));
    }

    TKString ReadKey(bool angle) {
        if (!AtEnd() && Peek() == '"') return ReadQuoted();
        return ReadBare(angle);
    }

    TKString ReadValue(bool angle) {
        while (!AtEnd() && (Peek() == ' ' || Peek() == '\t')) ++fPos;
        if (AtEnd()) return TKString();
        if (Peek() == '"') return ReadQuoted();
        int64_t start = fPos;
        // The value is the rest of the line, blanks included. Inside an angle entry it stops at
        // ">", which the angle writer never leaves unquoted inside a value.
        while (!AtEnd() && Peek() != '\n' && Peek() != '\r' && !(angle && Peek() == '>')) ++fPos;
        return TKString(fText + start, int32_t(fPos - start));
    }

    int32_t ParseEntry(TKDataBase& base) {
        bool angle = Peek() == '<';
        if (angle) {
            ++fPos;
            SkipBlanksAndComments();
        }
        TKString key = ReadKey(angle);
        SkipBlanksAndComments();
        TKString equals = AtEnd() ? TKString() : ReadBare(angle);
        if (!equals.Equals("=")) {
            TKString message = TKString("Missing \"=\" after \"") + key + "\"";
            TKThrowMsg(FormatErr, message.CString());
        }
        TKString value = ReadValue(angle);
        if (angle) {
            SkipBlanksAndComments();
            if (AtEnd() || Peek() != '>') TKThrow(FormatErr);
            ++fPos;
        }
        return base.Add(key, value);
    }

    static void TakeInfoBase(TKDataBase& base) {
        int32_t info = base.IndexOfKey(kInfoKey);
        if (info < 0) return;
        TKRefPtr<TKDataBase> sub = base.SubBaseAt(info);
        base.Remove(info);
        base.SetInfoBase(sub ? sub.Get() : nullptr, false);
    }

    const char* fText;
    int64_t fLength;
    int64_t fPos = 0;
    int fWrapped = 0;  // 1 inside the block that wraps an angle-form text
};

TKDataBase::TKDataBase() = default;

TKDataBase::TKDataBase(const TKDataBase& other)
    : TKObject(other), fEntries(other.fEntries), fLineEnd(other.fLineEnd), fInfoBase(other.fInfoBase) {}

TKDataBase& TKDataBase::operator=(const TKDataBase& other) {
    if (this != &other) {
        TKObject::operator=(other);
        fEntries = other.fEntries;
        fLineEnd = other.fLineEnd;
        fInfoBase = other.fInfoBase;
    }
    return *this;
}

TKDataBase::~TKDataBase() noexcept = default;

bool TKDataBase::SetAngleFormat(bool angle) { return gAngleFormat.exchange(angle); }

bool TKDataBase::AngleFormat() { return gAngleFormat.load(); }

const std::vector<TKDataBaseEntry>& TKDataBase::Entries() const {
    static const std::vector<TKDataBaseEntry> kEmpty;
    return fEntries ? *fEntries : kEmpty;
}

std::vector<TKDataBaseEntry>& TKDataBase::Entries() {
    if (!fEntries) {
        fEntries = std::make_shared<std::vector<TKDataBaseEntry>>();
    } else if (fEntries.use_count() > 1) {
        fEntries = std::make_shared<std::vector<TKDataBaseEntry>>(*fEntries);
    }
    return *fEntries;
}

const TKDataBaseEntry& TKDataBase::EntryAt(int32_t index) const {
    const auto& entries = Entries();
    if (index < 0 || size_t(index) >= entries.size()) TKThrow(IndexError);
    return entries[size_t(index)];
}

TKDataBaseEntry& TKDataBase::MutableEntryAt(int32_t index) {
    if (index < 0 || index >= Count()) TKThrow(IndexError);
    return Entries()[size_t(index)];
}

const TKDataBase* TKDataBase::Find(const char* path, int32_t* index) const {
    return const_cast<TKDataBase*>(this)->FindOrCreate(path, index, false);
}

TKDataBase* TKDataBase::Find(const char* path, int32_t* index) { return FindOrCreate(path, index, false); }

TKDataBase* TKDataBase::FindOrCreate(const char* path, int32_t* index, bool create) {
    std::vector<TKString> parts = SplitPath(path);
    TKDataBase* level = this;
    // Holds the level while we walk, since only entries keep nested bases alive.
    TKRefPtr<TKDataBase> keep;
    for (size_t p = 0; p < parts.size(); ++p) {
        int32_t found = FindKey(level->Entries(), parts[p]);
        if (found < 0) {
            if (!create) {
                if (index) *index = -1;
                return nullptr;
            }
            found = level->Add(parts[p], TKString());
        }
        if (p + 1 == parts.size()) {
            if (index) *index = found;
            return level;
        }
        TKRefPtr<TKDataBase> sub = level->SubBaseAt(found);
        if (!sub) {
            if (!create) {
                if (index) *index = -1;
                return nullptr;
            }
            sub = TKMakeRef<TKDataBase>();
            level->SetSubBase(found, sub.Get(), false);
        }
        keep = sub;
        level = sub.Get();
    }
    if (index) *index = -1;
    return nullptr;
}

TKString TKDataBase::GetString(const char* path, const char* defaultValue) const {
    int32_t index = -1;
    const TKDataBase* base = Find(path, &index);
    return base ? base->Value(index) : TKString(defaultValue);
}

void TKDataBase::SetString(const char* path, const TKString& value) {
    int32_t index = -1;
    TKDataBase* base = FindOrCreate(path, &index, true);
    base->SetValue(index, value);
}

TKString TKDataBase::GetOrAddString(const char* path, const char* defaultValue, bool add) {
    int32_t index = -1;
    if (const TKDataBase* base = Find(path, &index)) return base->Value(index);
    TKString result(defaultValue);
    if (add) SetString(path, result);
    return result;
}

bool TKDataBase::Exists(const char* path) const {
    int32_t index = -1;
    return Find(path, &index) != nullptr;
}

int32_t TKDataBase::GetInt(const char* path, int32_t defaultValue) const {
    int32_t index = -1;
    const TKDataBase* base = Find(path, &index);
    return base ? base->Value(index).ToInt() : defaultValue;
}

void TKDataBase::SetInt(const char* path, int32_t value) { SetString(path, TKString::Format("%d", int(value))); }

void TKDataBase::SetLong(const char* path, long value) { SetString(path, TKString::Format("%ld", value)); }

double TKDataBase::GetDouble(const char* path, double defaultValue) const {
    int32_t index = -1;
    const TKDataBase* base = Find(path, &index);
    return base ? base->Value(index).ToDouble() : defaultValue;
}

void TKDataBase::SetDouble(const char* path, double value) {
    int32_t index = -1;
    TKDataBase* base = Find(path, &index);
    // Leave text such as "0.50" alone when it already says the same number.
    if (base && base->Value(index).ToDouble() == value) return;
    TKString text = TKString::Format("%f", value);
    // Trailing zeros after the decimal point go, and a bare point with them.
    if (text.FindChar('.') >= 0) {
        int32_t n = text.Length();
        while (n > 0 && text.CString()[n - 1] == '0') --n;
        if (n > 0 && text.CString()[n - 1] == '.') --n;
        text = text.Left(n);
    }
    SetString(path, text);
}

bool TKDataBase::GetBool(const char* path, bool defaultValue) const {
    int32_t index = -1;
    const TKDataBase* base = Find(path, &index);
    if (!base) return defaultValue;
    TKString value = base->Value(index);
    const char* v = value.CString();
    bool isTrue = std::strlen(v) == 4;
    for (int i = 0; isTrue && i < 4; ++i) isTrue = (v[i] | 0x20) == "true"[i];
    return isTrue || value.Equals("1");
}

void TKDataBase::SetBool(const char* path, bool value) { SetString(path, value ? "true" : "false"); }

TKRefPtr<TKDataBase> TKDataBase::GetSubBase(const char* path) const {
    int32_t index = -1;
    const TKDataBase* base = Find(path, &index);
    return base ? base->SubBaseAt(index) : TKRefPtr<TKDataBase>();
}

void TKDataBase::SetSubBase(int32_t index, TKDataBase* base, bool adopt) {
    MutableEntryAt(index).subBase.Reset(base, adopt);
}

TKRefPtr<TKDataBase> TKDataBase::SubBaseAt(int32_t index) const { return EntryAt(index).subBase; }

int32_t TKDataBase::Count() const { return int32_t(Entries().size()); }

TKString TKDataBase::Key(int32_t index) const { return EntryAt(index).key; }

TKString TKDataBase::Value(int32_t index) const { return EntryAt(index).value; }

void TKDataBase::SetKey(int32_t index, const TKString& key) { MutableEntryAt(index).key = key; }

void TKDataBase::SetValue(int32_t index, const TKString& value) { MutableEntryAt(index).value = value; }

int32_t TKDataBase::IndexOfKey(const char* key) const { return FindKey(Entries(), TKString(key)); }

int32_t TKDataBase::IndexOfValue(const char* value) const {
    const auto& entries = Entries();
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i].value.Equals(value ? value : "")) return int32_t(i);
    return -1;
}

int32_t TKDataBase::Add(const TKString& key, const TKString& value, TKDataBase* subBase, bool adopt) {
    TKDataBaseEntry entry;
    entry.key = key;
    entry.value = value;
    if (subBase) entry.subBase.Reset(subBase, adopt);
    auto& entries = Entries();
    entries.push_back(std::move(entry));
    return int32_t(entries.size() - 1);
}

void TKDataBase::Remove(int32_t index) {
    MutableEntryAt(index);  // range check
    auto& entries = Entries();
    entries.erase(entries.begin() + index);
}

void TKDataBase::Clear() {
    fEntries.reset();
    fInfoBase.Reset();
}

void TKDataBase::SwapEntries(int32_t i, int32_t j) {
    if (i == j) return;
    MutableEntryAt(i);
    MutableEntryAt(j);
    auto& entries = Entries();
    std::swap(entries[size_t(i)], entries[size_t(j)]);
}

void TKDataBase::Sort() { TKSortDB(*this).Sort(); }

void TKDataBase::SortBySubKey(const char* path) { TKSortDBBySubDBKey(*this, path).Sort(); }

TKRefPtr<TKDataBase> TKDataBase::GetInfoBase() const { return fInfoBase; }

void TKDataBase::SetInfoBase(TKDataBase* base, bool adopt) { fInfoBase.Reset(base, adopt); }

void TKDataBase::SetLineEnd(const TKString& lineEnd) { fLineEnd = lineEnd; }

TKString TKDataBase::GetLineEnd() const { return fLineEnd; }

void TKDataBase::WriteLevel(TKString& out, int depth, bool angle, const TKString& lineEnd) const {
    // Deeper than the reader takes would write text that cannot be read back.
    if (depth - int(angle) > kMaxDepth) TKThrowMsg(FormatErr, "Data base nested too deeply");
    if (fInfoBase) {
        AppendTabs(out, depth);
        out.Append(angle ? "<_DBInfo =>" : "_DBInfo =");
        out.Append(lineEnd);
        AppendTabs(out, depth);
        out.Append('{').Append(lineEnd);
        fInfoBase->WriteLevel(out, depth + 1, angle, lineEnd);
        AppendTabs(out, depth);
        out.Append('}').Append(lineEnd);
    }
    for (const TKDataBaseEntry& entry : Entries()) {
        AppendTabs(out, depth);
        if (angle) out.Append('<');
        if (angle || KeyNeedsQuotes(entry.key))
            AppendQuoted(out, entry.key);
        else
            out.Append(entry.key);
        out.Append(" = ");
        if (angle || NeedsQuotes(entry.value))
            AppendQuoted(out, entry.value);
        else
            out.Append(entry.value);
        if (angle) out.Append('>');
        out.Append(lineEnd);
        if (entry.subBase) {
            AppendTabs(out, depth);
            out.Append('{').Append(lineEnd);
            entry.subBase->WriteLevel(out, depth + 1, angle, lineEnd);
            AppendTabs(out, depth);
            out.Append('}').Append(lineEnd);
        }
    }
}

TKString TKDataBase::ToText() const {
    TKString lineEnd = fLineEnd.IsEmpty() ? TKString("\r\n") : fLineEnd;
    bool angle = AngleFormat();
    TKString out;
    if (angle) out.Append('{').Append(lineEnd);
    WriteLevel(out, angle ? 1 : 0, angle, lineEnd);
    if (angle) out.Append('}').Append(lineEnd);
    return out;
}

void TKDataBase::FromText(const char* text, int64_t length) {
    if (!text) return;
    TKDataBaseParser(text, length).ParseLevel(*this, 0);
}

void TKDataBase::FromText(const TKString& text) { FromText(text.CString(), text.Length()); }

void TKDataBase::Save(const TKFileSpec& spec) const {
    TKString text = ToText();
    if (ChannelEnabled(kDebugDataBase))
        DebugPrintf(kDebugDataBase, "WRITE:  %08lx %s\n", (unsigned long)text.Length(), spec.FullName().CString());
    TKFile file(spec, TKFile::kWrite);
    file.Open(TKFile::kWrite);
    file.WriteString(text);
    file.Close();
}

void TKDataBase::Load(const TKFileSpec& spec) {
    TKFile file(spec, TKFile::kRead);
    file.Open(TKFile::kRead);
    TKString text;
    file.ReadString(text, -1);
    file.Close();
    if (ChannelEnabled(kDebugDataBase))
        DebugPrintf(kDebugDataBase, "READ: %08lx %s\n", (unsigned long)text.Length(), spec.FullName().CString());
    FromText(text);
}

// Sorting ------------------------------------------------------------------------------------

int TKSortDB::Compare(int32_t i, int32_t j) {
    TKString a = fBase.Key(i);
    TKString b = fBase.Key(j);
    int32_t na = a.ToInt();
    int32_t nb = b.ToInt();
    if (na != nb) return na < nb ? -1 : 1;
    return a.Compare(b.CString());
}

int TKSortDBBySubDBKey::Compare(int32_t i, int32_t j) {
    TKRefPtr<TKDataBase> a = fBase.SubBaseAt(i);
    TKRefPtr<TKDataBase> b = fBase.SubBaseAt(j);
    if (a.Get() == b.Get()) return 0;
    if (!a) return -1;
    if (!b) return 1;
    TKString va = a->GetString(fPath.CString(), "");
    TKString vb = b->GetString(fPath.CString(), "");
    return va.Compare(vb.CString());
}
