#include "publishing_fixture.h"

#include <algorithm>
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
    const PublishResult result = publishWith({}, rules);

    const Json::Value root = list();
    ASSERT_EQ(root.size(), 3U);
    EXPECT_EQ(root[0]["path"].asString(), "maps/a.tx");
    EXPECT_EQ(root[0]["size"].asInt64(), 9);
    EXPECT_EQ(root[0]["jpegSize"].asInt64(), 5);
    EXPECT_EQ(root[0]["download"].asString(), "always");
    EXPECT_EQ(root[1]["path"].asString(), "maps/plain.tx");
    EXPECT_EQ(root[1]["download"].asString(), "missing");
    EXPECT_FALSE(root[1].isMember("jpegSize"));
    EXPECT_EQ(root[2]["size"].asInt64(), 0);
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
    EXPECT_EQ(listedNames(), (std::vector<std::string>{"lone.jpeg.tx", "twice.jpeg.jpeg.tx",
                                                       "twice.tx", "void.jpeg.tx", "void.tx"}));
}

TEST_F(Publishing, OwnFilesAreNeverListed) {
    tree.write("a.tx", "x");
    tree.write("id.txt.kivpublish-tmp", "left by a killed run");
    tree.write("part/id.txt", "stamp of a library below");
    tree.write("part/filelist.json", "[]");
    tree.write("docs/id.txt", "an ordinary file");
    publishWith();
    publishWith();
    EXPECT_EQ(listedNames(), (std::vector<std::string>{"a.tx", "docs/id.txt"}));
}

TEST_F(Publishing, TheStampFollowsContentNamesAndRules) {
    tree.write("a.tx", "one");
    tree.write("b.tx", "two");
    const std::string first = publishWith().stamp;
    EXPECT_EQ(first.size(), 65U);
    EXPECT_EQ(publishWith().stamp, first);

    tree.write("a.tx", "One");
    const std::string changed = publishWith().stamp;
    EXPECT_NE(changed, first);
    tree.write("a.tx", "one");
    EXPECT_EQ(publishWith().stamp, first);

    EXPECT_NE(publishWith({}, FileRules("missing")).stamp, first);
    std::filesystem::rename(tree.path() / "b.tx", tree.path() / "c.tx");
    EXPECT_NE(publishWith().stamp, first);
}

TEST_F(Publishing, AGivenStampIsWrittenAsItIs) {
    tree.write("a.tx", "x");
    PublishRequest request;
    request.stamp = "release 7";
    publishWith(request);
    EXPECT_EQ(tree.read("id.txt"), "release 7");
    request.stamp = "";
    EXPECT_THROW(publishWith(request), std::runtime_error);
    EXPECT_EQ(tree.read("id.txt"), "release 7");
}

TEST_F(Publishing, ASubPathListsItsFilesByNamesFromTheRoot) {
    tree.write("a.tx", "outside");
    tree.write("beta/maps/b.tx", "inside");
    PublishRequest request;
    request.subPath = "beta";
    publishWith(request);
    const Json::Value root = list("beta/filelist.json");
    ASSERT_EQ(root.size(), 1U);
    EXPECT_EQ(root[0]["path"].asString(), "beta/maps/b.tx");
    EXPECT_NE(tree.read("beta/id.txt"), "");
    EXPECT_FALSE(tree.exists("id.txt"));
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
