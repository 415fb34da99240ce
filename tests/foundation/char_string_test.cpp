#include "foundation/char_string.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace Brelt {
namespace {

TEST(CharString, NullAndEmptyAreDifferentStates) {
    const CharString null(nullptr);
    const CharString empty("");
    EXPECT_EQ(null.holder(), nullptr);
    EXPECT_EQ(null.ptr(), nullptr);
    EXPECT_STREQ(empty.ptr(), "");
    for (const CharString* text : {&null, &empty}) {
        EXPECT_TRUE(text->isEmpty());
        EXPECT_EQ(text->length(), 0);
        EXPECT_STREQ(text->cstr(), "");
    }
    EXPECT_FALSE(null == "");
    EXPECT_TRUE(null == nullptr);
    EXPECT_FALSE(empty == nullptr);
    EXPECT_TRUE(empty == "");
    EXPECT_FALSE(CharString("a") == "A");
    EXPECT_EQ(CharString("abc", 0).holder(), nullptr);
    EXPECT_EQ(CharString(nullptr, 3).holder(), nullptr);
}

TEST(CharString, AssignTakesTextsLengthsAndNull) {
    CharString text("abc");
    const char* const buffer = text.ptr();
    text.assign(buffer);
    EXPECT_EQ(text.ptr(), buffer);
    text.assign("abc\0def", 7);
    EXPECT_STREQ(text.ptr(), "abc");
    text.assign("defgh", 2);
    EXPECT_STREQ(text.ptr(), "de");
    text.assign("x", 0);
    EXPECT_EQ(text.holder(), nullptr);
    text.assign("x");
    text.assign(nullptr);
    EXPECT_EQ(text.holder(), nullptr);
}

TEST(CharString, ChangingACopyLeavesTheSource) {
    const CharString source("Abc");
    const char* const buffer = source.ptr();
    using Change = void (*)(CharString&);
    const struct {
        Change change;
        const char* result;
    } cases[] = {
        {[](CharString& text) { text.assign("x"); }, "x"},
        {[](CharString& text) { text.assign("xyz", 2); }, "xy"},
        {[](CharString& text) { text.append("def"); }, "Abcdef"},
        {[](CharString& text) { text.append('d'); }, "Abcd"},
        {[](CharString& text) { text.append(text.ptr()); }, "AbcAbc"},
        {[](CharString& text) { text.assign(text.ptr() + 1); }, "bc"},
        {[](CharString& text) { text.setLength(5); }, "Abc  "},
        {[](CharString& text) { text.setLength(1); }, "A"},
        {[](CharString& text) { text.setLength(0); }, ""},
        {[](CharString& text) { text.toLower(); }, "abc"},
        {[](CharString& text) { text.detach()[0] = 'x'; }, "xbc"},
        {[](CharString& text) { text = text + text; }, "AbcAbc"},
    };
    for (const auto& c : cases) {
        CharString copy(source);
        EXPECT_EQ(source.holder()->refCount, 2);
        c.change(copy);
        EXPECT_STREQ(copy.cstr(), c.result);
        EXPECT_EQ(source.holder()->refCount, 1) << c.result;
        CharString alone("Abc");
        c.change(alone);
        EXPECT_STREQ(alone.cstr(), c.result) << "in place";
        EXPECT_EQ(source.ptr(), buffer);
        EXPECT_STREQ(source.ptr(), "Abc");
    }
}

TEST(CharString, NullHandlesGrowIntoTexts) {
    CharString text;
    EXPECT_EQ(text.detach(), nullptr);
    text.toLower();
    text.append(nullptr);
    text.setLength(-1);
    EXPECT_EQ(text.holder(), nullptr);
    text.append('x');
    EXPECT_STREQ(text.ptr(), "x");
    CharString blank;
    blank.setLength(2);
    EXPECT_STREQ(blank.ptr(), "  ");
    CharString added;
    added.append("ab");
    EXPECT_STREQ(added.ptr(), "ab");
}

TEST(CharString, ConcatenationSharesOrCopies) {
    const CharString a("a");
    const CharString b("b");
    const CharString null;
    EXPECT_STREQ((a + b).ptr(), "ab");
    EXPECT_EQ((a + null).holder(), a.holder());
    EXPECT_STREQ((null + b).ptr(), "b");
    EXPECT_NE((null + b).holder(), b.holder());
    EXPECT_EQ((null + null).holder(), nullptr);
    EXPECT_STREQ(a.ptr(), "a");
}

TEST(CharString, AssignmentAndMoveKeepTheCounts) {
    CharString a("a");
    CharString b(a);
    b = a;
    EXPECT_EQ(a.holder()->refCount, 2);
    b = std::move(a);
    EXPECT_EQ(b.holder()->refCount, 2) << "a move between sharers changes nothing";
    CharString c("c");
    c = std::move(b);
    EXPECT_STREQ(c.ptr(), "a");
    EXPECT_EQ(c.holder()->refCount, 2);
    c.clear();
    c.clear();
    EXPECT_EQ(a.holder()->refCount, 1);  // NOLINT(bugprone-use-after-move): it moved nowhere
}

TEST(CharString, LowersAsciiOnly) {
    CharString text("@AZ[az\xC3\x84");
    text.toLower();
    EXPECT_STREQ(text.ptr(), "@az[az\xC3\x84");
}

TEST(CopyBounded, CutsAndTerminates) {
    const struct {
        const char* source;
        std::int32_t size;
        std::int32_t result;
        const char* text;
    } cases[] = {
        {"abc", -1, 0, "###"}, {"abc", 0, 0, "###"}, {"abc", 1, 1, ""},
        {"abc", 3, 3, "ab"},   {"abc", 9, 4, "abc"}, {"", 9, 1, ""},
    };
    for (const auto& c : cases) {
        char destination[10] = "###";
        EXPECT_EQ(copyBounded(destination, c.source, c.size), c.result);
        EXPECT_STREQ(destination, c.text);
    }
}

/// A holder as another module makes it: it counts the calls of its functions.
struct ForeignHolder {
    static inline int reallocations = 0;
    static inline int releases = 0;
    static inline bool fails = false;

    static void* reallocate(void* block, std::size_t size) {
        ++reallocations;
        return fails ? nullptr : std::realloc(block, size);
    }

    static void release(void* block) {
        ++releases;
        std::free(block);
    }

    /// Puts a text of its own into `text`, which is a null handle: that is one pointer.
    static void fill(CharString& text, const char* bytes) {
        reallocations = releases = 0;
        fails = false;
        const std::size_t size = std::strlen(bytes) + 1;
        auto* buffer = static_cast<char*>(std::malloc(size));
        std::memcpy(buffer, bytes, size);
        auto* holder = new (std::malloc(sizeof(CharStringHolder)))
            CharStringHolder{reallocate, release, buffer, {1}};
        std::memcpy(static_cast<void*>(&text), &holder, sizeof(text));
    }
};

TEST(CharString, ForeignHolderIsGrownAndReleasedByItsOwnFunctions) {
    {
        CharString text;
        ForeignHolder::fill(text, "abc");
        text.append("d");
        text.assign("longer text");
        EXPECT_EQ(ForeignHolder::reallocations, 2);
        const CharString copy(text);
        text.append("!");
        EXPECT_EQ(ForeignHolder::reallocations, 2) << "a clone belongs to this side";
        EXPECT_STREQ(text.ptr(), "longer text!");
        EXPECT_EQ(ForeignHolder::releases, 0);
    }
    EXPECT_EQ(ForeignHolder::releases, 2);
}

TEST(CharString, FailedReallocationLeavesALiveHolderWithoutABuffer) {
    using Change = void (*)(CharString&);
    const Change changes[] = {
        [](CharString& text) { text.assign("x"); },
        [](CharString& text) { text.assign("xyz", 2); },
        [](CharString& text) { text.append("x"); },
        [](CharString& text) { text.append('x'); },
        [](CharString& text) { text.setLength(9); },
        [](CharString& text) { text.resizeBuffer(9, true); },
    };
    for (const Change change : changes) {
        CharString text;
        ForeignHolder::fill(text, "abc");
        ForeignHolder::fails = true;
        change(text);
        EXPECT_EQ(ForeignHolder::releases, 1) << "the old buffer";
        ASSERT_NE(text.holder(), nullptr);
        EXPECT_EQ(text.ptr(), nullptr);
        EXPECT_STREQ(text.cstr(), "");
        EXPECT_EQ(text.length(), 0);
        EXPECT_EQ((CharString("a") + text).length(), 1);
        ForeignHolder::fails = false;
        text.append("again");
        EXPECT_STREQ(text.ptr(), "again");
    }
}

TEST(CharString, SizesBelowOneByteLeaveNoBuffer) {
    CharString text("abc");
    text.resizeBuffer(-1, true);
    ASSERT_NE(text.holder(), nullptr);
    EXPECT_EQ(text.ptr(), nullptr);
    CharString shared(text);
    EXPECT_STREQ(shared.detach(), "");
    CharString negative("abc", -5);
    EXPECT_EQ(negative.ptr(), nullptr);
    negative.append('x');
    EXPECT_STREQ(negative.ptr(), "x");
}

TEST(CharString, ThreadsCopyChangeAndReleaseOneText) {
    CharString text;
    ForeignHolder::fill(text, "shared");
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([copy = text]() mutable {
            for (int round = 0; round < 1000; ++round) {
                CharString own(copy);
                own.append('!');
                EXPECT_STREQ(own.ptr(), "shared!");
                EXPECT_STREQ(copy.ptr(), "shared");
            }
            copy.toLower();
        });
    }
    text.clear();
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();
    EXPECT_EQ(ForeignHolder::releases, 2) << "exactly once, by the last one out";
}

}  // namespace
}  // namespace Brelt
