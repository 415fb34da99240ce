#include "fixtures.h"

#include <filesystem>
#include <stdexcept>

namespace KivHost {
namespace {

TEST_F(Publishing, ListsSizesRulesAndLossyVariants) {
    tree.write("maps/a.tx", "full copy");
    tree.write("maps/a.jpeg.tx", "lossy");
    tree.write("maps/plain.tx", "12345678");
    tree.write("z.txt", "");
    FileRules rules("always");
    rules.add("plain.*=missing");
    const PublishResult result = publishWith(rules);

    EXPECT_EQ(tree.read("filelist.json"),
              R"([
{"download":"always","jpegSize":5,"path":"maps/a.tx","size":9},
{"download":"missing","path":"maps/plain.tx","size":8},
{"download":"always","path":"z.txt","size":0}
]
)");
    EXPECT_EQ(result.files, 3);
    EXPECT_EQ(result.variants, 1);
    EXPECT_EQ(result.bytes, 5 + 8);
    EXPECT_EQ(tree.read("id.txt"), result.stamp);
    EXPECT_TRUE(warnings.empty());
}

TEST_F(Publishing, AVariantNeedsAFullFileAndContent) {
    tree.write("lone.jpeg.tx", "x");
    tree.write("void.tx", "x");
    tree.write("void.jpeg.tx", "");
    tree.write("twice.tx", "x");
    tree.write("twice.jpeg.tx", "x");
    tree.write("twice.jpeg.jpeg.tx", "x");
    publishWith();
    EXPECT_EQ(tree.read("filelist.json"), R"([
{"download":"always","path":"lone.jpeg.tx","size":1},
{"download":"always","path":"twice.jpeg.jpeg.tx","size":1},
{"download":"always","jpegSize":1,"path":"twice.tx","size":1},
{"download":"always","path":"void.jpeg.tx","size":0},
{"download":"always","path":"void.tx","size":1}
]
)");
}

TEST_F(Publishing, OwnFilesAreNeverListed) {
    tree.write("a.tx", "x");
    tree.write("id.txt.kivpublish-tmp", "left by a killed run");
    tree.write("part/id.txt", "stamp of a library below");
    tree.write("part/filelist.json", "[]");
    tree.write("docs/id.txt", "x");
    publishWith();
    publishWith();
    EXPECT_EQ(tree.read("filelist.json"), R"([
{"download":"always","path":"a.tx","size":1},
{"download":"always","path":"docs/id.txt","size":1}
]
)");
}

TEST_F(Publishing, TheStampFollowsContentNamesAndRules) {
    tree.write("a.tx", "one");
    tree.write("b.tx", "two");
    const std::string first = publishWith().stamp;
    EXPECT_EQ(first.size(), 65U);
    EXPECT_EQ(publishWith().stamp, first);

    tree.write("a.tx", "One");
    EXPECT_NE(publishWith().stamp, first);
    tree.write("a.tx", "one");
    EXPECT_EQ(publishWith().stamp, first);

    EXPECT_NE(publishWith(FileRules("missing")).stamp, first);
    std::filesystem::rename(tree.path() / "b.tx", tree.path() / "c.tx");
    EXPECT_NE(publishWith().stamp, first);
}

TEST_F(Publishing, AGivenStampIsWrittenAsItIs) {
    tree.write("a.tx", "x");
    PublishRequest request;
    request.stamp = "release 7";
    publishWith(FileRules("always"), request);
    EXPECT_EQ(tree.read("id.txt"), "release 7");
    request.stamp = "";
    EXPECT_THROW(publishWith(FileRules("always"), request), std::runtime_error);
    EXPECT_EQ(tree.read("id.txt"), "release 7");
}

TEST_F(Publishing, AFailedReplacementKeepsTheOldStamp) {
    tree.write("a.tx", "x");
    const std::string old = publishWith().stamp;
    tree.write("b.tx", "x");
    std::filesystem::remove(tree.path() / "filelist.json");
    std::filesystem::create_directory(tree.path() / "filelist.json");
    EXPECT_THROW(publishWith(), std::runtime_error);
    EXPECT_EQ(tree.read("id.txt"), old);
    EXPECT_FALSE(tree.exists("filelist.json.kivpublish-tmp"));
}

}  // namespace
}  // namespace KivHost
