#include "text.h"

#include <gtest/gtest.h>

#include <string>

#include "name_checks.h"

namespace KivHost {
namespace {

TEST(HostText, SoundAndUnsoundUtf8AreToldApart) {
    for (const char* sound : {"", "plain", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x8E\xA8",
                              "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(isUtf8(sound)) << sound;
    }
    for (const char* unsound :
         {"\x80", "a\xC3", "\xC3(", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
          "\xF8\x88\x80\x80\x80", "\xFF", "\xE2\x82"}) {
        EXPECT_FALSE(isUtf8(unsound)) << printable(unsound);
    }
}

TEST(HostText, NothingThatATerminalObeysIsPrintable) {
    EXPECT_EQ(printable("maps/\xC3\xA9 b.tx"), "maps/\xC3\xA9 b.tx");
    EXPECT_EQ(printable("\x1B[31mred\r\n\t\x7F"), "\\x1b[31mred\\x0d\\x0a\\x09\\x7f");
    EXPECT_EQ(printable("\xC2\x9B"
                        "2J \xC2\xA0"),
              "\\xc2\\x9b2J \xC2\xA0");
    EXPECT_EQ(printable("a\xFF\xC3"), "a\\xff\\xc3");
}

TEST(HostText, PathsKeepTheirBytes) {
    EXPECT_EQ(pathToText(textToPath("maps/\xC3\xA9 b.tx")), "maps/\xC3\xA9 b.tx");
}

TEST(NameChecks, NamesThatNoListCanHold) {
    EXPECT_EQ(reasonAgainstName("maps/\xC3\xA9 b:?.tx"), "");
    EXPECT_NE(reasonAgainstName("maps/\xFF.tx"), "");
    EXPECT_NE(reasonAgainstName("maps\\a.tx"), "");
}

TEST(NameChecks, NamesThatWindowsTakesElsewhere) {
    for (const char* name : {"a.tx", "maps/con-fusion.tx", "common/com10", "nully/x", "lpt/com",
                             "sub/ID.TXT", "id.txt", ".hidden", "a b"}) {
        EXPECT_TRUE(troublesOfName(name).empty()) << name;
    }
    for (const char* name :
         {"nul", "maps/CON.tx", "Aux.a.b", "com1/x.tx", "LPT9 .tx", "com\xC2\xB9.tx", "conin$",
          "a:b", "maps./a.tx", "a ", "a/b ./c", "what?.tx", "a\tb", "ID.TXT"}) {
        EXPECT_EQ(troublesOfName(name).size(), 1U) << name;
    }
    EXPECT_EQ(troublesOfName(std::string(201, 'n')).size(), 1U);
}

}  // namespace
}  // namespace KivHost
