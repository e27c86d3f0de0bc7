// The data base form of a chart: two colour types, a name, a date, channel names and the rows.
#include <algorithm>
#include <ctime>
#include <string>

#include "charts/TKColorChart.h"
#include "charts/TKIT8Lexer.h"
#include "charts/TKIT8Writer.h"
#include "color/TKColors.h"

namespace {

TKMatrix ReadRows(const TKDataBase* section, uint32_t type, const char* name) {
    const int32_t rows = section ? section->Count() : 0;
    const int32_t width = GetChannelCount(type);
    TKMatrix matrix(rows, width, int32_t(type));
    for (int32_t r = 0; r < rows; ++r) {
        const TKString text = section->Value(r);
        TKIT8Lexer lexer(text.CString(), size_t(text.Length()));
        TKIT8Lexer::Token token;
        int32_t c = 0;
        bool good = true;
        while (good && lexer.Next(token)) good = c < width && TKIT8Lexer::ParseNumber(token.text, matrix(r, c++));
        if (!good || c != width)
            TKThrowMsg(FormatErr, TKString::Format("Data/%s/%s: \"%s\" is no %s colour", name, section->Key(r).CString(),
                                                   text.Left(40).CString(), GetTypeName(type).CString()));
    }
    return matrix;
}

void WriteRows(TKDataBase& data, const char* name, const TKMatrix& matrix) {
    auto section = TKMakeRef<TKDataBase>();
    for (int32_t r = 0; r < matrix.GetHeight(); ++r) {
        std::string row;
        for (int32_t c = 0; c < matrix.GetWidth(); ++c) {
            if (c) row += ' ';
            IT8FormatWriter::AppendValue(row, matrix(r, c), uint32_t(matrix.GetType()));
        }
        section->Add(TKString::FromInt(r), TKString(row.c_str(), int32_t(row.size())));
    }
    data.Add(name, "", section.Get(), false);
}

uint32_t TypeOf(const TKDataBase& base, const char* key) {
    const TKString text = base.GetString(key, "");
    if (text.IsEmpty()) return 0;
    const uint32_t type = TKString(text + "    ").Left(4).ToSignature();
    if (!IsKnownSpace(type) || GetChannelCount(type) < 1)
        TKThrowMsg(FormatErr, TKString::Format("%s \"%s\" is no colour type", key, text.CString()));
    return type;
}

}  // namespace

TKRefPtr<TKColorChart> TKColorChart::FromDataBase(const TKDataBase& base) {
    const uint32_t dcs = TypeOf(base, "DCSType"), cie = TypeOf(base, "CIEType");
    if (!dcs && !cie) TKThrowMsg(FormatErr, "A chart needs \"DCSType\" or \"CIEType\"");
    auto chart = TKMakeRef<TKColorChart>();
    const TKRefPtr<TKDataBase> data = base.GetSubBase("Data");
    if (dcs) chart->SetMatrix(ReadRows(data ? data->GetSubBase("DCS").Get() : nullptr, dcs, "DCS"));
    if (cie) chart->SetMatrix(ReadRows(data ? data->GetSubBase("CIE").Get() : nullptr, cie, "CIE"));
    chart->TKObject::SetName(base.GetString("Name", ""));
    if (base.Exists("ImportDate")) chart->SetKeyword("ImportDate", base.GetString("ImportDate"));
    std::vector<TKString> names;
    const std::string list = base.GetString("ChannelNames", "").CString();
    for (size_t start = 0; !list.empty() && start <= list.size();) {
        const size_t end = std::min(list.find(';', start), list.size());
        names.emplace_back(list.substr(start, end - start).c_str());
        start = end + 1;
    }
    chart->SetChannelNames(names);
    return chart;
}

TKRefPtr<TKDataBase> TKColorChart::ToDataBase() const {
    auto base = TKMakeRef<TKDataBase>();
    const uint32_t dcs = DeviceType(), cie = MeasuredType();
    if (dcs) base->SetString("DCSType", TKString::FromSignature(dcs));
    if (cie) base->SetString("CIEType", TKString::FromSignature(cie));
    base->SetString("Name", GetName());
    TKString date = Keyword("ImportDate");
    if (date.IsEmpty()) {
        char text[32];
        const std::time_t now = std::time(nullptr);
        std::tm utc{};
        gmtime_r(&now, &utc);
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
        date = text;
    }
    base->SetString("ImportDate", date);
    TKString names;
    for (const TKString& name : ChannelNames()) names += (names.IsEmpty() ? "" : ";") + name;
    base->SetString("ChannelNames", names);
    auto data = TKMakeRef<TKDataBase>();
    if (dcs) WriteRows(*data, "DCS", Matrix(dcs));
    if (cie) WriteRows(*data, "CIE", Matrix(cie));
    base->Add("Data", "", data.Get(), false);
    return base;
}
