// Measured step wedges for tintara calibrate: device values and their measurements, read from
// a CGATS file, and handed to the library through data set callbacks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tintara.h"

namespace host {

struct CalibrationData {
    struct Table {
        uint32_t type = 0;
        int32_t width = 0;
        std::vector<double> values;  // row after row
        int32_t Rows() const { return width > 0 ? int32_t(values.size() / size_t(width)) : 0; }
    };
    Table device;    // an ink type, percent
    Table measured;  // Lab, XYZ or spectral
    int32_t Rows() const { return device.Rows(); }
    // Data sets that serve the two tables; valid while this object lives.
    TKVectorDataSet DeviceSet() const;
    TKVectorDataSet MeasuredSet() const;
};

// Reads a CGATS file with device values and measurements. A Failure names the file and the
// reason when it cannot be read or holds no device values or no measurements.
CalibrationData ReadCalibrationData(const std::string& path);

}  // namespace host
