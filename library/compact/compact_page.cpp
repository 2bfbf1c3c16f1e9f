#include "library/compact/compact_page.h"

#include "library/base/step_times.h"
#include "library/clean/light_fill.h"
#include "library/compact/cell_means.h"
#include "library/compact/coloured_ink.h"
#include "library/compact/ink.h"
#include "library/compact/picture_areas.h"
#include "library/formats/jbig2/jbig2_encoder.h"
#include "library/formats/tiff/tiff_strip.h"
#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"
#include "library/jpeg/jpeg.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

using namespace compact;

constexpr int kPaperCell = 4; ///< pixels of the page, in each direction
constexpr int kInkCell = 10;

constexpr int kPaperQuality = 80; ///< below it, steps of the mean level show as bands
constexpr int kInkQuality = 60;
constexpr int kPictureQuality = 80;

constexpr int kMinSide = 200; ///< pixels; the layers of a smaller page are mostly heads

constexpr int kRim = 2; ///< cells of paper that lie under a picture, so that no seam can be seen

cv::Size gridFor(const cv::Mat &page, int cell)
{
    return {(page.cols + cell - 1) / cell, (page.rows + cell - 1) / cell};
}

Image grayOf(const cv::Mat &page)
{
    Image gray = Image::unset(page.cols, page.rows, PixelFormat::Gray8);
    cv::Mat view = matView(gray);
    if (page.channels() == 3)
        cv::cvtColor(page, view, cv::COLOR_RGB2GRAY);
    else
        page.copyTo(view);
    return gray;
}

/// Where one colour for a cell of the ink would be wrong.
cv::Mat mixedInk(const cv::Mat &page, const Ink &ink, HelperThread &core)
{
    if (page.channels() == 1)
        return {};
    return mixedColours(page, ink.core, gridFor(page, kInkCell), core);
}

/// Cells without a mean of their own are interpolated from those around.
cv::Mat filled(const CellMeans &means)
{
    cv::Mat levels;
    clean::filledSurface(means.weighted, means.weights).convertTo(levels, CV_8U);
    return levels;
}

/// The pixels of a page that cells of its paper's grid cover.
cv::Rect onPage(const cv::Rect &cells, const cv::Size &grid, const cv::Size &page)
{
    const auto x = [&](int cell) { return cell * page.width / grid.width; };
    const auto y = [&](int cell) { return cell * page.height / grid.height; };
    return {cv::Point(x(cells.x), y(cells.y)), cv::Point(x(cells.br().x), y(cells.br().y))};
}

/// What lies under a picture becomes whatever is easily coded, but for the rim.
void forgetUnder(const cv::Rect &picture, CellMeans &paper)
{
    const cv::Rect inside(picture.x + kRim, picture.y + kRim, picture.width - 2 * kRim,
                          picture.height - 2 * kRim);
    if (inside.width <= 0 || inside.height <= 0)
        return;
    paper.weighted(inside).setTo(cv::Scalar::all(0));
    paper.weights(inside).setTo(cv::Scalar::all(0));
}

/// Leaves to the pictures in `areas` what they show. `areas` become pixels of the page.
void takeOut(PageAreas &areas, const cv::Size &page, Ink &ink, CellMeans &paper)
{
    for (cv::Rect &area : areas.pictures) {
        forgetUnder(area, paper);
        area = onPage(area, paper.weights.size(), page);
        matView(ink.mask)(area).setTo(255);
        ink.core(area).setTo(255);
    }
    for (cv::Rect &area : areas.mixedInk)
        area = onPage(area, paper.weights.size(), page);
}

/// A copy of the pixels.
Image imageOf(const cv::Mat &pixels)
{
    Image image = Image::unset(pixels.cols, pixels.rows,
                               pixels.channels() == 1 ? PixelFormat::Gray8 : PixelFormat::Rgb24);
    for (int y = 0; y < pixels.rows; ++y)
        std::memcpy(image.row(y), pixels.ptr(y), image.stride());
    return image;
}

Result<void> encode(const cv::Mat &pixels, int quality, jpeg::Subsampling subsampling,
                    LayerJpeg &layer)
{
    jpeg::EncodeOptions options;
    options.quality = quality;
    options.subsampling = subsampling;
    options.progressive = true; // smooth paper takes half
    Result<Bytes> jpeg = jpeg::encode(imageOf(pixels), options);
    if (!jpeg)
        return jpeg.error();
    layer = {std::move(jpeg).value(), pixels.cols, pixels.rows, pixels.channels() == 1};
    return {};
}

Result<void> encodePictures(const cv::Mat &page, const std::vector<cv::Rect> &areas, int quality,
                            std::vector<PicturePatch> &pictures)
{
    for (const cv::Rect &area : areas) {
        PicturePatch patch;
        patch.left = area.x;
        patch.top = area.y;
        if (Result<void> done = encode(page(area), quality, jpeg::Subsampling::S420, patch.picture);
            !done)
            return done;
        pictures.push_back(std::move(patch));
    }
    return {};
}

Result<void> encodeMask(const Image &ink, InkMask &mask)
{
    if (std::optional<Bytes> symbols = encodeJbig2(ink)) {
        mask = {std::move(*symbols), MaskCoding::Jbig2};
        return {};
    }
    Result<Bytes> coded = encodeCcittG4(ink);
    if (!coded)
        return coded.error();
    mask = {std::move(coded).value(), MaskCoding::CcittG4};
    return {};
}

/// Leaves `mask` and `colours` as they are where there is no ink.
Result<void> encodeInk(const cv::Mat &page, const Ink &ink, HelperThread &core, InkMask &mask,
                       LayerJpeg &colours)
{
    if (isBlank(ink.core))
        return {};
    if (Result<void> done = encodeMask(ink.mask, mask); !done)
        return done;
    const cv::Mat means = filled(meansOf(page, ink.core, gridFor(page, kInkCell), core));
    return encode(means, kInkQuality, jpeg::Subsampling::S444, colours);
}

/// Coloured ink gets masks of its own in `areas`, pixels of the page.
Result<void> encodeColouredInk(const cv::Mat &page, const cv::Mat &paper,
                               const std::vector<cv::Rect> &areas, Ink &ink, HelperThread &core,
                               std::vector<InkPatch> &patches)
{
    for (const cv::Rect &area : areas) {
        const std::optional<Ink> coloured = takeColoured(page, paper, area, ink, core);
        if (!coloured)
            continue;
        InkPatch patch;
        patch.left = area.x;
        patch.top = area.y;
        patch.width = area.width;
        patch.height = area.height;
        if (Result<void> done = encodeInk(page(area), *coloured, core, patch.mask, patch.ink);
            !done)
            return done;
        patches.push_back(std::move(patch));
    }
    return {};
}

/// All but the paper, which is there.
Result<void> encodeMarks(const cv::Mat &page, const cv::Mat &paper, const PageAreas &areas,
                         int quality, Ink &ink, HelperThread &core, PageLayers &layers)
{
    if (Result<void> done = encodePictures(page, areas.pictures, quality, layers.pictures); !done)
        return done;
    if (Result<void> done =
            encodeColouredInk(page, paper, areas.mixedInk, ink, core, layers.colouredInk);
        !done)
        return done;
    return encodeInk(page, ink, core, layers.mask, layers.ink);
}

} // namespace

Result<std::optional<PageLayers>> takeApart(const Image &image, int quality, HelperThread &core)
{
    std::optional<PageLayers> none;
    if (std::min(image.width(), image.height()) < kMinSide || image.isBilevel())
        return none;
    keepOpenCvInThisThread();
    StepTimes times("layers");
    const cv::Mat page = matView(image);
    const Image gray = grayOf(page);
    times.ended("gray");
    Ink ink = inkOn(gray, core);
    times.ended("ink");
    if (!isWriting(ink))
        return none;
    const cv::Size grid = gridFor(page, kPaperCell);
    CellMeans means = meansOf(page, ink.near, grid, core);
    times.ended("means");
    cv::Mat paper = filled(means);
    times.ended("paper");
    std::optional<PageAreas> areas = pageAreas(
        page, variancesOf(matView(gray), ink.near, grid, core), mixedInk(page, ink, core), core);
    times.ended("areas");
    if (!areas)
        return none;
    takeOut(*areas, page.size(), ink, means);
    if (!isWriting(ink))
        return none; // a photograph's dark parts passed for strokes
    if (!areas->pictures.empty())
        paper = filled(means);
    PageLayers layers;
    if (Result<void> done = encode(paper, kPaperQuality, jpeg::Subsampling::S420, layers.paper);
        !done)
        return done.error();
    times.ended("paper's JPEG");
    if (Result<void> done =
            encodeMarks(page, paper, *areas, std::min(quality, kPictureQuality), ink, core, layers);
        !done)
        return done.error();
    times.ended("pictures and ink");
    return std::optional<PageLayers>(std::move(layers));
}

} // namespace korv
