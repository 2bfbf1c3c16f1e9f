// One piece of work per process, for documents.py: ours through the built camera library, and what
// it is compared with.
#include "library/export/image_loader.h"
#include "library/files/source_file.h"
#include "library/formats/packed_bits.h"
#include "library/include/korv_camera.h"
#include "library/jpeg/jpeg.h"
#include "library/photograph/photograph.h"
#include "library/video/planar_jpeg.h"
#include "library/video/yuyv.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <tiffio.h>
#include <turbojpeg.h>
#ifdef KORV_BENCH_QT
#include <QImage>
#endif

namespace {

using Arguments = std::vector<std::string>;

constexpr int kVideoQuality = 92;

void check(bool good, const std::string &what)
{
    if (!good)
        throw std::runtime_error(what);
}

template <typename Value> Value take(korv::Result<Value> result)
{
    check(static_cast<bool>(result), result ? std::string() : result.error().text);
    return std::move(result).value();
}

korv::Bytes readFile(const std::string &path)
{
    korv::Bytes content;
    check(static_cast<bool>(korv::readSourceFile(path, content)), path);
    return content;
}

void writeFile(const std::string &path, korv::ByteView bytes)
{
    std::FILE *file = std::fopen(path.c_str(), "wb");
    check(file != nullptr, path);
    check(std::fwrite(bytes.data, 1, bytes.size, file) == bytes.size, path);
    check(std::fclose(file) == 0, path);
}

// ---- ours ----

template <typename Function> Function entry(const char *name)
{
    static void *const library = ::dlopen(std::getenv("KORV_BENCH_LIBRARY"), RTLD_NOW);
    check(library != nullptr, "KORV_BENCH_LIBRARY names no library");
    return reinterpret_cast<Function>(::dlsym(library, name));
}

#define ENTRY(name) entry<decltype(&KorvCamera_##name)>("KorvCamera_" #name)

/// QUALITY OUT SOURCE...
void combine(const Arguments &arguments)
{
    ENTRY(SetImageJPGQuality)(std::atoi(arguments.at(0).c_str()));
    const auto add = ENTRY(AddImageFiletoMultiFile);
    for (std::size_t i = 2; i < arguments.size(); ++i)
        check(add(arguments[i].c_str()) == 0, arguments[i]);
    check(ENTRY(CombineMultiFile)(arguments.at(1).c_str()) == 0, arguments[1]);
}

/// QUALITY SOURCE OUT...
void convert(const Arguments &arguments)
{
    ENTRY(SetImageJPGQuality)(std::atoi(arguments.at(0).c_str()));
    const auto convertImage = ENTRY(ConvertImagetoImage);
    for (std::size_t i = 2; i < arguments.size(); ++i)
        check(convertImage(arguments[1].c_str(), arguments[i].c_str()) == 0, arguments[i]);
}

/// FRAME OUT QUALITY ROTATION COLOUR TIMES
void photograph(const Arguments &arguments)
{
    const korv::Bytes frame = readFile(arguments.at(0));
    const korv::jpeg::Info info = take(korv::jpeg::readInfo(frame));
    // the library may read up to that many bytes
    korv::Bytes room(static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height)
                     * 3);
    std::copy(frame.begin(), frame.end(), room.begin());
    ENTRY(SetImageJPGQuality)(std::atoi(arguments.at(2).c_str()));
    ENTRY(SetImageRotateMode)(std::atoi(arguments.at(3).c_str()));
    ENTRY(SetImageColorStyle)(std::atoi(arguments.at(4).c_str()));
    const auto save = ENTRY(SaveVideoData);
    for (int i = 0; i < std::atoi(arguments.at(5).c_str()); ++i)
        check(save(room.data(), info.width, info.height, 0, arguments[1].c_str()) == 0, "save");
}

// ---- what it is compared with ----

/// FRAME OUT TIMES: the frame's bytes into a file, again and again
void plainWrite(const Arguments &arguments)
{
    const korv::Bytes frame = readFile(arguments.at(0));
    const korv::jpeg::Info info = take(korv::jpeg::readInfo(frame));
    korv::Bytes room(static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height)
                     * 3);
    std::copy(frame.begin(), frame.end(), room.begin());
    ENTRY(GetVersion); // both processes load the library
    for (int i = 0; i < std::atoi(arguments.at(2).c_str()); ++i)
        writeFile(arguments.at(1), korv::ByteView(room).first(frame.size()));
}

/// SOURCE OUT...
void byteCopy(const Arguments &arguments)
{
    ENTRY(GetVersion);
    for (std::size_t i = 1; i < arguments.size(); ++i)
        writeFile(arguments[i], readFile(arguments[0]));
}

/// FRAME OUT TIMES: libjpeg-turbo's own lossless rotation by 90 degrees
void turboRotate(const Arguments &arguments)
{
    const korv::Bytes frame = readFile(arguments.at(0));
    ENTRY(GetVersion);
    for (int i = 0; i < std::atoi(arguments.at(2).c_str()); ++i) {
        tjhandle handle = tjInitTransform();
        tjtransform transform{};
        transform.op = TJXOP_ROT90;
        transform.options = TJXOPT_PERFECT;
        unsigned char *out = nullptr;
        unsigned long size = 0;
        check(tjTransform(handle, frame.data(), frame.size(), 1, &out, &size, &transform, 0) == 0,
              tjGetErrorStr2(handle));
        writeFile(arguments.at(1), {out, size});
        tjFree(out);
        tjDestroy(handle);
    }
}

/// FRAME OUT QUALITY TIMES: decodes to RGB and encodes with the same sampling
void turboRecode(const Arguments &arguments)
{
    const korv::Bytes frame = readFile(arguments.at(0));
    ENTRY(GetVersion);
    for (int i = 0; i < std::atoi(arguments.at(3).c_str()); ++i) {
        tjhandle in = tjInitDecompress();
        tjhandle out = tjInitCompress();
        int width = 0;
        int height = 0;
        int sampling = 0;
        int space = 0;
        check(
            tjDecompressHeader3(in, frame.data(), frame.size(), &width, &height, &sampling, &space)
                == 0,
            "header");
        korv::Bytes pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
        check(tjDecompress2(in, frame.data(), frame.size(), pixels.data(), width, 0, height,
                            TJPF_RGB, 0)
                  == 0,
              "decode");
        unsigned char *jpeg = nullptr;
        unsigned long size = 0;
        check(tjCompress2(out, pixels.data(), width, 0, height, TJPF_RGB, &jpeg, &size, sampling,
                          std::atoi(arguments.at(2).c_str()), 0)
                  == 0,
              "encode");
        writeFile(arguments.at(1), {jpeg, size});
        tjFree(jpeg);
        tjDestroy(in);
        tjDestroy(out);
    }
}

/// SOURCE: reads and decodes
void decode(const Arguments &arguments)
{
    ENTRY(GetVersion);
    const korv::Image image = take(korv::loadImage(readFile(arguments.at(0))));
    check(!image.empty(), "decode");
}

/// OUT SOURCE...: decodes lineart pages and writes their bits as an uncompressed TIFF
void rawBits(const Arguments &arguments)
{
    ENTRY(GetVersion);
    TIFF *tiff = TIFFOpen(arguments.at(0).c_str(), "w");
    check(tiff != nullptr, arguments[0]);
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const korv::Image image = take(korv::loadImage(readFile(arguments[i])));
        korv::Bytes bits = korv::packRows(image, korv::SetBit::Black);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width());
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height());
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, image.height());
        TIFFWriteEncodedStrip(tiff, 0, bits.data(), static_cast<tmsize_t>(bits.size()));
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
}

/// SOURCE OUT: what Qt does with its defaults
void qtSave(const Arguments &arguments)
{
#ifdef KORV_BENCH_QT
    QImage image;
    check(image.load(QString::fromStdString(arguments.at(0))), "load");
    check(image.save(QString::fromStdString(arguments.at(1))), "save");
#else
    static_cast<void>(arguments);
    throw std::runtime_error("built without Qt");
#endif
}

/// PICTURE WIDTH HEIGHT TIMES: a YUYV picture into a JPEG, planes straight into the encoder
void yuyvDirect(const Arguments &arguments)
{
    const korv::Bytes bytes = readFile(arguments.at(0));
    korv::VideoPicture picture;
    picture.bytes = bytes;
    picture.width = std::atoi(arguments.at(1).c_str());
    picture.height = std::atoi(arguments.at(2).c_str());
    picture.stride = static_cast<std::size_t>(picture.width) * 2;
    korv::PlanarJpegEncoder encoder(kVideoQuality);
    for (int i = 0; i < std::atoi(arguments.at(3).c_str()); ++i)
        check(!take(encoder.encode(picture)).empty(), "encode");
}

/// ITU-R BT.601 pixel by pixel, with 8 fractional bits.
void plainYuyvToRgb(const korv::Bytes &yuyv, korv::Bytes &rgb)
{
    for (std::size_t pixel = 0; 3 * pixel < rgb.size(); ++pixel) {
        const std::uint8_t *pair = yuyv.data() + pixel / 2 * 4;
        const int luma = 298 * (pair[pixel % 2 * 2] - 16) + 128;
        const int blue = pair[1] - 128;
        const int red = pair[3] - 128;
        const int levels[] = {luma + 409 * red, luma - 100 * blue - 208 * red, luma + 516 * blue};
        for (std::size_t i = 0; i < 3; ++i)
            rgb[3 * pixel + i] = static_cast<std::uint8_t>(std::clamp(levels[i] >> 8, 0, 255));
    }
}

/// PICTURE WIDTH HEIGHT TIMES plain|vectors: the same by way of RGB, as a program does that minds its
/// memory: buffers and the encoder are kept from picture to picture. Sampling and transform are ours.
void yuyvByRgb(const Arguments &arguments)
{
    const bool isPlain = arguments.at(4) == "plain";
    const korv::Bytes bytes = readFile(arguments.at(0));
    const int width = std::atoi(arguments.at(1).c_str());
    const int height = std::atoi(arguments.at(2).c_str());
    korv::Bytes rgb(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    check(bytes.size() >= rgb.size() / 3 * 2, "the picture is too small");
    korv::Bytes jpeg(tjBufSize(width, height, TJSAMP_422));
    tjhandle encoder = tjInitCompress();
    for (int i = 0; i < std::atoi(arguments.at(3).c_str()); ++i) {
        if (isPlain)
            plainYuyvToRgb(bytes, rgb);
        else
            check(static_cast<bool>(korv::yuyvToRgb(bytes.data(), rgb.data(),
                                                    static_cast<unsigned>(width),
                                                    static_cast<unsigned>(height))),
                  "convert");
        unsigned char *out = jpeg.data();
        unsigned long size = jpeg.size();
        check(tjCompress2(encoder, rgb.data(), width, 0, height, TJPF_RGB, &out, &size, TJSAMP_422,
                          kVideoQuality, TJFLAG_NOREALLOC | TJFLAG_ACCURATEDCT)
                  == 0,
              tjGetErrorStr2(encoder));
    }
    tjDestroy(encoder);
}

// ---- material ----

/// A page under a lamp: paper with uneven light and a sensor's grain, lines of strokes, a picture.
korv::Image page(int width, int height, unsigned seed)
{
    korv::Image image(width, height, korv::PixelFormat::Rgb24);
    std::uint32_t state = seed;
    for (int y = 0; y < height; ++y) {
        std::uint8_t *row = image.row(y);
        const bool textLine = y % 48 < 26 && y > height / 12 && y < height * 9 / 10;
        for (int x = 0; x < width; ++x) {
            state = state * 1664525 + 1013904223;
            const int grain = static_cast<int>(state >> 29) - 4;
            const double light = 225 - 40.0 * std::hypot(x - width / 3.0, y - height / 3.0) / width;
            int colour[3] = {static_cast<int>(light), static_cast<int>(light) - 3,
                             static_cast<int>(light) - 12};
            const unsigned word = static_cast<unsigned>(x / 14 + y / 48 * 131) * 2654435761U + seed;
            if (textLine && (word >> 28) > 4 && x % 14 < 9 && (x * 7 + y * 3) % 19 < 8)
                std::fill(colour, colour + 3, 45);
            if (x > width * 2 / 3 && y > height * 3 / 4 && y < height * 9 / 10) {
                colour[0] = 128 + static_cast<int>(90 * std::sin(x / 23.0));
                colour[1] = 128 + static_cast<int>(90 * std::sin(y / 31.0));
                colour[2] = 128 + static_cast<int>(90 * std::sin((x + y) / 47.0));
            }
            for (int i = 0; i < 3; ++i)
                row[3 * x + i] = static_cast<std::uint8_t>(std::clamp(colour[i] + grain, 0, 255));
        }
    }
    return image;
}

/// OUT WIDTH HEIGHT: a page as a camera without JPEG sends it, YUYV of the limited range (BT.601)
void makeVideo(const Arguments &arguments)
{
    const int width = std::atoi(arguments.at(1).c_str());
    const int height = std::atoi(arguments.at(2).c_str());
    const korv::Image image = page(width, height, 1);
    korv::Bytes bytes;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t *row = image.row(y);
        for (int x = 0; x < width; ++x) {
            const std::uint8_t *pixel = row + 3 * x;
            const std::uint8_t *first = row + 3 * (x - x % 2); // colour stands there
            const double luma = 0.299 * pixel[0] + 0.587 * pixel[1] + 0.114 * pixel[2];
            const double pairLuma = 0.299 * first[0] + 0.587 * first[1] + 0.114 * first[2];
            const double difference =
                x % 2 == 0 ? (first[2] - pairLuma) / 1.772 : (first[0] - pairLuma) / 1.402;
            bytes.push_back(static_cast<std::uint8_t>(16.5 + luma * 219 / 255));
            bytes.push_back(static_cast<std::uint8_t>(128.5 + difference * 224 / 255));
        }
    }
    writeFile(arguments.at(0), bytes);
}

/// FOLDER COUNT WIDTH HEIGHT: page-NN.jpg and line-NN.jpg
void make(const Arguments &arguments)
{
    const int width = std::atoi(arguments.at(2).c_str());
    const int height = std::atoi(arguments.at(3).c_str());
    for (int i = 0; i < std::atoi(arguments.at(1).c_str()); ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "-%02d.jpg", i);
        const korv::Bytes colour =
            take(korv::jpeg::encode(page(width, height, static_cast<unsigned>(i + 1)),
                                    {92, korv::jpeg::Subsampling::S422}));
        writeFile(arguments.at(0) + "/page" + name, colour);
        korv::PhotographOptions options;
        options.colour = korv::ColourStyle::Lineart;
        writeFile(arguments.at(0) + "/line" + name, take(korv::makePhotograph(colour, options)));
    }
}

} // namespace

int main(int argc, char **argv)
{
    const std::map<std::string, std::function<void(const Arguments &)>> works = {
        {"combine", combine},
        {"convert", convert},
        {"photograph", photograph},
        {"plain-write", plainWrite},
        {"byte-copy", byteCopy},
        {"turbo-rotate", turboRotate},
        {"turbo-recode", turboRecode},
        {"decode", decode},
        {"raw-bits", rawBits},
        {"qt-save", qtSave},
        {"yuyv-direct", yuyvDirect},
        {"yuyv-rgb", yuyvByRgb},
        {"make", make},
        {"make-video", makeVideo},
    };
    const auto work = works.find(argc > 1 ? argv[1] : "");
    if (work == works.end()) {
        std::fputs("usage: bench-documents-work WORK ARGUMENT...; documents.py knows them\n",
                   stderr);
        return 2;
    }
    try {
        work->second(Arguments(argv + 2, argv + argc));
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s: %s\n", argv[1], failure.what());
        return 1;
    }
}
