// Conversions between the two connection spaces, Lab and XYZ (D50 white, Y = 100), for a
// profile whose own connection space differs from the one its colours come in.
#pragma once

namespace host {

void LabToXYZ(const double* lab, double* xyz);
void XYZToLab(const double* xyz, double* lab);

}  // namespace host
