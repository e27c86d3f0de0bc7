// The CxF3 mirror: XML to data base, data base to XML, and reading and building elements.
#include "charts/TKCxFMirror.h"

#include <tinyxml2.h>

#include <cstring>
#include <new>
#include <unordered_map>
#include <string>

#include "foundation/TKDebug.h"
#include "foundation/TKError.h"

namespace {

constexpr const char* kTagKey = "__CrcTagName";
constexpr const char* kAttributesKey = "Attributes";

// A group base numbers its elements; an element base starts with its tag.
bool IsGroup(const TKDataBase& base) { return base.Count() > 0 && base.Key(0) == "0"; }

// The attribute block sits right after the tag and, unlike a child named "Attributes", has no tag.
TKRefPtr<TKDataBase> AttributeBlock(const TKDataBase& base) {
    if (base.Count() < 2 || base.Key(1) != kAttributesKey) return {};
    TKRefPtr<TKDataBase> block = base.SubBaseAt(1);
    if (block && block->IndexOfKey(kTagKey) >= 0) return {};
    return block;
}

bool IsChildEntry(const TKDataBase& base, int32_t index) {
    if (index == 0 && base.Key(0) == kTagKey) return false;
    return !(index == 1 && AttributeBlock(base));
}

// The entry of a child name, or -1.
int32_t FindChildEntry(const TKDataBase& base, const TKString& key) {
    for (int32_t i = 0; i < base.Count(); ++i)
        if (IsChildEntry(base, i) && base.Key(i) == key) return i;
    return -1;
}

TKString TrimmedText(const char* text) {
    if (!text) return TKString();
    TKString result = TKCxFUTF8(text);
    result.Trim(" \t\r\n");
    return result;
}

void MirrorElement(const tinyxml2::XMLElement& element, TKDataBase& base) {
    base.Add(kTagKey, element.Name());
    if (const tinyxml2::XMLAttribute* attribute = element.FirstAttribute()) {
        auto block = TKMakeRef<TKDataBase>();
        for (; attribute; attribute = attribute->Next()) block->Add(attribute->Name(), TKCxFUTF8(attribute->Value()));
        base.Add(kAttributesKey, "", block.Get(), false);
    }
    // Which names repeat decides between a plain entry and a numbered group.
    std::unordered_map<std::string, int32_t> counts;
    for (const tinyxml2::XMLElement* child = element.FirstChildElement(); child; child = child->NextSiblingElement())
        ++counts[TKCxFLocalName(child->Name()).CString()];
    std::unordered_map<std::string, int32_t> groups;  // name -> entry of its numbered group
    for (const tinyxml2::XMLElement* child = element.FirstChildElement(); child; child = child->NextSiblingElement()) {
        const TKString local = TKCxFLocalName(child->Name());
        auto childBase = TKMakeRef<TKDataBase>();
        MirrorElement(*child, *childBase);
        const TKString text = TrimmedText(child->GetText());
        if (counts[local.CString()] == 1) {
            base.Add(local, text, childBase.Get(), false);
            continue;
        }
        const auto found = groups.find(local.CString());
        const int32_t group = found != groups.end() ? found->second
                                                    : (groups[local.CString()] = base.Add(local, "", TKMakeRef<TKDataBase>().Get(), false));
        const TKRefPtr<TKDataBase> numbered = base.SubBaseAt(group);
        numbered->Add(TKString::FromInt(numbered->Count()), text, childBase.Get(), false);
    }
}

// Text as XML can carry it: UTF-8 without the control characters (other than tab and line ends)
// that have no place in XML 1.0.
TKString XMLText(const TKString& text) {
    for (int32_t i = 0; i < text.Length(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text.At(i));
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
            TKThrowMsg(FormatErr, TKString::Format("The text \"%s\" holds the control character 0x%02X, which XML cannot carry",
                                                   text.Left(40).CString(), c).CString());
    }
    return TKCxFUTF8(text);
}

}  // namespace

TKString TKCxFUTF8(const TKString& text) {
    TKString out;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text.CString());
    const unsigned char* end = p + text.Length();
    while (p < end) {
        const unsigned char c = *p;
        int32_t length = c < 0x80 ? 1 : (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
        if (length > 1 && c < 0xC2) length = 0;  // overlong
        for (int32_t k = 1; k < length; ++k)
            if (p + k >= end || (p[k] & 0xC0) != 0x80) length = 0;
        if (length == 0) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
            ++p;
            continue;
        }
        out.Append(reinterpret_cast<const char*>(p), length);
        p += length;
    }
    return out;
}

TKString TKXMLRootName(const char* text, size_t length) {
    const char* end = text + length;
    for (const char* p = text; p < end;) {
        p = static_cast<const char*>(std::memchr(p, '<', size_t(end - p)));
        if (!p || p + 1 >= end) return TKString();
        ++p;
        if (*p == '?' || *p == '!') continue;  // the declaration, comments, a document type
        const char* start = p;
        while (p < end && *p != '>' && *p != '/' && *p != ' ' && *p != '\t' && *p != '\r' && *p != '\n') ++p;
        return TKString(start, int32_t(p - start));
    }
    return TKString();
}

TKString TKCxFLocalName(const char* tagName) {
    const char* colon = tagName ? std::strrchr(tagName, ':') : nullptr;
    return TKString(colon ? colon + 1 : tagName ? tagName : "");
}

// --- Reading an element ---------------------------------------------------------------------

TKString TKCxFElement::TagName() const { return base ? base->GetString(kTagKey, "") : TKString(); }

TKString TKCxFElement::Attribute(const char* name, const char* defaultValue) const {
    const TKRefPtr<TKDataBase> block = base ? AttributeBlock(*base) : TKRefPtr<TKDataBase>();
    if (!block) return defaultValue;
    const int32_t index = block->IndexOfKey(name);
    return index >= 0 ? block->Value(index) : TKString(defaultValue);
}

bool TKCxFElement::HasAttribute(const char* name) const {
    const TKRefPtr<TKDataBase> block = base ? AttributeBlock(*base) : TKRefPtr<TKDataBase>();
    return block && block->IndexOfKey(name) >= 0;
}

std::vector<TKCxFElement> TKCxFElement::Children(const char* name) const {
    std::vector<TKCxFElement> out;
    if (!base) return out;
    for (int32_t i = 0; i < base->Count(); ++i) {
        if (!IsChildEntry(*base, i) || base->Key(i) != name) continue;
        const TKRefPtr<TKDataBase> sub = base->SubBaseAt(i);
        if (!sub) continue;
        if (!IsGroup(*sub)) {
            out.push_back({base->Value(i), sub});
            continue;
        }
        for (int32_t j = 0; j < sub->Count(); ++j)
            if (TKRefPtr<TKDataBase> element = sub->SubBaseAt(j)) out.push_back({sub->Value(j), element});
    }
    return out;
}

std::vector<TKCxFElement> TKCxFElement::AllChildren(std::vector<TKString>* names) const {
    std::vector<TKCxFElement> out;
    if (!base) return out;
    for (int32_t i = 0; i < base->Count(); ++i) {
        if (!IsChildEntry(*base, i)) continue;
        const TKRefPtr<TKDataBase> sub = base->SubBaseAt(i);
        if (!sub) continue;
        if (!IsGroup(*sub)) {
            out.push_back({base->Value(i), sub});
        } else {
            for (int32_t j = 0; j < sub->Count(); ++j)
                if (TKRefPtr<TKDataBase> element = sub->SubBaseAt(j)) out.push_back({sub->Value(j), element});
        }
        if (names) names->resize(out.size(), base->Key(i));
    }
    return out;
}

TKCxFElement TKCxFElement::Child(const char* name) const {
    std::vector<TKCxFElement> children = Children(name);
    return children.empty() ? TKCxFElement() : children.front();
}

TKString TKCxFElement::ChildText(const char* name, const char* defaultValue) const {
    const TKCxFElement child = Child(name);
    return child.IsValid() ? child.text : TKString(defaultValue);
}

// --- Building an element --------------------------------------------------------------------

TKCxFElement TKCxFElement::Make(const char* tagName, const TKString& text) {
    TKCxFElement element{text, TKMakeRef<TKDataBase>()};
    element.base->Add(kTagKey, tagName);
    return element;
}

void TKCxFElement::AddChild(const TKCxFElement& child) {
    const TKString local = TKCxFLocalName(child.TagName());
    const int32_t index = FindChildEntry(*base, local);
    if (index < 0) {
        base->Add(local, child.text, child.base.Get(), false);
        return;
    }
    // A second child of a name turns the entry into a numbered group.
    TKRefPtr<TKDataBase> group = base->SubBaseAt(index);
    if (!IsGroup(*group)) {
        auto numbered = TKMakeRef<TKDataBase>();
        numbered->Add("0", base->Value(index), group.Get(), false);
        base->SetValue(index, "");
        base->SetSubBase(index, numbered.Get(), false);
        group = numbered;
    }
    group->Add(TKString::FromInt(group->Count()), child.text, child.base.Get(), false);
}

TKCxFElement TKCxFElement::AddChild(const char* tagName, const TKString& text) {
    TKCxFElement child = Make(tagName, text);
    AddChild(child);
    return child;
}

void TKCxFElement::SetAttribute(const char* name, const TKString& value) {
    TKRefPtr<TKDataBase> block = AttributeBlock(*base);
    if (!block) {
        // The block goes right after the tag, before any child.
        block = TKMakeRef<TKDataBase>();
        base->Add(kAttributesKey, "", block.Get(), false);
        for (int32_t i = base->Count() - 1; i > 1; --i) base->SwapEntries(i, i - 1);
    }
    const int32_t index = block->IndexOfKey(name);
    if (index >= 0)
        block->SetValue(index, value);
    else
        block->Add(name, value);
}

// --- The whole document -----------------------------------------------------------------------

void TKCxFMirrorDocument(const tinyxml2::XMLElement& root, TKDataBase& mirror) {
    try {
        auto base = TKMakeRef<TKDataBase>();
        MirrorElement(root, *base);
        mirror.Clear();
        mirror.Add(".CxF", TrimmedText(root.GetText()), base.Get(), false);
    } catch (const std::bad_alloc&) {
        DebugPrintf(kDebugError, "Could not allocate memory for tag %s\n", root.Name());
        TKThrowMsg(MemFullErr, "Could not allocate memory for tag ");
    }
}

TKCxFElement TKCxFRootElement(const TKDataBase& mirror) {
    const int32_t index = mirror.IndexOfKey(".CxF");
    if (index < 0) return {};
    return {mirror.Value(index), mirror.SubBaseAt(index)};
}

void TKCxFEmitElement(const TKCxFElement& element, tinyxml2::XMLDocument& document, tinyxml2::XMLElement* parent) {
    const TKString tag = element.TagName();
    tinyxml2::XMLElement* node = tag.IsEmpty() ? nullptr : document.NewElement(tag.CString());
    if (!node) TKThrowMsg(GeneralErr, TKString::Format("Could not create XML element \"%s\"", tag.CString()).CString());
    if (parent)
        parent->InsertEndChild(node);
    else
        document.InsertEndChild(node);
    if (const TKRefPtr<TKDataBase> block = AttributeBlock(*element.base))
        for (int32_t i = 0; i < block->Count(); ++i) node->SetAttribute(block->Key(i).CString(), XMLText(block->Value(i)).CString());
    if (!element.text.IsEmpty()) node->SetText(XMLText(element.text).CString());
    // Entries without a tag are groups derived from the document, not part of it.
    for (const TKCxFElement& child : element.AllChildren())
        if (!child.TagName().IsEmpty()) TKCxFEmitElement(child, document, node);
}
