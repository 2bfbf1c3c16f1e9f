#include "library/export/image_loader.h"

#include "library/base/exception_error.h"
#include "library/files/source_file.h"
#include "library/formats/bmp_reader.h"
#include "library/formats/png_reader.h"
#include "library/formats/tiff/tiff_pages.h"
#include "library/formats/tiff/tiff_reader.h"
#include "library/image/rotate.h"
#include "library/jpeg/jpeg_structure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace korv {

namespace {

constexpr std::size_t kCheckedPart = 64 * 1024;

std::uint64_t tiffPage(ByteView content, std::uint64_t directory)
{
    if (directory != kFirstPage)
        return directory;
    const TiffPages pages = tiffPages(content);
    return pages.directories.empty() ? kFirstPage : pages.directories.front();
}

Error unknownFormat()
{
    return Error{-EBADMSG, "not a JPEG, PNG, BMP or TIFF picture"};
}

Result<Image> loadJpeg(ByteView content)
{
    const Result<jpeg::Info> info = jpeg::readInfo(content);
    if (!info)
        return info.error();
    Result<Image> image = jpeg::decode(content);
    if (!image)
        return image;
    return applyOrientation(std::move(image).value(), info.value().orientation);
}

Result<PictureSize> jpegSize(ByteView content)
{
    const Result<jpeg::Structure> structure = jpeg::readStructure(content);
    if (!structure)
        return structure.error();
    return PictureSize{structure.value().info.width, structure.value().info.height};
}

Result<void> checkPage(ByteView content, std::uint64_t directory)
{
    const Result<PictureSize> size = pictureSize(content, directory);
    if (!size)
        return size.error();
    if (!isSupportedSize(size.value().width, size.value().height))
        return Error{-EFBIG, "picture too large"};
    return {};
}

} // namespace

Result<Image> loadImage(ByteView content, std::uint64_t directory)
{
    try {
        switch (recogniseFormat(content)) {
        case SourceFormat::Jpeg:
            return loadJpeg(content);
        case SourceFormat::Png:
            return readPng(content);
        case SourceFormat::Bmp:
            return readBmp(content);
        case SourceFormat::Tiff:
            return readTiff(content, tiffPage(content, directory));
        case SourceFormat::Unknown:
            break;
        }
        return unknownFormat();
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory for the picture"};
    } catch (...) {
        return errorInFlight(-EBADMSG);
    }
}

Result<PictureSize> pictureSize(ByteView content, std::uint64_t directory)
{
    switch (recogniseFormat(content)) {
    case SourceFormat::Jpeg:
        return jpegSize(content);
    case SourceFormat::Png:
        return pngSize(content);
    case SourceFormat::Bmp:
        return bmpSize(content);
    case SourceFormat::Tiff:
        return tiffSize(content, tiffPage(content, directory));
    case SourceFormat::Unknown:
        break;
    }
    return unknownFormat();
}

Result<void> checkImage(ByteView content)
{
    if (recogniseFormat(content) != SourceFormat::Tiff)
        return checkPage(content, kFirstPage);
    // one broken page does not spoil the others
    constexpr std::size_t kMaxChecked = 64;
    const std::vector<std::uint64_t> pages = tiffPages(content).directories;
    Result<void> firstProblem = Error{-EBADMSG, "TIFF: no page"};
    for (std::size_t i = 0; i < std::min(pages.size(), kMaxChecked); ++i) {
        Result<void> checked = checkPage(content, pages[i]);
        if (checked)
            return checked;
        if (i == 0)
            firstProblem = checked;
    }
    return firstProblem;
}

Result<void> checkImageFile(const std::string &path)
{
    const Result<SourceFile> file = SourceFile::open(path);
    if (!file)
        return file.error();
    const std::size_t size = file.value().size();
    Bytes part;
    if (size > 2 * kCheckedPart) {
        if (Result<void> read = file.value().read(0, kCheckedPart, part); !read)
            return read;
        const SourceFormat format = recogniseFormat(part);
        if (format == SourceFormat::Png || format == SourceFormat::Bmp
            || format == SourceFormat::Unknown)
            return checkImage(part);
        const Result<jpeg::Structure> head = jpeg::readHeaders(part);
        if (format == SourceFormat::Jpeg && head
            && isSupportedSize(head.value().info.width, head.value().info.height)) {
            if (Result<void> read = file.value().read(size - kCheckedPart, kCheckedPart, part);
                !read)
                return read;
            // inside picture data no such marker can stand (T.81, B.1.1.5)
            if (::memmem(part.data(), part.size(), "\xFF\xD9", 2) != nullptr)
                return {};
        }
    }
    // a directory at the end, a very long head, no end where it should be: look at all of it
    if (Result<void> read = file.value().read(0, size, part); !read)
        return read;
    return checkImage(part);
}

} // namespace korv
