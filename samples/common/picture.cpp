#include "picture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>
#include <png.h>

namespace {

struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileClose>;

uint8_t byteOf(float value) {
    return static_cast<uint8_t>(std::clamp(value, 0.0f, 1.0f) * 255.0f + 0.5f);
}

std::vector<uint8_t> bytesOf(const Picture& picture, size_t channels) {
    std::vector<uint8_t> bytes;
    bytes.reserve(picture.texels.size() * channels);
    for (const auto& texel : picture.texels) {
        for (size_t i = 0; i < channels; ++i) {
            bytes.push_back(byteOf(texel[i]));
        }
    }
    return bytes;
}

int writeFile(const std::string& path, const void* data, size_t size, std::string& error) {
    const File file(std::fopen(path.c_str(), "wb"));
    if (!file || std::fwrite(data, 1, size, file.get()) != size) {
        error = "cannot write " + path;
        return -1;
    }
    return 0;
}

} // namespace

Picture::Picture(int w, int h)
    : width(w), height(h), texels(static_cast<size_t>(w) * static_cast<size_t>(h), {0, 0, 0, 1}) {}

std::array<float, 4>& Picture::at(int x, int y) {
    return texels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
}

Colour gradient(std::initializer_list<Stop> stops, double at) {
    const Stop* before = stops.begin();
    for (const Stop& stop : stops) {
        if (at <= stop.at) {
            const double span = stop.at - before->at;
            return mixColours(before->colour, stop.colour,
                              span > 0 ? static_cast<float>((at - before->at) / span) : 1.0f);
        }
        before = &stop;
    }
    return before->colour;
}

void setTexel(Picture& picture, int x, int y, const Colour& colour, double light, double alpha) {
    const Colour c = scaleColour(colour, static_cast<float>(light));
    picture.at(x, y) = {c[0], c[1], c[2], static_cast<float>(alpha)};
}

Way wayThrough(int face, double s, double t) {
    switch (face) {
    case 0:
        return {1, -t, -s};
    case 1:
        return {-1, -t, s};
    case 2:
        return {s, 1, t};
    case 3:
        return {s, -1, -t};
    case 4:
        return {s, -t, 1};
    default:
        return {-s, -t, -1};
    }
}

int savePng(const Picture& picture, const std::string& path, std::string& error) {
    const std::vector<uint8_t> bytes = bytesOf(picture, 4);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = 0;
    std::vector<uint8_t> packed;
    if (png_image_write_get_memory_size(image, size, 0, bytes.data(), 0, nullptr) != 0) {
        packed.resize(size);
        if (png_image_write_to_memory(&image, packed.data(), &size, 0, bytes.data(), 0, nullptr) != 0) {
            return writeFile(path, packed.data(), size, error);
        }
    }
    error = "cannot make " + path + ": " + image.message;
    return -1;
}

int saveJpg(const Picture& picture, const std::string& path, std::string& error) {
    std::vector<uint8_t> bytes = bytesOf(picture, 3);
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors); // what it calls an error here is out of memory: it ends the program
    jpeg_create_compress(&jpeg);
    unsigned char* packed = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &packed, &size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.height);
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 92, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = bytes.data() + static_cast<size_t>(jpeg.next_scanline) * jpeg.image_width * 3;
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    const int result = writeFile(path, packed, size, error);
    jpeg_destroy_compress(&jpeg);
    std::free(packed);
    return result;
}
