// The data base mirror of a CxF3 document. Every element is an entry keyed by its name without
// the namespace prefix; the entry's value is the element's text and its nested base holds
// "__CrcTagName" (the tag as written, prefix and all), an "Attributes" base when there are
// attributes, then the child elements. Siblings of one name are grouped under one entry whose
// base numbers them "0", "1", ... (element names never start with a digit). Reading code asks
// the mirror for paths and children instead of walking XML; the writer builds a mirror and
// turns it into XML in one place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "io/TKDataBase.h"

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

// One element of the mirror: its text and its base (attributes and children).
struct TKCxFElement {
    TKString text;
    TKRefPtr<TKDataBase> base;

    bool IsValid() const { return bool(base); }
    TKString TagName() const;
    TKString Attribute(const char* name, const char* defaultValue = "") const;
    bool HasAttribute(const char* name) const;
    // The children of a name, in order; a grouped or single entry alike.
    std::vector<TKCxFElement> Children(const char* name) const;
    // Every child element in mirror order, groups expanded; `names` receives their local names.
    std::vector<TKCxFElement> AllChildren(std::vector<TKString>* names = nullptr) const;
    // The first child of a name, or an invalid element.
    TKCxFElement Child(const char* name) const;
    // The text of the first child of a name, or the default.
    TKString ChildText(const char* name, const char* defaultValue = "") const;

    // Building: a new element with its tag (prefix included), and children added at the end.
    static TKCxFElement Make(const char* tagName, const TKString& text = TKString());
    TKCxFElement AddChild(const char* tagName, const TKString& text = TKString());
    void AddChild(const TKCxFElement& child);
    void SetAttribute(const char* name, const TKString& value);
};

// The name of the root element of an XML text (after the declaration, comments and a document
// type), or empty.
TKString TKXMLRootName(const char* text, size_t length);
// Text in UTF-8: bytes that are no UTF-8 are taken as Latin-1, as older files write them.
TKString TKCxFUTF8(const TKString& text);
// The local part of a tag: "cc:Object" gives "Object".
TKString TKCxFLocalName(const char* tagName);

// Mirrors the tree under `root` into `mirror` as the entry ".CxF". MemFullErr when memory runs
// out (after logging "Could not allocate memory for tag ").
void TKCxFMirrorDocument(const tinyxml2::XMLElement& root, TKDataBase& mirror);
// The element of the document in a mirror: the entry ".CxF".
TKCxFElement TKCxFRootElement(const TKDataBase& mirror);
// Builds the XML of a mirrored element and its children into `document`, under `parent` or as
// the root. GeneralErr "Could not create XML element \"name\"" when an element cannot be made.
void TKCxFEmitElement(const TKCxFElement& element, tinyxml2::XMLDocument& document, tinyxml2::XMLElement* parent);
