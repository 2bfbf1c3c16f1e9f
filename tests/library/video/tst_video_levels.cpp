#include "library/video/video_levels.h"

#include "tests/library/support/guarded_buffer.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace korv;

namespace {

/// The value by its definition, in floating point.
std::uint8_t wanted(int sample, Levels levels)
{
    double value = sample;
    if (levels == Levels::WideLuma)
        value = (sample - 16) * 255.0 / 219.0;
    else if (levels == Levels::WideChroma)
        value = 128 + std::round((sample - 128) * 255.0 / 224.0);
    return static_cast<std::uint8_t>(std::clamp(std::round(value), 0.0, 255.0));
}

/// Every value stands at every place of a group that is processed at once.
std::uint8_t sampleAt(std::size_t place)
{
    return static_cast<std::uint8_t>(place * 77 + place / 256);
}

class VideoLevels : public testing::TestWithParam<Levels>
{
};

} // namespace

TEST_P(VideoLevels, everySampleGetsTheNearestValueOfItsNewRange)
{
    constexpr std::size_t kCount = 256 * 64;
    Bytes source(2 * kCount);
    for (std::size_t i = 0; i < source.size(); ++i)
        source[i] = sampleAt(i / 2);
    for (const Bytewise which : {Bytewise::Each, Bytewise::Even, Bytewise::Odd}) {
        Bytes target(kCount);
        copyLevels(source.data(), which, GetParam(), kCount, target.data());
        for (std::size_t i = 0; i < kCount; ++i) {
            const std::uint8_t sample = sampleAt(which == Bytewise::Each ? i / 2 : i);
            ASSERT_EQ(target[i], wanted(sample, GetParam())) << int(sample) << " at " << i;
        }
    }
}

TEST_P(VideoLevels, takesOnlyTheBytesAskedForWhateverTheirNumber)
{
    for (std::size_t count = 0; count < 70; ++count) {
        for (const Bytewise which : {Bytewise::Each, Bytewise::Even, Bytewise::Odd}) {
            Bytes row((which == Bytewise::Each ? 1 : 2) * count);
            for (std::size_t i = 0; i < row.size(); ++i)
                row[i] = sampleAt(i);
            const GuardedBuffer guarded{ByteView(row)};
            Bytes target(count + 1, 0x5A);
            copyLevels(guarded.view().data, which, GetParam(), count, target.data());
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t from = which == Bytewise::Each ? i
                    : which == Bytewise::Even                    ? 2 * i
                                                                 : 2 * i + 1;
                ASSERT_EQ(target[i], wanted(row[from], GetParam())) << i << " of " << count;
            }
            ASSERT_EQ(target[count], 0x5A) << count;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Ranges, VideoLevels,
                         testing::Values(Levels::Same, Levels::WideLuma, Levels::WideChroma));
