// TKCxFReader: parsing, the root and specification checks, and the file information.
#include "charts/TKCxFReader.h"

#include <tinyxml2.h>

#include <cstdio>
#include <cstring>

#include "charts/TKCxFReadObjects.h"
#include "charts/TKCxFSpotInk.h"
#include "charts/TKCxFValues.h"
#include "color/TKColors.h"
#include "foundation/TKDebug.h"
#include "foundation/TKError.h"
#include "io/TKFile.h"

namespace {

// Texts beyond this are no colour exchange files but an attempt to exhaust memory.
constexpr int32_t kMaxText = 256 << 20;

// The namespace a prefix stands for, from the root's declarations.
TKString NamespaceOf(const tinyxml2::XMLElement& root) {
    const char* tag = root.Name();
    const char* colon = std::strchr(tag, ':');
    const TKString attribute = colon ? TKString("xmlns:") + TKString(tag, int32_t(colon - tag)) : TKString("xmlns");
    const char* value = root.Attribute(attribute.CString());
    return value ? TKString(value) : TKString();
}

bool EndsWith(const TKString& text, const char* tail) {
    const int32_t n = int32_t(std::strlen(tail));
    return text.Length() >= n && text.Right(n) == tail;
}

}  // namespace

bool TKCxFReader::IsCxF(const char* text, size_t length) {
    return TKCxFLocalName(TKXMLRootName(text, length)) == "CxF";
}

void TKCxFReader::ReadFile(const TKFileSpec& spec) {
    TKString text;
    {
        TKFile file(spec, 1);
        file.ReadString(text, -1);
    }
    ReadFileText(text, spec.FullName().CString());
    fChart.SetFile(spec);
}

void TKCxFReader::ReadData(const TKString& text) {
    fFile = false;
    fName.Clear();
    Read(text);
}

void TKCxFReader::ReadFileText(const TKString& text, const char* name) {
    fFile = true;
    fName = name ? name : "";
    Read(text);
}

void TKCxFReader::Fail(bool invalid, const TKString& detail) {
    if (invalid) fError = fFile ? kInvalidFile : kInvalidData;
    TKString message = ErrorText(fError) + " (";
    if (!fName.IsEmpty()) message += TKString::Format("\"%s\": ", fName.CString());
    message += detail + ")";
    TKThrowMsg(FormatErr, message.CString());
}

void TKCxFReader::Warn(const TKString& line) {
    fWarnings.push_back(line);
    DebugPrintf(kDebugAlwaysOn, "%s\n", line.CString());
}

void TKCxFReader::CheckRoot() {
    const tinyxml2::XMLElement* root = Document().RootElement();
    if (!root) {
        fError = fFile ? kNotCxFFile : kInvalidData;
        Fail(false, "no root element");
    }
    if (TKCxFLocalName(root->Name()) != "CxF") {
        fError = fFile ? kNotCxFFile : kInvalidData;
        Fail(false, TKString::Format("the root element is \"%s\"", TKString(root->Name()).Left(60).CString()));
    }
    if (const char* version = root->Attribute("Version")) {
        double number = 0;
        if (!TKCxFParseNumber(version, number)) Fail(true, TKString::Format("Version \"%s\"", TKString(version).Left(40).CString()));
        if (number < 3) {
            fError = fFile ? kFormerFile : kFormerData;
            Fail(false, TKString::Format("Version %s", version));
        }
    }
    // A document may bind the core namespace to any prefix, or make it the default; what it
    // binds must be the CxF3 core.
    const TKString space = NamespaceOf(*root);
    if (!space.IsEmpty() && !EndsWith(space, "CxF3-core"))
        Fail(true, TKString::Format("the root is in the namespace \"%s\"", space.Left(80).CString()));
}

void TKCxFReader::CollectSpecs(const TKCxFElement& resources) {
    for (const TKCxFElement& element : resources.Child("ColorSpecificationCollection").Children("ColorSpecification")) {
        const TKString id = element.Attribute("Id");
        if (id.IsEmpty()) Fail(true, "a ColorSpecification without Id");
        if (FindSpec(id) >= 0) Fail(true, TKString::Format("two ColorSpecifications \"%s\"", id.Left(60).CString()));
        TKCxFColorSpec spec{id, element};
        if (!(spec.StartWL() > 0) || !(spec.Increment() > 0) || spec.Increment() > 100)
            Fail(true, TKString::Format("ColorSpecification \"%s\" has no usable WavelengthRange", id.Left(60).CString()));
        fSpecs.push_back(spec);
    }
}

void TKCxFReader::Read(const TKString& text) {
    ResetDocument();
    fMirror.Clear();
    fSpecs.clear();
    fSelected = -1;
    fWarnings.clear();
    fError = kNoError;
    if (text.Length() > kMaxText) Fail(true, TKString::Format("%d bytes", text.Length()));
    if (Document().Parse(text.CString(), size_t(text.Length())) != tinyxml2::XML_SUCCESS) {
        fError = fFile ? kNotCxFFile : kInvalidData;
        Fail(false, TKString::Format("XML error on line %d: %s", Document().ErrorLineNum(), Document().ErrorStr()));
    }
    CheckRoot();
    TKCxFMirrorDocument(*Document().RootElement(), fMirror);
    const TKCxFElement root = MirrorRoot();
    const TKCxFElement resources = root.Child("Resources");
    if (!resources.IsValid()) Fail(true, "no Resources");
    CollectSpecs(resources);

    TKCxFObjectReader objects(*this, root);
    TKString problem;
    TKColorChart chart;
    if (!objects.Read(chart, problem)) Fail(true, problem);
    for (const TKString& line : objects.Warnings()) Warn(line);
    if (SpecCount() > 0) SelectSpec(objects.CurrentSpec() >= 0 ? objects.CurrentSpec() : 0);
    if (!objects.Complete()) {
        // A file of another program: its file information and specification as keywords.
        const TKCxFElement info = root.Child("FileInformation");
        const std::pair<const char*, const char*> keys[] = {
            {"Creator", "CxFCreator"}, {"Description", "DESCRIPTOR"}, {"CreationDate", "CREATED"}};
        for (const auto& key : keys)
            if (!info.ChildText(key.first).IsEmpty() && !chart.Header().Exists(key.second))
                chart.SetKeyword(key.second, info.ChildText(key.first));
        if (fSelected >= 0) TKCxFSpecToKeywords(fSpecs[size_t(fSelected)], chart);
        // The ink names the channel of the tints; channel names end the keywords, as in CGATS.
        if (chart.DeviceType() == TK1CLRSpace && chart.ChannelNames().empty() && !chart.Keyword("SpotInkName").IsEmpty())
            chart.SetChannelNames({chart.Keyword("SpotInkName")});
    }
    objects.AddDerivedGroups(*root.base);
    chart.SetFromFile(true);
    chart.SetFile(fChart.File());
    fChart.Swap(chart);
}
