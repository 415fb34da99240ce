// Publishing what only a POSIX file system holds: links, and names that Windows can't have.

#include "publishing_fixture.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace KivHost {
namespace {

TEST_F(Publishing, NamesOutsideUtf8StopBeforeAnythingIsWritten) {
    tree.write("bad\xFF.tx", "x");
    EXPECT_THROW(publishWith(), std::runtime_error);
    EXPECT_FALSE(tree.exists("filelist.json"));
}

TEST_F(Publishing, WhatIsLeftOutOrTroublesReadersIsTold) {
    tree.write("maps/a.tx", "x");
    tree.write("maps/A.tx", "x");
    tree.write("nul.tx", "x");
    std::filesystem::create_directory_symlink("maps", tree.path() / "linked");
    std::filesystem::create_symlink("nowhere", tree.path() / "dangling");
    FileRules rules("always");
    rules.add("*.png=none");
    publishWith({}, rules);
    EXPECT_EQ(listedNames(), (std::vector<std::string>{"maps/A.tx", "maps/a.tx", "nul.tx"}));
    for (const char* word : {"linked", "dangling", "nul.tx", "one file", "*.png"}) {
        EXPECT_TRUE(std::ranges::any_of(warnings, [&](const std::string& warning) {
            return warning.find(word) != std::string::npos;
        })) << word;
    }
    EXPECT_EQ(warnings.size(), 5U);
}

}  // namespace
}  // namespace KivHost
