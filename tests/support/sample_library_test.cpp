// The judges of whole trees, and what they are given to judge.

#include "support/sample_library.h"

#include <gtest/gtest.h>

#include "support/temp_directory.h"

using namespace TestSupport;
using Lines = std::vector<std::string>;

TEST(SampleLibrary, TellsWhatTheServerHasAndWhatARunLeaves) {
    SampleLibrary library;
    library.add("a \"b\"\\c\n", "1").add("n", "22", "never").addLossy("m/x.tx", "333", "j");
    EXPECT_EQ(library.fileList(),
              "[\n{\"path\": \"a \\\"b\\\"\\\\c\\u000a\", \"size\": 1},\n"
              "{\"path\": \"n\", \"download\": \"never\", \"size\": 2},\n"
              "{\"path\": \"m/x.tx\", \"size\": 3, \"jpegSize\": 1}\n]\n");
    EXPECT_EQ(library.served().at("m/x.jpeg.tx"), "j");
    EXPECT_EQ(library.expected(),
              (Tree{{"a \"b\"\\c\n", "1"}, {"id.txt", "stamp 1\n"}, {"m/x.tx", "j"}}));
}

TEST(SampleLibrary, TreesComeBackFromTheDiskAndEachDifferenceIsTold) {
    const TempDirectory directory;
    const SampleLibrary library = SampleLibrary::generated(40, 3000);
    library.writeTo(directory.path() / "lib");
    Tree tree = readTree(directory.path() / "lib");
    EXPECT_EQ(differences(library.served(), tree), Lines{});

    tree.erase("id.txt");
    tree["new"] = "";
    tree["filelist.json"].back() = ' ';
    EXPECT_EQ(differences(library.served(), tree),
              (Lines{"differs: filelist.json", "missing: id.txt", "unexpected: new"}));
    EXPECT_EQ(readTree(directory.path() / "none"), Tree{});
}
