#include "sync/entry_judgement.h"

#include <gtest/gtest.h>

namespace {

struct JudgementCase {
    const char* directory;
    const char* path;
    EntryVerdict verdict;
};

class EntryJudgement : public testing::TestWithParam<JudgementCase> {};

TEST_P(EntryJudgement, PathHasItsVerdict) {
    const auto& [directory, path, verdict] = GetParam();
    EXPECT_EQ(judgeEntry(directory, "/t/lib/id.txt", path, false), verdict) << path;
}

constexpr auto inside = EntryVerdict::Inside;
constexpr auto leaves = EntryVerdict::Leaves;
constexpr auto elsewhere = EntryVerdict::TakenElsewhere;

INSTANTIATE_TEST_SUITE_P(
    Accepted, EntryJudgement,
    testing::Values(JudgementCase{"/t/lib", "/t/lib/a.tx", inside},
                    JudgementCase{"/t/lib", "/t/lib/a/b..c/..d/e", inside},
                    JudgementCase{"/t/lib", "/t/lib", inside}, JudgementCase{"/", "/a", inside},
                    JudgementCase{"//", "//a", inside}, JudgementCase{"C:", "C:/a", inside},
                    JudgementCase{"C:/", "C:/a", inside}, JudgementCase{".", "./a", inside},
                    JudgementCase{"", "/a", inside},
                    JudgementCase{"/t/lib", "/t/lib/console/nulls/com/lpt10/aux1", inside}));

INSTANTIATE_TEST_SUITE_P(
    Refused, EntryJudgement,
    testing::Values(JudgementCase{"/t/lib", "/t/a", leaves},
                    JudgementCase{"/t/lib", "/t/library/a", leaves},
                    JudgementCase{"/t/lib", "/t/li", leaves}, JudgementCase{"/t/lib", "/", leaves},
                    JudgementCase{"/t/lib", "/t/lib/../a", leaves},
                    JudgementCase{"/t/lib", "/t/lib/a/..", leaves},
                    JudgementCase{"/t/lib", "/t/lib/a/../b", leaves},
                    JudgementCase{".", "../a", leaves},
                    JudgementCase{"/t/lib", "", EntryVerdict::Unusable},
                    JudgementCase{"/t/lib", "/t/lib/id.txt", EntryVerdict::Stamp}));

INSTANTIATE_TEST_SUITE_P(TakenElsewhereByWindows, EntryJudgement,
                         testing::Values(JudgementCase{"/t/lib", "/t/lib/a:b", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/a./b", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/a ", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/...", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/id.txt.", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/NUL", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/x/nul.tar.gz", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/aux /b", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/con .txt", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/Com1", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/lpt9.x", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/COM\xC2\xB2", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/CONOUT$", elsewhere},
                                         JudgementCase{"/t/lib", "/t/lib/nul/..", leaves}));

TEST(EntryJudgement, StampIsKnownInAnyCaseWhereTheFileSystemIgnoresIt) {
    EXPECT_EQ(judgeEntry("/t", "/t/id.txt", "/t/ID.Txt", true), EntryVerdict::Stamp);
    EXPECT_EQ(judgeEntry("/t", "/t/id.txt", "/t/ID.Txt", false), EntryVerdict::Inside);
    EXPECT_EQ(judgeEntry("/t", "/t/sub/id.txt", "/t/id.txt", true), EntryVerdict::Inside);
}

}  // namespace
