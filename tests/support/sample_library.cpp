#include "support/sample_library.h"

#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string_view>

namespace TestSupport {

namespace {

std::filesystem::path below(const std::filesystem::path& root, std::string_view name) {
    return root / std::filesystem::path(std::u8string(name.begin(), name.end()));
}

std::string jsonString(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result.append(1, '\\').append(1, c);
        } else if (const auto value = static_cast<unsigned char>(c); value < 0x20) {
            result.append("\\u00").append(1, digits[value / 16]).append(1, digits[value % 16]);
        } else {
            result += c;
        }
    }
    return result + "\"";
}

std::string lossyPath(const std::string& path) {
    constexpr std::string_view ending = ".tx";
    return path.substr(0, path.size() - ending.size()) + ".jpeg.tx";
}

bool isTaken(const SampleFile& file) {
    return !file.rule || *file.rule == "always" || *file.rule == "missing";
}

std::string entryOf(const SampleFile& file) {
    std::string text = "{\"path\": " + jsonString(file.path);
    if (file.rule) {
        text += ", \"download\": " + jsonString(*file.rule);
    }
    text += ", \"size\": " + std::to_string(file.content.size());
    if (file.lossy) {
        text += ", \"jpegSize\": " + std::to_string(file.lossy->size());
    }
    return text + "}";
}

std::string readWhole(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string randomBytes(std::mt19937& random, std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

}  // namespace

SampleLibrary& SampleLibrary::add(std::string path, std::string content,
                                  std::optional<std::string> rule) {
    files.push_back({std::move(path), std::move(content), std::move(rule), std::nullopt});
    return *this;
}

SampleLibrary& SampleLibrary::addLossy(std::string path, std::string content, std::string lossy) {
    files.push_back({std::move(path), std::move(content), std::nullopt, std::move(lossy)});
    return *this;
}

std::string SampleLibrary::fileList() const {
    std::string text = "[";
    std::string_view separator = "\n";
    for (const SampleFile& file : files) {
        text.append(separator).append(entryOf(file));
        separator = ",\n";
    }
    return text + "\n]\n";
}

Tree SampleLibrary::served() const {
    Tree tree{{"id.txt", stamp}, {"filelist.json", fileList()}};
    for (const SampleFile& file : files) {
        tree[file.path] = file.content;
        if (file.lossy) {
            tree[lossyPath(file.path)] = *file.lossy;
        }
    }
    return tree;
}

Tree SampleLibrary::expected() const {
    Tree tree{{"id.txt", stamp}};
    for (const SampleFile& file : files) {
        if (isTaken(file)) {
            tree[file.path] = file.lossy && !file.lossy->empty() ? *file.lossy : file.content;
        }
    }
    return tree;
}

void SampleLibrary::writeTo(const std::filesystem::path& root) const {
    writeTree(root, served());
}

SampleLibrary SampleLibrary::generated(int count, std::size_t largest, std::uint32_t seed) {
    constexpr std::string_view folders[] = {"", "maps/", "maps/wood and stone/", "B\xC3\xA4ume/",
                                            "\xE6\x9C\xA8/a/b/c/"};
    std::mt19937 random(seed);
    SampleLibrary library;
    for (int i = 0; i < count; ++i) {
        const std::string name =
            std::string(folders[random() % std::size(folders)]) + "file " + std::to_string(i);
        std::string content = randomBytes(random, random() % (largest + 1));
        switch (random() % 4) {
            case 0:
                library.add(name + ".bin", std::move(content));
                break;
            case 1:
                library.add(name + ".bin", std::move(content), "always");
                break;
            case 2:
                library.add(name + ".bin", std::move(content), "missing");
                break;
            default:
                library.addLossy(name + ".tx", std::move(content), "lossy " + std::to_string(i));
        }
    }
    return library;
}

Tree readTree(const std::filesystem::path& root) {
    Tree tree;
    if (!std::filesystem::exists(root)) {
        return tree;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (std::filesystem::is_directory(entry.symlink_status())) {
            continue;
        }
        const std::u8string name = entry.path().lexically_relative(root).generic_u8string();
        tree[std::string(name.begin(), name.end())] =
            std::filesystem::is_regular_file(entry.symlink_status()) ? readWhole(entry.path())
                                                                     : "(no regular file)";
    }
    return tree;
}

void writeTree(const std::filesystem::path& root, const Tree& tree) {
    for (const auto& [name, content] : tree) {
        const std::filesystem::path file = below(root, name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream stream(file, std::ios::binary);
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
        if (!stream.flush()) {
            throw std::runtime_error("can't write " + file.string());
        }
    }
}

std::vector<std::string> differences(const Tree& expected, const Tree& actual) {
    std::vector<std::string> lines;
    for (const auto& [name, content] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end()) {
            lines.push_back("missing: " + name);
        } else if (found->second != content) {
            lines.push_back("differs: " + name);
        }
    }
    for (const auto& [name, content] : actual) {
        if (expected.find(name) == expected.end()) {
            lines.push_back("unexpected: " + name);
        }
    }
    return lines;
}

}  // namespace TestSupport
