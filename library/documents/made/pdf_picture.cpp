#include "library/documents/made/pdf_picture.h"

#include "library/documents/made/pdf_pixels.h"
#include "library/documents/made/refusal.h"
#include "library/image/mat_view.h"

#include <cmath>
#include <locale>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <sstream>

namespace korv {

namespace {

constexpr int kPaperShrinking = 4; ///< the paper of a page in layers has a quarter of its pixels

/// Follows the operators of a page as far as documents of ours use them (ISO 32000-1, 8.3 and 8.8).
class DrawingReader
{
public:
    DrawingReader(const PdfFile &file, const PdfDictionary &objects)
        : m_file(file)
        , m_objects(objects)
    {
    }

    Result<std::vector<DrawnPicture>> read(ByteView operators)
    {
        std::istringstream words(
            std::string(reinterpret_cast<const char *>(operators.data), operators.size));
        for (std::string word; words >> word;) {
            if (!follow(word))
                return refusal::damaged();
        }
        return m_pictures.empty() ? Result<std::vector<DrawnPicture>>(refusal::damaged())
                                  : std::move(m_pictures);
    }

private:
    bool follow(const std::string &word)
    {
        constexpr std::size_t kMaxDepth = 8;
        constexpr std::size_t kMaxOperands = 6;
        if (word == "q") {
            m_kept.push_back(m_place);
            return m_kept.size() <= kMaxDepth;
        }
        if (word == "Q") {
            if (m_kept.empty())
                return false;
            m_place = m_kept.back();
            m_kept.pop_back();
            return true;
        }
        if (word == "cm")
            return transform();
        if (word == "Do")
            return draw();
        if (word.front() == '/') {
            m_name = word.substr(1);
            return true;
        }
        const std::optional<double> number = numberOf(word);
        if (!number || m_operands.size() == kMaxOperands)
            return false;
        m_operands.push_back(*number);
        return true;
    }

    static std::optional<double> numberOf(const std::string &word)
    {
        std::istringstream text(word);
        text.imbue(std::locale::classic());
        double number = 0;
        text >> number;
        const bool isWhole = !text.fail() && text.peek() == std::istringstream::traits_type::eof();
        return isWhole && std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
    }

    /// "width 0 0 height left under cm"
    bool transform()
    {
        if (m_operands.size() != 6 || m_operands[1] != 0 || m_operands[2] != 0)
            return false;
        const PdfPlace outer = m_place;
        m_place.left += m_operands[4] * outer.width;
        m_place.under += m_operands[5] * outer.height;
        m_place.width *= m_operands[0];
        m_place.height *= m_operands[3];
        m_operands.clear();
        return m_place.width > 0 && m_place.height > 0;
    }

    bool draw()
    {
        constexpr std::size_t kMaxPictures = 64;
        const Result<PdfObject> picture = m_file.object(m_objects, m_name);
        if (!picture || picture.value().data.size == 0 || m_pictures.size() == kMaxPictures)
            return false;
        m_pictures.push_back({picture.value(), m_place});
        return true;
    }

    const PdfFile &m_file;
    const PdfDictionary &m_objects;
    PdfPlace m_place{0, 0, 1, 1}; ///< of the unit square
    std::vector<PdfPlace> m_kept;
    std::vector<double> m_operands;
    std::string m_name;
    std::vector<DrawnPicture> m_pictures;
};

struct PictureExtent
{
    int width = 0;
    int height = 0;
};

/// How large the pictures of a page are when they are put together, in pixels.
Result<PictureExtent> extentOf(const PdfFile &file, const std::vector<DrawnPicture> &pictures)
{
    const auto sizeOf = [](const PdfObject &picture, int factor) -> Result<PictureExtent> {
        const std::int64_t width = std::int64_t{picture.entries.number("Width").value_or(0)};
        const std::int64_t height = std::int64_t{picture.entries.number("Height").value_or(0)};
        if (!isSupportedSize(width, height) || !isSupportedSize(factor * width, factor * height))
            return refusal::damaged();
        return PictureExtent{static_cast<int>(factor * width), static_cast<int>(factor * height)};
    };
    const DrawnPicture &last = pictures.back();
    if (last.picture.entries.has("Mask")) {
        const Result<PdfObject> mask = file.object(last.picture.entries, "Mask");
        return mask ? sizeOf(mask.value(), 1) : mask.error();
    }
    return sizeOf(pictures.front().picture, pictures.size() > 1 ? kPaperShrinking : 1);
}

/// A place on the page in pixels of the picture that fills `whole`.
cv::Rect pixelsAt(const PdfPlace &place, const PdfPlace &whole, const PictureExtent &extent)
{
    const double across = extent.width / whole.width;
    const double down = extent.height / whole.height;
    const cv::Rect rectangle(static_cast<int>(std::lround((place.left - whole.left) * across)),
                             static_cast<int>(std::lround(
                                 (whole.under + whole.height - place.under - place.height) * down)),
                             static_cast<int>(std::lround(place.width * across)),
                             static_cast<int>(std::lround(place.height * down)));
    return rectangle & cv::Rect(0, 0, extent.width, extent.height);
}

Result<void> lay(const PdfFile &file, const DrawnPicture &drawn, const cv::Rect &at, Image &page)
{
    const Result<Image> picture = pixelsOf(drawn.picture);
    if (!picture)
        return picture.error();
    if (at.empty())
        return {};
    cv::Mat scaled;
    cv::resize(matView(picture.value()), scaled, at.size(), 0, 0, cv::INTER_LINEAR);
    cv::Mat part = matView(page)(at);
    if (!drawn.picture.entries.has("Mask")) {
        scaled.copyTo(part);
        return {};
    }
    const Result<PdfObject> stencil = file.object(drawn.picture.entries, "Mask");
    if (!stencil)
        return stencil.error();
    const Result<Image> mask = pixelsOf(stencil.value());
    if (!mask)
        return mask.error();
    if (at.size() != cv::Size(mask.value().width(), mask.value().height()))
        return refusal::damaged();
    scaled.copyTo(part, matView(mask.value()) == 0);
    return {};
}

} // namespace

Result<std::vector<DrawnPicture>> drawnPictures(const PdfFile &file, const PdfDictionary &page)
{
    const std::optional<PdfDictionary> resources = page.dictionary("Resources");
    const std::optional<PdfDictionary> objects =
        resources ? resources->dictionary("XObject") : std::nullopt;
    const Result<PdfObject> drawing = file.object(page, "Contents");
    if (!drawing)
        return drawing.error();
    if (!objects || drawing.value().entries.has("Filter"))
        return refusal::damaged();
    return DrawingReader(file, *objects).read(drawing.value().data);
}

Result<Image> composed(const PdfFile &file, const std::vector<DrawnPicture> &pictures)
{
    constexpr double kPoints = 72; ///< in an inch
    const Result<PictureExtent> extent = extentOf(file, pictures);
    if (!extent)
        return extent.error();
    const PdfPlace &whole = pictures.front().place;
    Result<Image> page = Image();
    if (pictures.size() == 1) {
        page = pixelsOf(pictures.front().picture);
    } else {
        page = Image(extent.value().width, extent.value().height, PixelFormat::Gray8);
        for (const DrawnPicture &drawn : pictures) {
            const cv::Rect at = pixelsAt(drawn.place, whole, extent.value());
            if (Result<void> laid = lay(file, drawn, at, page.value()); !laid)
                return laid.error();
        }
    }
    if (page)
        page.value().setResolution({extent.value().width * kPoints / whole.width,
                                    extent.value().height * kPoints / whole.height});
    return page;
}

} // namespace korv
