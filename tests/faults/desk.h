#pragma once

#include "library/base/bytes.h"
#include "library/include/korv_camera.h"
#include "tests/support/temp_home.h"

#include <filesystem>
#include <string>
#include <vector>

/// The built camera library, as the application opens it.
struct CameraLibrary
{
    CameraLibrary();

    decltype(&KorvCamera_UnInit) uninitialise = nullptr;
    decltype(&KorvCamera_SaveVideoData) saveVideoData = nullptr;
    decltype(&KorvCamera_ConvertImagetoImage) convert = nullptr;
    decltype(&KorvCamera_AddImageFiletoMultiFile) add = nullptr;
    decltype(&KorvCamera_CombineMultiFile) combine = nullptr;
    decltype(&KorvCamera_SetAutoCrop) setCrop = nullptr;
    decltype(&KorvCamera_SetImageColorStyle) setColour = nullptr;
    decltype(&KorvCamera_SetImageRotateMode) setRotation = nullptr;
};

/// A save folder with the working files of some photographs that all differ.
class Desk
{
public:
    explicit Desk(std::filesystem::path saveFolder);

    static constexpr int kPhotographs = 3;

    const std::filesystem::path &folder() const { return m_folder; }
    std::string path(const std::string &name) const { return (m_folder / name).string(); }
    std::string workingFile(int index) const;
    static const korv::Bytes &photograph(int index);
    static constexpr int kWidth = 224;
    static constexpr int kHeight = 160;

    /// What the application does after an export, whatever the result was.
    void deleteWorkingFiles() const;

    /// How many files hold the photograph: its own bytes as a whole file, or as a part of one.
    int countRescued(int index) const;
    int countFinished(int index) const;
    /// Files that are neither rescued nor in `expected`.
    std::vector<std::string> strangers(const std::vector<std::string> &expected) const;

private:
    std::filesystem::path m_folder;
};
