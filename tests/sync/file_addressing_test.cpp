// The addresses that are made of an entry's name, and whether the local one may be written.

#include <gtest/gtest.h>

#include <vector>

#include "interface/downloader_impl.h"
#include "sync/entry_judgement.h"

namespace {

constexpr struct {
    const char* base;
    const char* name;
    std::int32_t forRequest;
    const char* expected;
} addresses[] = {
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
    for (const auto& example : addresses) {
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

using enum EntryVerdict;

TEST(EntryJudgement, PathHasItsVerdict) {
    const struct {
        EntryVerdict verdict;
        const char* directory;
        std::vector<const char*> paths;
    } cases[] = {
        {Inside, "/t/lib", {"/t/lib", "/t/lib/a.tx", "/t/lib/a/b..c/..d/e"}},
        {Inside, "/t/lib", {"/t/lib/console/nulls/com/lpt10/aux1"}},
        {Inside, "/", {"/a"}},
        {Inside, "//", {"//a"}},
        {Inside, "C:", {"C:/a"}},
        {Inside, "C:/", {"C:/a"}},
        {Inside, ".", {"./a"}},
        {Inside, "", {"/a"}},
        {Leaves, "/t/lib", {"/t/a", "/t/library/a", "/t/li", "/"}},
        {Leaves, "/t/lib", {"/t/lib/../a", "/t/lib/a/..", "/t/lib/a/../b", "/t/lib/nul/.."}},
        {Leaves, ".", {"../a"}},
        {Unusable, "/t/lib", {""}},
        {Stamp, "/t/lib", {"/t/lib/id.txt"}},
        // Only Windows takes these elsewhere.
        {TakenElsewhere, "/t/lib", {"/t/lib/a:b", "/t/lib/a./b", "/t/lib/a ", "/t/lib/..."}},
        {TakenElsewhere, "/t/lib", {"/t/lib/id.txt.", "/t/lib/NUL", "/t/lib/x/nul.tar.gz"}},
        {TakenElsewhere, "/t/lib", {"/t/lib/aux /b", "/t/lib/con .txt", "/t/lib/Com1"}},
        {TakenElsewhere, "/t/lib", {"/t/lib/lpt9.x", "/t/lib/COM\xC2\xB2", "/t/lib/CONOUT$"}},
    };
    for (const auto& [verdict, directory, paths] : cases) {
        for (const char* path : paths) {
            EXPECT_EQ(judgeEntry(directory, "/t/lib/id.txt", path, false), verdict)
                << path << " in " << directory;
        }
    }
}

TEST(EntryJudgement, StampIsKnownInAnyCaseWhereTheFileSystemIgnoresIt) {
    EXPECT_EQ(judgeEntry("/t", "/t/id.txt", "/t/ID.Txt", true), Stamp);
    EXPECT_EQ(judgeEntry("/t", "/t/id.txt", "/t/ID.Txt", false), Inside);
    EXPECT_EQ(judgeEntry("/t", "/t/sub/id.txt", "/t/id.txt", true), Inside);
}

}  // namespace
