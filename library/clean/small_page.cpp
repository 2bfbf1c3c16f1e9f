#include "library/clean/small_page.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace korv::clean {

namespace {

constexpr int kMaxSide = 820; ///< of the small picture

/// In pixels of the small picture, 0.36 mm each on an A4 sheet: covers strokes of headlines.
constexpr int kStrokeReach = 9;

} // namespace

int smallCell(const cv::Size &picture)
{
    return (std::max(picture.width, picture.height) + kMaxSide - 1) / kMaxSide;
}

cv::Mat shrunk(const cv::Mat &picture, int cell, HelperThread &core)
{
    const int rows = std::max(1, picture.rows / cell);
    const int columns = std::max(1, picture.cols / cell);
    if (cell == 1)
        return picture.clone();
    cv::Mat result(rows, columns, picture.type());
    core.shareRange(0, rows, [&](int first, int end) {
        if (first == end)
            return; // half of a single row
        cv::Mat from = picture(cv::Range(first * cell, std::min(end * cell, picture.rows)),
                               cv::Range(0, std::min(columns * cell, picture.cols)));
        if (cell % 2 == 0 && from.rows > 1) // every second row will do, in half the time
            from = cv::Mat(from.rows / 2, from.cols, from.type(), from.data, 2 * from.step[0]);
        cv::Mat to = result.rowRange(first, end);
        cv::resize(from, to, to.size(), 0, 0, cv::INTER_AREA);
    });
    return result;
}

cv::Mat withoutStrokes(const cv::Mat &small, HelperThread &core)
{
    const cv::Mat reach =
        cv::getStructuringElement(cv::MORPH_RECT, cv::Size(kStrokeReach, kStrokeReach));
    cv::Mat result(small.size(), small.type());
    core.shareRange(0, small.rows, [&](int first, int end) {
        if (first == end)
            return; // half of a single row
        // the rows around that the result depends on
        const cv::Range around(std::max(0, first - kStrokeReach),
                               std::min(small.rows, end + kStrokeReach));
        cv::Mat closed;
        cv::morphologyEx(small.rowRange(around), closed, cv::MORPH_CLOSE, reach);
        closed.rowRange(first - around.start, end - around.start)
            .copyTo(result.rowRange(first, end));
    });
    return result;
}

} // namespace korv::clean
