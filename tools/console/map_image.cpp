#include "console/map_image.h"

#include <png.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "common/failure.h"
#include "common/json_text.h"
#include "robocomm/security.h"

namespace robocomm::console {

using tools::Exit;
using tools::Failure;

namespace {

// A map larger than this is not one the robot draws.
constexpr unsigned kMaxSide = 8192;

struct Pgm {
    unsigned width = 0, height = 0;
    std::string pixels;
};

// Binary PGM ("P5"), 8 bits per pixel; comments allowed in the header.
Pgm parsePgm(const std::string& bytes) {
    std::istringstream in(bytes);
    std::string magic;
    unsigned long width = 0, height = 0, maxValue = 0;
    const auto skipComments = [&in] {
        in >> std::ws;
        while (in.peek() == '#') {
            std::string comment;
            std::getline(in, comment);
            in >> std::ws;
        }
    };
    in >> magic;
    skipComments();
    in >> width;
    skipComments();
    in >> height;
    skipComments();
    in >> maxValue;
    if (!in || magic != "P5" || width == 0 || height == 0 || width > kMaxSide || height > kMaxSide ||
        maxValue == 0 || maxValue > 255 || in.get() == EOF)
        throw Failure(Exit::BadData, "the robot's map is not an 8-bit binary PGM image");
    const size_t start = static_cast<size_t>(in.tellg());
    if (bytes.size() - start < width * height)
        throw Failure(Exit::BadData, "the robot's map image is cut short");
    Pgm pgm{static_cast<unsigned>(width), static_cast<unsigned>(height), bytes.substr(start, width * height)};
    // Stretch a smaller grey range to 0..255 so the page shows it as meant.
    if (maxValue != 255)
        for (char& p : pgm.pixels)
            p = static_cast<char>(std::min(255ul, static_cast<unsigned char>(p) * 255ul / maxValue));
    return pgm;
}

void appendBytes(png_structp png, png_bytep data, png_size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<const char*>(data), length);
}

// libpng reports errors with longjmp, which skips destructors: only plain
// values live in this frame.
bool writePng(png_structp png, png_infop info, std::string* out, png_bytep* rows, unsigned width, unsigned height) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_write_fn(png, out, appendBytes, nullptr);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_rows(png, info, rows);
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    return true;
}

}  // namespace

std::string encodeGreyPng(const std::string& pixels, unsigned width, unsigned height) {
    std::string out;
    std::vector<png_bytep> rows(height);
    for (unsigned y = 0; y < height; ++y)
        rows[y] = reinterpret_cast<png_bytep>(const_cast<char*>(pixels.data())) + static_cast<size_t>(y) * width;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool written = info && writePng(png, info, &out, rows.data(), width, height);
    png_destroy_write_struct(&png, &info);
    if (!written) throw Failure(Exit::Failed, "cannot encode the map as PNG");
    return out;
}

MapImage mapImageFrom(const Json::Value& mapData) {
    const Json::Value& image = tools::memberAt(mapData, {"data"});
    if (!image.isString()) throw Failure(Exit::BadData, "the robot's map answer carries no image");
    const std::vector<unsigned char> bytes = base64Decode(image.asString());
    const Pgm pgm = parsePgm(std::string(bytes.begin(), bytes.end()));
    MapImage map;
    map.png = encodeGreyPng(pgm.pixels, pgm.width, pgm.height);
    map.width = tools::numberAt(mapData, {"width"});
    map.height = tools::numberAt(mapData, {"height"});
    map.resolution = tools::numberAt(mapData, {"resolution"});
    map.posX = tools::numberAt(mapData, {"posX"});
    map.posY = tools::numberAt(mapData, {"posY"});
    return map;
}

}  // namespace robocomm::console
