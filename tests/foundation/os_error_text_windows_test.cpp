// The texts of Windows for its codes, in English whatever the user's language.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "foundation/error_chain.h"

TEST(OsErrorTextOfWindows, EachCodeThatRunsMeetHasAnEnglishSentence) {
    for (const std::uint32_t code : {2U, 3U, 4U, 5U, 6U, 19U, 32U, 80U, 112U, 123U, 131U, 183U}) {
        const std::string text = Brelt::getOsErrorText(code).cstr();
        const std::string prefix = "(" + std::to_string(code) + ") ";
        ASSERT_TRUE(text.starts_with(prefix)) << text;
        const std::string sentence = text.substr(prefix.size());
        EXPECT_TRUE(sentence.ends_with(".\r\n")) << text;
        EXPECT_TRUE(std::all_of(sentence.begin(), sentence.end(), [](char c) {
            return static_cast<unsigned char>(c) < 128;
        })) << text;
    }
}

TEST(OsErrorTextOfWindows, PlaceholdersOfATextStay) {
    // "%1 is not a valid Win32 application."
    const std::string text = Brelt::getOsErrorText(193).cstr();
    EXPECT_NE(text.find("%1"), std::string::npos) << text;
}
