// The one shape of a path, worked out in place in a copy of the text.
//
// What the middle stage leaves behind its own end stays in the buffer, and the last stage looks at
// it: that is part of the results, such as the empty text for `\.\`, and must not be tidied away.

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

#include "foundation/paths.h"

namespace Brelt {

namespace {

bool isSeparator(char c) {
    return c == '/' || c == '\\';
}

/// What a search to the left found: the place of the `\`, or -1; and the bytes passed on the way.
struct Found {
    std::ptrdiff_t place;
    std::ptrdiff_t passed;
};

class Normalizer {
public:
    explicit Normalizer(const char* source)
        : text_(std::make_unique<char[]>(std::strlen(source) + 1)) {
        joinSeparators(source);
    }

    CharString run() {
        if (length_ > 0) {
            resolveDots();
            dropEnd();
        }
        CharString result(text_.get());
        if (result.ptr() == nullptr) {
            throw std::bad_alloc();
        }
        return result;
    }

private:
    void joinSeparators(const char* source) {
        if (isSeparator(source[0]) && isSeparator(source[1])) {
            text_[0] = text_[1] = '\\';
            length_ = 2;
            source += 2;
        }
        for (bool before = false; *source != '\0'; ++source) {
            const bool separator = isSeparator(*source);
            if (!separator || !before) {
                text_[at(length_++)] = separator ? '\\' : *source;
            }
            before = separator;
        }
        text_[at(length_)] = '\0';
    }

    void resolveDots() {
        std::ptrdiff_t read = byte(0) == '.' && byte(1) == '\\' ? 2 : 0;
        end_ = read;
        dotsOnly_ = byte(read) == '.';
        for (int dots = 0; read < length_; ++read) {
            const char c = byte(read);
            if (c == '\\') {
                endSegment(dots);
                dots = 0;
                continue;
            }
            // A segment that is neither `.` nor `..` counts 3 and more.
            dots = c == '.' ? dots + 1 : 3;
            dotsOnly_ = dotsOnly_ && c == '.';
            put(c);
        }
        text_[at(end_)] = '\0';
    }

    void endSegment(int dots) {
        if (dots == 1) {
            --end_;
            return;
        }
        if (dots == 2) {
            end_ = placeAfterParent();
        }
        put('\\');
    }

    /// Where the text goes on behind a `..` whose dots were just written.
    std::ptrdiff_t placeAfterParent() const {
        const Found found = searchBack(end_ - 4);
        const bool beginsWithDots = end_ >= 4 && found.place < 0 && areDots(0);
        const std::ptrdiff_t landing = dotsOnly_ || beginsWithDots ? end_ : end_ - 3;
        if (found.place < 0) {
            return landing;
        }
        if (found.place == 0 && byte(1) == '\\') {
            return end_ - 2;
        }
        if (areDots(found.place + 1)) {
            return found.passed == 2 ? end_ : landing;
        }
        return found.place;
    }

    void dropEnd() {
        const bool endsInDot = length_ >= 3 && byte(length_ - 1) == '.';
        if (endsInDot && length_ >= 4 && byte(length_ - 2) == '.' && byte(length_ - 3) == '\\') {
            dropLastParent();
        } else if (endsInDot && byte(length_ - 2) == '\\') {
            cut(end_ - 2);
        } else if (length_ >= 2 && byte(length_ - 1) == '\\' && byte(length_ - 2) != '\\') {
            cut(end_ - 1);
        }
    }

    void dropLastParent() {
        const Found found = searchBack(end_ - 4);
        const bool staysBehindParent = found.passed == 2 && areDots(found.place + 1);
        if (found.place >= 0 && !staysBehindParent) {
            cut(found.place);
        }
    }

    Found searchBack(std::ptrdiff_t from) const {
        std::ptrdiff_t place = from;
        while (place >= 0 && byte(place) != '\\') {
            --place;
        }
        return {place < 0 ? -1 : place, from - place};
    }

    bool areDots(std::ptrdiff_t place) const {
        return byte(place) == '.' && byte(place + 1) == '.';
    }

    void cut(std::ptrdiff_t place) { text_[at(place < 0 ? 0 : place)] = '\0'; }
    void put(char c) { text_[at(end_++)] = c; }
    char byte(std::ptrdiff_t place) const { return text_[at(place)]; }
    static std::size_t at(std::ptrdiff_t place) { return static_cast<std::size_t>(place); }

    std::unique_ptr<char[]> text_;
    /// Bytes before the middle stage.
    std::ptrdiff_t length_ = 0;
    /// The middle stage's end of the text.
    std::ptrdiff_t end_ = 0;
    /// No byte but dots and `\` so far, and a dot first.
    bool dotsOnly_ = false;
};

}  // namespace

CharString normalizePath(const char* text) {
    return Normalizer(text == nullptr ? "" : text).run();
}

}  // namespace Brelt
