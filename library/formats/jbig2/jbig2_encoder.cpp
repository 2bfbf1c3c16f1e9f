#include "library/formats/jbig2/jbig2_encoder.h"

#include "library/formats/jbig2/bitmap_coder.h"
#include "library/formats/jbig2/components.h"
#include "library/formats/jbig2/jbig2_format.h"
#include "library/formats/jbig2/symbol_matcher.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace korv {

using namespace jbig2;

namespace {

constexpr std::size_t kMostComponents = 65'536;
/// The boxes may have the page's pixels divided by this: those of frames and rules are large, with
/// little in them.
constexpr std::size_t kPageByBoxes = 2;

/// A component on the page: a symbol, as it is or refined.
struct Instance
{
    const Component *component = nullptr;
    Match match;
};

struct Symbols
{
    std::vector<Bitmap> shapes; ///< in the order of the dictionary
    std::vector<Instance> instances; ///< by strips, from left to right in each
};

Symbols symbolsOf(const std::vector<Component> &components)
{
    Symbols result;
    SymbolMatcher matcher;
    std::vector<const Bitmap *> shapes;
    for (const Component &component : components) {
        std::optional<Match> match = matcher.find(component.shape);
        if (!match) {
            match = Match{shapes.size(), 0, 0, true};
            matcher.add(component.shape, shapes.size());
            shapes.push_back(&component.shape);
        }
        result.instances.push_back({&component, *match});
    }
    // a dictionary goes from lower to higher shapes
    std::vector<std::size_t> order(shapes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t one, std::size_t other) {
        const Bitmap &a = *shapes[one];
        const Bitmap &b = *shapes[other];
        return a.height() != b.height() ? a.height() < b.height() : a.width() < b.width();
    });
    std::vector<std::size_t> placeOf(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        placeOf[order[i]] = i;
        result.shapes.push_back(*shapes[order[i]]);
    }
    for (Instance &instance : result.instances)
        instance.match.symbol = placeOf[instance.match.symbol];
    std::stable_sort(result.instances.begin(), result.instances.end(),
                     [](const Instance &one, const Instance &other) {
                         const int strip = one.component->top / kStripHeight;
                         const int otherStrip = other.component->top / kStripHeight;
                         return strip != otherStrip ? strip < otherStrip
                                                    : one.component->left < other.component->left;
                     });
    return result;
}

Bytes codedDictionary(const std::vector<Bitmap> &shapes)
{
    ArithmeticEncoder coder;
    DictionaryNumbers numbers;
    Contexts pixels(kPixelContexts);
    int height = 0;
    for (std::size_t i = 0; i < shapes.size();) {
        numbers.higher.code(coder, shapes[i].height() - height);
        height = shapes[i].height();
        int width = 0;
        for (; i < shapes.size() && shapes[i].height() == height; ++i) {
            numbers.wider.code(coder, shapes[i].width() - width);
            width = shapes[i].width();
            Bitmap shape = shapes[i];
            codeBitmap(coder, pixels, shape);
        }
        numbers.wider.code(coder, {});
    }
    numbers.exported.code(coder, 0);
    numbers.exported.code(coder, static_cast<std::int32_t>(shapes.size()));
    return coder.finish();
}

Bytes codedText(const Symbols &symbols)
{
    ArithmeticEncoder coder;
    TextNumbers numbers;
    IdentifierCoder identifiers(static_cast<std::uint32_t>(symbols.shapes.size()));
    Contexts refinements(kRefinementContexts);
    numbers.strip.code(coder, 0);
    int strip = 0;
    int firstLeft = 0;
    for (auto at = symbols.instances.begin(); at != symbols.instances.end();) {
        const int next = at->component->top / kStripHeight;
        numbers.strip.code(coder, next - strip);
        strip = next;
        numbers.firstLeft.code(coder, at->component->left - firstLeft);
        firstLeft = at->component->left;
        for (int left = firstLeft;;) {
            const Component &component = *at->component;
            const Bitmap &symbol = symbols.shapes[at->match.symbol];
            numbers.row.code(coder, component.top % kStripHeight);
            identifiers.code(coder, static_cast<std::uint32_t>(at->match.symbol));
            numbers.isRefined.code(coder, at->match.isSame ? 0 : 1);
            if (!at->match.isSame) {
                Bitmap shape = component.shape;
                const int wider = shape.width() - symbol.width();
                const int higher = shape.height() - symbol.height();
                numbers.wider.code(coder, wider);
                numbers.higher.code(coder, higher);
                numbers.right.code(coder, at->match.right - halfOf(wider));
                numbers.down.code(coder, at->match.down - halfOf(higher));
                codeRefinement(
                    coder, refinements,
                    moved(symbol, at->match.right, at->match.down, shape.width(), shape.height()),
                    shape);
            }
            left = component.left + component.shape.width() - 1;
            ++at;
            if (at == symbols.instances.end() || at->component->top / kStripHeight != strip)
                break;
            numbers.nextLeft.code(coder, at->component->left - left);
        }
        numbers.nextLeft.code(coder, {});
    }
    return coder.finish();
}

void put(Bytes &to, const std::uint8_t *first, std::size_t count)
{
    to.insert(to.end(), first, first + count);
}

/// `content` ends with what is coded.
void putSegment(Bytes &to, std::uint8_t number, SegmentType type, const Bytes &content)
{
    bigendian::put32(to, number);
    to.push_back(static_cast<std::uint8_t>(type));
    // the text region refers to the dictionary, the segment before it
    const bool refers = type == SegmentType::LosslessTextRegion;
    to.push_back(refers ? 1 << 5 : 0);
    if (refers)
        to.push_back(static_cast<std::uint8_t>(number - 1));
    to.push_back(kPageNumber);
    bigendian::put32(to, static_cast<std::uint32_t>(content.size()));
    put(to, content.data(), content.size());
}

void putSize(Bytes &to, const Image &image)
{
    bigendian::put32(to, static_cast<std::uint32_t>(image.width()));
    bigendian::put32(to, static_cast<std::uint32_t>(image.height()));
}

Bytes pageInformation(const Image &image)
{
    Bytes content;
    putSize(content, image);
    bigendian::put32(content, 0); // the resolution is the document's
    bigendian::put32(content, 0);
    content.push_back(kLosslessPage);
    bigendian::put16(content, 0); // no stripes
    return content;
}

Bytes dictionary(const std::vector<Bitmap> &shapes)
{
    Bytes content;
    bigendian::put16(content, kDictionaryFlags);
    put(content, kPixelPlaces, sizeof(kPixelPlaces));
    bigendian::put32(content, static_cast<std::uint32_t>(shapes.size())); // exported
    bigendian::put32(content, static_cast<std::uint32_t>(shapes.size())); // new
    const Bytes coded = codedDictionary(shapes);
    put(content, coded.data(), coded.size());
    return content;
}

Bytes textRegion(const Image &image, const Symbols &symbols)
{
    Bytes content;
    putSize(content, image);
    bigendian::put32(content, 0); // left
    bigendian::put32(content, 0); // top
    content.push_back(0); // black is added to the page
    bigendian::put16(content, kTextFlags);
    put(content, kRefinementPlaces, sizeof(kRefinementPlaces));
    bigendian::put32(content, static_cast<std::uint32_t>(symbols.instances.size()));
    const Bytes coded = codedText(symbols);
    put(content, coded.data(), coded.size());
    return content;
}

} // namespace

std::optional<Bytes> encodeJbig2(const Image &image)
{
    const std::size_t pixels =
        static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
    const std::optional<std::vector<Component>> components =
        componentsOf(image, kMostComponents, pixels / kPageByBoxes);
    if (!components)
        return {};
    const Symbols symbols = symbolsOf(*components);
    if (symbols.shapes.size() < 2) // not worth a dictionary
        return {};
    Bytes coded;
    putSegment(coded, 0, SegmentType::PageInformation, pageInformation(image));
    putSegment(coded, 1, SegmentType::SymbolDictionary, dictionary(symbols.shapes));
    putSegment(coded, 2, SegmentType::LosslessTextRegion, textRegion(image, symbols));
    return coded;
}

} // namespace korv
