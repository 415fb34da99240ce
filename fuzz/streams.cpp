// A memory stream under any row of operations, against a plain text that does the same; and its
// records, read from any bytes.

#include <cstring>
#include <memory>

#include "foundation/pmem_stream.h"
#include "fuzzing.h"

using Fuzzing::require;

namespace {

/// What the stream ought to hold.
struct Model {
    std::string bytes;
    std::size_t position = 0;

    void write(const std::string& piece) {
        bytes.resize(std::max(bytes.size(), position + piece.size()));
        bytes.replace(position, piece.size(), piece);
        position += piece.size();
    }
};

void write(Brelt::PMemStream& stream, Model& model, const std::string& piece) {
    std::int32_t written = 0;
    require(!stream.Write(piece.data(), static_cast<std::int32_t>(piece.size()), &written));
    require(written == static_cast<std::int32_t>(piece.size()));
    model.write(piece);
}

void read(Brelt::PMemStream& stream, Model& model, std::int32_t count) {
    std::string piece(static_cast<std::size_t>(count), '\0');
    std::int32_t got = 0;
    require(!stream.Read(piece.data(), count, &got));
    piece.resize(static_cast<std::size_t>(got));
    require(piece == model.bytes.substr(model.position, static_cast<std::size_t>(count)));
    model.position += piece.size();
}

void seek(Brelt::PMemStream& stream, Model& model, std::int64_t target) {
    const bool inside = target >= 0 && target <= static_cast<std::int64_t>(model.bytes.size());
    require(static_cast<bool>(stream.Seek(target)) != inside);
    model.position = inside ? static_cast<std::size_t>(target) : model.position;
}

/// Records on the heap, with no byte of room too many.
void readRecords(Brelt::PMemStream& stream, std::uint8_t room) {
    require(!stream.Seek(0));
    std::int32_t got = 0;
    auto length = static_cast<std::uint16_t>(room + 1);
    const auto bounded = std::make_unique<char[]>(length);
    static_cast<void>(stream.ReadPascalStr1(bounded.get(), &length, &got));
    const auto whole = std::make_unique<char[]>(65535);
    static_cast<void>(stream.ReadPascalStr(whole.get(), &length, &got));
    std::uint32_t claimed = 0;
    const std::int64_t before = stream.Tell();
    // A record of any length is believed; only small ones are fit for this many runs.
    if (!stream.ReadU32(claimed) && claimed < 65536) {
        require(!stream.Seek(before));
        Brelt::CharString text;
        static_cast<void>(stream.ReadCharString(text));
    }
}

void writeRecords(const std::string& bytes) {
    Brelt::PMemStream stream(7);
    const auto length = static_cast<std::uint16_t>(std::min<std::size_t>(bytes.size(), 65535));
    std::int32_t moved = 0;
    require(!stream.WritePascalStr(bytes.data(), length, &moved) && moved == 2 + length);
    require(!stream.WriteCharString(bytes.c_str()));
    require(!stream.Seek(0));
    const auto room = std::make_unique<char[]>(65535);
    std::uint16_t got = 0;
    require(!stream.ReadPascalStr(room.get(), &got, &moved) && got == length);
    require(std::memcmp(room.get(), bytes.data(), length) == 0);
    Brelt::CharString text;
    require(!stream.ReadCharString(text));
    require(std::strcmp(text.cstr(), bytes.c_str()) == 0);
    require(stream.IsEof() == 1);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzzing::Input input(data, size);
    const std::uint8_t block = input.byte();
    writeRecords(std::string(input.rest()));
    Brelt::PMemStream stream(block + 1);
    Model model;
    while (!input.isEmpty()) {
        switch (const std::uint8_t operation = input.byte(); operation & 3) {
            case 0:
                write(stream, model, input.bytes(input.byte()));
                break;
            case 1:
                read(stream, model, input.byte());
                break;
            case 2:
                seek(stream, model, std::int64_t{input.byte()} * (operation >> 2) - 1);
                break;
            default:
                require(!stream.Reset(operation >> 7));
                model = {};
        }
        require(stream.Size() == static_cast<std::int64_t>(model.bytes.size()));
        require(stream.Tell() == static_cast<std::int64_t>(model.position));
    }
    readRecords(stream, block);
    return 0;
}
