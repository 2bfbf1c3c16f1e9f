#include "library/formats/jbig2/jbig2_decoder.h"

#include "library/formats/jbig2/bitmap_coder.h"
#include "library/formats/jbig2/jbig2_format.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

namespace korv {

using namespace jbig2;

namespace {

constexpr std::size_t kMostSymbols = 65'536;
constexpr std::size_t kMostInstances = 1'000'000;
/// Pixels that symbols and what is drawn of them may have, as a multiple of the page's. Ours have
/// half of the page's at the most.
constexpr std::int64_t kMostPixels = 2;

Error damagedPicture()
{
    return {-EBADMSG, "the JBIG2 data is damaged"};
}

/// Reads numbers and parts one after the other. What is not there is 0, and is remembered.
class Reader
{
public:
    explicit Reader(ByteView data)
        : m_data(data)
    {
    }

    ByteView take(std::size_t count)
    {
        if (count > m_data.size) {
            m_failed = true;
            m_data = {};
            return {};
        }
        const ByteView part = m_data.first(count);
        m_data = {m_data.data + count, m_data.size - count};
        return part;
    }

    std::uint32_t number(std::size_t bytes)
    {
        const ByteView part = take(bytes);
        return part.empty()
            ? 0
            : static_cast<std::uint32_t>(numberAt(part.data, part.size, ByteOrder::Big));
    }

    /// Whether the next bytes are these.
    bool skip(const std::uint8_t *bytes, std::size_t count)
    {
        const ByteView part = take(count);
        return !part.empty() && std::memcmp(part.data, bytes, count) == 0;
    }

    ByteView rest() const { return m_data; }
    bool failed() const { return m_failed; }

private:
    ByteView m_data;
    bool m_failed = false;
};

/// The content of the next segment.
std::optional<ByteView> segment(Reader &from, std::uint32_t number, SegmentType type)
{
    const bool refers = type == SegmentType::LosslessTextRegion;
    const bool isExpected = from.number(4) == number
        && from.number(1) == static_cast<std::uint32_t>(type)
        && from.number(1) == (refers ? 1U << 5 : 0U) && (!refers || from.number(1) == number - 1)
        && from.number(1) == kPageNumber;
    if (!isExpected)
        return {};
    const ByteView content = from.take(from.number(4));
    return from.failed() ? std::nullopt : std::optional<ByteView>(content);
}

struct Size
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

Size sizeAt(Reader &from)
{
    Size size;
    size.width = from.number(4);
    size.height = from.number(4);
    return size;
}

/// How many pixels may still be decoded, so that a few bytes do not keep the machine busy.
class Allowance
{
public:
    explicit Allowance(std::int64_t pixels)
        : m_left(pixels)
    {
    }

    bool isEnoughFor(std::int64_t width, std::int64_t height)
    {
        if (width <= 0 || height <= 0 || width > kMaxSide || height > kMaxSide)
            return false;
        m_left -= width * height;
        return m_left >= 0;
    }

private:
    std::int64_t m_left;
};

std::optional<std::vector<Bitmap>> decodedSymbols(ByteView content, Allowance &allowance)
{
    Reader head(content);
    const bool isOurs =
        head.number(2) == kDictionaryFlags && head.skip(kPixelPlaces, sizeof(kPixelPlaces));
    const std::size_t exported = head.number(4);
    const std::size_t count = head.number(4);
    if (!isOurs || head.failed() || exported != count || count < 2 || count > kMostSymbols)
        return {};
    ArithmeticDecoder coder(head.rest());
    DictionaryNumbers numbers;
    Contexts pixels(kPixelContexts);
    std::vector<Bitmap> symbols;
    std::int64_t height = 0;
    while (symbols.size() < count) {
        const std::optional<std::int32_t> higher = numbers.higher.code(coder);
        if (!higher || *higher <= 0)
            return {};
        height += *higher;
        std::int64_t width = 0;
        while (const std::optional<std::int32_t> wider = numbers.wider.code(coder)) {
            width += *wider;
            if (symbols.size() == count || !allowance.isEnoughFor(width, height))
                return {};
            symbols.emplace_back(static_cast<int>(width), static_cast<int>(height));
            codeBitmap(coder, pixels, symbols.back());
        }
    }
    return symbols;
}

/// The black of `shape` added to the page.
void draw(const Bitmap &shape, std::int64_t left, int top, Image &page)
{
    const auto first = static_cast<int>(std::max<std::int64_t>(0, -left));
    const auto end = static_cast<int>(std::min<std::int64_t>(shape.width(), page.width() - left));
    const int last = std::min(shape.height(), page.height() - top);
    for (int y = 0; y < last; ++y) {
        const std::uint8_t *from = shape.row(y);
        std::uint8_t *row = page.row(top + y) + left;
        for (int x = first; x < end; ++x) {
            if (from[x] != 0)
                row[x] = 0;
        }
    }
}

/// The text region's procedure, an instance after the other.
class TextDecoder
{
public:
    TextDecoder(ByteView coded, const std::vector<Bitmap> &symbols, Allowance &allowance)
        : m_coder(coded)
        , m_symbols(symbols)
        , m_identifiers(static_cast<std::uint32_t>(symbols.size()))
        , m_allowance(allowance)
    {
    }

    bool drawOn(Image &page, std::size_t count)
    {
        if (m_numbers.strip.code(m_coder) != 0)
            return false;
        std::int64_t strip = 0;
        std::int64_t firstLeft = 0;
        while (count > 0) {
            strip += m_numbers.strip.code(m_coder).value_or(-1);
            firstLeft += m_numbers.firstLeft.code(m_coder).value_or(0);
            std::int64_t left = firstLeft;
            if (strip < 0 || strip * kStripHeight >= page.height())
                return false;
            for (std::optional<std::int32_t> step = 0; step;
                 step = m_numbers.nextLeft.code(m_coder)) {
                left += *step;
                if (count-- == 0)
                    return false;
                const std::optional<int> width =
                    drawInstance(page, static_cast<int>(strip) * kStripHeight, left);
                if (!width)
                    return false;
                left += *width - 1;
            }
        }
        return true;
    }

private:
    /// Its width.
    std::optional<int> drawInstance(Image &page, int stripTop, std::int64_t left)
    {
        const std::int32_t row = m_numbers.row.code(m_coder).value_or(-1);
        const std::uint32_t symbol = m_identifiers.code(m_coder);
        if (row < 0 || row >= kStripHeight || stripTop + row >= page.height()
            || symbol >= m_symbols.size() || left < 0 || left >= page.width())
            return {};
        const Bitmap &shape = m_symbols[symbol];
        if (m_numbers.isRefined.code(m_coder) == 0) {
            if (!m_allowance.isEnoughFor(shape.width(), shape.height()))
                return {};
            draw(shape, left, stripTop + row, page);
            return shape.width();
        }
        const std::optional<Bitmap> refinedShape = refined(shape);
        if (!refinedShape)
            return {};
        draw(*refinedShape, left, stripTop + row, page);
        return refinedShape->width();
    }

    std::optional<Bitmap> refined(const Bitmap &symbol)
    {
        constexpr int kMostMoved = 64;
        const std::int32_t wider = m_numbers.wider.code(m_coder).value_or(INT32_MIN);
        const std::int32_t higher = m_numbers.higher.code(m_coder).value_or(INT32_MIN);
        const std::int32_t right = m_numbers.right.code(m_coder).value_or(INT32_MIN);
        const std::int32_t down = m_numbers.down.code(m_coder).value_or(INT32_MIN);
        for (const std::int32_t number : {wider, higher, right, down}) {
            if (number < -kMostMoved || number > kMostMoved)
                return {};
        }
        const int width = symbol.width() + wider;
        const int height = symbol.height() + higher;
        if (!m_allowance.isEnoughFor(width, height))
            return {};
        Bitmap shape(width, height);
        codeRefinement(m_coder, m_refinements,
                       moved(symbol, right + halfOf(wider), down + halfOf(higher), width, height),
                       shape);
        return shape;
    }

    ArithmeticDecoder m_coder;
    const std::vector<Bitmap> &m_symbols;
    TextNumbers m_numbers;
    IdentifierCoder m_identifiers;
    Contexts m_refinements = Contexts(kRefinementContexts);
    Allowance &m_allowance;
};

bool drawText(ByteView content, const std::vector<Bitmap> &symbols, Allowance &allowance,
              Image &page)
{
    Reader head(content);
    const Size size = sizeAt(head);
    const bool isOurs = size.width == static_cast<std::uint32_t>(page.width())
        && size.height == static_cast<std::uint32_t>(page.height()) && head.number(4) == 0
        && head.number(4) == 0 && head.number(1) == 0 && head.number(2) == kTextFlags
        && head.skip(kRefinementPlaces, sizeof(kRefinementPlaces));
    const std::size_t count = head.number(4);
    if (!isOurs || head.failed() || count > kMostInstances)
        return false;
    return TextDecoder(head.rest(), symbols, allowance).drawOn(page, count);
}

} // namespace

Result<Image> decodeJbig2(ByteView data)
{
    Reader segments(data);
    const std::optional<ByteView> information = segment(segments, 0, SegmentType::PageInformation);
    const std::optional<ByteView> dictionary = segment(segments, 1, SegmentType::SymbolDictionary);
    const std::optional<ByteView> text = segment(segments, 2, SegmentType::LosslessTextRegion);
    if (!information || !dictionary || !text)
        return damagedPicture();
    Reader page(*information);
    const Size size = sizeAt(page);
    if (!isSupportedSize(size.width, size.height))
        return damagedPicture();
    Image image = Image::unset(static_cast<int>(size.width), static_cast<int>(size.height),
                               PixelFormat::Gray8);
    std::memset(image.pixels(), 255, image.stride() * size.height);
    image.setBilevel(true);
    Allowance allowance(kMostPixels * size.width * size.height);
    const std::optional<std::vector<Bitmap>> symbols = decodedSymbols(*dictionary, allowance);
    if (!symbols || !drawText(*text, *symbols, allowance, image))
        return damagedPicture();
    return image;
}

} // namespace korv
