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
#include <iterator>
#include <new>

namespace korv {

namespace {

constexpr std::size_t kCheckedPart = 64 * 1024;

Error unknownFormat()
{
    return Error{-EBADMSG, "not a JPEG, PNG, BMP or TIFF picture"};
}

Result<Image> loadJpeg(ByteView content, std::uint64_t)
{
    const Result<jpeg::Info> info = jpeg::readInfo(content);
    if (!info)
        return info.error();
    Result<Image> image = jpeg::decode(content);
    if (!image)
        return image;
    return applyOrientation(std::move(image).value(), info.value().orientation);
}

Result<PictureSize> jpegSize(ByteView content, std::uint64_t)
{
    const Result<jpeg::Structure> structure = jpeg::readStructure(content);
    if (!structure)
        return structure.error();
    return PictureSize{structure.value().info.width, structure.value().info.height};
}

std::uint64_t tiffPage(ByteView content, std::uint64_t directory)
{
    if (directory != kFirstPage)
        return directory;
    const TiffPages pages = tiffPages(content);
    return pages.directories.empty() ? kFirstPage : pages.directories.front();
}

Result<Image> loadTiff(ByteView content, std::uint64_t directory)
{
    return readTiff(content, tiffPage(content, directory));
}

Result<PictureSize> sizeOfTiff(ByteView content, std::uint64_t directory)
{
    return tiffSize(content, tiffPage(content, directory));
}

/// For formats with one page only.
template <auto Read> auto onlyPage(ByteView content, std::uint64_t)
{
    return Read(content);
}

/// One way to read a file. source_format.cpp says how each kind begins and what it is called.
struct Reader
{
    SourceFormat format;
    bool headSuffices; ///< to judge a file: nothing behind its head counts
    Result<PictureSize> (*size)(ByteView content, std::uint64_t directory);
    Result<Image> (*load)(ByteView content, std::uint64_t directory);
};

constexpr Reader kReaders[] = {
    {SourceFormat::Jpeg, false, jpegSize, loadJpeg},
    {SourceFormat::Png, true, onlyPage<pngSize>, onlyPage<readPng>},
    {SourceFormat::Bmp, true, onlyPage<bmpSize>, onlyPage<readBmp>},
    {SourceFormat::Tiff, false, sizeOfTiff, loadTiff},
};

/// Null when nothing reads such content.
const Reader *readerFor(ByteView content)
{
    const SourceFormat format = recogniseFormat(content);
    const auto *found = std::find_if(std::begin(kReaders), std::end(kReaders),
                                     [&](const Reader &reader) { return reader.format == format; });
    return found == std::end(kReaders) ? nullptr : found;
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
    const Reader *reader = readerFor(content);
    if (reader == nullptr)
        return unknownFormat();
    try {
        return reader->load(content, directory);
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory for the picture"};
    } catch (...) {
        return errorInFlight(-EBADMSG);
    }
}

Result<PictureSize> pictureSize(ByteView content, std::uint64_t directory)
{
    const Reader *reader = readerFor(content);
    if (reader == nullptr)
        return unknownFormat();
    return reader->size(content, directory);
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
        const Reader *reader = readerFor(part);
        if (reader == nullptr || reader->headSuffices)
            return checkImage(part);
        const Result<jpeg::Structure> head = jpeg::readHeaders(part);
        if (reader->format == SourceFormat::Jpeg && head
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
