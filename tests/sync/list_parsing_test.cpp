#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/pmem_stream.h"
#include "interface/downloader_impl.h"
#include "support/recording_sink.h"
#include "support/temp_directory.h"

using namespace TestSupport;

namespace {

class ListParsing : public testing::Test {
protected:
    ListParsing() : downloader_(&sink_, &params_) {
        params_.targetDirectory = target_.text().c_str();
    }

    std::int32_t parse(const std::string& text) {
        files_.count = 0;
        Brelt::PMemStream stream(16384);
        std::int32_t written = 0;
        stream.Write(text.data(), static_cast<std::int32_t>(text.size()), &written);
        return sink_.during([&] { return downloader_.parseListFile(&stream, files_); });
    }

    /// "local remote size" of each entry taken.
    Lines taken() const {
        Lines lines;
        for (std::int32_t i = 0; i < files_.count; ++i) {
            const auto& file = files_.data[i];
            lines.push_back(std::string(file.localName.cstr()) + " " + file.remoteName.cstr() +
                            " " + std::to_string(file.size));
        }
        return lines;
    }

    TempDirectory target_;
    RecordingSink sink_;
    DownloaderParams params_;
    DownloaderImpl downloader_;
    Brelt::Table<DownloaderImpl::ListFile> files_;
};

TEST_F(ListParsing, EntriesAreTakenByTheirRulesAndTypes) {
    target_.write("there.tx", "old");
    target_.write("folder/x", "old");
    const struct {
        const char* list;
        Lines expected;
    } cases[] = {
        {"[]", {}},
        {"{}", {}},
        {"null", {}},
        {"7", {}},
        {"\"text\"", {}},
        {"// comment\n[/* an entry */ {\"path\":\"a\"}]", {"a a 0"}},
        // Rules.
        {R"([{"path":"a","size":3}])", {"a a 3"}},
        {R"([{"path":"a","download":"always"}])", {"a a 0"}},
        {R"([{"path":"a","download":7}])", {"a a 0"}},
        {R"([{"path":"a","download":"Always"},{"path":"b","download":""},{"path":"c"}])",
         {"c c 0"}},
        {R"([{"path":"there.tx","download":"missing"},{"path":"x","download":"missing"}])",
         {"x x 0"}},
        {R"([{"path":"folder","download":"missing"},{"path":"there.tx"}])",
         {"there.tx there.tx 0"}},
        // They are asked before the path is judged.
        {R"([{"path":"../a","download":"never"},{"path":"id.txt","download":"no"}])", {}},
        // Paths.
        {R"([{"size":1},{"path":"","download":"always"},{"path":5},{"path":null}])", {}},
        {R"([{"path":"a"},{"path":"a"}])", {"a a 0", "a a 0"}},
        {R"({"z":{"path":"1"},"b":{"path":"2"},"y":{"path":"3"}})", {"2 2 0", "3 3 0", "1 1 0"}},
        // Sizes.
        {R"([{"path":"a","size":1.5},{"path":"b","size":2.0},{"path":"c","size":"12"}])",
         {"a a 0", "b b 2", "c c 0"}},
        {R"([{"path":"a","size":-5},{"path":"b","size":9223372036854775807}])",
         {"a a -5", "b b 9223372036854775807"}},
        {R"([{"path":"a","size":9223372036854775808},{"path":"b","size":true}])",
         {"a a 0", "b b 0"}},
        // Lossy variants.
        {R"([{"path":"m/a.tx","size":100,"jpegSize":40}])", {"m/a.tx m/a.jpeg.tx 40"}},
        {R"([{"path":"a.tx","size":100,"jpegSize":0},{"path":"b","jpegSize":-1}])",
         {"a.tx a.tx 100", "b b 0"}},
        {R"([{"path":".tx","jpegSize":1}])", {".tx .jpeg.tx 1"}},
        {R"([{"path":"a.png","jpegSize":9,"download":"never"}])", {}},
    };
    for (const auto& example : cases) {
        EXPECT_EQ(parse(example.list), 0) << example.list;
        EXPECT_EQ(taken(), example.expected) << example.list;
    }
    EXPECT_EQ(sink_.lines(), Lines{});
}

TEST_F(ListParsing, FailureIsReportedOnceWithItsCause) {
    const std::string parsing = "[DownloaderImpl::parseListFile] -1: ";
    const std::string lossy =
        "[DownloaderImpl::ListFile::init] -1: Unexpected extension for lossy compressed map "
        "(expected \".tx\", got \"";
    const struct {
        std::string list;
        std::string told;
    } cases[] = {
        {R"([{"path":"a"},7,{"path":"b"}])",
         parsing + "Parsing json file list failed (object expceted)"},
        {R"([{"path":"a.TX","jpegSize":1}])", lossy + "a.TX\""},
        {R"([{"path":"tx","jpegSize":1}])", lossy + "tx\""},
        {R"([{"path":"a/../../b"}])", parsing + "Path \"a/../../b\" leaves the target directory"},
        {R"([{"path":"..\\b","download":"missing"}])",
         parsing + "Path \"..\\b\" leaves the target directory"},
        {std::string(2000, '[') + std::string(2000, ']'),
         parsing + "Exception parsing json file list: Exceeded stackLimit in readValue()."},
    };
    for (const auto& [list, told] : cases) {
        sink_.clear();
        EXPECT_EQ(parse(list), -1);
        EXPECT_EQ(sink_.lines(), Lines{"reportError " + told});
    }
}

TEST_F(ListParsing, SyntaxErrorTellsWhereAndIsCut) {
    EXPECT_EQ(parse("[{\"path\": }]"), -1);
    EXPECT_EQ(sink_.errorNodes().at(0).message.find(
                  "Parsing json file list failed: * Line 1, Column 11\n"),
              0U);
    std::string manyFaults = "{";
    for (int i = 0; i < 200; ++i) {
        manyFaults += "\"k\":],";
    }
    EXPECT_EQ(parse(manyFaults), -1);
    EXPECT_LE(sink_.errorNodes().at(0).message.size(), 510U);
}

TEST_F(ListParsing, EntryThatNamesTheLocalStampIsDroppedWithAWarning) {
    params_.subPath = "beta";
    EXPECT_EQ(parse(R"([{"path":"id.txt"},{"path":"./x/..\\beta//id.txt"},{"path":"b"}])"), 0);
    EXPECT_EQ(taken(), (Lines{"id.txt id.txt 0", "b b 0"}));
    EXPECT_EQ(sink_.lines(), Lines{"reportWarning DownloaderImpl::parseListFile -1 Path "
                                   "\"./x/..\\beta//id.txt\" is the local stamp. Entry ignored."});
}

}  // namespace
