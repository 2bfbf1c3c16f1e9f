#include "library/export/document_text.h"

#include "library/base/log.h"
#include "library/image/colour.h"
#include "library/jpeg/jpeg.h"

#include <cerrno>
#include <utility>

namespace korv {

namespace {

/// A program that hangs would otherwise hold up a document of many pages for an hour.
constexpr int kMaxWaitsInVain = 2;

/// The page's picture, without colours.
Result<Image> grayPicture(const Page &page)
{
    Result<Image> gray = Image();
    if (page.pixels != nullptr) {
        gray = toGray(*page.pixels);
    } else {
        jpeg::DecodeOptions luma;
        luma.gray = true;
        gray = jpeg::decode(page.jpeg, luma);
    }
    if (gray)
        gray.value().setResolution(page.resolution);
    return gray;
}

} // namespace

bool DocumentText::isWorthWaiting()
{
    const MutexLock lock(m_mutex);
    return !m_isGivenUp;
}

void DocumentText::explain(const std::string &name, const Error &problem)
{
    if (problem.code == TextRecogniser::kUnavailable || problem.code == -ECANCELED)
        return;
    logLine(LogLevel::Warning, name,
            isForLayer() ? "this page gets no text" : "this page is not turned upright",
            problem.text);
    if (problem.code != -ETIMEDOUT)
        return;
    const MutexLock lock(m_mutex);
    m_isGivenUp |= ++m_waitsInVain == kMaxWaitsInVain;
    if (m_waitsInVain == kMaxWaitsInVain)
        logLine(LogLevel::Warning, "text recognition",
                isForLayer() ? "this document waits for no more text: it takes too long"
                             : "this document turns no more pages upright: it takes too long");
}

TextRecogniser::Text DocumentText::of(const ContentKey &key, const Page &page,
                                      const std::string &name)
{
    const TextRecogniser::PictureMaker make = [&] { return grayPicture(page); };
    return of(key, make, name);
}

TextRecogniser::Text DocumentText::of(const ContentKey &key,
                                      const TextRecogniser::PictureMaker &make,
                                      const std::string &name)
{
    if (!isWanted())
        return nullptr;
    if (!isWorthWaiting())
        return m_recogniser->known(key);
    Result<TextRecogniser::Text> text = m_recogniser->textOf(key, make);
    if (!text) {
        explain(name, text.error());
        return nullptr;
    }
    const MutexLock lock(m_mutex);
    m_waitsInVain = 0;
    return std::move(text).value();
}

} // namespace korv
