// A whole run against a server that breaks one answer: each way of breaking, at the stamp, at the
// list, and at a file while others are fed and while the last ones are drained.

#include <atomic>
#include <chrono>
#include <memory>
#include <ostream>
#include <string_view>

#include "hostile/besieged.h"
#include "hostile/broken_answers.h"
#include "networking/fetcher.h"

using namespace std::chrono_literals;
using namespace TestSupport;

namespace TestSupport {

/// How test programs show a row that fails.
std::ostream& operator<<(std::ostream& stream, const BrokenAnswer& answer) {
    return stream << answer.name;
}

}  // namespace TestSupport

namespace {

using Outcome = BrokenAnswer::Outcome;

struct Place {
    const char* file;
    /// The node that the step puts on top of the request's failure; "" where that stands alone.
    const char* function;
    const char* message;
};

constexpr Place stamp{"id.txt", "DownloaderImpl::readRemoteIdFile",
                      "Could not download remote stamp file"};
constexpr Place list{"filelist.json", "DownloaderImpl::downloadListFile",
                     "Could not download list file"};
constexpr Place fedFile{"f1.tx", "DownloaderImpl::downloadFiles",
                        "Downloading \"f1.tx\" file failed"};
constexpr Place drainedFile{"f1.tx", "", ""};

/// One broken answer at one place.
class Siege {
public:
    Siege(const BrokenAnswer& answer, const Place& place) : answer_(answer), place_(place) {
        if (&place == &drainedFile) {
            ground_.library.files.resize(1);
            ground_.serveSoundly();
        }
        ground_.target.write("inside/id.txt", "old");
        const std::string body = ground_.library.served().at(place.file);
        const Handler broken = answer.script(body);
        if (&place == &fedFile) {
            holdTheOthers(broken);
        } else {
            ground_.server.on(brokenTarget(), broken);
        }
        if (answer.outcome == Outcome::Arrives) {
            takeForTrue(answer.delivered(body));
            isDamagedList_ = &place == &list && answer.delivered(body) != body;
        } else if (answer.outcome == Outcome::EndsByAbort) {
            ground_.sink.abortAfterPolls(60, 7);
        }
    }

    void run() {
        const std::int32_t result = runWithLimits();
        EXPECT_EQ(ground_.brokenPromises(), Lines{});
        if (answer_.outcome == Outcome::Arrives && !isDamagedList_) {
            EXPECT_EQ(result, 0) << ground_.sink.errorText();
            EXPECT_EQ(differences(ground_.library.expected(), ground_.tree()), Lines{});
        } else {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(ground_.stampOnDisk(), "old");
            expectChain();
        }
        ground_.expectHealing();
    }

private:
    std::int32_t runWithLimits() {
        ShortLimits limits;
        limits->progressInterval = 5ms;
        if (answer_.outcome == Outcome::EndsByTimeLimit) {
            limits->stallTime = 500ms;
        }
        const std::int32_t result = ground_.download();
        ground_.destroy();
        return result;
    }

    std::string brokenTarget() const { return std::string("/lib/") + place_.file; }

    /// The other four that run only trickle until the broken one's outcome is in. Each poll follows
    /// a look of the network thread at all its sockets, so after so many of them the outcome of the
    /// broken one is what the feed phase sees next.
    void holdTheOthers(const Handler& broken) {
        auto pollsInTheEnd = std::make_shared<std::atomic<std::int32_t>>(-1);
        ground_.server.on(brokenTarget(), [this, broken, pollsInTheEnd](Connection& client,
                                                                        const Request& request) {
            broken(client, request);
            *pollsInTheEnd = ground_.sink.polls() + 40;
        });
        for (const char* name : {"f2.tx", "wood/f3.tx", "wood/oak/f4.jpeg.tx", "f5.tx"}) {
            const std::string bytes = ok(ground_.library.served().at(name)).bytes();
            ground_.server.on(std::string("/lib/") + name, [this, bytes, pollsInTheEnd](
                                                               Connection& client, const Request&) {
                std::string_view rest = bytes;
                while (rest.size() > 2 && client.isOpen() &&
                       (*pollsInTheEnd < 0 || ground_.sink.polls() < *pollsInTheEnd)) {
                    client.drip(rest.substr(0, 2), 1, 5ms);
                    rest.remove_prefix(2);
                }
                client.send(rest);
            });
        }
    }

    void expectChain() const {
        const std::vector<ErrorLine> nodes = ground_.sink.errorNodes();
        SCOPED_TRACE(ground_.sink.errorText());
        const bool standsAlone = isDamagedList_ || &place_ == &drainedFile;
        ASSERT_EQ(nodes.size(), standsAlone ? 1U : 2U);
        const std::string cause =
            isDamagedList_ ? "Parsing json file list failed: " : answer_.cause;
        EXPECT_EQ(nodes.back().message.substr(0, cause.size()), cause);
        if (!standsAlone) {
            EXPECT_EQ(nodes[0].function, place_.function);
            // The others see an abort as well, and any may be the first.
            if (&place_ != &fedFile || answer_.outcome != Outcome::EndsByAbort) {
                EXPECT_EQ(nodes[0].message, place_.message);
            }
        }
    }

    /// A server may serve what it likes: what arrives undisturbed is what it has.
    void takeForTrue(const std::string& delivered) {
        if (&place_ == &stamp) {
            ground_.library.stamp = delivered;
        } else if (&place_ != &list) {
            ground_.library.files.front().content = delivered;
        }
    }

    const BrokenAnswer& answer_;
    const Place& place_;
    bool isDamagedList_ = false;
    Besieged ground_;
};

class BrokenServer : public testing::TestWithParam<BrokenAnswer> {};

TEST_P(BrokenServer, EndsInOneTruthfulResultAtEachPlaceAndLeavesNothingOver) {
    for (const Place* place : {&stamp, &list, &fedFile, &drainedFile}) {
        SCOPED_TRACE(std::string(place->function) + " at " + place->file);
        expectNothingLeftOver([&] { Siege(GetParam(), *place).run(); });
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, BrokenServer, testing::ValuesIn(brokenAnswers()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
