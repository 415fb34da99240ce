#pragma once

// A name in the form that the system's calls take, made for one call.
// Only .cpp files of the foundation include this header.

#include <cstdint>
#include <memory>

#include "foundation/text_tools.h"

namespace Brelt {

/// The UTF-16 copy of a UTF-8 name; on the stack up to 1,024 units, on the heap above.
///
/// Raises `std::bad_alloc`.
class WidePath {
public:
    explicit WidePath(const char* name) {
        const std::int32_t size = utf8ToWide(name, nullptr, 0) + 2;
        if (size > stackUnits) {
            heap_ = std::make_unique<WideChar[]>(static_cast<std::size_t>(size));
        }
        utf8ToWide(name, heap_ ? heap_.get() : stack_, size);
    }
    WidePath(const WidePath&) = delete;
    WidePath& operator=(const WidePath&) = delete;

    /// Dies with this object.
    const WideChar* get() const { return heap_ ? heap_.get() : stack_; }

private:
    static constexpr std::int32_t stackUnits = 1024;

    WideChar stack_[stackUnits];
    std::unique_ptr<WideChar[]> heap_;
};

}  // namespace Brelt
