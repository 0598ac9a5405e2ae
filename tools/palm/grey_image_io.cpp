// The one translation unit of the tool that holds the stb implementations.
#include "grey_image_io.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <vector>

#include "file_util.h"

// Debian's stb headers are not written for -Wextra.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wimplicit-fallthrough"
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#include "stb_image.h"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image_write.h"
#pragma GCC diagnostic pop

namespace palm_tool {

namespace {

std::string lower_extension(std::string const& path) {
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || path.find('/', dot) != std::string::npos)
        return "";
    std::string ext = path.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

// Skips white space and '#' comments of a PGM header.
void skip_pgm_space(std::istream& in) {
    for (;;) {
        int c = in.peek();
        if (c == '#') {
            std::string line;
            std::getline(in, line);
        } else if (c != EOF && std::isspace(c)) {
            in.get();
        } else {
            return;
        }
    }
}

bool read_pgm(std::vector<unsigned char> const& data, palm_share::palm_image& image,
              std::string& error) {
    std::istringstream in(std::string(data.begin(), data.end()));
    std::string magic;
    in >> magic;
    int w = 0, h = 0, maxval = 0;
    skip_pgm_space(in);
    in >> w;
    skip_pgm_space(in);
    in >> h;
    skip_pgm_space(in);
    in >> maxval;
    if (!in || w < 1 || h < 1 || w > 65535 || h > 65535 || maxval < 1 || maxval > 255) {
        error = "malformed PGM header (8-bit grey images only)";
        return false;
    }
    std::vector<unsigned char> px(static_cast<size_t>(w) * h);
    if (magic == "P5") {
        in.get();  // the single white space after maxval
        in.read(reinterpret_cast<char*>(px.data()), static_cast<std::streamsize>(px.size()));
        if (in.gcount() != static_cast<std::streamsize>(px.size())) {
            error = "PGM pixel data is shorter than its header says";
            return false;
        }
    } else {
        for (unsigned char& p : px) {
            int v;
            skip_pgm_space(in);
            if (!(in >> v) || v < 0 || v > maxval) {
                error = "malformed plain PGM pixel data";
                return false;
            }
            p = static_cast<unsigned char>(v);
        }
    }
    if (maxval != 255) {
        for (unsigned char& p : px)
            p = static_cast<unsigned char>((p * 255 + maxval / 2) / maxval);
    }
    image.Create(w, h, px.data());
    return true;
}

bool read_stb(std::vector<unsigned char> const& data, palm_share::palm_image& image,
              std::string& error) {
    int w = 0, h = 0, channels = 0;
    unsigned char* px =
        stbi_load_from_memory(data.data(), static_cast<int>(data.size()), &w, &h, &channels, 1);
    if (px == nullptr) {
        error = std::string("cannot decode image: ") + stbi_failure_reason();
        return false;
    }
    image.Create(w, h, px);
    stbi_image_free(px);
    return true;
}

}  // namespace

bool read_grey_image(std::string const& path, palm_share::palm_image& image, std::string& error) {
    std::string bytes;
    if (!read_whole_file(path, bytes)) {
        error = "cannot open " + path;
        return false;
    }
    std::vector<unsigned char> data(bytes.begin(), bytes.end());
    bool ok;
    if (data.size() >= 2 && data[0] == 'P' && (data[1] == '5' || data[1] == '2')) {
        ok = read_pgm(data, image, error);
    } else if (data.size() >= 8 && data[0] == 0x89 && data[1] == 'P' && data[2] == 'N' &&
               data[3] == 'G') {
        ok = read_stb(data, image, error);
    } else if (data.size() >= 2 && data[0] == 'B' && data[1] == 'M') {
        ok = read_stb(data, image, error);
    } else {
        error = path + ": unsupported image format (expected 8-bit PGM, PNG or BMP)";
        return false;
    }
    if (ok && !image.IsValid()) {
        error = "cannot hold an image of that size";
        return false;
    }
    if (!ok)
        error = path + ": " + error;
    return ok;
}

bool write_grey_image(std::string const& path, palm_share::CYImage const& image,
                      std::string& error) {
    if (!image.IsValid()) {
        error = "no image to write";
        return false;
    }
    const std::string ext = lower_extension(path);
    const int w = image.GetWidth(), h = image.GetHeight();
    bool ok;
    if (ext == "png") {
        ok = stbi_write_png(path.c_str(), w, h, 1, image.GetBuffer(), w) != 0;
    } else if (ext == "bmp") {
        ok = stbi_write_bmp(path.c_str(), w, h, 1, image.GetBuffer()) != 0;
    } else {
        std::ofstream out(path, std::ios::binary);
        out << "P5\n" << w << " " << h << "\n255\n";
        out.write(reinterpret_cast<char const*>(image.GetBuffer()),
                  static_cast<std::streamsize>(image.GetSize()));
        ok = static_cast<bool>(out);
    }
    if (!ok)
        error = "cannot write " + path;
    return ok;
}

}  // namespace palm_tool
