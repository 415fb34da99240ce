#include "support/sample_library.h"

#include <iomanip>
#include <iterator>
#include <random>
#include <sstream>

#include "support/temp_directory.h"

namespace TestSupport {

namespace {

std::string lossyPath(const std::string& path) {
    constexpr std::string_view ending = ".tx";
    return path.substr(0, path.size() - ending.size()) + ".jpeg.tx";
}

bool isTaken(const SampleFile& file) {
    return !file.rule || *file.rule == "always" || *file.rule == "missing";
}

std::string entryOf(const SampleFile& file) {
    std::ostringstream text;
    text << "{\"path\": " << std::quoted(file.path);
    if (file.rule) {
        text << ", \"download\": " << std::quoted(*file.rule);
    }
    text << ", \"size\": " << file.content.size();
    if (file.lossy) {
        text << ", \"jpegSize\": " << file.lossy->size();
    }
    text << "}";
    return text.str();
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

SampleLibrary SampleLibrary::generated(int count, std::size_t largest, std::uint32_t seed) {
    constexpr std::string_view folders[] = {"", "maps/", "maps/wood and stone/", "B\xC3\xA4ume/",
                                            "\xE6\x9C\xA8/a/b/c/"};
    std::mt19937 random(seed);
    SampleLibrary library;
    for (int i = 0; i < count; ++i) {
        const std::string name =
            std::string(folders[random() % std::size(folders)]) + "file " + std::to_string(i);
        std::string content = randomBytes(random, random() % (largest + 1));
        constexpr std::optional<const char*> rules[] = {std::nullopt, "always", "missing"};
        if (const auto kind = random() % 4; kind < std::size(rules)) {
            library.add(name + ".bin", std::move(content), rules[kind]);
        } else {
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
            std::filesystem::is_regular_file(entry.symlink_status()) ? readFile(entry.path())
                                                                     : "(no regular file)";
    }
    return tree;
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
