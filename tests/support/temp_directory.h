#pragma once

// A fresh directory for one test, which goes with all that it holds.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

namespace TestSupport {

/// The bytes of a file; raises `std::runtime_error` if it can't be read.
inline std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("can't read " + file.string());
    }
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Makes an empty directory under the system's own for temporary files, and removes it again.
class TempDirectory {
public:
    TempDirectory() {
        std::random_device random;
        const std::filesystem::path base = std::filesystem::temp_directory_path();
        for (int attempt = 0; attempt < 100; ++attempt) {
            path_ = base / ("kiv_test_" + std::to_string(random()));
            if (std::filesystem::create_directory(path_)) {
                return;
            }
        }
        throw std::runtime_error("no fresh directory in " + base.string());
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;
    ~TempDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

    /// The directory's own path as UTF-8 with "/", or that of a name in it.
    std::string text() const { return utf8(path_); }
    std::string text(std::string_view name) const { return utf8(path_ / fromUtf8(name)); }

    /// Writes a file in it, with the directories on the way; `name` is UTF-8 and relative.
    void write(std::string_view name, std::string_view bytes) const {
        const std::filesystem::path file = path_ / fromUtf8(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream stream(file, std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!stream.flush()) {
            throw std::runtime_error("can't write " + file.string());
        }
    }

    /// Writes files below a folder in it.
    void write(const std::string& folder, const std::map<std::string, std::string>& files) const {
        for (const auto& [name, content] : files) {
            write(std::string(folder).append("/").append(name), content);
        }
    }

    std::string read(std::string_view name) const { return readFile(path_ / fromUtf8(name)); }

    bool exists(std::string_view name) const {
        return std::filesystem::exists(path_ / fromUtf8(name));
    }

private:
    static std::string utf8(const std::filesystem::path& path) {
        const std::u8string text = path.generic_u8string();
        return {text.begin(), text.end()};
    }
    static std::filesystem::path fromUtf8(std::string_view text) {
        return std::filesystem::path(std::u8string(text.begin(), text.end()));
    }

    std::filesystem::path path_;
};

}  // namespace TestSupport
