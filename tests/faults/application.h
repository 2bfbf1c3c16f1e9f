#pragma once

#include "library/base/bytes.h"
#include "library/base/unique_fd.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sequence {

/// Small photographs that all differ, known by their numbers.
constexpr int kPictures = 64;
constexpr int kWidth = 32;
constexpr int kHeight = 24;
const korv::Bytes &picture(int number);

/// The number of the picture that these bytes are; -1 for others.
int numberOf(const korv::Bytes &content);

/// What somebody does in the window.
struct Order
{
    enum class What { Photograph, Import, Export, Delete, Close };
    enum class Format { Pdf, Ofd, Tiff, Jpg, SinglePdf };

    What what = What::Photograph;
    int picture = 0; ///< of Photograph and Import; of Delete the position in the strip
    Format format = Format::Pdf;
    char fault[8] = ""; ///< of the faults' shim, while the library works; "" for none
    int nth = 0;
    int error = 0;
};

/// What became of it.
struct Answer
{
    int result = 0; ///< of the library, the worst one
    int added = -1; ///< the picture that the strip shows now, -1 when none was added
    int entries = 0; ///< in the strip
    int deletedCount = 0;
    int deleted[kPictures] = {}; ///< pictures whose working files the user deleted
};

/// A process that does with the camera library what the application does, in the same order and
/// under the same names: photographs and imports into hidden files numbered from 0001 on, exports,
/// deletes the working files whatever the result was. The folder's file system lacks `missing`.
class Application
{
public:
    Application(const std::string &folder, int missing);
    ~Application();
    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;

    /// Nothing when it died of the order.
    std::optional<Answer> give(const Order &order);

    /// Ends it, whatever it does.
    void kill(int signal);

private:
    korv::UniqueFd m_line;
    pid_t m_process = -1;
};

} // namespace sequence
