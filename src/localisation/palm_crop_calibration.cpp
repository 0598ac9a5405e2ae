// The calibration side of the crop object: parameters, lens tables and the
// mapping file.
#include <climits>
#include <cmath>
#include <cstring>
#include <fstream>

#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"
#include "palm/localisation/rounding.h"

using palm_struct::_point;
using palm_struct::calib_data;
using palm_struct::cp_single;

namespace palm_algorithm {

namespace {

const std::size_t TAG_BYTES = 8;
// A look-up at y = 480 reads up to 641 entries past the last table; the
// block carries that much zeroed slack so such a read stays harmless. The
// file format does not change.
const std::size_t TABLE_SLACK_ENTRIES = 641;

}  // namespace

calib_data default_calib_data() {
    calib_data d;
    d.nir.center_x = 303.84606067996;
    d.nir.center_y = 243.00684416683296;
    d.nir.focal_x = 285.3010262357538;
    d.nir.focal_y = 296.56930156668335;
    d.nir.left = {-443.09347883118295, -0.9683445288087};
    d.nir.right = {453.20398884775994, 0.990440220859625};
    d.nir.top = {2.622934913677909, -460.43430621485044};
    d.nir.bottom = {-2.6845511151746, 471.2505155076624};
    d.vl.center_x = 306.9964356361073;
    d.vl.center_y = 248.76793360866367;
    d.vl.focal_x = 282.4372370869407;
    d.vl.focal_y = 290.82147876316174;
    d.vl.left = {-433.90057072527367, -1.163047522147537};
    d.vl.right = {453.3989908541847, 1.215312005641607};
    d.vl.top = {2.754624114628939, -452.09736992701335};
    d.vl.bottom = {-2.812086617855528, 461.52829244026026};
    double const h[9] = {0.566984591687591,  -0.000299509694095, 0.13566385610597,
                         -0.000181701771763, 0.568117174722875,  -0.002496170855649,
                         0.002444491038171,  -0.000337266930993, 0.580822024241732};
    std::memcpy(d.nir_to_vl, h, sizeof(h));
    d.calibrated = true;
    return d;
}

calib_data CPalmCrop::_calibPara = default_calib_data();
std::uint16_t* CPalmCrop::piMapNIRx = nullptr;
std::uint16_t* CPalmCrop::piMapNIRy = nullptr;
std::uint16_t* CPalmCrop::piMapVLx = nullptr;
std::uint16_t* CPalmCrop::piMapVLy = nullptr;

CPalmCrop::CPalmCrop() {}

CPalmCrop::~CPalmCrop() {
    ReleaseMappingTable();
}

void CPalmCrop::AllocateMappingTable() {
    if (piMapNIRx != nullptr)
        return;
    std::uint16_t* block = new std::uint16_t[4 * TABLE_ENTRIES + TABLE_SLACK_ENTRIES]();
    piMapNIRx = block;
    piMapNIRy = block + TABLE_ENTRIES;
    piMapVLx = block + 2 * TABLE_ENTRIES;
    piMapVLy = block + 3 * TABLE_ENTRIES;
}

void CPalmCrop::ReleaseMappingTable() {
    delete[] piMapNIRx;
    piMapNIRx = piMapNIRy = piMapVLx = piMapVLy = nullptr;
}

void CPalmCrop::set_calib_para(const calib_data& data, bool generate) {
    _calibPara.nir = data.nir;
    _calibPara.vl = data.vl;
    std::memcpy(_calibPara.nir_to_vl, data.nir_to_vl, sizeof(_calibPara.nir_to_vl));
    if (generate)
        GenerateMappingTable();
}

namespace {

// One camera's pair of tables, in 1/64 pixel, truncated to 16 bits: a
// negative raw coordinate wraps.
void fill_tables(cp_single const& cp, std::uint16_t* tx, std::uint16_t* ty) {
    _point<int> out{0, 0};
    for (int x = 0; x < CPalmCrop::FRAME_WIDTH; ++x) {
        for (int y = 0; y < CPalmCrop::FRAME_HEIGHT; ++y) {
            std::size_t const i = static_cast<std::size_t>(y) * CPalmCrop::FRAME_WIDTH + x;
            CPalmCrop::MappingForward(_point<int>{x, y}, out, cp, CPalmCrop::P_LUT);
            tx[i] = static_cast<std::uint16_t>(out.x);
            ty[i] = static_cast<std::uint16_t>(out.y);
        }
    }
}

}  // namespace

void CPalmCrop::GenerateMappingTable() {
    AllocateMappingTable();
    fill_tables(_calibPara.nir, piMapNIRx, piMapNIRy);
    fill_tables(_calibPara.vl, piMapVLx, piMapVLy);
}

void CPalmCrop::MappingForward(const _point<int>& in, _point<int>& out, const cp_single& cp,
                               int shift) {
    _point<double> const rel{in.x - cp.center_x, in.y - cp.center_y};
    _point<double> raw{0, 0};
    palm_algorithm::MappingForward(rel, raw, cp);
    double const scale = static_cast<double>(1 << shift);
    out.x = round_half_away((raw.x + cp.center_x) * scale);
    out.y = round_half_away((raw.y + cp.center_y) * scale);
}

void CPalmCrop::MappingBackward(const _point<int>& in, _point<int>& out, const cp_single& cp) {
    _point<double> const rel{in.x - cp.center_x, in.y - cp.center_y};
    _point<double> normal{0, 0};
    palm_algorithm::MappingBackward(rel, normal, cp);
    out.x = round_half_away(normal.x + cp.center_x);
    out.y = round_half_away(normal.y + cp.center_y);
}

void CPalmCrop::Normal2Distort(const _point<int>& in, _point<int>& out, bool nir) {
    MappingForward(in, out, nir ? _calibPara.nir : _calibPara.vl, 0);
}

void CPalmCrop::Distort2Normal(const _point<int>& in, _point<int>& out, bool nir) {
    MappingBackward(in, out, nir ? _calibPara.nir : _calibPara.vl);
}

void CPalmCrop::NIR2VL_Normal(const _point<int>& in, _point<int>& out) {
    cp_single const& n = _calibPara.nir;
    cp_single const& w = _calibPara.vl;
    double const* h = _calibPara.nir_to_vl;
    double const a = (in.x - n.center_x) / n.focal_x;
    double const b = (in.y - n.center_y) / n.focal_y;
    double const den = h[6] * a + h[7] * b + h[8];
    double const p = (h[0] * a + h[1] * b + h[2]) / den;
    double const q = (h[3] * a + h[4] * b + h[5]) / den;
    out.x = round_half_away(w.center_x + p * w.focal_x);
    out.y = round_half_away(w.center_y + q * w.focal_y);
}

void CPalmCrop::MappingForward(const _point<int>& in, _point<int>& out, bool nir) {
    if (static_cast<unsigned>(in.x) <= static_cast<unsigned>(FRAME_WIDTH) && in.y >= 0 &&
        in.y <= FRAME_HEIGHT) {
        std::size_t const i =
            static_cast<std::size_t>(in.y) * FRAME_WIDTH + static_cast<std::size_t>(in.x);
        out.x = nir ? piMapNIRx[i] : piMapVLx[i];
        out.y = nir ? piMapNIRy[i] : piMapVLy[i];
    } else {
        out = in;
    }
}

void set_calib_para(const calib_data& data, bool generate) {
    CPalmCrop::set_calib_para(data, generate);
}

bool store_calib_mapping_file(const std::string& path, const unsigned char* tag) {
    if (CPalmCrop::piMapNIRx == nullptr || tag == nullptr)
        return false;
    std::ofstream out(path.c_str(), std::ios::binary | std::ios::trunc);
    if (!out)
        return false;
    out.write(reinterpret_cast<char const*>(tag), TAG_BYTES);
    if (!out)
        return false;
    out.write(reinterpret_cast<char const*>(CPalmCrop::piMapNIRx),
              static_cast<std::streamsize>(CPalmCrop::TABLE_BLOCK_BYTES));
    return !out.fail();
}

bool load_calib_mapping_file(const std::string& path, const unsigned char* tag) {
    if (tag == nullptr)
        return false;
    std::ifstream in(path.c_str(), std::ios::binary);
    if (!in)
        return false;
    unsigned char found[TAG_BYTES];
    in.read(reinterpret_cast<char*>(found), TAG_BYTES);
    if (in.fail())
        return false;
    for (std::size_t i = 0; i < TAG_BYTES; ++i)
        if (found[i] != tag[i])
            return false;
    CPalmCrop::AllocateMappingTable();
    in.read(reinterpret_cast<char*>(CPalmCrop::piMapNIRx),
            static_cast<std::streamsize>(CPalmCrop::TABLE_BLOCK_BYTES));
    return !in.fail();
}

}  // namespace palm_algorithm
