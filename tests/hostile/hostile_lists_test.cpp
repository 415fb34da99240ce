// Lists that a server taken over might serve, each in a whole run: nothing is written outside the
// target, the stamp goes last or not at all, and a sound list heals.

#include <filesystem>
#include <ostream>

#include "foundation/win32/name_rules.h"
#include "hostile/besieged.h"

using namespace TestSupport;

namespace {

struct HostileList {
    const char* name;
    std::string text;
    std::int32_t result;
    /// A part of what the host is told of the failure.
    std::string told = {};
};

std::ostream& operator<<(std::ostream& stream, const HostileList& list) {
    return stream << list.name;
}

std::string entry(const std::string& path) {
    return "[{\"path\":\"before.tx\"},{\"path\":\"" + path + "\"}]";
}

constexpr const char* leaves = "leaves the target directory";

HostileList leaving(const char* name, const std::string& path) {
    return {name, entry(path), -1, leaves};
}

/// Refused on Windows, and a name like any other elsewhere.
HostileList onWindows(const char* told, const char* name, const std::string& path) {
    return Brelt::windowsTakesNamesElsewhere ? HostileList{name, entry(path), -1, told}
                                             : HostileList{name, entry(path), 0};
}

std::string repeated(const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

std::vector<HostileList> hostileLists() {
    const std::string longName = std::string(250, 'n') + "/x";
    return {
        leaving("Climbs", "../x"),
        leaving("ClimbsFromBelow", "sub/../../x"),
        leaving("ClimbsByBackslashes", "..\\\\x"),
        leaving("ClimbsFromTheRoot", "/../x"),
        leaving("ClimbsToANeighbour", "../inside2/x"),
        leaving("ClimbsFar", repeated("../", 60) + "etc/x"),
        leaving("ClimbsBehindManyDots", "./././../x"),
        {"AbsolutePathStaysInside", entry("/etc/x"), 0},
        onWindows(leaves, "DriveStaysInside", "C:\\\\x"),
        onWindows(leaves, "ManyDotsAreAName", ".../x"),
        onWindows(leaves, "DeviceIsAName", "maps/nul.tx"),
        onWindows(leaves, "BlankAtAnEndIsAName", "end "),
        onWindows(leaves, "StreamOfTheStampIsAName", "id.txt::$DATA"),
        {"StampIsLeftOut", entry("id.txt"), 0},
        {"StampInAnotherCaseIsLeftOutOnWindows", entry("ID.TXT"), 0},
        {"StampByADetourIsLeftOut", entry("sub/..//./id.txt"), 0},
        {"StampAsADirectory", entry("id.txt/x"), -1, "Could not create "},
        {"FileAsADirectory", entry("before.tx/x"), -1, "Could not create "},
        {"DirectoryAsAFile", entry("sub/x") + " ", 0},
        {"TargetItself", entry("."), -1,
         "[DownloaderImpl::saveFile] -1: Could not create file \".\" | "},
        {"SamePathTwice", entry("before.tx"), 0},
        {"NameTooLong", entry(longName), -1,
         "[DownloaderImpl::saveFile] -1: Could not create directory path to \"" + longName +
             "\" | [createPathImpl] -1: Path length exceeds MAX_PATH"},
        {"PathOfKilobytes", entry(repeated("d/", 5'000)), -1, "Could not create directory path"},
        onWindows("Could not create file", "ControlCharacters", "a\\u0001\\n\\r\\tb"),
        onWindows(leaves, "HeaderLinesInAName", "a HTTP/1.1\\r\\nX: y"),
        {"NulInAName", entry("a\\u0000/../../x"), 0},
        {"NoUtf8", entry("\xFF\xC0\xAF..\xC0\xAFx"), 0},
        {"LoneSurrogate", entry("\\ud800x"), -1, "Parsing json file list failed"},
        {"FormatDirectives", entry("%s%n%99999999d"), 0},
        {"JpegOfNoMap", R"([{"path":"a.png","jpegSize":1}])", -1, "Unexpected extension"},
        {"EntryOfNoObject", R"([{"path":"a"},7])", -1, "object expceted"},
        {"SizesBeyondAllNumbers",
         R"([{"path":"a","size":1e300},{"path":"b","size":-99999999999999999999}])", 0},
        {"DeepNesting", repeated("[", 100'000), -1, "Exception parsing json file list"},
        {"DeepObjects", repeated("{\"a\":", 100'000), -1, "Exception parsing json file list"},
        {"TextBehindTheRoot", "[] trailing", 0},
        {"NoList", "<html><body>Please log in</body></html>", -1, "Parsing json file list failed"},
        {"NothingButNuls", std::string(1'000, '\0'), -1, "Parsing json file list failed"},
    };
}

class HostileLists : public testing::TestWithParam<HostileList> {};

TEST_P(HostileLists, WriteNothingOutsideAndNeverTheStamp) {
    const HostileList& list = GetParam();
    Besieged ground;
    ground.target.write("inside/id.txt", "old");
    ground.target.write("inside/sub/there.tx", "there");
    ground.server.otherwise(answer(ok("content")));
    ground.server.on("/lib/filelist.json", ok(list.text));
    EXPECT_EQ(ground.download(), list.result) << ground.sink.errorText();
    EXPECT_NE(ground.sink.errorText().find(list.told), std::string::npos)
        << ground.sink.errorText();
    EXPECT_EQ(ground.toldFailure(), list.result != 0);
    if (list.told == leaves) {
        EXPECT_EQ(ground.server.targets().back(), "/lib/filelist.json");
    }
    if (Brelt::windowsTakesNamesElsewhere) {
        EXPECT_EQ(ground.server.requestCount("/lib/ID.TXT"), 0);
    }
    EXPECT_EQ(ground.stampOnDisk(), list.result == 0 ? ground.library.stamp : "old");
    for (const auto& [path, content] : readTree(ground.target.path())) {
        EXPECT_TRUE(path.starts_with("inside/")) << path << " lies outside";
    }
    std::filesystem::remove_all(ground.target.path() / "inside");
    ground.expectHealing();
}

INSTANTIATE_TEST_SUITE_P(Lists, HostileLists, testing::ValuesIn(hostileLists()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
