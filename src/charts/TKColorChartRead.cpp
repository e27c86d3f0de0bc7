// Reading a chart file: the format is told by the content.
#include <cstring>

#include "charts/TKColorChart.h"
#include "charts/TKCxFMirror.h"
#include "charts/TKCxFReader.h"
#include "charts/TKIT8Reader.h"
#include "io/TKFile.h"

void TKColorChart::ReadText(const TKString& text, const char* name) {
    const char* bytes = text.CString();
    size_t length = size_t(text.Length());
    if (length >= 3 && !std::memcmp(bytes, "\xEF\xBB\xBF", 3)) {
        bytes += 3;  // a UTF-8 byte order mark
        length -= 3;
    }
    size_t skip = 0;
    while (skip < length && (bytes[skip] == ' ' || bytes[skip] == '\t' || bytes[skip] == '\r' || bytes[skip] == '\n')) ++skip;
    // XML, with or without its declaration: no CGATS text starts with "<".
    if (skip < length && bytes[skip] == '<') {
        if (TKCxFReader::IsCxF(bytes + skip, length - skip)) {
            TKCxFReader reader(*this);
            const TKString xml(bytes, int32_t(length));
            if (name && *name)
                reader.ReadFileText(xml, name);
            else
                reader.ReadData(xml);
            return;
        }
        const TKString root = TKXMLRootName(bytes + skip, length - skip);
        if (root == "iso28178")
            TKThrowMsg(FeatureMissing, TKString::Format("The XML chart \"%s\" (%s) is not read by this version", name, root.CString()));
        TKThrowMsg(FormatErr, TKString::Format("The file \"%s\" is not a valid CGATS XML file!", name));
    }
    IT8Format2ChartReader reader(*this);
    reader.ReadString(TKString(bytes, int32_t(length)));
}

void TKColorChart::Read(const TKFileSpec& spec) {
    TKString text;
    {
        TKFile file(spec, 1);
        file.ReadString(text, -1);
    }
    TKColorChart read;
    read.ReadText(text, spec.FullName().CString());
    read.fFile = spec;
    Swap(read);
}
