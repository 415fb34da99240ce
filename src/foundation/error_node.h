#pragma once

// How every failure travels: a list of nodes, newest first, that reads as a trace of causes.
// Any room may use it; it is installed with the public headers and needs nothing but them.

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "foundation/char_string.h"
#include "foundation/string_builder.h"

namespace Brelt {

/// One line of a trace. Order and widths are a contract between modules: a node is released only by
/// the function that it carries. Nothing in a node changes after its making but `refCount`.
struct ErrorNode {
    /// Name of the reporting function; a text of static lifetime, or null.
    const char* function;
    /// NUL-terminated, at most 510 characters; empty if there is none.
    char message[512];
    /// -1 detected here or context, -2 internal inconsistency, above 0 an operating system code.
    std::int32_t code;
    /// The older node that this one wraps; holds one reference to it.
    ErrorNode* next;
    void (*release)(void* node);
    /// Handles and `next` links to this node. Not atomic.
    std::int32_t refCount;
};
static_assert(offsetof(ErrorNode, function) == 0);
static_assert(offsetof(ErrorNode, message) == sizeof(void*));
static_assert(offsetof(ErrorNode, code) == sizeof(void*) + 512);
static_assert(sizeof(void*) != 8 || offsetof(ErrorNode, next) == 528);
static_assert(sizeof(void*) != 8 || offsetof(ErrorNode, release) == 536);
static_assert(sizeof(void*) != 8 || offsetof(ErrorNode, refCount) == 544);
static_assert(sizeof(void*) != 8 || sizeof(ErrorNode) == 552);

/// A handle to a trace; empty means success. Copies share the nodes.
///
/// Reference counts aren't atomic: chains that share a node belong to one thread at a time. A node
/// that can't be allocated isn't made: `make` then yields an empty chain, `push` leaves it as it
/// was.
class ErrorChain {
public:
    ErrorChain() noexcept = default;
    ErrorChain(const ErrorChain& other) noexcept : head_(other.head_) { share(); }
    ErrorChain(ErrorChain&& other) noexcept : head_(std::exchange(other.head_, nullptr)) {}
    ~ErrorChain() { release(); }

    // Handles of one record are left as they are, so one assigned to itself is too.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    ErrorChain& operator=(const ErrorChain& other) noexcept {
        if (head_ != other.head_) {
            release();
            head_ = other.head_;
            share();
        }
        return *this;
    }

    ErrorChain& operator=(ErrorChain&& other) noexcept {
        if (this != &other) {
            release();
            head_ = std::exchange(other.head_, nullptr);
        }
        return *this;
    }

    /// Starts a failure: a chain of one node. `function` has static lifetime; a null `format` is no
    /// message.
    [[gnu::format(printf, 3, 4)]] static ErrorChain make(const char* function, std::int32_t code,
                                                         const char* format, ...) {
        ErrorChain chain;
        std::va_list arguments;
        va_start(arguments, format);
        chain.pushList(function, code, format, arguments);
        va_end(arguments);
        return chain;
    }

    /// Adds context: a newer node on top of this chain, which may be empty.
    [[gnu::format(printf, 4, 5)]] void push(const char* function, std::int32_t code,
                                            const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        pushList(function, code, format, arguments);
        va_end(arguments);
    }

    /// True when it holds a failure.
    explicit operator bool() const noexcept { return head_ != nullptr; }

    /// The code of the node `index` steps from the newest; 0 where there is none.
    std::int32_t codeAt(std::int32_t index) const noexcept {
        const ErrorNode* node = head_;
        for (; node != nullptr && index > 0; --index) {
            node = node->next;
        }
        return node == nullptr || index < 0 ? 0 : node->code;
    }

    /// The whole trace as "[function] code: message", nodes joined by " | "; "No error" if empty.
    CharString toCharString() const {
        StringBuilder builder(128, 1.7F);
        builder.appendText(head_ == nullptr ? "No error" : nullptr);
        for (const ErrorNode* node = head_; node != nullptr; node = node->next) {
            builder.appendText(node == head_ ? nullptr : " | ");
            if (node->function != nullptr) {
                builder.appendFormat("[%s] ", node->function);
            }
            builder.appendInt(node->code, 10);
            if (*node->message != '\0') {
                builder.appendFormat(": %s", node->message);
            }
        }
        return builder.toCharString();
    }

    /// The same text into `buffer` of `size` bytes, cut at the end of the last piece that fits.
    ///
    /// A piece is a separator, a function's brackets, or a code with its message. A separator may
    /// be cut, and a piece that fills the room exactly loses its last character to the NUL.
    void print(char* buffer, std::int32_t size) const {
        if (head_ == nullptr || size < 1) {
            copyBounded(buffer, "No error", size);
            return;
        }
        *buffer = '\0';
        Room room{buffer, size};
        bool fits = true;
        for (const ErrorNode* node = head_; node != nullptr && fits && room.left >= 2;
             node = node->next) {
            fits = printNode(*node, node != head_, room);
        }
    }

    /// The newest node, or null; valid while this handle holds it.
    const ErrorNode* head() const noexcept { return head_; }

private:
    struct Room {
        char* next;
        std::int32_t left;

        void advance(std::int32_t bytes) {
            next += bytes;
            left -= bytes;
        }

        [[gnu::format(printf, 2, 3)]] bool add(const char* format, ...) {
            if (left < 1) {
                return true;
            }
            std::va_list arguments;
            va_start(arguments, format);
            const std::int32_t length = formatBounded(next, left, format, arguments);
            va_end(arguments);
            if (length < 0 || length > left) {
                *next = '\0';
                return false;
            }
            advance(length);
            return true;
        }
    };

    static bool printNode(const ErrorNode& node, bool separated, Room& room) {
        if (separated) {
            room.advance(copyBounded(room.next, " | ", room.left) - 1);
        }
        if (node.function != nullptr && !room.add("[%s] ", node.function)) {
            return false;
        }
        return *node.message != '\0' ? room.add("%d: %s", node.code, node.message)
                                     : room.add("%d", node.code);
    }

    void share() const noexcept {
        if (head_ != nullptr) {
            ++head_->refCount;
        }
    }

    /// Walks down as long as a node loses its last reference; a loop, since a chain may be long.
    void release() noexcept {
        ErrorNode* node = std::exchange(head_, nullptr);
        while (node != nullptr && --node->refCount == 0) {
            ErrorNode* next = std::exchange(node->next, nullptr);
            node->release(node);
            node = next;
        }
    }

    void pushList(const char* function, std::int32_t code, const char* format,
                  std::va_list arguments) {
        auto* node = static_cast<ErrorNode*>(std::malloc(sizeof(ErrorNode)));
        if (node == nullptr) {
            return;
        }
        node->function = function;
        node->code = code;
        node->next = head_;
        node->release = std::free;
        node->refCount = 1;
        *node->message = '\0';
        if (format != nullptr) {
            formatBounded(node->message, messageLimit, format, arguments);
        }
        head_ = node;
    }

    /// The formatter's bound, one below the array: at most 510 characters and the NUL.
    static constexpr std::int64_t messageLimit = 511;

    ErrorNode* head_ = nullptr;
};
static_assert(sizeof(ErrorChain) == sizeof(void*));

}  // namespace Brelt
