#include "sync/entry_judgement.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

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
