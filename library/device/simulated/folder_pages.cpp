#include "library/device/simulated/folder_pages.h"

#include "library/device/simulated/drawing/desk_scene.h"
#include "library/device/simulated/drawing/scaled_image.h"
#include "library/jpeg/jpeg.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>

namespace korv {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxPages = 10'000;
constexpr int kDeepestFolder = 8;
constexpr std::size_t kMaxFileSize = 256 * 1024 * 1024;
constexpr std::size_t kHeaderBytes = 1024 * 1024; ///< metadata in front of the size included
constexpr std::size_t kPagesMeasured = 200;

/// An id is the path and, behind a byte that no path holds, what tells its content from an earlier
/// one.
std::string idOf(const std::string &path, const struct stat &status)
{
    std::string id = path;
    id += '\0';
    id += std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec) + '.'
        + std::to_string(status.st_size) + '.' + std::to_string(status.st_ino);
    return id;
}

std::string pathOf(const std::string &id)
{
    return id.substr(0, id.find('\0'));
}

Result<Bytes> readFirst(const std::string &path, std::size_t most)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file)
        return Error{-ENOENT, "page " + path + " cannot be opened"};
    const auto size = static_cast<std::streamoff>(file.tellg());
    if (size < 0)
        return Error{-EIO, "page " + path + " cannot be read"};
    Bytes bytes(std::min(most, static_cast<std::size_t>(size)));
    file.seekg(0);
    // libstdc++'s streams want char
    if (!file.read(static_cast<char *>(static_cast<void *>(bytes.data())),
                   static_cast<std::streamsize>(bytes.size())))
        return Error{-EIO, "page " + path + " cannot be read"};
    return bytes;
}

/// The largest size with the page's proportions that fits; the frame itself when they differ by
/// less than a pixel in a hundred.
PageSource::Size fitted(const Image &page, int width, int height)
{
    const double ratio = static_cast<double>(page.width()) / page.height();
    const double wanted = static_cast<double>(width) / height;
    if (std::abs(ratio / wanted - 1) < 0.01)
        return {width, height};
    if (ratio > wanted)
        return {width, std::max(1, static_cast<int>(std::lround(width / ratio)))};
    return {std::max(1, static_cast<int>(std::lround(height * ratio))), height};
}

} // namespace

bool isPageName(const std::string &fileName)
{
    std::string extension = fs::path(fileName).extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) {
        return c < 0x80 ? static_cast<char>(std::tolower(c)) : '?';
    });
    return extension == ".jpg" || extension == ".jpeg";
}

std::vector<std::string> FolderPages::pages() const
{
    std::vector<std::string> ids;
    std::error_code error;
    fs::recursive_directory_iterator at(m_folder, fs::directory_options::skip_permission_denied,
                                        error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        if (at.depth() >= kDeepestFolder)
            at.disable_recursion_pending();
        struct stat status
        {
        };
        if (isPageName(at->path().native()) && ::stat(at->path().c_str(), &status) == 0
            && S_ISREG(status.st_mode) && ids.size() < kMaxPages)
            ids.push_back(idOf(at->path().native(), status));
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

Result<Image> FolderPages::render(const std::string &page, int width, int height) const
{
    const std::string path = pathOf(page);
    const Result<Bytes> bytes = readFirst(path, kMaxFileSize);
    if (!bytes)
        return bytes.error();
    Result<Image> decoded = jpeg::decode(bytes.value());
    if (!decoded)
        return Error{decoded.error().code, "page " + path + ": " + decoded.error().text};
    const Size size = fitted(decoded.value(), width, height);
    const Image picture = scaled(decoded.value(), size.width, size.height);
    const bool fillsTheFrame = size.width == width && size.height == height;
    Image seen = fillsTheFrame ? Image(width, height, PixelFormat::Rgb24) : drawDesk(width, height);
    layFlat(seen, picture);
    return seen;
}

PageSource::Size FolderPages::largestPage() const
{
    Size largest;
    std::vector<std::string> ids = pages();
    ids.resize(std::min(ids.size(), kPagesMeasured));
    for (const std::string &id : ids) {
        const Result<Bytes> bytes = readFirst(pathOf(id), kHeaderBytes);
        if (!bytes)
            continue;
        const Result<jpeg::Info> info = jpeg::readInfo(bytes.value());
        if (info
            && std::int64_t{info.value().width} * info.value().height
                > std::int64_t{largest.width} * largest.height)
            largest = {info.value().width, info.value().height};
    }
    return largest;
}

} // namespace korv
