// The records and the whole-or-nothing wrappers, over the operations that each stream provides.

#include "foundation/pstream.h"

#include <algorithm>
#include <array>
#include <memory>

namespace Brelt {

namespace {

constexpr std::int32_t defaultCopyBuffer = 32768;
constexpr std::int32_t largestCopyBuffer = 0x2000000;

template <class Integer, std::size_t Size = sizeof(Integer)>
std::array<unsigned char, Size> toLittleEndian(Integer value) {
    std::array<unsigned char, Size> bytes{};
    for (std::size_t i = 0; i < Size; ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    }
    return bytes;
}

template <class Integer, std::size_t Size = sizeof(Integer)>
Integer fromLittleEndian(const std::array<unsigned char, Size>& bytes) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < Size; ++i) {
        value |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    }
    return static_cast<Integer>(value);
}

}  // namespace

PStream::~PStream() = default;

ErrorChain PStream::WriteBuffer(const void* source, std::int32_t size) {
    std::int32_t written = 0;
    ErrorChain result = Write(source, size, &written);
    if (!result && written < size) {
        result.push("PStream::WriteBuffer", -1, "%i of %i bytes written", written, size);
    }
    return result;
}

ErrorChain PStream::WriteU32(std::uint32_t value) {
    const auto bytes = toLittleEndian(value);
    return WriteBuffer(bytes.data(), 4);
}

ErrorChain PStream::WriteU16(std::uint16_t value, std::int32_t* written) {
    const auto bytes = toLittleEndian(value);
    return Write(bytes.data(), 2, written);
}

ErrorChain PStream::ReadU32(std::uint32_t& value) {
    std::array<unsigned char, 4> bytes{};
    ErrorChain result = ReadBuffer(bytes.data(), 4);
    value = fromLittleEndian<std::uint32_t>(bytes);
    return result;
}

ErrorChain PStream::ReadU16(std::uint16_t& value, std::int32_t* read) {
    std::array<unsigned char, 2> bytes{};
    ErrorChain result = Read(bytes.data(), 2, read);
    value = fromLittleEndian<std::uint16_t>(bytes);
    return result;
}

ErrorChain PStream::ReadBuffer(void* destination, std::int32_t size) {
    std::int32_t read = 0;
    ErrorChain result = Read(destination, size, &read);
    if (!result && read != size) {
        result.push("PStream::ReadBuffer", -1, "Expected %i bytes, got %i", size, read);
    }
    return result;
}

ErrorChain PStream::WritePascalStr(const char* text, std::uint16_t length, std::int32_t* written) {
    ErrorChain result = WriteU16(length, written);
    if (result) {
        return result;
    }
    if (*written != 2) {
        return ErrorChain::make("PStream::WritePascalStr", -1, "%i of %i bytes written", *written,
                                2);
    }
    if (length != 0) {
        result = Write(text, length, written);
        *written += 2;
    }
    return result;
}

ErrorChain PStream::ReadPascalStr(char* destination, std::uint16_t* length, std::int32_t* read) {
    *length = 0;
    std::uint16_t stored = 0;
    ErrorChain result = ReadU16(stored, read);
    if (result) {
        return result;
    }
    if (*read != 2) {
        return ErrorChain::make("PStream::ReadPascalStr", -1, "expected %i bytes, got %i", 2,
                                *read);
    }
    if (stored != 0) {
        result = ReadBuffer(destination, stored);
        *read = 2 + stored;
        *length = stored;
    }
    return result;
}

ErrorChain PStream::ReadPascalStr1(char* destination, std::uint16_t* length, std::int32_t* read) {
    std::uint16_t stored = 0;
    ErrorChain result = ReadU16(stored, read);
    if (result) {
        return result;
    }
    if (*read != 2) {
        return ErrorChain::make("PStream::ReadPascalStr1", -1, "expected %i bytes, got %i", 2,
                                *read);
    }
    if (stored == 0) {
        return result;
    }
    if (stored > *length - 1) {
        return ErrorChain::make("PStream::ReadPascalStr1", -1,
                                "Buffer length = %i too short for %i characters", *length, stored);
    }
    result = ReadBuffer(destination, stored);
    destination[stored] = '\0';
    *read = 2 + stored;
    *length = stored;
    return result;
}

ErrorChain PStream::WriteCharString(const CharString& text) {
    const std::int32_t length = text.length();
    ErrorChain result = WriteU32(static_cast<std::uint32_t>(length));
    if (result) {
        return result;
    }
    std::int32_t written = 0;
    result = Write(text.ptr(), length, &written);
    if (!result && written != length) {
        result.push("PStream::WriteBuffer", -1, "%i of %i bytes written", written, length);
    }
    return result;
}

ErrorChain PStream::ReadCharString(CharString& text) {
    std::uint32_t stored = 0;
    ErrorChain result = ReadU32(stored);
    if (result) {
        return result;
    }
    const auto length = static_cast<std::int32_t>(stored);
    if (length <= 0) {
        text.clear();
    } else if (length != text.length()) {
        text.setLength(length);
    }
    char* destination = text.detach();
    if (length > 0 && destination == nullptr) {
        return ErrorChain::make("PStream::ReadCharString", -1, "No memory for %i bytes", length);
    }
    std::int32_t read = 0;
    result = Read(destination, length, &read);
    if (!result && read != length) {
        return ErrorChain::make("PStream::ReadCharString", -1, "expected %i bytes, got %i", length,
                                read);
    }
    return result;
}

ErrorChain PStream::Truncate() {
    return ErrorChain::make("PStream::Truncate", -1, "Not implemented");
}

ErrorChain copyStream(PStream* destination, PStream* source, std::int64_t total,
                      std::int64_t* bytesRead, std::int64_t* bytesWritten,
                      std::int32_t bufferSize) {
    *bytesRead = 0;
    *bytesWritten = 0;
    const std::int64_t block =
        bufferSize < 1 ? defaultCopyBuffer : std::min(bufferSize, largestCopyBuffer);
    std::unique_ptr<char[]> buffer(
        total < 1 ? nullptr : new char[static_cast<std::size_t>(std::min(block, total))]);
    ErrorChain result;
    bool exhausted = false;
    for (std::int64_t remaining = total; remaining >= 1 && !exhausted;) {
        const auto chunk = static_cast<std::int32_t>(std::min(block, remaining));
        std::int32_t read = 0;
        result = source->Read(buffer.get(), chunk, &read);
        if (result) {
            break;
        }
        *bytesRead += read;
        exhausted = read != chunk;
        std::int32_t written = 0;
        result = destination->Write(buffer.get(), read, &written);
        if (result) {
            break;
        }
        *bytesWritten += written;
        remaining -= written;
    }
    return result;
}

}  // namespace Brelt
