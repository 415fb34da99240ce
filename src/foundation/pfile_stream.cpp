// Each operation is one call of the system, and each failed call a chain with the system's code.

#include "foundation/pfile_stream.h"

#include <cstring>
#include <utility>

#include "foundation/error_chain.h"
#include "foundation/out_of_memory.h"
#include "foundation/wide_path.h"
#include "foundation/win32/win32.h"

namespace Brelt {

namespace {

static_assert(PFileStream::readAccess == GENERIC_READ);
static_assert(PFileStream::writeAccess == GENERIC_WRITE);
static_assert(PFileStream::shareRead == FILE_SHARE_READ);

constexpr std::uint32_t lowBits = 0x03;

// Without its node a failed close would be a success: what it had to bring to the disk has no other
// witness.
ErrorChain osFailure(const char* function) {
    const DWORD code = GetLastError();
    const CharString text = getOsErrorText(code);
    return requireFailure(
        ErrorChain::make(function, static_cast<std::int32_t>(code), "%s", text.cstr()));
}

ErrorChain resultOf(BOOL succeeded, const char* function) {
    return succeeded != FALSE ? ErrorChain() : osFailure(function);
}

std::uint32_t openDisposition(std::uint32_t mode) {
    if ((mode & PFileStream::mustNotExist) != 0) {
        return CREATE_NEW;
    }
    switch (mode & lowBits) {
        case PFileStream::openOrMake:
            return OPEN_ALWAYS;
        case PFileStream::alwaysEmpty:
            return CREATE_ALWAYS;
        default:
            return OPEN_EXISTING;
    }
}

bool appends(std::uint32_t mode) {
    return (mode & PFileStream::mustNotExist) == 0 && (mode & lowBits) == PFileStream::atEnd;
}

std::uint32_t createDisposition(std::uint32_t mode) {
    if ((mode & PFileStream::mustNotExist) != 0) {
        return CREATE_NEW;
    }
    return appends(mode) ? OPEN_ALWAYS : CREATE_ALWAYS;
}

DWORD openFlags(std::uint32_t mode) {
    DWORD flags = 0;
    if ((mode & PFileStream::sequentialScan) != 0) {
        flags |= FILE_FLAG_SEQUENTIAL_SCAN;
    }
    if ((mode & PFileStream::writeThrough) != 0) {
        flags |= FILE_FLAG_WRITE_THROUGH;
    }
    return flags;
}

std::int64_t joinHalves(DWORD high, DWORD low) {
    return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
}

// A low half of all ones is a position or a size like any other, unless there is an error with it.
bool hasFailed(DWORD low) {
    return low == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS;
}

/// The new position, or -1 with the last error set.
std::int64_t movePosition(void* file, std::int64_t offset, DWORD method) {
    auto high = static_cast<LONG>(offset >> 32);
    const DWORD low = SetFilePointer(file, static_cast<LONG>(offset), &high, method);
    return hasFailed(low) ? -1 : joinHalves(static_cast<DWORD>(high), low);
}

}  // namespace

PFileStream::~PFileStream() {
    closeFile();
    delete[] fileName;
}

ErrorChain PFileStream::Open() {
    if (!hasName()) {
        return ErrorChain::make("PFileStream::Open", -1, "Empty file name");
    }
    if (file != nullptr) {
        if (ErrorChain error = Close()) {
            return error;
        }
    }
    const bool movesToEnd = (access & writeAccess) != 0 && (mode & lowBits) == atEnd;
    return openFile("PFileStream::Open", access, share, openDisposition(mode), movesToEnd);
}

ErrorChain PFileStream::Open(const char* name, std::uint32_t newAccess, std::uint32_t newShare,
                             std::uint32_t newMode) {
    SetFile(name, newAccess, newShare, newMode);
    return Open();
}

ErrorChain PFileStream::Create(const char* name, std::uint32_t newMode) {
    if (name != nullptr) {
        rememberName(name);
    }
    if (!hasName()) {
        return ErrorChain::make("PFileStream::Create", -1, "Empty file name");
    }
    if (file != nullptr) {
        if (ErrorChain error = Close()) {
            return error;
        }
    }
    mode = newMode;
    return openFile("PFileStream::Create", readAccess | writeAccess, shareRead,
                    createDisposition(mode), appends(mode));
}

ErrorChain PFileStream::SetFile(const char* name, std::uint32_t newAccess, std::uint32_t newShare,
                                std::uint32_t newMode) {
    rememberName(name);
    access = newAccess;
    share = newShare;
    mode = newMode;
    return {};
}

// The copy comes first: `name` may be the remembered name itself.
void PFileStream::rememberName(const char* name) {
    char* copy = nullptr;
    if (name != nullptr) {
        const std::size_t bytes = std::strlen(name) + 1;
        copy = new char[bytes];
        std::memcpy(copy, name, bytes);
    }
    delete[] std::exchange(fileName, copy);
}

// A file that should be appended to but can't be moved in isn't left open: the next write would go
// over its beginning.
ErrorChain PFileStream::openFile(const char* function, std::uint32_t wantedAccess,
                                 std::uint32_t wantedShare, std::uint32_t disposition,
                                 bool movesToEnd) {
    const WidePath name(fileName);
    void* opened = CreateFileW(name.get(), wantedAccess, wantedShare, nullptr, disposition,
                               openFlags(mode), nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        return osFailure(function);
    }
    if (movesToEnd && movePosition(opened, 0, FILE_END) < 0) {
        const DWORD code = GetLastError();
        CloseHandle(opened);
        SetLastError(code);
        return osFailure(function);
    }
    file = opened;
    ++openCount;
    return {};
}

bool PFileStream::closeFile() {
    if (file == nullptr || file == INVALID_HANDLE_VALUE) {
        return true;
    }
    --openCount;
    return CloseHandle(std::exchange(file, nullptr)) != FALSE;
}

ErrorChain PFileStream::Close() {
    return closeFile() ? ErrorChain() : osFailure("PFileStream::Close");
}

ErrorChain PFileStream::Flush() {
    return resultOf(FlushFileBuffers(file), "PFileStream::Flush");
}

ErrorChain PFileStream::Write(const void* source, std::int32_t size, std::int32_t* written) {
    DWORD moved = 0;
    BOOL succeeded = FALSE;
    if (size < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
    } else {
        succeeded = WriteFile(file, source, static_cast<DWORD>(size), &moved, nullptr);
    }
    *written = static_cast<std::int32_t>(moved);
    return resultOf(succeeded, "PFileStream::Write");
}

ErrorChain PFileStream::WriteStr(const char* text) {
    return WriteBuffer(text, static_cast<std::int32_t>(std::strlen(text)));
}

ErrorChain PFileStream::Read(void* destination, std::int32_t size, std::int32_t* read) {
    DWORD moved = 0;
    BOOL succeeded = FALSE;
    if (size < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
    } else {
        succeeded = ReadFile(file, destination, static_cast<DWORD>(size), &moved, nullptr);
    }
    *read = static_cast<std::int32_t>(moved);
    return resultOf(succeeded, "PFileStream::Read");
}

ErrorChain PFileStream::move(const char* function, std::int64_t offset,
                             std::uint32_t method) const {
    return resultOf(movePosition(file, offset, method) < 0 ? FALSE : TRUE, function);
}

ErrorChain PFileStream::Seek(std::int64_t position) {
    return move("PFileStream::Seek", position, FILE_BEGIN);
}

ErrorChain PFileStream::SeekOff(std::int64_t offset) {
    return move("PFileStream::SeekOff", offset, FILE_CURRENT);
}

ErrorChain PFileStream::SeekEnd(std::int64_t offset) {
    return move("PFileStream::SeekEnd", offset, FILE_END);
}

std::int64_t PFileStream::Size() {
    DWORD high = 0;
    const DWORD low = GetFileSize(file, &high);
    return hasFailed(low) ? -1 : joinHalves(high, low);
}

ErrorChain PFileStream::Truncate() {
    return resultOf(SetEndOfFile(file), "PFileStream::Truncate");
}

std::int64_t PFileStream::Tell() {
    return movePosition(file, 0, FILE_CURRENT);
}

std::int32_t PFileStream::IsEof() {
    return Tell() >= Size() ? 1 : 0;
}

std::int64_t PFileStream::SizeOfFile(const char* name) {
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW(WidePath(name).get(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return -1;
    }
    FindClose(search);
    return joinHalves(found.nFileSizeHigh, found.nFileSizeLow);
}

}  // namespace Brelt
