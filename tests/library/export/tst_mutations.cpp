#include "library/documents/pixel_coders.h"
#include "library/documents/tiff_writer.h"
#include "library/export/image_loader.h"
#include "library/export/page_maker.h"
#include "library/files/memory_sink.h"
#include "library/formats/bmp_writer.h"
#include "library/formats/png_writer.h"
#include "library/jpeg/rework/jpeg_repair.h"
#include "library/photograph/photograph.h"
#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/sample_pictures.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <random>

using namespace korv;

// Files damaged in ways that repeat from run to run: whatever comes, there is a picture or one of
// the stated errors, and no byte outside the data is touched (the sanitizers and the guard page
// see).

namespace {

constexpr int kRounds = 2500;

class Damage
{
public:
    explicit Damage(const Bytes &original)
        : m_original(original)
    {
    }

    Bytes next()
    {
        Bytes data = m_original;
        const auto kind = m_random() % 8;
        if (kind == 0)
            data.resize(m_random() % data.size());
        if (kind == 1)
            data.insert(data.begin() + position(data), m_random() % 40, 0xFF);
        if (kind == 2 && data.size() > 40) {
            const auto from = data.begin() + position(data) / 2;
            data.erase(from, from + static_cast<std::ptrdiff_t>(m_random() % 20));
        }
        const auto changes = 1 + m_random() % 6;
        for (std::size_t i = 0; i < changes && !data.empty(); ++i)
            data[place(data)] = value();
        return data;
    }

private:
    std::ptrdiff_t position(const Bytes &data)
    {
        return static_cast<std::ptrdiff_t>(m_random() % data.size());
    }
    /// Headers decide more than pixels, so half of the changes go there.
    std::size_t place(const Bytes &data)
    {
        const std::size_t reach =
            m_random() % 2 == 0 ? std::min<std::size_t>(700, data.size()) : data.size();
        return m_random() % reach;
    }
    std::uint8_t value()
    {
        constexpr std::uint8_t kNasty[] = {0, 1, 0x7F, 0x80, 0xFE, 0xFF, 0xD8, 0xD9, 0xDA, 0xC4};
        const auto choice = m_random() % 20;
        return choice < std::size(kNasty) ? kNasty[choice]
                                          : static_cast<std::uint8_t>(m_random() % 256);
    }

    Bytes m_original;
    std::mt19937 m_random{20'240};
};

bool isStatedError(int code)
{
    return code == -EBADMSG || code == -EFBIG || code == -ENOMEM;
}

void expectDefinedResults(const Bytes &original, int rounds = kRounds)
{
    Damage damage(original);
    int pictures = 0;
    for (int round = 0; round < rounds; ++round) {
        const Bytes data = damage.next();
        const GuardedBuffer guarded{ByteView(data)};
        const Result<void> checked = checkImage(guarded.view());
        ASSERT_TRUE(checked || isStatedError(checked.code())) << round;
        const Result<Image> loaded = loadImage(guarded.view());
        ASSERT_TRUE(loaded || isStatedError(loaded.code())) << round << ' ' << loaded.code();
        if (!loaded)
            continue;
        ASSERT_TRUE(isSupportedSize(loaded.value().width(), loaded.value().height()));
        ++pictures;
    }
    // damage to pixels alone leaves pictures; without any, only the first test would be tried
    EXPECT_GT(pictures, 0);
    EXPECT_LT(pictures, rounds);
}

Bytes tiffOf(const Image &image)
{
    MemorySink sink;
    TiffWriter writer(sink, {});
    PageMaker maker({90, true, codePixelsForTiff, {}, nullptr});
    EXPECT_TRUE(writer.addPage(maker.fromImage(image).value()));
    EXPECT_TRUE(writer.finish());
    return sink.take();
}

} // namespace

TEST(Mutations, jpegLoader)
{
    expectDefinedResults(pictures::jpegOf(pictures::page(72, 56)));
}

TEST(Mutations, videoFrameLoader)
{
    expectDefinedResults(pictures::videoFrame(pictures::page(72, 56)));
}

TEST(Mutations, pngLoader)
{
    MemorySink sink;
    ASSERT_TRUE(writePng(pictures::page(72, 56), {100}, sink));
    // the checksum guards most bytes, so most rounds end early and more of them are affordable
    expectDefinedResults(sink.bytes(), 2 * kRounds);
}

TEST(Mutations, bmpLoader)
{
    for (const Image &image : {pictures::page(40, 30), pictures::lineart(40, 30),
                               pictures::numbered(40, 30, PixelFormat::Gray8)}) {
        MemorySink sink;
        ASSERT_TRUE(writeBmp(image, {100}, sink));
        expectDefinedResults(sink.bytes());
    }
}

TEST(Mutations, tiffLoader)
{
    expectDefinedResults(tiffOf(pictures::page(72, 56)));
    expectDefinedResults(tiffOf(pictures::lineart(72, 56)));
}

TEST(Mutations, findEndMendAndPhotograph)
{
    for (const Bytes &original :
         {pictures::jpegOf(pictures::page(80, 64)), pictures::videoFrame(pictures::page(80, 64))}) {
        Damage damage(original);
        int complete = 0;
        for (int round = 0; round < kRounds; ++round) {
            const Bytes data = damage.next();
            const GuardedBuffer guarded{ByteView(data)};
            const Result<jpeg::Structure> structure = jpeg::readStructure(guarded.view());
            if (!structure) {
                ASSERT_EQ(structure.code(), -EBADMSG);
                continue;
            }
            ++complete;
            ASSERT_LE(structure.value().end, data.size());
            const Result<Bytes> mended = jpeg::repair(guarded.view(), structure.value(), 0);
            if (mended) {
                ASSERT_TRUE(testing_support::jpegEnd(mended.value())) << round;
            }
            PhotographOptions options;
            options.rotation = static_cast<Rotation>(round % 4);
            options.colour = static_cast<ColourStyle>(round % 3);
            options.quality = round % 5 == 0 ? 40 : 95;
            options.crop = round % 16 == 0 ? CropMode::Auto : CropMode::Off;
            const Result<Bytes> photograph = makePhotograph(guarded.view(), options);
            ASSERT_TRUE(photograph || isStatedError(photograph.code())) << photograph.code();
        }
        EXPECT_GT(complete, 0);
        EXPECT_LT(complete, kRounds);
    }
}
