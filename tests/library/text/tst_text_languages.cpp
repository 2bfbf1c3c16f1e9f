#include "library/text/text_languages.h"

#include <gmock/gmock.h>

using namespace korv;

TEST(TextLanguages, areListedInTheirOrder)
{
    EXPECT_THAT(TextLanguages{"chi_sim+eng"}.list(), testing::ElementsAre("chi_sim", "eng"));
    EXPECT_THAT(TextLanguages{"deu"}.list(), testing::ElementsAre("deu"));
    EXPECT_TRUE(TextLanguages{}.list().empty());
}

TEST(TextLanguages, firstOneSaysWhereLinesBegin)
{
    EXPECT_TRUE(areWrittenFromRight({"ara"}));
    EXPECT_TRUE(areWrittenFromRight({"heb+eng"}));
    EXPECT_FALSE(areWrittenFromRight({"eng+heb"}));
    EXPECT_FALSE(areWrittenFromRight({"chi_sim"}));
    EXPECT_FALSE(areWrittenFromRight({}));
}

TEST(TextLanguages, onlyNamesAreAccepted)
{
    for (const char *good : {"eng", "chi_sim+eng", "script1+Latin"})
        EXPECT_TRUE(areLanguageNames(good)) << good;
    for (const char *bad :
         {"", "+", "eng+", "+eng", "eng++deu", "eng deu", "../eng", "eng;ls", "-l"})
        EXPECT_FALSE(areLanguageNames(bad)) << bad;
    EXPECT_FALSE(areLanguageNames(std::string(1000, 'a')));
}

TEST(TextLanguages, documentIsInTheFirstOne)
{
    EXPECT_EQ(documentLanguage({"chi_sim+eng"}), "zh-Hans");
    EXPECT_EQ(documentLanguage({"eng+chi_sim"}), "en");
    EXPECT_EQ(documentLanguage({"osd"}), "");
    EXPECT_EQ(documentLanguage({}), "");
}
