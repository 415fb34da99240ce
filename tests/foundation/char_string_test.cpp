#include "foundation/char_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace Brelt {
namespace {

using Change = void (*)(CharString&);

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
        EXPECT_EQ(*text == "", text == &empty);
        EXPECT_EQ(*text == nullptr, text == &null);
    }
    EXPECT_FALSE(CharString("a") == "A");
    EXPECT_EQ(CharString("abc", 0).holder(), nullptr);
    EXPECT_EQ(CharString(nullptr, 3).holder(), nullptr);
}

TEST(CharString, AChangeReachesNoCopyAndTakesNull) {
    // What becomes of "Abc", and of a null handle.
    const char* const null = nullptr;
    const std::tuple<Change, const char*, const char*> rows[] = {
        {[](CharString& text) { text.assign("x"); }, "x", "x"},
        {[](CharString& text) { text.assign("xyz", 2); }, "xy", "xy"},
        {[](CharString& text) { text.assign("x\0yz", 4); }, "x", "x"},
        {[](CharString& text) { text.assign("x", 0); }, null, null},
        {[](CharString& text) { text.assign(nullptr); }, null, null},
        {[](CharString& text) { text.append("def"); }, "Abcdef", "def"},
        {[](CharString& text) { text.append('d'); }, "Abcd", "d"},
        {[](CharString& text) { text.append(nullptr); }, "Abc", null},
        {[](CharString& text) { text.append(text.ptr()); }, "AbcAbc", null},
        {[](CharString& text) { text.assign(text.ptr()); }, "Abc", null},
        {[](CharString& text) { text.assign(text.cstr() + text.length() / 2); }, "bc", ""},
        {[](CharString& text) { text.setLength(5); }, "Abc  ", "     "},
        {[](CharString& text) { text.setLength(1); }, "A", " "},
        {[](CharString& text) { text.toLower(); }, "abc", null},
        {[](CharString& text) { text.assign("@AZ[\xC3\x84"), text.toLower(); }, "@az[\xC3\x84",
         "@az[\xC3\x84"},
        {[](CharString& text) { std::fill_n(text.detach(), text.length() / 3, 'x'); }, "xbc", null},
        {[](CharString& text) { text = text + text; }, "AbcAbc", null}};
    for (const auto& [change, expected, ofNull] : rows) {
        const CharString source("Abc");
        const char* const buffer = source.ptr();
        CharString copy(source);
        EXPECT_EQ(source.holder()->refCount, 2);
        change(copy);
        EXPECT_STREQ(copy.ptr(), expected);
        EXPECT_EQ(source.ptr(), buffer);
        EXPECT_EQ(source.holder()->refCount, copy.holder() == source.holder() ? 2 : 1);
        EXPECT_STREQ(source.ptr(), "Abc");
        CharString alone("Abc");
        change(alone);
        EXPECT_STREQ(alone.ptr(), expected) << "in place";
        CharString none;
        change(none);
        EXPECT_STREQ(none.ptr(), ofNull);
    }
}

TEST(CharString, ConcatenationAndAssignmentShareOrCopy) {
    CharString a("a");
    const CharString b("b");
    const CharString null;
    EXPECT_STREQ((a + b).ptr(), "ab");
    EXPECT_EQ((a + null).holder(), a.holder());
    EXPECT_STREQ((null + b).ptr(), "b");
    EXPECT_NE((null + b).holder(), b.holder());
    EXPECT_EQ((null + null).holder(), nullptr);
    CharString sharer(a);
    sharer = a;
    EXPECT_EQ(a.holder()->refCount, 2);
    sharer = std::move(a);
    EXPECT_EQ(sharer.holder()->refCount, 2) << "a move between sharers changes nothing";
    CharString third("c");
    third = std::move(sharer);
    EXPECT_STREQ(third.ptr(), "a");
    EXPECT_EQ(third.holder()->refCount, 2);
    third.clear();
    third.clear();
    EXPECT_EQ(a.holder()->refCount, 1);  // NOLINT(bugprone-use-after-move): it moved nowhere
}

TEST(CopyBounded, CutsAndTerminates) {
    const std::tuple<const char*, std::int32_t, std::int32_t, const char*> rows[] = {
        {"abc", -1, 0, "###"}, {"abc", 0, 0, "###"}, {"abc", 1, 1, ""},
        {"abc", 3, 3, "ab"},   {"abc", 9, 4, "abc"}, {"", 9, 1, ""}};
    for (const auto& [source, size, result, text] : rows) {
        char destination[10] = "###";
        EXPECT_EQ(copyBounded(destination, source, size), result);
        EXPECT_STREQ(destination, text);
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
    const Change changes[] = {[](CharString& text) { text.assign("x"); },
                              [](CharString& text) { text.assign("xyz", 2); },
                              [](CharString& text) { text.append("x"); },
                              [](CharString& text) { text.append('x'); },
                              [](CharString& text) { text.setLength(9); },
                              [](CharString& text) { text.resizeBuffer(9, true); }};
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
    CharString none;
    none.setLength(-1);
    EXPECT_EQ(none.holder(), nullptr);
    text.assign("abc");
    text.setLength(0);
    EXPECT_STREQ(text.cstr(), "");
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
