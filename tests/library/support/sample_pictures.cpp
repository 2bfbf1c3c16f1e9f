#include "tests/library/support/sample_pictures.h"

#include "library/jpeg/jpeg.h"
#include "library/video/planar_jpeg.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace pictures {

using namespace korv;

namespace {

bool isStroke(int x, int y, int width, int height)
{
    if (x < width / 10 || x > width * 9 / 10 || y < height / 10 || y > height * 9 / 10)
        return false;
    return y % 12 < 4 && x % 16 < 10 && (x / 16 + y / 12) % 5 != 0;
}

void paint(std::uint8_t *pixel, int red, int green, int blue)
{
    pixel[0] = static_cast<std::uint8_t>(std::clamp(red, 0, 255));
    pixel[1] = static_cast<std::uint8_t>(std::clamp(green, 0, 255));
    pixel[2] = static_cast<std::uint8_t>(std::clamp(blue, 0, 255));
}

} // namespace

Image page(int width, int height)
{
    Image image(width, height, PixelFormat::Rgb24);
    for (int y = 0; y < height; ++y) {
        std::uint8_t *row = image.row(y);
        for (int x = 0; x < width; ++x, row += 3) {
            const int light = 245 - 60 * x / width - 30 * y / height;
            if (x < width / 8 && y < height / 8)
                paint(row, 200, 30, 40);
            else if (x >= width - width / 8 && y >= height - height / 8)
                paint(row, 30, 60, 190);
            else if (isStroke(x, y, width, height))
                paint(row, light / 5, light / 5, light / 4);
            else
                paint(row, light, light - 3, light - 10);
        }
    }
    return image;
}

Image lineart(int width, int height)
{
    Image image(width, height, PixelFormat::Gray8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.row(y)[x] = isStroke(x, y, width, height) ? 0 : 255;
    }
    image.setBilevel(true);
    return image;
}

Image numbered(int width, int height, PixelFormat format)
{
    Image image(width, height, format);
    const std::size_t count = image.stride() * static_cast<std::size_t>(height);
    for (std::size_t i = 0; i < count; ++i)
        image.pixels()[i] = static_cast<std::uint8_t>((i * 2654435761U) >> 24);
    return image;
}

Bytes jpegOf(const Image &image, int quality)
{
    Result<Bytes> encoded = jpeg::encode(image, {quality, jpeg::Subsampling::S420});
    if (!encoded)
        throw std::runtime_error(encoded.error().text);
    return encoded.value();
}

Bytes jpegInHalves(const Image &rgb, int quality)
{
    PlanarJpegEncoder encoder(quality, 1);
    const ByteView pixels(rgb.pixels(), rgb.stride() * static_cast<std::size_t>(rgb.height()));
    const ByteView jpeg =
        encoder.encode({pixels, VideoLayout::Rgb24, rgb.width(), rgb.height(), rgb.stride(), true})
            .value();
    return Bytes(jpeg.begin(), jpeg.end());
}

Bytes videoFrame(const Image &image)
{
    Result<Bytes> encoded = jpeg::encode(image, {90, jpeg::Subsampling::S422});
    if (!encoded)
        throw std::runtime_error(encoded.error().text);
    const Bytes &whole = encoded.value();
    Bytes frame = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'A', 'V', 'I', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    std::size_t at = 2;
    for (;;) {
        const std::uint8_t marker = whole[at + 1];
        if (marker == 0xDA)
            break;
        const std::size_t length = 2 + (std::size_t{whole[at + 2]} << 8 | whole[at + 3]);
        if (marker != 0xE0 && marker != 0xC4)
            frame.insert(frame.end(), whole.begin() + static_cast<std::ptrdiff_t>(at),
                         whole.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    frame.insert(frame.end(), whole.begin() + static_cast<std::ptrdiff_t>(at), whole.end());
    frame.insert(frame.end(), 37, 0);
    return frame;
}

Image fromPnm(const std::string &pnm)
{
    std::istringstream stream(pnm);
    std::string magic;
    int width = 0;
    int height = 0;
    int levels = 1;
    stream >> magic >> width >> height;
    if (magic != "P4")
        stream >> levels;
    stream.get();
    if (!stream || (magic != "P4" && levels != 255) || !isSupportedSize(width, height))
        throw std::runtime_error("not a PNM picture: " + pnm.substr(0, 60));
    Image image(width, height, magic == "P6" ? PixelFormat::Rgb24 : PixelFormat::Gray8);
    if (magic == "P4") {
        std::string packed((static_cast<std::size_t>(width) + 7) / 8, '\0');
        for (int y = 0; y < height; ++y) {
            stream.read(packed.data(), static_cast<std::streamsize>(packed.size()));
            for (int x = 0; x < width; ++x) {
                const auto bits =
                    static_cast<unsigned char>(packed[static_cast<std::size_t>(x) / 8]);
                image.row(y)[x] = bits >> (7 - x % 8) & 1 ? 0 : 255;
            }
        }
    } else {
        stream.read(
            reinterpret_cast<char *>(image.pixels()),
            static_cast<std::streamsize>(image.stride() * static_cast<std::size_t>(height)));
    }
    if (!stream)
        throw std::runtime_error("PNM picture cut off");
    return image;
}

double difference(const Image &a, const Image &b)
{
    if (a.width() != b.width() || a.height() != b.height() || a.format() != b.format())
        return 1000;
    const std::size_t count = a.stride() * static_cast<std::size_t>(a.height());
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum += std::abs(a.pixels()[i] - b.pixels()[i]);
    return sum / static_cast<double>(count);
}

Image toRgb(const Image &image)
{
    if (image.format() == PixelFormat::Rgb24)
        return image;
    Image result(image.width(), image.height(), PixelFormat::Rgb24);
    result.setResolution(image.resolution());
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t *in = image.row(y);
        std::uint8_t *out = result.row(y);
        for (int x = 0; x < image.width(); ++x, out += 3)
            out[0] = out[1] = out[2] = in[x];
    }
    return result;
}

bool same(const Image &a, const Image &b)
{
    return difference(a, b) == 0;
}

Bytes readBytes(const std::string &path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file)
        return {};
    Bytes bytes(static_cast<std::size_t>(file.tellg()));
    file.seekg(0);
    file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

void writeBytes(const std::string &path, ByteView bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes.data),
               static_cast<std::streamsize>(bytes.size));
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

} // namespace pictures
