#include "library/text/scripts.h"

#include <gmock/gmock.h>

using namespace korv;

TEST(Scripts, wideCharactersAreThoseOfEastAsia)
{
    for (const char32_t wide : {U'中', U'。', U'，', U'あ', U'한', U'Ａ', char32_t{0x20000}})
        EXPECT_TRUE(isWideCharacter(wide)) << static_cast<unsigned>(wide);
    for (const char32_t narrow : {U'a', U'é', U'Ж', U'…', U'5', char32_t{0xFF61}})
        EXPECT_FALSE(isWideCharacter(narrow)) << static_cast<unsigned>(narrow);
}

TEST(Scripts, onlyChineseAndJapaneseMeetWithoutSpaces)
{
    EXPECT_TRUE(isWrittenWithoutSpaces("文档", "相机"));
    EXPECT_TRUE(isWrittenWithoutSpaces("相机", "。"));
    EXPECT_FALSE(isWrittenWithoutSpaces("the", "fox"));
    EXPECT_FALSE(isWrittenWithoutSpaces("使用", "Tesseract"));
    EXPECT_FALSE(isWrittenWithoutSpaces("한국", "한국"));
}

TEST(Scripts, charactersBeyondTheFirstPlaneAreOne)
{
    EXPECT_EQ(charactersOf("a\xF0\xA0\x80\x80中"), (std::u32string{U'a', 0x20000, U'中'}));
}
