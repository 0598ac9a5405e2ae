#include "calib_file.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "file_util.h"
#include "palm/localisation/palm_crop.h"

using palm_struct::calib_data;
using palm_struct::cp_single;

namespace palm_tool {

namespace {

const int kLensFields = 12;
const int kHomographyFields = 9;

std::string format_numbers(char const* key, double const* v, int n) {
    std::string line = key;
    char buf[40];
    for (int i = 0; i < n; ++i) {
        std::snprintf(buf, sizeof buf, " %.17g", v[i]);
        line += buf;
    }
    return line + "\n";
}

void lens_to_array(cp_single const& cp, double* v) {
    double const a[kLensFields] = {cp.center_x, cp.center_y, cp.focal_x,  cp.focal_y,
                                   cp.left.x,   cp.left.y,   cp.right.x,  cp.right.y,
                                   cp.top.x,    cp.top.y,    cp.bottom.x, cp.bottom.y};
    for (int i = 0; i < kLensFields; ++i)
        v[i] = a[i];
}

cp_single lens_from_array(double const* v) {
    cp_single cp;
    cp.center_x = v[0];
    cp.center_y = v[1];
    cp.focal_x = v[2];
    cp.focal_y = v[3];
    cp.left = {v[4], v[5]};
    cp.right = {v[6], v[7]};
    cp.top = {v[8], v[9]};
    cp.bottom = {v[10], v[11]};
    return cp;
}

// One finite number, the whole of `word`.
bool parse_number(std::string const& word, double& out) {
    if (word.empty())
        return false;
    char* end = nullptr;
    errno = 0;
    double const v = std::strtod(word.c_str(), &end);
    if (end != word.c_str() + word.size() || errno == ERANGE || !std::isfinite(v))
        return false;
    out = v;
    return true;
}

}  // namespace

std::string format_calibration(calib_data const& data) {
    double v[kLensFields];
    lens_to_array(data.nir, v);
    std::string out = format_numbers("nir", v, kLensFields);
    lens_to_array(data.vl, v);
    out += format_numbers("vl", v, kLensFields);
    out += format_numbers("nir_to_vl", data.nir_to_vl, kHomographyFields);
    return out;
}

bool read_calibration(std::string const& path, calib_data& data, std::string& error) {
    std::string bytes;
    if (!read_whole_file(path, bytes)) {
        error = "cannot read the calibration file '" + path + "'";
        return false;
    }
    char const* const keys[3] = {"nir", "vl", "nir_to_vl"};
    int const counts[3] = {kLensFields, kLensFields, kHomographyFields};
    double values[3][kLensFields] = {};
    bool seen[3] = {false, false, false};
    std::istringstream lines(bytes);
    std::string line;
    int line_no = 0;
    while (std::getline(lines, line)) {
        ++line_no;
        std::istringstream words(line);
        std::string key;
        if (!(words >> key))
            continue;  // blank line
        int k = 0;
        while (k < 3 && key != keys[k])
            ++k;
        std::string const where = "calibration file '" + path + "' line " + std::to_string(line_no);
        if (k == 3 || seen[k]) {
            error = where + ": expected one line each of nir, vl and nir_to_vl";
            return false;
        }
        seen[k] = true;
        std::vector<std::string> fields;
        for (std::string w; words >> w;)
            fields.push_back(w);
        if (int(fields.size()) != counts[k]) {
            error = where + ": " + key + " needs " + std::to_string(counts[k]) + " numbers, has " +
                    std::to_string(fields.size());
            return false;
        }
        for (int i = 0; i < counts[k]; ++i) {
            if (!parse_number(fields[i], values[k][i])) {
                error = where + ": '" + fields[i] + "' is not a finite number";
                return false;
            }
        }
    }
    for (int k = 0; k < 3; ++k) {
        if (!seen[k]) {
            error = "calibration file '" + path + "' lacks its " + keys[k] + " line";
            return false;
        }
    }
    calib_data d;
    d.nir = lens_from_array(values[0]);
    d.vl = lens_from_array(values[1]);
    for (int i = 0; i < kHomographyFields; ++i)
        d.nir_to_vl[i] = values[2][i];
    d.calibrated = true;
    data = d;
    return true;
}

bool use_calibration(std::string const& path, std::string& error) {
    if (!path.empty()) {
        calib_data d;
        if (!read_calibration(path, d, error))
            return false;
        palm_algorithm::CPalmCrop::set_calib_para(d, true);
        return true;
    }
    palm_algorithm::CPalmCrop::GenerateMappingTable();
    return true;
}

}  // namespace palm_tool
