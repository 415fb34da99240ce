#pragma once

// Reading the registry: a key, a value of any type, and the value as a number or as text.
// Names are UTF-8. Any room may use it; nothing is ever written.

#include <cstddef>
#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_chain.h"

namespace Brelt {

/// Flags of `RegistryKey::open`, to be combined.
inline constexpr std::uint32_t RegistryReadAccess = 1;
inline constexpr std::uint32_t RegistryWriteAccess = 2;
/// The keys of 32-bit programs.
inline constexpr std::uint32_t Registry32BitView = 4;

/// A key, closed when it goes. Belongs to one thread at a time.
class RegistryKey {
public:
    /// 1 for a root of the system, which is a base to open keys under, and is never closed or read.
    std::uint8_t predefined = 0;
    /// The flags that it was opened with; 0 while it isn't open.
    std::uint32_t openFlags = 0;
    /// The system's handle.
    void* handle = nullptr;

    RegistryKey() = default;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() { close(); }

    /// Wraps a root of the system, such as HKEY_CURRENT_USER.
    static RegistryKey fromPredefined(void* root) { return RegistryKey(root); }

    /// The root of the current user's settings.
    static RegistryKey currentUser();

    /// Opens `subKey` under `base`, which is open or a root, and may be this key itself.
    ///
    /// An open key is closed, but stays open where the arguments are refused: an empty `subKey`
    /// with code -1, an unusable `base` with code -2. Other failures have the system's status as
    /// their code. Raises `std::bad_alloc`.
    ErrorChain open(const RegistryKey& base, const char* subKey, std::uint32_t flags);

    /// Does nothing for a key that isn't open.
    void close();

private:
    explicit RegistryKey(void* root) : predefined(1), handle(root) {}
};
static_assert(offsetof(RegistryKey, predefined) == 0);
static_assert(offsetof(RegistryKey, openFlags) == 4);
static_assert(offsetof(RegistryKey, handle) == 8);
static_assert(sizeof(void*) != 8 || sizeof(RegistryKey) == 16);

/// A value that was read. Belongs to one thread at a time.
class RegistryValue {
public:
    /// The system's number for the type; 0 while nothing was read.
    std::uint32_t type = 0;
    /// Bytes, as the system told them.
    std::uint32_t size = 0;
    /// The value of the types 4 and 11, numbers of 32 and 64 bits.
    std::uint64_t number = 0;
    /// The value of every other type, owned, or null. Two zero bytes at the least follow it.
    std::uint8_t* data = nullptr;

    RegistryValue() = default;
    RegistryValue(const RegistryValue&) = delete;
    RegistryValue& operator=(const RegistryValue&) = delete;
    ~RegistryValue() { delete[] data; }
};
static_assert(offsetof(RegistryValue, type) == 0);
static_assert(offsetof(RegistryValue, size) == 4);
static_assert(offsetof(RegistryValue, number) == 8);
static_assert(offsetof(RegistryValue, data) == 16);
static_assert(sizeof(void*) != 8 || sizeof(RegistryValue) == 24);

/// Reads a value of a key that was opened for reading.
///
/// A failure has the system's status as its code (2 for a value that is missing), or -1 for a key
/// that can't be read, and leaves the former value, though `data` may be new. A number is fetched
/// into the room of its field and no further: one that the system reports as larger than 8 bytes
/// fails with 234. Raises `std::bad_alloc`.
ErrorChain readRegistryValue(const RegistryKey& key, const char* name, RegistryValue& value);

/// 0 for a number of 32 bits (type 4), which goes into `result`; 1 for any other type.
std::int32_t registryValueToDword(const RegistryValue& value, std::uint32_t& result);

/// Gives a text as UTF-8, with references to the environment expanded in a text of type 2.
///
/// 0 on success; 1 if the type is neither 1 nor 2, 2 if there is no data, 3 if the text can't be
/// expanded. Raises `std::bad_alloc`.
std::int32_t registryValueToString(const RegistryValue& value, CharString& text);

}  // namespace Brelt
