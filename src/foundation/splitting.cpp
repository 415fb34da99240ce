// Positions first, pieces second: so the room for all pieces is known before the first is made.

#include "foundation/splitting.h"

#include <cstring>
#include <utility>

namespace Brelt {

namespace {

bool isNullOrEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

template <class T>
void append(Table<T>& table, T element) {
    table.setCount(table.count + 1, false);
    table.data[table.count - 1] = std::move(element);
}

/// Room for exactly `extra` more elements; the count stays.
template <class T>
void reserve(Table<T>& table, std::int32_t extra) {
    const std::int32_t count = table.count;
    table.setCount(count + extra, true);
    table.count = count;
}

void makeRoom(Table<CharString>& pieces, Table<std::int32_t>* lengths, std::int32_t positions,
              std::int32_t flags) {
    const bool appends = (flags & SplitAppend) != 0;
    if (!appends) {
        pieces.count = 0;
        if (lengths != nullptr) {
            lengths->count = 0;
        }
    }
    if (!appends || positions > pieces.capacity - pieces.count) {
        reserve(pieces, positions + 1);
    }
}

void turnEmptyIntoTexts(Table<CharString>& pieces) {
    for (std::int32_t i = 0; i < pieces.count; ++i) {
        if (pieces.data[i].isEmpty()) {
            pieces.data[i].assign("");
        }
    }
}

/// Lists the ends of all texts but the last; returns the offset of the last one's end.
std::int32_t findTextEnds(const char* text, Table<std::int32_t>& positions) {
    auto end = static_cast<std::int32_t>(std::strlen(text));
    while (text[end + 1] != '\0') {
        append(positions, end);
        end += 1 + static_cast<std::int32_t>(std::strlen(text + end + 1));
    }
    return end;
}

}  // namespace

std::int32_t findDelimiters(const char* text, const char* delimiters,
                            Table<std::int32_t>& positions) {
    if (isNullOrEmpty(text) || isNullOrEmpty(delimiters)) {
        return 0;
    }
    DelimiterSet set;
    for (const char* delimiter = delimiters; *delimiter != '\0'; ++delimiter) {
        set.add(*delimiter);
    }
    std::int32_t offset = 0;
    for (; text[offset] != '\0'; ++offset) {
        if (set.contains(text[offset])) {
            append(positions, offset);
        }
    }
    return offset;
}

std::int32_t splitAtPositions(const char* text, std::int32_t length, Table<CharString>& pieces,
                              Table<std::int32_t>* lengths, const Table<std::int32_t>& positions,
                              std::int32_t flags) {
    makeRoom(pieces, lengths, positions.count, flags);
    const bool keepsEmpty = (flags & SplitKeepEmpty) != 0;
    std::int32_t stored = 0;
    std::int32_t from = 0;
    for (std::int32_t i = 0; i <= positions.count; ++i) {
        const std::int32_t end = i < positions.count ? positions.data[i] : length;
        if (end > from || keepsEmpty) {
            append(pieces, end > from ? CharString(text + from, end - from) : CharString());
            if (lengths != nullptr) {
                append(*lengths, end - from);
            }
            ++stored;
        }
        from = end + 1;
    }
    if (keepsEmpty && (flags & SplitEmptyNotNull) != 0) {
        turnEmptyIntoTexts(pieces);
    }
    return stored;
}

std::int32_t splitByChar(const char* text, char delimiter, Table<CharString>& pieces,
                         std::int32_t flags) {
    if (isNullOrEmpty(text)) {
        return 0;
    }
    Table<std::int32_t> positions;
    positions.step = 32;
    const char delimiters[2] = {delimiter, '\0'};
    const std::int32_t length = delimiter == '\0' ? findTextEnds(text, positions)
                                                  : findDelimiters(text, delimiters, positions);
    return splitAtPositions(text, length, pieces, nullptr, positions, flags);
}

void splitKeyValuePairs(const char* text, Table<KeyValuePair>& pairs, const char* delimiters,
                        char separator, std::int32_t flags) {
    if (isNullOrEmpty(text)) {
        return;
    }
    if ((flags & SplitAppend) == 0) {
        pairs.count = 0;
    }
    Table<std::int32_t> positions;
    const std::int32_t length = findDelimiters(text, delimiters, positions);
    reserve(pairs, positions.count + 1);
    if (positions.count == 0) {
        append(pairs, splitKeyValue(text, separator));
        return;
    }
    Table<CharString> pieces;
    splitAtPositions(text, length, pieces, nullptr, positions, flags & SplitAppend);
    for (std::int32_t i = 0; i < pieces.count; ++i) {
        append(pairs, splitKeyValue(pieces.data[i].ptr(), separator));
    }
}

KeyValuePair splitKeyValue(const char* text, char separator) {
    if (isNullOrEmpty(text) || separator == '\0') {
        return {};
    }
    DelimiterSet set;
    set.add(separator);
    return splitAtFirstOf(text, set);
}

KeyValuePair splitAtFirstOf(const char* text, const DelimiterSet& set) {
    if (text == nullptr) {
        return {};
    }
    std::int32_t offset = 0;
    while (text[offset] != '\0' && !set.contains(text[offset])) {
        ++offset;
    }
    if (text[offset] == '\0') {
        return {CharString(text), {}};
    }
    return {CharString(text, offset), CharString(text + offset + 1)};
}

}  // namespace Brelt
