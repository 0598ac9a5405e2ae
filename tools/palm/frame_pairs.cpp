#include "frame_pairs.h"

#include <dirent.h>

#include <algorithm>
#include <map>

#include "grey_image_io.h"

namespace palm_tool {

namespace {

const int FRAME_WIDTH = 640;
const int FRAME_HEIGHT = 480;

struct pair_files {
    std::string vl;
    std::string nir;
};

bool image_extension(std::string const& ext) {
    return ext == "png" || ext == "pgm" || ext == "bmp";
}

// Splits "NAME_vl.png" into NAME and whether it is the VL or NIR image.
bool frame_file(std::string const& file, std::string& name, bool& vl) {
    std::size_t const dot = file.rfind('.');
    if (dot == std::string::npos || !image_extension(file.substr(dot + 1)))
        return false;
    std::string const stem = file.substr(0, dot);
    for (char const* suffix : {"_vl", "_nir"}) {
        std::string const s = suffix;
        if (stem.size() > s.size() && stem.compare(stem.size() - s.size(), s.size(), s) == 0) {
            name = stem.substr(0, stem.size() - s.size());
            vl = s == "_vl";
            return true;
        }
    }
    return false;
}

bool read_frame_image(std::string const& path, palm_share::palm_image& image, std::string& error) {
    if (!read_grey_image(path, image, error))
        return false;
    if (image.GetWidth() != FRAME_WIDTH || image.GetHeight() != FRAME_HEIGHT) {
        error = "'" + path + "' is " + std::to_string(image.GetWidth()) + "x" +
                std::to_string(image.GetHeight()) + ", frames must be 640x480";
        return false;
    }
    return true;
}

}  // namespace

bool list_dir(std::string const& dir, std::vector<std::string>& names, std::string& error) {
    DIR* const d = opendir(dir.c_str());
    if (d == nullptr) {
        error = "cannot read folder '" + dir + "'";
        return false;
    }
    names.clear();
    while (dirent* const entry = readdir(d)) {
        std::string const name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    closedir(d);
    std::sort(names.begin(), names.end());
    return true;
}

bool read_frame_pairs(std::string const& dir, std::vector<named_frame>& frames,
                      std::string& error) {
    std::vector<std::string> files;
    if (!list_dir(dir, files, error))
        return false;
    std::map<std::string, pair_files> pairs;  // byte-wise order of NAME
    for (std::string const& file : files) {
        std::string name;
        bool vl = false;
        if (!frame_file(file, name, vl))
            continue;
        std::string& slot = vl ? pairs[name].vl : pairs[name].nir;
        if (!slot.empty()) {
            error = "'" + dir + "/" + file + "' repeats frame " + name;
            return false;
        }
        slot = dir + "/" + file;
    }
    frames.clear();
    for (auto const& p : pairs) {
        if (p.second.vl.empty() || p.second.nir.empty()) {
            error = "'" + (p.second.vl.empty() ? p.second.nir : p.second.vl) + "' has no " +
                    (p.second.vl.empty() ? "_vl" : "_nir") + " partner";
            return false;
        }
        named_frame f;
        f.name = p.first;
        if (!read_frame_image(p.second.vl, f.frame.vl, error) ||
            !read_frame_image(p.second.nir, f.frame.nir, error))
            return false;
        frames.push_back(f);
    }
    return true;
}

}  // namespace palm_tool
