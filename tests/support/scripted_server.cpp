#include "support/scripted_server.h"

#include <algorithm>
#include <utility>

#include "support/patience.h"
#include "support/server_scripts.h"

namespace TestSupport {

namespace {

bool endsWithRequest(const Request& request) {
    return request.header("Connection") == "close";
}

}  // namespace

ScriptedServer::ScriptedServer()
    : listener_(Socket::listenOnLoopback()),
      port_(listener_.localPort()),
      otherwise_(std::make_shared<Handler>(answer(withStatus(404, "no such file\n")))),
      acceptor_([this] { acceptClients(); }) {}

ScriptedServer::~ScriptedServer() {
    stop();
}

std::string ScriptedServer::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::string ScriptedServer::url(std::string_view path) const {
    return "http://" + address() + std::string(path);
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

void ScriptedServer::onConnection(std::function<void(Connection&)> handler) {
    const std::lock_guard lock(mutex_);
    connectionHandler_ = std::move(handler);
}

Gate& ScriptedServer::makeGate(int count) {
    const std::lock_guard lock(mutex_);
    return gates_.emplace_back(count);
}

void ScriptedServer::stop() {
    stopping_.raise();
    if (acceptor_.joinable()) {
        acceptor_.join();
    }
    std::unique_lock lock(mutex_);
    for (Gate& gate : gates_) {
        gate.open();
    }
    changed_.wait(lock, [this] { return running_.empty(); });
    lock.unlock();
    joinFinished();
    listener_.close();
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

int ScriptedServer::mostRequestsAtOnce() const {
    const std::lock_guard lock(mutex_);
    return mostRequestsAtOnce_;
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
    while (waitForSocket(listener_, Interest::Read, {&stopping_}) == WaitResult::Ready) {
        if (Socket socket = listener_.accept(); socket.isOpen()) {
            start(std::move(socket));
        }
        joinFinished();
    }
}

void ScriptedServer::start(Socket socket) {
    const std::lock_guard lock(mutex_);
    ++connections_;
    ++openConnections_;
    running_.emplace_back(*this, std::move(socket), connections_);
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
    std::unique_lock lock(mutex_);
    const std::function<void(Connection&)> whole = connectionHandler_;
    lock.unlock();
    if (whole) {
        whole(worker->connection);
    } else {
        answerRequests(worker->connection);
    }
    worker->connection.close();
    lock.lock();
    finished_.splice(finished_.end(), running_, worker);
    changed_.notify_all();
}

void ScriptedServer::answerRequests(Connection& connection) {
    Request request;
    while (connection.readRequest(request)) {
        const std::shared_ptr<const Handler> handler = beginRequest(request);
        (*handler)(connection, request);
        endRequest();
        if (endsWithRequest(request)) {
            connection.close();
        }
    }
}

std::shared_ptr<const Handler> ScriptedServer::beginRequest(const Request& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    mostRequestsAtOnce_ = std::max(mostRequestsAtOnce_, ++requestsInHand_);
    changed_.notify_all();
    const auto found = handlers_.find(request.target);
    return found == handlers_.end() ? otherwise_ : found->second;
}

void ScriptedServer::endRequest() {
    const std::lock_guard lock(mutex_);
    --requestsInHand_;
}

void ScriptedServer::connectionClosed() {
    const std::lock_guard lock(mutex_);
    --openConnections_;
    changed_.notify_all();
}

}  // namespace TestSupport
