#include <gtest/gtest.h>

#include "interface/downloader_impl.h"

namespace {

constexpr struct {
    const char* base;
    const char* name;
    std::int32_t forRequest;
    const char* expected;
} cases[] = {
    // Local paths: one kind of separator, dot segments resolved.
    {"C:\\lib", "maps/a.tx", 0, "C:/lib/maps/a.tx"},
    {"C:\\lib", "maps\\a.tx", 0, "C:/lib/maps/a.tx"},
    {"C:\\lib", "maps//./a.tx", 0, "C:/lib/maps/a.tx"},
    {"C:\\lib", "maps/x/../a.tx", 0, "C:/lib/maps/a.tx"},
    {"C:\\lib", "../x.tx", 0, "C:/x.tx"},
    {"C:\\lib", "../../x.tx", 0, "C:/x.tx"},
    {"C:\\lib", nullptr, 0, "C:/lib"},
    {"C:\\lib", "", 0, "C:/lib"},
    {"C:\\lib\\", "a.tx", 0, "C:/lib/a.tx"},
    {nullptr, "a.tx", 0, "/a.tx"},
    {"", "a.tx", 0, "/a.tx"},
    {".", "a.tx", 0, "./a.tx"},
    {"\\\\srv\\share", "a.tx", 0, "//srv/share/a.tx"},
    // A base that isn't rooted can be climbed out of, which is refused.
    {"..", "a.tx", 0, ""},
    {"../x", "a.tx", 0, ""},
    {"/p", "..", 1, ""},
    // Request targets: the base is encoded with the rest.
    {"/kivlib", "filelist.json", 1, "/kivlib/filelist.json"},
    {"/kivlib/", "filelist.json", 1, "/kivlib/filelist.json"},
    {"/", "filelist.json", 1, "//filelist.json"},
    {nullptr, "a b.tx", 1, "/a%20b.tx"},
    {"", "a b.tx", 1, "/a%20b.tx"},
    {"/base", "a?b#c%d+e.tx", 1, "/base/a%3Fb%23c%25d%2Be.tx"},
    {"", "\xC3\xA9.tx", 1, "/%C3%A9.tx"},
    {"", "a:b@[`{|}~_-.\x01\x7F", 1, "/a%3Ab%40%5B%60%7B%7C%7D~_-.%01%7F"},
};

TEST(FileAddressing, NameBecomesLocalPathOrRequestTarget) {
    for (const auto& example : cases) {
        DownloaderParams params;
        DownloaderImpl downloader(nullptr, &params);
        params.targetDirectory = example.forRequest != 0 ? "elsewhere" : example.base;
        downloader.remotePath = example.forRequest != 0 ? example.base : "elsewhere";
        EXPECT_STREQ(downloader.getFilePath(example.name, example.forRequest).ptr(),
                     example.expected)
            << "base " << (example.base == nullptr ? "null" : example.base) << ", name "
            << (example.name == nullptr ? "null" : example.name);
    }
}

TEST(FileAddressing, EveryByteThatIsNotUnreservedIsEncoded) {
    DownloaderParams params;
    DownloaderImpl downloader(nullptr, &params);
    int unencoded = 0;
    for (int byte = 1; byte < 256; ++byte) {
        const char name[] = {'x', static_cast<char>(byte), 'x', '\0'};
        const Brelt::CharString target = downloader.getFilePath(name, 1);
        char expected[16];
        std::snprintf(expected, sizeof(expected), "/x%%%02Xx", static_cast<unsigned>(byte));
        if (!(target == expected)) {
            ++unencoded;
            EXPECT_EQ(target.length(), 4) << byte;
        }
    }
    // 66 unreserved ones, and the two separators.
    EXPECT_EQ(unencoded, 68);
}

}  // namespace
