#include "Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace Zovi::ServiceKit
{

namespace
{

const std::string WHOLE_TEXTS[] = {
    "",
    "a",
    std::string(1, '\0'),
    "\x7F",
    "\xC2\x80",
    "\xDF\xBF",
    "\xE0\xA0\x80",
    "\xEC\xBF\xBF",
    "\xED\x9F\xBF",
    "\xEE\x80\x80",
    "\xEF\xBF\xBF",
    "\xF0\x90\x80\x80",
    "\xF3\xBF\xBF\xBF",
    "\xF4\x8F\xBF\xBF",
    "gr\xC3\xBC\xC3\x9F",
};

const std::string BROKEN_TEXTS[] = {
    "\x80",
    "\xBF",
    "\xC0\x80",
    "\xC1\xBF",
    "\xC2\x41",
    "\xC2\xC2",
    "\xE0\x9F\xBF",
    "\xE1\x7F\x80",
    "\xE1\x80\x7F",
    "\xED\xA0\x80",
    "\xF0\x8F\xBF\xBF",
    "\xF4\x90\x80\x80",
    "\xF5\x80\x80\x80",
    "\xFE",
    "\xFF",
    "a\x80z",
};

const std::string CUT_TEXTS[] = {"\xC2", "\xE0", "\xE0\xA0", "\xF0", "\xF0\x90", "\xF0\x90\x80", "ab\xE2"};

} // namespace

TEST(Utf8Validator, AcceptsWholeText)
{
    for (const std::string& text : WHOLE_TEXTS) {
        SCOPED_TRACE(text);
        Utf8Validator validator;
        EXPECT_TRUE(validator.accept(text));
        EXPECT_TRUE(validator.isComplete());
    }
}

TEST(Utf8Validator, RefusesBrokenTextForGood)
{
    for (const std::string& text : BROKEN_TEXTS) {
        SCOPED_TRACE(text);
        Utf8Validator validator;
        EXPECT_FALSE(validator.accept(text));
        EXPECT_FALSE(validator.isComplete());
        EXPECT_FALSE(validator.accept("a"));
        EXPECT_FALSE(validator.isComplete());
    }
}

TEST(Utf8Validator, WaitsForTheRestOfACharacter)
{
    for (const std::string& text : CUT_TEXTS) {
        SCOPED_TRACE(text);
        Utf8Validator validator;
        EXPECT_TRUE(validator.accept(text));
        EXPECT_FALSE(validator.isComplete());
    }
}

TEST(Utf8Validator, TakesTextByteByByte)
{
    for (const std::string& text : WHOLE_TEXTS) {
        SCOPED_TRACE(text);
        Utf8Validator validator;
        for (const char byte : text)
            EXPECT_TRUE(validator.accept({&byte, 1}));
        EXPECT_TRUE(validator.isComplete());
    }
}

TEST(CharacterLength, TellsTheLengthOfTheFirstCharacterAlone)
{
    EXPECT_EQ(characterLength("ab"), 1u);
    EXPECT_EQ(characterLength("\xC3\xBC\x80"), 2u);
    EXPECT_EQ(characterLength("\xE2\x82\xAC\xFF"), 3u);
    EXPECT_EQ(characterLength("\xF0\x9F\x8D\x93z"), 4u);
    for (const std::string& text : CUT_TEXTS)
        EXPECT_EQ(characterLength(text.substr(text[0] == 'a' ? 2 : 0)), 0u) << text;
    EXPECT_EQ(characterLength("\x80"), 0u);
}

} // namespace Zovi::ServiceKit
