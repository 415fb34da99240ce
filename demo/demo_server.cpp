// The demo's file server: serves one directory on a free loopback port and can be slowed down, so
// that a run can be stopped in its middle. Talks with the script over standard input and output.
//
// Commands, one a line, each answered by one line:
//     slow N     lets N more requests through, answers "slow" and from then on drips bodies
//     fast       goes on at full speed
//     requests   tells how many requests have come since the last such question
// The end of standard input ends the server.

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds betweenDrips{50};

/// Decides for each request whether its body drips, and holds dripping bodies back.
class Brake {
public:
    /// Counts one request; true for those that drip.
    bool passRequest() {
        const std::lock_guard lock(mutex_);
        ++requests_;
        if (allowance_ > 0 && --allowance_ == 0) {
            slow_ = true;
            say("slow");
        }
        return slow_;
    }

    void slowAfter(std::int64_t requests) {
        const std::lock_guard lock(mutex_);
        allowance_ = requests;
    }

    void release() {
        const std::lock_guard lock(mutex_);
        slow_ = false;
        allowance_ = 0;
        changed_.notify_all();
    }

    /// Waits between two drips; false once the brake is off.
    bool holdBack() {
        std::unique_lock lock(mutex_);
        return !changed_.wait_for(lock, betweenDrips, [this] { return !slow_; });
    }

    std::int64_t takeRequests() {
        const std::lock_guard lock(mutex_);
        return std::exchange(requests_, 0);
    }

    static void say(const std::string& line) { std::cout << line << std::endl; }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::int64_t allowance_ = 0;
    std::int64_t requests_ = 0;
    bool slow_ = false;
};

bool staysInside(const fs::path& name) {
    for (const fs::path& segment : name) {
        if (segment == "..") {
            return false;
        }
    }
    return name.is_relative();
}

void answer(const fs::path& root, Brake& brake, const httplib::Request& request,
            httplib::Response& response) {
    const bool drips = brake.passRequest();
    const fs::path name = request.matches[1].str();
    std::ifstream stream(root / name, std::ios::binary);
    if (!staysInside(name) || !fs::is_regular_file(root / name) || !stream) {
        response.status = 404;
        return;
    }
    const auto content = std::make_shared<std::string>(std::istreambuf_iterator<char>(stream),
                                                       std::istreambuf_iterator<char>());
    if (content->empty()) {
        // A provider of nothing would leave the response without a length.
        response.set_content("", "application/octet-stream");
        return;
    }
    const auto provide = [content, &brake, drips](std::size_t offset, std::size_t length,
                                                  httplib::DataSink& sink) {
        const bool held = drips && brake.holdBack();
        return sink.write(content->data() + offset, held ? 1 : length);
    };
    response.set_content_provider(content->size(), "application/octet-stream", provide);
}

void obey(const std::string& command, Brake& brake) {
    if (command.starts_with("slow ")) {
        brake.slowAfter(std::stoll(command.substr(5)));
    } else if (command == "fast") {
        brake.release();
        Brake::say("fast");
    } else if (command == "requests") {
        Brake::say(std::to_string(brake.takeRequests()));
    } else {
        Brake::say("unknown command");
    }
}

int serve(const fs::path& root) {
    Brake brake;
    httplib::Server server;
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(1'000'000);
    server.Get("/kivlib/(.*)", [&](const httplib::Request& request, httplib::Response& response) {
        answer(root, brake, request, response);
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    if (port < 0) {
        std::cerr << "kiv_demo_server: no free port on 127.0.0.1\n";
        return 1;
    }
    std::thread listener([&server] { server.listen_after_bind(); });
    while (!server.is_running()) {
        std::this_thread::yield();
    }
    Brake::say(std::to_string(port));
    for (std::string command; std::getline(std::cin, command);) {
        obey(command, brake);
    }
    brake.release();
    server.stop();
    listener.join();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: kiv_demo_server DIRECTORY\n";
        return 2;
    }
    try {
        return serve(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << "kiv_demo_server: " << error.what() << '\n';
        return 1;
    }
}
