#include "foundation/error_chain.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace Brelt {
namespace {

const char* const full = "[f] -1: one | [g] 5: two";

ErrorChain twoNodes() {
    ErrorChain chain = ErrorChain::make("g", 5, "%s", "two");
    chain.push("f", -1, "%s", "one");
    return chain;
}

TEST(ErrorChain, ReadsFromTheOutermostContextDown) {
    const ErrorChain chain = twoNodes();
    EXPECT_TRUE(chain);
    EXPECT_STREQ(chain.toCharString().cstr(), full);
    EXPECT_EQ(chain.codeAt(0), -1);
    EXPECT_EQ(chain.codeAt(1), 5);
    EXPECT_EQ(chain.codeAt(2), 0);
    EXPECT_EQ(chain.codeAt(-1), 0);
    EXPECT_EQ(ErrorChain().codeAt(0), 0);
    EXPECT_STREQ(ErrorChain().toCharString().cstr(), "No error");
}

TEST(ErrorChain, PartsThatAreMissingAreLeftOut) {
    const char* const noFormat = nullptr;
    ErrorChain chain;
    chain.push("g", 0, noFormat);
    EXPECT_EQ(chain.head()->next, nullptr);
    EXPECT_STREQ(chain.toCharString().cstr(), "[g] 0");
    chain.push(nullptr, -2147483647, "why");
    EXPECT_STREQ(chain.toCharString().cstr(), "-2147483647: why | [g] 0");
    char buffer[100];
    chain.print(buffer, sizeof(buffer));
    EXPECT_STREQ(buffer, "-2147483647: why | [g] 0");
}

TEST(ErrorChain, MessageIsCutBehind510Characters) {
    const std::string text(600, 'x');
    const ErrorChain chain = ErrorChain::make("f", 1, "%s", text.c_str());
    EXPECT_EQ(chain.head()->message, text.substr(0, 510));
    EXPECT_EQ(chain.toCharString(), ("[f] 1: " + text.substr(0, 510)).c_str());
}

TEST(ErrorChain, PrintIsCutAtTheEndOfThePieceThatFits) {
    const struct {
        std::int32_t size;
        const char* text;
    } cases[] = {
        {-1, "####"},
        {0, "####"},
        {1, ""},
        {3, ""},
        {4, "[f]"},
        {5, "[f] "},
        {10, "[f] "},
        {11, "[f] -1: on"},
        {12, "[f] -1: one"},
        {13, "[f] -1: one "},
        {14, "[f] -1: one |"},
        {15, "[f] -1: one | "},
        {17, "[f] -1: one | "},
        {18, "[f] -1: one | [g]"},
        {19, "[f] -1: one | [g] "},
        {23, "[f] -1: one | [g] "},
        {24, "[f] -1: one | [g] 5: tw"},
        {25, full},
        {100, full},
    };
    const ErrorChain chain = twoNodes();
    for (const auto& c : cases) {
        std::string buffer(101, '#');
        chain.print(buffer.data(), c.size);
        EXPECT_EQ(buffer.substr(0, std::strlen(c.text)), c.text) << c.size;
        if (c.size >= 1) {
            EXPECT_EQ(buffer[std::strlen(c.text)], '\0') << c.size;
            EXPECT_EQ(buffer[static_cast<std::size_t>(c.size)], '#') << c.size;
        }
    }
    char word[4] = "##";
    ErrorChain().print(word, 3);
    EXPECT_STREQ(word, "No");
    ErrorChain().print(word, 0);
    EXPECT_STREQ(word, "No");
}

TEST(ErrorChain, PushOnACopyLeavesTheOriginalInEitherOrderOfRelease) {
    for (const bool originalDiesFirst : {true, false}) {
        ErrorChain original = twoNodes();
        ErrorChain copy = original;
        copy.push("h", -1, "three");
        EXPECT_STREQ(original.toCharString().cstr(), full);
        EXPECT_EQ(copy.head()->next, original.head());
        EXPECT_EQ(original.head()->refCount, 2);
        ErrorChain& survivor = originalDiesFirst ? copy : original;
        (originalDiesFirst ? original : copy) = ErrorChain();
        EXPECT_STREQ(survivor.toCharString().cstr(),
                     originalDiesFirst ? (std::string("[h] -1: three | ") + full).c_str() : full);
    }
}

TEST(ErrorChain, AssignmentBetweenSharersChangesNothing) {
    ErrorChain a = twoNodes();
    ErrorChain b(a);
    b = a;
    EXPECT_EQ(a.head()->refCount, 2);
    b = std::move(a);
    EXPECT_EQ(b.head()->refCount, 1);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): a moved chain is the empty one
}

/// A node as another module makes it, with a release of its own that counts.
struct ForeignNode {
    static inline int releases = 0;

    static void release(void* node) {
        ++releases;
        std::free(node);
    }

    /// The chain is one pointer.
    static ErrorChain chainOf(const char* function, ErrorNode* next) {
        auto* node = new (std::malloc(sizeof(ErrorNode)))
            ErrorNode{function, "from afar", 7, next, release, 1};
        ErrorChain chain;
        std::memcpy(static_cast<void*>(&chain), &node, sizeof(chain));
        return chain;
    }
};

TEST(ErrorChain, NodesAreReleasedByTheirOwnFunctionOnceNobodyReachesThem) {
    ForeignNode::releases = 0;
    {
        ErrorChain tail = ForeignNode::chainOf("tail", nullptr);
        {
            ErrorChain left = tail;
            left.push("left", -1, "context");
            const ErrorChain right = left;
            EXPECT_STREQ(right.toCharString().cstr(), "[left] -1: context | [tail] 7: from afar");
        }
        EXPECT_EQ(ForeignNode::releases, 0);
        EXPECT_EQ(tail.head()->refCount, 1);
    }
    EXPECT_EQ(ForeignNode::releases, 1);
}

TEST(OsErrorText, BeginsWithTheCodeAndKeepsTheLineEnd) {
    EXPECT_EQ(getOsErrorText(0).holder(), nullptr);
    const std::string denied = getOsErrorText(5).cstr();
    EXPECT_EQ(denied.substr(0, 4), "(5) ");
    EXPECT_GT(denied.size(), 6U);
    EXPECT_EQ(denied.substr(denied.size() - 2), "\r\n");
    EXPECT_STREQ(getOsErrorText(0xDEADBEEF).cstr(), "(3735928559) ");
}

}  // namespace
}  // namespace Brelt
