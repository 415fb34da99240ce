#include "file_rules.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace KivHost {
namespace {

struct PatternCase {
    const char* pattern;
    const char* path;
    bool matches;
};

TEST(FileRules, PatternsMatchByTheirTable) {
    const PatternCase cases[] = {
        {"a.tx", "a.tx", true},
        {"a.tx", "a.txt", false},
        {"a.tx", "maps/a.tx", true},
        {"*.tx", "maps/deep/a.tx", true},
        {"*", "maps/a.tx", true},
        {"a*b*c", "axxbxbyc", true},
        {"a*b*c", "axxbxby", false},
        {"?.tx", "a.tx", true},
        {"?.tx", "\xC3\xA9.tx", true},
        {"??.tx", "\xC3\xA9.tx", false},
        {"?.tx", ".tx", false},
        {"maps/*.tx", "maps/a.tx", true},
        {"maps/*.tx", "maps/deep/a.tx", false},
        {"maps/*.tx", "more/maps/a.tx", false},
        {"maps/**", "maps/deep/a.tx", true},
        {"maps/**.tx", "maps/deep/a.tx", true},
        {"maps/**", "maps", false},
        {"maps?a.tx", "maps/a.tx", false},
        {"m?ps/a.tx", "maps/a.tx", true},
        {"/a.tx", "a.tx", true},
        {"/a.tx", "maps/a.tx", false},
        {"", "a.tx", false},
    };
    for (const PatternCase& c : cases) {
        EXPECT_EQ(matchesPattern(c.pattern, c.path), c.matches) << c.pattern << " on " << c.path;
    }
}

TEST(FileRules, ManyStarsEndAtOnce) {
    std::string pattern;
    for (int count = 0; count < 60; ++count) {
        pattern += "*a";
    }
    EXPECT_FALSE(matchesPattern(pattern + "b", std::string(5000, 'a')));
}

TEST(FileRules, FirstMatchWinsAndTheRestGetsTheFallback) {
    FileRules rules("always");
    rules.add("maps/keep.tx=none");
    rules.add("maps/**=missing");
    rules.add("name=with=equals=none");
    EXPECT_EQ(rules.ruleFor("maps/keep.tx"), "none");
    EXPECT_EQ(rules.ruleFor("maps/other.tx"), "missing");
    EXPECT_EQ(rules.ruleFor("readme.txt"), "always");
    EXPECT_EQ(rules.unusedPatterns(), std::vector<std::string>{"name=with=equals"});
}

TEST(FileRules, WhatIsNoRuleIsRefused) {
    FileRules rules("always");
    for (const char* text : {"", "always", "=always", "*.tx=", "*.tx=Always", "*.tx=sometimes"}) {
        EXPECT_THROW(rules.add(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace KivHost
