#include "library/jpeg/bilevel_jpeg.h"

#include "library/jpeg/jpeg_destination.h"
#include "library/jpeg/jpeg_head.h"
#include "library/jpeg/jpeg_tables.h"
#include "library/jpeg/jpeg_trap.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

namespace korv::jpeg {

namespace {

using Block = std::array<float, DCTSIZE2>;

/// A bit for each pixel of a block, 1 for black: a byte for every column, whose lowest bit is the
/// uppermost pixel.
using Columns = std::array<std::uint8_t, DCTSIZE>;

constexpr int kCentre = 128; ///< JPEG's samples are coded around it

// The steps between coded values of the waves, and how far beyond black and white the samples are
// aimed at first. The coarser the steps the smaller the file; a block's worst error is some three
// deviations of kStep / sqrt(12) each.
constexpr int kStep = 128;
constexpr float kBeyond = 90;
constexpr float kBlackAim = -kCentre - kBeyond;
constexpr float kWhiteAim = kCentre - 1 + kBeyond;

// Decoders clamp by a table that repeats itself (libjpeg's: 512 levels from the centre).
constexpr float kMaxLevel = 440;

constexpr int kRounds = 8; ///< of aiming better; few blocks need more than one
constexpr float kAimingMargin = 2;

// A block of one level: 16 steps of 64, an eighth of which is the sample's distance from the
// centre, make -128 and +128.
constexpr int kMeanStep = 64;
constexpr JCOEF kPlainMean = 16;

/// Of every wave.
constexpr Block kSteps = [] {
    Block steps{};
    for (float &step : steps)
        step = kStep;
    steps[0] = kMeanStep;
    return steps;
}();

/// Rounds to whole numbers, half to even, in vectors: what is added leaves no bits for fractions.
float rounded(float value)
{
    constexpr float kNoFraction = 1.5F * (1 << 23);
    return (value + kNoFraction) - kNoFraction;
}

/// The discrete cosine transform of 8 x 8 samples (ITU-T T.81, A.3.3), orthonormal.
class Cosines
{
public:
    /// `black` and `white` are the samples of blocks that have no others.
    Cosines(float black, float white)
    {
        for (std::size_t wave = 0; wave < DCTSIZE; ++wave) {
            const double norm = wave == 0 ? std::sqrt(0.125) : 0.5;
            for (std::size_t at = 0; at < DCTSIZE; ++at) {
                const double angle = static_cast<double>((2 * at + 1) * wave) * M_PI / 16;
                m_waves[wave * DCTSIZE + at] = static_cast<float>(norm * std::cos(angle));
                m_turned[at * DCTSIZE + wave] = m_waves[wave * DCTSIZE + at];
            }
        }
        for (std::size_t pattern = 0; pattern < m_columns.size(); ++pattern) {
            for (std::size_t wave = 0; wave < DCTSIZE; ++wave) {
                float &sum = m_columns[pattern][wave];
                for (std::size_t at = 0; at < DCTSIZE; ++at)
                    sum +=
                        m_waves[wave * DCTSIZE + at] * ((pattern >> at) % 2 != 0 ? black : white);
            }
        }
    }

    Block forward(const Block &samples) const
    {
        return product(product(m_waves, samples), m_turned);
    }

    /// The same for samples that are black or white, by what is known of each column.
    Block forward(const Columns &black) const
    {
        Block result{};
        for (std::size_t k = 0; k < DCTSIZE; ++k) {
            const auto &column = m_columns[black[k]];
            for (std::size_t row = 0; row < DCTSIZE; ++row)
                addRow(column[row], m_turned, k, result, row);
        }
        return result;
    }

    /// Leaves out rows and columns of waves that are 0, as most are in a coarsely coded block.
    Block inverse(const Block &waves) const
    {
        Block halfWay{};
        std::array<bool, DCTSIZE> isUsed{}; // columns of the waves
        for (std::size_t k = 0; k < DCTSIZE; ++k) {
            bool any = false;
            for (std::size_t column = 0; column < DCTSIZE; ++column) {
                const bool here = waves[k * DCTSIZE + column] != 0;
                isUsed[column] = isUsed[column] || here;
                any = any || here;
            }
            for (std::size_t row = 0; any && row < DCTSIZE; ++row)
                addRow(m_turned[row * DCTSIZE + k], waves, k, halfWay, row);
        }
        Block result{};
        for (std::size_t k = 0; k < DCTSIZE; ++k) {
            for (std::size_t row = 0; isUsed[k] && row < DCTSIZE; ++row)
                addRow(halfWay[row * DCTSIZE + k], m_waves, k, result, row);
        }
        return result;
    }

private:
    /// Adds a row of one block, times a factor, to a row of another.
    static void addRow(float factor, const Block &from, std::size_t fromRow, Block &to,
                       std::size_t toRow)
    {
        for (std::size_t column = 0; column < DCTSIZE; ++column)
            to[toRow * DCTSIZE + column] += factor * from[fromRow * DCTSIZE + column];
    }

    static Block product(const Block &a, const Block &b)
    {
        Block result{};
        for (std::size_t row = 0; row < DCTSIZE; ++row) {
            for (std::size_t k = 0; k < DCTSIZE; ++k)
                addRow(a[row * DCTSIZE + k], b, k, result, row);
        }
        return result;
    }

    Block m_waves{};
    Block m_turned{};
    std::array<std::array<float, DCTSIZE>, 256> m_columns{}; ///< waves of every column there is
};

enum class Kind { White, Black, Mixed };

struct Bits
{
    Kind kind = Kind::Mixed;
    // of a mixed block
    std::array<std::uint8_t, DCTSIZE2> pixels{};
    Columns black{};
};

/// A row of the block at (left, top); beyond the picture's edges its last pixels go on.
std::uint64_t rowAt(const Image &image, int left, int y)
{
    const std::uint8_t *row = image.row(std::min(y, image.height() - 1));
    std::array<std::uint8_t, DCTSIZE> pixels{};
    if (left + DCTSIZE <= image.width()) {
        std::memcpy(pixels.data(), row + left, DCTSIZE);
    } else {
        for (int x = 0; x < DCTSIZE; ++x)
            pixels[static_cast<std::size_t>(x)] = row[std::min(left + x, image.width() - 1)];
    }
    std::uint64_t word = 0;
    std::memcpy(&word, pixels.data(), sizeof word);
    return word;
}

Bits bitsAt(const Image &image, int left, int top)
{
    std::array<std::uint64_t, DCTSIZE> rows{};
    std::uint64_t any = 0;
    std::uint64_t all = ~std::uint64_t{0};
    for (int y = 0; y < DCTSIZE; ++y) {
        const std::uint64_t row = rowAt(image, left, top + y);
        rows[static_cast<std::size_t>(y)] = row;
        any |= row;
        all &= row;
    }
    // most blocks of a page are blank: eight words tell
    Bits bits;
    if (~all == 0 || any == 0) {
        bits.kind = any == 0 ? Kind::Black : Kind::White;
        return bits;
    }
    std::memcpy(bits.pixels.data(), rows.data(), sizeof bits.pixels);
    std::uint64_t columns = 0;
    for (std::size_t y = 0; y < DCTSIZE; ++y)
        columns |= (~rows[y] & 0x0101010101010101U) << y;
    std::memcpy(bits.black.data(), &columns, sizeof columns);
    return bits;
}

/// 1 where a block is white, -1 where it is black.
Block signsOf(const Bits &bits)
{
    Block signs;
    for (std::size_t i = 0; i < DCTSIZE2; ++i)
        signs[i] = static_cast<float>((bits.pixels[i] & 2) - 1);
    return signs;
}

/// The least level, times its sign, that is clamped to black or white and not only near it.
float nearest(float sign)
{
    return kCentre - 1 - 0.5F * sign;
}

/// Whether every sample that is decoded is clamped to its level and not so far out that decoders
/// disagree.
bool isReached(const Block &signs, const Block &decoded)
{
    unsigned missed = 0;
    for (std::size_t i = 0; i < DCTSIZE2; ++i) {
        const float reached = signs[i] * decoded[i];
        missed |= static_cast<unsigned>(reached < nearest(signs[i]))
            | static_cast<unsigned>(reached > kMaxLevel);
    }
    return missed == 0;
}

/// Moves the aim of each sample that missed its level.
void correctAim(const Block &signs, const Block &decoded, Block &aim)
{
    for (std::size_t i = 0; i < DCTSIZE2; ++i) {
        const float reached = signs[i] * decoded[i];
        if (reached < nearest(signs[i]))
            aim[i] += signs[i] * (nearest(signs[i]) - reached + kAimingMargin);
        else if (reached > kMaxLevel)
            aim[i] += signs[i] * (kMaxLevel - reached - kAimingMargin);
    }
}

Block firstAim(const Block &signs)
{
    Block aim;
    for (std::size_t i = 0; i < DCTSIZE2; ++i)
        aim[i] = signs[i] < 0 ? kBlackAim : kWhiteAim;
    return aim;
}

void codeBlock(const Cosines &cosines, const Bits &bits, JCOEF *coefficients)
{
    if (bits.kind != Kind::Mixed) {
        coefficients[0] = bits.kind == Kind::White ? kPlainMean : -kPlainMean;
        return;
    }
    const Block signs = signsOf(bits);
    Block waves = cosines.forward(bits.black);
    Block aim{};
    for (int round = 1;; ++round) {
        for (std::size_t i = 0; i < DCTSIZE2; ++i) {
            const float steps = rounded(waves[i] / kSteps[i]);
            coefficients[i] = static_cast<JCOEF>(steps);
            waves[i] = steps * kSteps[i];
        }
        const Block decoded = cosines.inverse(waves);
        if (round == kRounds || isReached(signs, decoded))
            return;
        if (round == 1)
            aim = firstAim(signs);
        correctAim(signs, decoded, aim);
        waves = cosines.forward(aim);
    }
}

class BilevelCompressor
{
public:
    BilevelCompressor()
    {
        m_state.err = m_trap.manager();
        m_state.client_data = &m_trap;
    }
    ~BilevelCompressor() { jpeg_destroy_compress(&m_state); }
    BilevelCompressor(const BilevelCompressor &) = delete;
    BilevelCompressor &operator=(const BilevelCompressor &) = delete;

    Error error() const { return m_trap.error(); }
    bool encode(const Image &image, ByteView exif, ByteDestination &destination);

private:
    void configure(const Image &image);

    ErrorTrap m_trap;
    jpeg_compress_struct m_state{};
};

void BilevelCompressor::configure(const Image &image)
{
    m_state.image_width = static_cast<JDIMENSION>(image.width());
    m_state.image_height = static_cast<JDIMENSION>(image.height());
    m_state.input_components = 1;
    m_state.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&m_state);
    // libtiff refuses gray pictures with other factors
    m_state.comp_info[0].h_samp_factor = 1;
    m_state.comp_info[0].v_samp_factor = 1;
    m_state.optimize_coding = TRUE; // the standard tables know other pictures
    std::array<unsigned, DCTSIZE2> steps{};
    steps.fill(kStep);
    steps[0] = kMeanStep;
    jpeg_add_quant_table(&m_state, 0, steps.data(), 100, TRUE);
    stateDensity(m_state, image.resolution());
}

bool BilevelCompressor::encode(const Image &image, ByteView exif, ByteDestination &destination)
{
    const Cosines cosines(kBlackAim, kWhiteAim);
    return m_trap.run([&] {
        jpeg_create_compress(&m_state);
        m_state.client_data = &m_trap;
        m_state.dest = destination.manager();
        configure(image);
        const auto across = static_cast<JDIMENSION>((image.width() + DCTSIZE - 1) / DCTSIZE);
        const auto down = static_cast<JDIMENSION>((image.height() + DCTSIZE - 1) / DCTSIZE);
        auto *const common = reinterpret_cast<j_common_ptr>(&m_state);
        jvirt_barray_ptr blocks =
            m_state.mem->request_virt_barray(common, JPOOL_IMAGE, TRUE, across, down, 1);
        jpeg_write_coefficients(&m_state, &blocks);
        writeExif(m_state, exif);
        jpeg_write_marker(&m_state, JPEG_COM, reinterpret_cast<const JOCTET *>(kBilevelComment),
                          sizeof kBilevelComment - 1);
        for (JDIMENSION y = 0; y < down; ++y) {
            const JBLOCKROW row = m_state.mem->access_virt_barray(common, blocks, y, 1, TRUE)[0];
            for (JDIMENSION x = 0; x < across; ++x) {
                codeBlock(
                    cosines,
                    bitsAt(image, static_cast<int>(x * DCTSIZE), static_cast<int>(y * DCTSIZE)),
                    row[x]);
            }
        }
        jpeg_finish_compress(&m_state);
    });
}

} // namespace

Result<Bytes> encodeBilevel(const Image &image, ByteView exif)
{
    try {
        const std::size_t pixels = image.stride() * static_cast<std::size_t>(image.height());
        ByteDestination destination(pixels / 16);
        BilevelCompressor compressor;
        if (!compressor.encode(image, exif, destination))
            return compressor.error();
        return destination.take();
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "JPEG: no memory for the encoded picture"};
    }
}

} // namespace korv::jpeg
