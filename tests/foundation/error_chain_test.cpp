#include "foundation/error_chain.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "foundation/texts.h"

namespace Brelt {
namespace {

using TestSupport::printed;

const std::string full = "[f] -1: one | [g] 5: two";

ErrorChain twoNodes() {
    ErrorChain chain = ErrorChain::make("g", 5, "%s", "two");
    chain.push("f", -1, "%s", "one");
    return chain;
}

TEST(ErrorChain, ReadsFromTheOutermostContextDown) {
    const ErrorChain chain = twoNodes();
    EXPECT_TRUE(chain);
    EXPECT_EQ(printed(chain), full);
    const std::pair<std::int32_t, std::int32_t> codes[] = {{0, -1}, {1, 5}, {2, 0}, {-1, 0}};
    for (const auto& [index, code] : codes) {
        EXPECT_EQ(chain.codeAt(index), code);
        EXPECT_EQ(ErrorChain().codeAt(index), 0);
    }
    EXPECT_EQ(printed(ErrorChain()), "No error");
}

TEST(ErrorChain, PartsThatAreMissingAreLeftOut) {
    const char* const noFormat = nullptr;
    ErrorChain chain;
    chain.push("g", 0, noFormat);
    EXPECT_EQ(chain.head()->next, nullptr);
    EXPECT_EQ(printed(chain), "[g] 0");
    chain.push(nullptr, -2147483647, "why");
    EXPECT_EQ(printed(chain), "-2147483647: why | [g] 0");
    char buffer[100];
    chain.print(buffer, sizeof(buffer));
    EXPECT_STREQ(buffer, "-2147483647: why | [g] 0");
}

TEST(ErrorChain, MessageIsCutBehind510Characters) {
    const std::string text(600, 'x');
    const ErrorChain chain = ErrorChain::make("f", 1, "%s", text.c_str());
    EXPECT_EQ(chain.head()->message, text.substr(0, 510));
    EXPECT_EQ(printed(chain), "[f] 1: " + text.substr(0, 510));
}

TEST(ErrorChain, PrintIsCutAtTheEndOfThePieceThatFits) {
    // The size, and how much of the text it holds.
    const std::pair<std::int32_t, std::size_t> rows[] = {
        {1, 0},   {3, 0},   {4, 3},   {5, 4},   {10, 4},  {11, 10}, {12, 11}, {13, 12}, {14, 13},
        {15, 14}, {17, 14}, {18, 17}, {19, 18}, {23, 18}, {24, 23}, {25, 24}, {100, 24}};
    for (const auto& [size, length] : rows) {
        std::string buffer(101, '#');
        twoNodes().print(buffer.data(), size);
        EXPECT_EQ(buffer.c_str(), full.substr(0, length)) << size;
        EXPECT_EQ(buffer[static_cast<std::size_t>(size)], '#') << size;
    }
    char word[4] = "##";
    twoNodes().print(word, -1);
    ErrorChain().print(word, 0);
    EXPECT_STREQ(word, "##");
    ErrorChain().print(word, 3);
    EXPECT_STREQ(word, "No");
}

TEST(ErrorChain, PushOnACopyLeavesTheOriginalInEitherOrderOfRelease) {
    for (const bool originalDiesFirst : {true, false}) {
        ErrorChain original = twoNodes();
        ErrorChain copy = original;
        copy.push("h", -1, "three");
        EXPECT_EQ(printed(original), full);
        EXPECT_EQ(copy.head()->next, original.head());
        EXPECT_EQ(original.head()->refCount, 2);
        (originalDiesFirst ? original : copy) = ErrorChain();
        EXPECT_EQ(printed(originalDiesFirst ? copy : original),
                  originalDiesFirst ? "[h] -1: three | " + full : full);
    }
    ErrorChain a = twoNodes();
    ErrorChain b(a);
    b = a;
    EXPECT_EQ(a.head()->refCount, 2);
    b = std::move(a);
    EXPECT_EQ(b.head()->refCount, 1);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): a moved chain is the empty one
}

TEST(ErrorChain, NodesAreReleasedByTheirOwnFunctionOnceNobodyReachesThem) {
    static int releases;
    releases = 0;
    {
        // As another module makes it; the chain is one pointer.
        const auto release = [](void* node) {
            ++releases;
            std::free(node);
        };
        auto* node = new (std::malloc(sizeof(ErrorNode)))
            ErrorNode{"tail", "from afar", 7, nullptr, release, 1};
        ErrorChain tail;
        std::memcpy(static_cast<void*>(&tail), &node, sizeof(tail));
        {
            ErrorChain left = tail;
            left.push("left", -1, "context");
            const ErrorChain right = left;
            EXPECT_EQ(printed(right), "[left] -1: context | [tail] 7: from afar");
        }
        EXPECT_EQ(releases, 0);
        EXPECT_EQ(tail.head()->refCount, 1);
    }
    EXPECT_EQ(releases, 1);
}

TEST(OsErrorText, BeginsWithTheCodeAndKeepsTheLineEnd) {
    EXPECT_EQ(getOsErrorText(0).holder(), nullptr);
    const std::string denied = getOsErrorText(5).cstr();
    EXPECT_TRUE(denied.starts_with("(5) ") && denied.ends_with("\r\n")) << denied;
    EXPECT_GT(denied.size(), 6U);
    EXPECT_STREQ(getOsErrorText(0xDEADBEEF).cstr(), "(3735928559) ");
}

}  // namespace
}  // namespace Brelt
