#include "support/scripted_server.h"

#include <algorithm>
#include <utility>

#include "support/patience.h"
#include "support/server_scripts.h"

namespace TestSupport {

ScriptedServer::ScriptedServer()
    : listener_(Socket::listenOnLoopback()),
      port_(listener_.localPort()),
      otherwise_(std::make_shared<Handler>(answer(withStatus(404, "no such file\n")))),
      acceptor_([this] { acceptClients(); }) {}

ScriptedServer::~ScriptedServer() {
    stopping_ = true;
    acceptor_.join();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return running_.empty(); });
    lock.unlock();
    joinFinished();
}

void ScriptedServer::on(const std::string& target, Handler handler) {
    const std::lock_guard lock(mutex_);
    handlers_[target] = std::make_shared<Handler>(std::move(handler));
}

void ScriptedServer::on(const std::string& target, const Response& response) {
    on(target, answer(response));
}

void ScriptedServer::otherwise(Handler handler) {
    const std::lock_guard lock(mutex_);
    otherwise_ = std::make_shared<Handler>(std::move(handler));
}

void ScriptedServer::serve(std::string_view prefix,
                           const std::map<std::string, std::string>& files) {
    for (const auto& [name, content] : files) {
        on(std::string(prefix) + "/" + percentEncoded(name), ok(content));
    }
}

std::vector<Request> ScriptedServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<std::string> ScriptedServer::targets() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> result;
    for (const Request& request : requests_) {
        result.push_back(request.target);
    }
    return result;
}

int ScriptedServer::requestCount(std::string_view target) const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(
        std::count_if(requests_.begin(), requests_.end(),
                      [&](const Request& request) { return request.target == target; }));
}

int ScriptedServer::connections() const {
    const std::lock_guard lock(mutex_);
    return connections_;
}

bool ScriptedServer::waitForRequests(std::size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return requests_.size() >= count; });
}

bool ScriptedServer::waitForOpenConnections(int atMost) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return openConnections_ <= atMost; });
}

void ScriptedServer::acceptClients() {
    constexpr std::chrono::milliseconds slice{5};
    while (!stopping_) {
        if (listener_.isReady(Interest::Read, slice)) {
            if (Socket socket = listener_.accept(); socket.isOpen()) {
                start(std::move(socket));
            }
            joinFinished();
        }
    }
}

void ScriptedServer::start(Socket socket) {
    const std::lock_guard lock(mutex_);
    ++connections_;
    ++openConnections_;
    running_.push_back({Connection(*this, std::move(socket)), {}});
    const auto worker = std::prev(running_.end());
    worker->thread = std::thread([this, worker] { runConnection(worker); });
}

void ScriptedServer::joinFinished() {
    // Thousands of connections may come and go: a thread's stack stays until it is joined.
    Workers finished;
    {
        const std::lock_guard lock(mutex_);
        finished.swap(finished_);
    }
    for (Worker& worker : finished) {
        worker.thread.join();
    }
}

void ScriptedServer::runConnection(Workers::iterator worker) {
    Connection& connection = worker->connection;
    Request request;
    while (connection.readRequest(request)) {
        (*record(request))(connection, request);
        if (request.header("Connection") == "close") {
            connection.close();
        }
    }
    connection.close();
    const std::lock_guard lock(mutex_);
    finished_.splice(finished_.end(), running_, worker);
    changed_.notify_all();
}

std::shared_ptr<const Handler> ScriptedServer::record(const Request& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    changed_.notify_all();
    const auto found = handlers_.find(request.target);
    return found == handlers_.end() ? otherwise_ : found->second;
}

void ScriptedServer::connectionClosed() {
    const std::lock_guard lock(mutex_);
    --openConnections_;
    changed_.notify_all();
}

}  // namespace TestSupport
