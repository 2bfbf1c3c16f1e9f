// JPEG bytes without pixels: where a picture ends, what it lacks, and turning it on its
// coefficients. Bytes behind the picture choose the options, so inputs stay JPEG files.
#include "library/jpeg/rework/jpeg_repair.h"
#include "library/jpeg/rework/jpeg_transform.h"
#include "library/photograph/photograph.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/input.h"
#include "tests/library/support/pictures.h"

#include <cerrno>

using namespace korv;

namespace {

/// A head, four Huffman tables: what mending may add.
constexpr std::size_t kMaxAdded = 18 + 4 * 200;
/// Larger pictures only make each run longer.
constexpr std::int64_t kMaxWork = 1 << 18;

void checkEnd(ByteView data, std::size_t end)
{
    FUZZ_CHECK(end >= 4 && end <= data.size);
    FUZZ_CHECK(data[end - 2] == 0xFF && data[end - 1] == 0xD9);
    const Result<std::size_t> alone = testing_support::jpegEnd(data.first(end));
    FUZZ_CHECK(alone && alone.value() == end);
    FUZZ_CHECK(!testing_support::jpegEnd(data.first(end - 1)));
}

void checkHeaders(ByteView data, const jpeg::Structure &structure)
{
    FUZZ_CHECK(structure.info.width > 0 && structure.info.height > 0);
    FUZZ_CHECK(structure.info.orientation >= 1 && structure.info.orientation <= 8);
    FUZZ_CHECK(structure.info.resolution.x >= 0);
    FUZZ_CHECK(structure.scanStart < data.size && structure.samplingByte < structure.scanStart);
    const Result<jpeg::Info> info = jpeg::readInfo(data);
    FUZZ_CHECK(info && info.value().width == structure.info.width
               && info.value().height == structure.info.height
               && info.value().components == structure.info.components);
}

void checkMended(ByteView data, const jpeg::Structure &structure)
{
    const Result<Bytes> mended = jpeg::repair(data, structure, 0);
    Bytes frame;
    const Result<void> framed = jpeg::addHuffmanTables(data, structure, frame);
    FUZZ_CHECK(static_cast<bool>(mended) == static_cast<bool>(framed));
    if (!mended) {
        FUZZ_CHECK(mended.code() == -EBADMSG && framed.code() == -EBADMSG);
        return;
    }
    const Bytes &file = mended.value();
    FUZZ_CHECK(file.size() <= structure.end + kMaxAdded);
    const Result<jpeg::Structure> after = jpeg::readStructure(file);
    FUZZ_CHECK(after && after.value().end == file.size());
    FUZZ_CHECK(!jpeg::needsRepair(after.value()));
    FUZZ_CHECK(after.value().info.width == structure.info.width
               && after.value().info.height == structure.info.height
               && after.value().info.colourModel == structure.info.colourModel
               && after.value().info.orientation == structure.info.orientation);
    const Result<Bytes> again = jpeg::repair(file, after.value(), 0);
    FUZZ_CHECK(again && again.value() == file);

    const Result<jpeg::Structure> whole = jpeg::readStructure(frame);
    FUZZ_CHECK(whole && whole.value().end == frame.size() && whole.value().missingDcTables == 0
               && whole.value().missingAcTables == 0);
}

bool isStatedError(int code)
{
    return code == -EBADMSG || code == -EFBIG || code == -ENOMEM;
}

void checkTransformed(ByteView picture, const jpeg::Structure &structure, fuzz::Input &choices)
{
    jpeg::Transform transform;
    transform.turn = Turn::ofOrientation(choices.between(1, 8));
    transform.gray = choices.between(0, 1) == 1;
    transform.quality = choices.between(0, 100);
    if (!jpeg::canTransform(structure, transform))
        return;
    const Result<Bytes> made = jpeg::transformed(picture, structure, transform, 150);
    if (!made) {
        FUZZ_CHECK(isStatedError(made.code()));
        return;
    }
    const Result<jpeg::Structure> after = jpeg::readStructure(made.value());
    FUZZ_CHECK(after && after.value().end == made.value().size());
    const jpeg::Info &info = after.value().info;
    const bool swaps = transform.turn.transpose;
    FUZZ_CHECK(info.width == (swaps ? structure.info.height : structure.info.width));
    FUZZ_CHECK(info.height == (swaps ? structure.info.width : structure.info.height));
    FUZZ_CHECK(info.components == (transform.gray ? 1 : structure.info.components));
    FUZZ_CHECK(info.resolution == 150);
}

void checkPhotograph(ByteView data, const jpeg::Structure &structure, fuzz::Input &choices)
{
    PhotographOptions options;
    options.rotation = static_cast<Rotation>(choices.between(0, 3));
    options.colour = static_cast<ColourStyle>(choices.between(0, 2));
    options.quality = choices.between(1, 100);
    const Result<Bytes> made = makePhotograph(data, options);
    if (!made) {
        FUZZ_CHECK(isStatedError(made.code()));
        return;
    }
    const Result<jpeg::Structure> after = jpeg::readStructure(made.value());
    FUZZ_CHECK(after && after.value().end == made.value().size());
    const std::int64_t before = std::int64_t{structure.info.width} * structure.info.height;
    const std::int64_t now = std::int64_t{after.value().info.width} * after.value().info.height;
    // lineart has twice as many dots each way where those of the picture are coarse
    FUZZ_CHECK(now == before || (options.colour == ColourStyle::Lineart && now == 4 * before));
    FUZZ_CHECK(jpeg::isWidelyReadable(after.value()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const ByteView data(bytes, size);
    const Result<jpeg::Structure> read = jpeg::readStructure(data);
    const Result<std::size_t> end = testing_support::jpegEnd(data);
    FUZZ_CHECK(static_cast<bool>(read) == static_cast<bool>(end));
    if (!read) {
        FUZZ_CHECK(read.code() == -EBADMSG && end.code() == -EBADMSG);
        return 0;
    }
    const jpeg::Structure &structure = read.value();
    FUZZ_CHECK(structure.end == end.value());
    checkEnd(data, structure.end);
    checkHeaders(data, structure);
    checkMended(data, structure);
    if (std::int64_t{structure.info.width} * structure.info.height > kMaxWork)
        return 0;
    fuzz::Input choices(bytes + structure.end, size - structure.end);
    checkTransformed(data.first(structure.end), structure, choices);
    checkPhotograph(data, structure, choices);
    return 0;
}
