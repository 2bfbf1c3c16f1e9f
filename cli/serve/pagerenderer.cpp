#include "cli/serve/pagerenderer.h"

#include "library/image/mat_view.h"
#include "library/image/rotate.h"
#include "library/jpeg/jpeg.h"

#include <opencv2/imgproc.hpp>

namespace cli {
namespace {

constexpr double kLevel = 128; // between the two that lineart has

/// The part of the page that the plan's window shows, at the plan's size.
korv::Image scaledWindow(const korv::Image &page, const PagePlan &plan, ScanColor color)
{
    const bool shrinks = plan.width < page.width();
    cv::Mat whole;
    cv::resize(korv::matView(page), whole, cv::Size(plan.width, plan.height), 0, 0,
               shrinks ? cv::INTER_AREA : cv::INTER_CUBIC);
    const ScanRegion &window = plan.window;
    korv::Image result = korv::Image::unset(window.width, window.height, page.format());
    cv::Mat pixels = korv::matView(result);
    whole(cv::Rect(window.x, window.y, window.width, window.height)).copyTo(pixels);
    if (color == ScanColor::Lineart) {
        cv::threshold(pixels, pixels, kLevel - 1, 255, cv::THRESH_BINARY);
        result.setBilevel(true);
    }
    return result;
}

} // namespace

ScanOutcome renderPage(const std::string &photograph, bool isSheet, const ScanSettings &settings,
                       int quality)
{
    korv::jpeg::DecodeOptions decoding;
    decoding.gray = settings.color != ScanColor::Color;
    korv::Result<korv::Image> decoded =
        korv::jpeg::decode({photograph.data(), photograph.size()}, decoding);
    if (!decoded)
        return {nullptr, false, decoded.error().text};
    korv::Image page = std::move(decoded).value();
    const PagePlan plan = planPage({page.width(), page.height(), isSheet}, settings);
    if (plan.rotate)
        page = korv::rotate(std::move(page), korv::Rotation::Right90);
    page = scaledWindow(page, plan, settings.color);
    page.setResolution(settings.resolution);
    korv::jpeg::EncodeOptions encoding;
    encoding.quality = quality;
    const korv::Result<korv::Bytes> encoded = korv::jpeg::encode(page, encoding);
    if (!encoded)
        return {nullptr, false, encoded.error().text};
    const korv::Bytes &bytes = encoded.value();
    return {std::make_shared<ScannedPage>(
                ScannedPage{std::string(bytes.begin(), bytes.end()), page.width(), page.height()}),
            false,
            {}};
}

} // namespace cli
