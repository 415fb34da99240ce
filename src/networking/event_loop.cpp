// The loop: take what is handed over, let libcurl work, hand back what is over, sleep.

#include "networking/event_loop.h"

#include <algorithm>
#include <chrono>
#include <new>

#include "networking/platform.h"

namespace Norvel::Networking {

namespace {

using std::chrono::milliseconds;

/// Longest sleep of a loop without requests; any time does, since a request wakes it.
constexpr milliseconds idleSleep{60'000};

}  // namespace

EventLoop::EventLoop(HandOver& handOver, Transfers& transfers)
    : handOver_(handOver), transfers_(transfers), multi_(curl_multi_init()) {
    if (multi_ == nullptr) {
        throw std::bad_alloc();
    }
    running_.reserve(transfers.size());
    arrived_.reserve(transfers.size());
    // One connection for each client is kept, whatever number of them is busy.
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(transfers.size()));
    thread_ = startThread([this] { run(); });
}

EventLoop::~EventLoop() {
    handOver_.close();
    wake();
    thread_.join();
}

void EventLoop::wake() {
    const std::lock_guard lock(multiMutex_);
    if (multi_ != nullptr) {
        curl_multi_wakeup(multi_.get());
    }
}

void EventLoop::run() noexcept {
    while (takeQueued()) {
        perform();
        collectFinished();
        tick();
        if (handOver_.fallAsleep()) {
            waitForEvents();
        }
    }
    abandonAll();
    // Connections are closed on this thread, where SIGPIPE is blocked.
    const std::lock_guard lock(multiMutex_);
    multi_.reset();
}

bool EventLoop::takeQueued() {
    const bool open = handOver_.takeQueued(arrived_);
    for (const std::int32_t client : arrived_) {
        running_.push_back(client);
        transfer(client).begin(std::chrono::steady_clock::now());
        if (curl_multi_add_handle(multi_.get(), transfer(client).easy()) != CURLM_OK) {
            end(client, CURLE_OUT_OF_MEMORY);
        }
    }
    arrived_.clear();
    return open;
}

void EventLoop::perform() {
    int runningHandles = 0;
    if (curl_multi_perform(multi_.get(), &runningHandles) != CURLM_OK) {
        endAll(CURLE_OUT_OF_MEMORY);
    }
}

void EventLoop::collectFinished() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        const Transfer* finished = &Transfer::of(message->easy_handle);
        const CURLcode result = message->data.result;
        const auto client = std::find_if(running_.begin(), running_.end(), [&](std::int32_t index) {
            return &transfer(index) == finished;
        });
        end(*client, result);
    }
}

void EventLoop::tick() {
    const TimePoint now = std::chrono::steady_clock::now();
    for (std::size_t i = running_.size(); i > 0; --i) {
        const std::int32_t client = running_[i - 1];
        if (!transfer(client).tick(now)) {
            end(client, CURLE_OK);
        }
    }
}

void EventLoop::waitForEvents() {
    const TimePoint now = std::chrono::steady_clock::now();
    TimePoint until = now + idleSleep;
    for (const std::int32_t client : running_) {
        until = std::min(until, transfer(client).nextTick());
    }
    const auto time = std::chrono::ceil<milliseconds>(std::max(until, now) - now);
    if (curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(time.count()), nullptr) !=
        CURLM_OK) {
        endAll(CURLE_RECV_ERROR);
    }
}

void EventLoop::end(std::int32_t client, CURLcode result) {
    curl_multi_remove_handle(multi_.get(), transfer(client).easy());
    std::erase(running_, client);
    transfer(client).finish(result);
    handOver_.release(client);
}

void EventLoop::endAll(CURLcode result) {
    while (!running_.empty()) {
        end(running_.back(), result);
    }
}

void EventLoop::abandonAll() {
    for (const std::int32_t client : running_) {
        curl_multi_remove_handle(multi_.get(), transfer(client).easy());
        handOver_.release(client);
    }
    running_.clear();
}

}  // namespace Norvel::Networking
