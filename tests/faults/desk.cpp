#include "tests/faults/desk.h"

#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

void *libraryHandle()
{
    static void *const handle = ::dlopen(KORV_LIBRARY_FILE, RTLD_NOW);
    if (handle == nullptr)
        throw std::runtime_error(::dlerror());
    return handle;
}

template <typename Function> void bind(Function &function, const char *name)
{
    function = reinterpret_cast<Function>(::dlsym(libraryHandle(), name));
    if (function == nullptr)
        throw std::runtime_error(name);
}

bool isRescued(const fs::path &file)
{
    return file.filename().string().find("-rescued-") != std::string::npos;
}

/// Grain makes the file larger than the library's write buffer.
korv::Image grainy(unsigned seed)
{
    korv::Image image = pictures::page(Desk::kWidth, Desk::kHeight);
    std::uint32_t state = seed;
    for (int y = 0; y < image.height(); ++y) {
        for (std::size_t x = 0; x < image.stride(); ++x) {
            state = state * 1664525 + 1013904223;
            image.row(y)[x] = static_cast<std::uint8_t>(image.row(y)[x] / 2 + (state >> 25));
        }
    }
    return image;
}

} // namespace

CameraLibrary::CameraLibrary()
{
    bind(uninitialise, "KorvCamera_UnInit");
    bind(saveVideoData, "KorvCamera_SaveVideoData");
    bind(convert, "KorvCamera_ConvertImagetoImage");
    bind(add, "KorvCamera_AddImageFiletoMultiFile");
    bind(combine, "KorvCamera_CombineMultiFile");
    bind(setCrop, "KorvCamera_SetAutoCrop");
    bind(setColour, "KorvCamera_SetImageColorStyle");
    bind(setRotation, "KorvCamera_SetImageRotateMode");
}

Desk::Desk(fs::path saveFolder)
    : m_folder(std::move(saveFolder))
{
    for (int i = 0; i < kPhotographs; ++i)
        pictures::writeBytes(workingFile(i), photograph(i));
}

std::string Desk::workingFile(int index) const
{
    return path(".korv-test-preview-000" + std::to_string(index + 1) + ".jpg");
}

const korv::Bytes &Desk::photograph(int index)
{
    static const std::array<korv::Bytes, kPhotographs> all = [] {
        std::array<korv::Bytes, kPhotographs> bytes;
        for (unsigned i = 0; i < kPhotographs; ++i)
            bytes[i] = pictures::jpegOf(grainy(i + 1));
        return bytes;
    }();
    return all[static_cast<std::size_t>(index)];
}

void Desk::deleteWorkingFiles() const
{
    for (int i = 0; i < kPhotographs; ++i)
        fs::remove(workingFile(i));
}

int Desk::countRescued(int index) const
{
    const auto holds = [&](const fs::directory_entry &entry) {
        return isRescued(entry.path()) && pictures::readBytes(entry.path()) == photograph(index);
    };
    return static_cast<int>(
        std::count_if(fs::directory_iterator(m_folder), fs::directory_iterator(), holds));
}

int Desk::countFinished(int index) const
{
    const auto holds = [&](const fs::directory_entry &entry) {
        if (isRescued(entry.path()) || !entry.is_regular_file())
            return false;
        const korv::Bytes content = pictures::readBytes(entry.path());
        const korv::Bytes &part = photograph(index);
        return ::memmem(content.data(), content.size(), part.data(), part.size()) != nullptr;
    };
    return static_cast<int>(
        std::count_if(fs::directory_iterator(m_folder), fs::directory_iterator(), holds));
}

std::vector<std::string> Desk::strangers(const std::vector<std::string> &expected) const
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(m_folder)) {
        const std::string name = entry.path().filename().string();
        if (!isRescued(entry.path())
            && std::find(expected.begin(), expected.end(), name) == expected.end())
            names.push_back(name);
    }
    return names;
}
