#include "library/recognition/text_cache.h"

#include "tests/library/support/temporary_folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>

using namespace korv;
using testing::Optional;

namespace {

const std::string kEnglish = "eng";

class TextCacheTest : public testing::Test
{
protected:
    ContentKey key(std::uint8_t number) const { return contentKeyOf(Bytes{number}); }

    testing_support::TemporaryFolder m_root;
    std::string m_folder = m_root / "cache/korv-camera/text";
};

} // namespace

TEST_F(TextCacheTest, returnsWhatWasStoredForThePictureAndTheKind)
{
    TextCache cache(m_folder);
    EXPECT_EQ(cache.find(key(1), kEnglish), std::nullopt);
    cache.store(key(1), kEnglish, "one\nline");
    EXPECT_THAT(TextCache(m_folder).find(key(1), kEnglish), Optional(std::string("one\nline")));
    EXPECT_EQ(cache.find(key(2), kEnglish), std::nullopt);
    EXPECT_EQ(cache.find(key(1), "eng+deu"), std::nullopt);
}

TEST_F(TextCacheTest, onlyItsOwnerMayReadIt)
{
    TextCache(m_folder).store(key(1), kEnglish, "secret");
    struct stat state = {};
    ASSERT_EQ(stat(m_folder.c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0700U);
}

TEST_F(TextCacheTest, whatWasNotAskedForLongestGoes)
{
    TextCache cache(m_folder, 250);
    const std::string hundred(100, 'a');
    using namespace std::chrono_literals;
    for (const std::uint8_t number : {std::uint8_t{1}, std::uint8_t{2}}) {
        cache.store(key(number), kEnglish, hundred);
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_TRUE(cache.find(key(1), kEnglish));
    std::this_thread::sleep_for(20ms);
    cache.store(key(3), kEnglish, hundred);
    EXPECT_TRUE(cache.find(key(1), kEnglish));
    EXPECT_FALSE(cache.find(key(2), kEnglish));
    EXPECT_TRUE(cache.find(key(3), kEnglish));
}

TEST_F(TextCacheTest, placeThatCannotBeWrittenIsNoFailure)
{
    TextCache cache("/proc/none/text");
    cache.store(key(1), kEnglish, "text");
    EXPECT_EQ(cache.find(key(1), kEnglish), std::nullopt);
}
