#pragma once

// The one growable array of the system: grows by a step, never gives an element back before its
// end. Any room may use it. A table belongs to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace Brelt {

/// `count` elements in use of `capacity` that are all constructed; elements are reached through
/// `data`.
///
/// Lowering the count destroys nothing: an element beyond `count` holds its old value until it is
/// assigned anew, and `count` may be assigned directly within the capacity. Growth raises
/// `std::bad_alloc` and leaves the table as it was. Bytes and numbers aren't initialised.
template <class T>
class Table {
public:
    std::int32_t count = 0;
    /// Capacities are multiples of this; with 0 or less they double instead.
    std::int32_t step = 100;
    std::int32_t capacity = 0;
    /// Owned; null while `capacity` is 0.
    T* data = nullptr;

    Table() = default;

    /// A table of `n` elements with room for a step more, allocated at once.
    explicit Table(std::int32_t n) {
        if (n > 0) {
            grow(roundedCapacity(n));
        }
        count = n;
    }

    Table(const Table&) = delete;

    /// Takes the other's elements one by one in index order; the capacity stays if it is large
    /// enough.
    Table& operator=(const Table& other) {
        if (this != &other) {
            setCount(0, false);
            setCount(other.count, false);
            for (std::int32_t i = 0; i < other.count; ++i) {
                data[i] = other.data[i];
            }
        }
        return *this;
    }

    ~Table() { delete[] data; }

    /// Grows where `n` exceeds the capacity, to exactly `n` if `exact` is set, then sets the count.
    void setCount(std::int32_t n, bool exact) {
        if (n > capacity) {
            grow(exact ? n : roundedCapacity(n));
        }
        count = n;
    }

private:
    static constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();

    void grow(std::int32_t newCapacity) {
        std::unique_ptr<T[]> fresh(new T[static_cast<std::size_t>(newCapacity)]);
        for (std::int32_t i = 0; i < count; ++i) {
            fresh[static_cast<std::size_t>(i)] = data[i];
        }
        delete[] data;
        data = fresh.release();
        capacity = newCapacity;
    }

    /// The next multiple of the step strictly above `n`; without a step, the capacity doubled.
    std::int32_t roundedCapacity(std::int32_t n) const {
        std::int64_t rounded = n;
        if (step > 0) {
            rounded = std::int64_t{n} + step - n % step;
        } else if (capacity >= 1) {
            for (rounded = capacity; rounded < n;) {
                rounded *= 2;
            }
        }
        return static_cast<std::int32_t>(rounded < largest ? rounded : largest);
    }
};
static_assert(sizeof(void*) != 8 || sizeof(Table<char>) == 24);
static_assert(offsetof(Table<char>, count) == 0);
static_assert(offsetof(Table<char>, step) == 4);
static_assert(offsetof(Table<char>, capacity) == 8);
static_assert(sizeof(void*) != 8 || offsetof(Table<char>, data) == 16);

}  // namespace Brelt
