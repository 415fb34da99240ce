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
using Nodes = std::vector<ErrorLine>;

enum class Place { Stamp, List, FedFile, DrainedFile };

const char* nameOf(Place place) {
    switch (place) {
        case Place::Stamp:
            return "at the stamp";
        case Place::List:
            return "at the list";
        case Place::FedFile:
            return "at a file in the feed phase";
        case Place::DrainedFile:
            return "at a file in the drain phase";
    }
    return "";
}

/// The node that the step puts on top of the request's failure; none where that stands alone.
Nodes stepNode(Place place) {
    switch (place) {
        case Place::Stamp:
            return {
                {"DownloaderImpl::readRemoteIdFile", -1, "Could not download remote stamp file"}};
        case Place::List:
            return {{"DownloaderImpl::downloadListFile", -1, "Could not download list file"}};
        case Place::FedFile:
            return {{"DownloaderImpl::downloadFiles", -1, "Downloading \"f1.tx\" file failed"}};
        case Place::DrainedFile:
            return {};
    }
    return {};
}

/// One broken answer at one place.
class Siege {
public:
    Siege(const BrokenAnswer& answer, Place place) : answer_(answer), place_(place) {
        if (place == Place::DrainedFile) {
            ground_.library.files.resize(1);
            ground_.serveSoundly();
        }
        ground_.target.write("inside/id.txt", "old");
        const Handler broken = answer.script(brokenBody());
        if (place == Place::FedFile) {
            holdTheOthers(broken);
        } else {
            ground_.server.on(brokenTarget(), broken);
        }
        if (answer.outcome == Outcome::Arrives) {
            takeForTrue(answer.delivered(brokenBody()));
        } else if (answer.outcome == Outcome::EndsByAbort) {
            ground_.sink.abortAfterPolls(60, 7);
        }
    }

    void run() {
        const std::int32_t result = runWithLimits();
        EXPECT_EQ(ground_.brokenPromises(), Lines{});
        if (answer_.outcome != Outcome::Arrives || isDamagedList()) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(ground_.stampOnDisk(), "old");
            expectChain();
        } else {
            EXPECT_EQ(result, 0) << ground_.sink.errorText();
            const Tree tree = ground_.tree();
            EXPECT_EQ(differences(ground_.library.expected(), tree), Lines{});
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

    std::string brokenName() const {
        return place_ == Place::Stamp  ? "id.txt"
               : place_ == Place::List ? "filelist.json"
                                       : "f1.tx";
    }
    std::string brokenTarget() const { return "/lib/" + brokenName(); }
    std::string brokenBody() const { return ground_.library.served().at(brokenName()); }

    bool isDamagedList() const {
        return place_ == Place::List && answer_.outcome == Outcome::Arrives &&
               answer_.delivered(brokenBody()) != brokenBody();
    }

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
            const std::string target = std::string("/lib/") + name;
            const std::string bytes = ok(ground_.library.served().at(name)).bytes();
            ground_.server.on(
                target, [this, bytes, pollsInTheEnd](Connection& client, const Request&) {
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
        const Nodes nodes = ground_.sink.errorNodes();
        if (isDamagedList()) {
            ASSERT_EQ(nodes.size(), 1U) << ground_.sink.errorText();
            EXPECT_EQ(nodes[0].message.find("Parsing json file list failed: "), 0U);
            return;
        }
        Nodes top(nodes.begin(), nodes.empty() ? nodes.end() : nodes.end() - 1);
        if (place_ == Place::FedFile && answer_.outcome == Outcome::EndsByAbort && !top.empty()) {
            // The others see the abort as well, and any may be the first.
            top[0].message = stepNode(place_)[0].message;
        }
        EXPECT_EQ(top, stepNode(place_)) << ground_.sink.errorText();
        ASSERT_FALSE(nodes.empty());
        EXPECT_EQ(nodes.back().message.find(answer_.cause), 0U) << ground_.sink.errorText();
    }

    /// A server may serve what it likes: what arrives undisturbed is what it has.
    void takeForTrue(const std::string& delivered) {
        if (place_ == Place::Stamp) {
            ground_.library.stamp = delivered;
        } else if (place_ != Place::List) {
            ground_.library.files.front().content = delivered;
        }
    }

    const BrokenAnswer& answer_;
    const Place place_;
    Besieged ground_;
};

class BrokenServer : public testing::TestWithParam<BrokenAnswer> {};

TEST_P(BrokenServer, EndsInOneTruthfulResultAtEachPlaceAndLeavesNothingOver) {
    for (const Place place : {Place::Stamp, Place::List, Place::FedFile, Place::DrainedFile}) {
        SCOPED_TRACE(nameOf(place));
        expectNothingLeftOver([&] { Siege(GetParam(), place).run(); });
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, BrokenServer, testing::ValuesIn(brokenAnswers()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
