// From a photograph of paper to black and white.
//
// in: any picture             out: a bilevel picture
//   gray  -> paper's brightness, small                           paper_light.h
//         -> gray / paper, smoothed against noise, sharpened     evened_page.h
//         -> what is ink at every place, small                   ink_limits.h
//         -> thin lines darkened, narrow gaps lightened          hairlines.h, soft_lines.h
//         -> black where the page is below the limit
//   or at twice the resolution, instead of the last two
//         -> a network finds the ink of every quarter of a pixel fine_separation.h
//         -> specks go                                           despeckle.h
//
// The constants of these steps were chosen on rendered pages (ink of 90 to 12 % contrast, shadows,
// noise, paper texture, the back page showing through, 120 to 300 dpi), by character errors of OCR.
#include "library/lineart/lineart.h"

#include "library/image/colour.h"
#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"
#include "library/lineart/despeckle.h"
#include "library/lineart/evened_page.h"
#include "library/lineart/fine_separation.h"
#include "library/lineart/hairlines.h"
#include "library/lineart/ink_limits.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr int kMaxCluster = 4; ///< pixels of grain that hang together by chance

/// Pixels of what grain clusters to, beyond what is a speck anyway.
int largestCluster(double noisePercent)
{
    return std::min(kMaxCluster, static_cast<int>(std::lround(noisePercent)));
}

/// Black where `sharp` is below the limit, in bands: the limits of a whole picture would be as
/// large as the picture.
void separate(const cv::Mat &sharp, const cv::Mat &limits, cv::Mat &result)
{
    constexpr int kRowsAtOnce = 64; // of the reduced picture
    const double stretch = static_cast<double>(sharp.rows) / limits.rows;
    for (int from = 0; from < limits.rows; from += kRowsAtOnce) {
        const int to = std::min(from + kRowsAtOnce, limits.rows);
        const int first = from == 0 ? 0 : static_cast<int>(from * stretch);
        const int last = to == limits.rows ? sharp.rows : static_cast<int>(to * stretch);
        // a row more on either side, so that bands meet without a seam
        const int before = std::max(0, from - 1);
        const int after = std::min(limits.rows, to + 1);
        cv::Mat band;
        cv::resize(limits.rowRange(before, after), band,
                   cv::Size(sharp.cols, cvRound((after - before) * stretch)), 0, 0,
                   cv::INTER_LINEAR);
        const int offset =
            std::clamp(first - cvRound(before * stretch), 0, band.rows - (last - first));
        cv::compare(sharp.rowRange(first, last), band.rowRange(offset, offset + last - first),
                    result.rowRange(first, last), cv::CMP_GE);
    }
}

} // namespace

Image toLineart(Image image, int scale)
{
    Image gray = toGray(std::move(image));
    if (gray.isBilevel())
        return gray;
    keepOpenCvInThisThread();
    cv::Mat view = matView(gray);
    EvenedPage page = evenedPage(view);
    Image result =
        Image::unset(scale * page.sharp.cols, scale * page.sharp.rows, PixelFormat::Gray8);
    cv::Mat bits = matView(result);
    if (scale == 2) {
        separateFinely(page, bits);
    } else {
        const cv::Mat limits = inkLimits(page);
        deepenHairlines(page);
        separate(page.sharp, limits, bits);
    }
    despeckle(result, largestSpeck(result) + largestCluster(page.noisePercent));
    Resolution resolution = gray.resolution();
    resolution.x *= scale;
    resolution.y *= scale;
    result.setResolution(resolution);
    result.setBilevel(true);
    return result;
}

} // namespace korv
