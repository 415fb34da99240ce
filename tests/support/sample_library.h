#pragma once

// A small remote library to download: files, list and stamp, on the scripted server, in a directory
// for a real server, or beside what a run has left behind.
//
//     SampleLibrary library;
//     library.add("maps/wood.tx", "wood").add("notes.txt", "n", "missing").addLossy("a.tx", "a",
//     "j"); server.serve("/lib", library.served());      // or directory.write("lib",
//     library.served());
//     ... a run ...
//     EXPECT_EQ(differences(library.expected(), readTree(target)), Lines{});

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace TestSupport {

/// Path below the root, UTF-8 with "/" between its parts, to the file's bytes.
using Tree = std::map<std::string, std::string>;

/// One entry of the list and its file.
struct SampleFile {
    std::string path;
    std::string content;
    /// The value of "download"; without one the entry has no such key.
    std::optional<std::string> rule;
    /// The lossy variant, which the server has under the path with ".jpeg.tx" for ".tx".
    std::optional<std::string> lossy;
};

struct SampleLibrary {
    std::string stamp = "stamp 1\n";
    std::vector<SampleFile> files;

    SampleLibrary& add(std::string path, std::string content,
                       std::optional<std::string> rule = std::nullopt);
    /// `path` ends in ".tx".
    SampleLibrary& addLossy(std::string path, std::string content, std::string lossy);

    std::string fileList() const;
    /// All that a server has: the files with their variants, `filelist.json` and `id.txt`.
    Tree served() const;
    /// What a run leaves in an empty directory.
    Tree expected() const;

    /// `count` files of up to `largest` bytes in nested directories, with blanks and letters beyond
    /// ASCII in their names and every way of being listed; the same for the same seed.
    static SampleLibrary generated(int count, std::size_t largest, std::uint32_t seed = 1);
};

/// Every file below `root`; what is neither file nor directory comes as "(no regular file)". A root
/// that doesn't exist holds nothing.
Tree readTree(const std::filesystem::path& root);

/// One line for each path that is missing, unexpected or of other content.
std::vector<std::string> differences(const Tree& expected, const Tree& actual);

}  // namespace TestSupport
