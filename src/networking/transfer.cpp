// A request from its preparation to its last callback.

#include "networking/transfer.h"

#include <algorithm>
#include <new>
#include <string_view>

namespace Norvel::Networking {

namespace {

/// How often a request may go out: on a connection that was used before, and once more on a new one
/// if that closed without an answer.
constexpr std::int32_t mostAttempts = 2;

/// True for a coding that libcurl would undo although nobody asked for it.
bool isUnwantedCoding(std::string_view line) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    if (!sameWord(line.substr(0, colon), "transfer-encoding")) {
        return false;
    }
    std::string_view value = line.substr(colon);
    value.remove_prefix(std::min(value.find_first_not_of(": \t"), value.size()));
    value = value.substr(0, value.find_first_of(" \t\r\n"));
    return !sameWord(value, "chunked") && !sameWord(value, "identity");
}

bool isBlank(std::string_view line) {
    return line == "\r\n" || line == "\n";
}

}  // namespace

Transfer::Transfer(PoolSettings& settings)
    : settings_(settings), stall_(settings.limits.stallTime) {}

Transfer& Transfer::of(CURL* easy) {
    Transfer* transfer = nullptr;
    curl_easy_getinfo(easy, CURLINFO_PRIVATE, reinterpret_cast<char**>(&transfer));
    return *transfer;
}

CURLcode Transfer::makeHandle() {
    easy_.reset(curl_easy_init());
    if (easy_ == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    curl_easy_setopt(easy(), CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy(), CURLOPT_HEADERFUNCTION, &Transfer::headerCb);
    curl_easy_setopt(easy(), CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy(), CURLOPT_WRITEFUNCTION, &Transfer::bodyCb);
    curl_easy_setopt(easy(), CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy(), CURLOPT_PREREQFUNCTION, &Transfer::connectedCb);
    curl_easy_setopt(easy(), CURLOPT_PREREQDATA, this);
    const CURLcode result = applySettings(easy(), settings_);
    if (result != CURLE_OK) {
        easy_.reset();
    }
    return result;
}

CURLcode Transfer::prepare(const std::string& target, ReqTokenGeneralType* token) {
    // A new handle for each request. A used one keeps what it shouldn't: the error number of its
    // last failure, the count of second attempts (the sixth of a handle's life is refused), and
    // before curl's pull request 11103 a pointer into freed headers, which a folded first line is
    // appended to.
    if (const CURLcode result = makeHandle(); result != CURLE_OK) {
        return result;
    }
    token_ = token;
    received_ = headerBytes_ = 0;
    headerLines_ = attempts_ = 0;
    failure_ = CURLE_OK;
    statusSeen_ = cancelled_ = false;
    staleOsError_ = 0;
    return curl_easy_setopt(easy(), CURLOPT_REQUEST_TARGET, target.c_str());
}

void Transfer::begin(TimePoint now) {
    stall_.start(now);
    lastTold_ = now;
}

TimePoint Transfer::nextTick() const {
    return std::min<TimePoint>(stall_.deadline(), lastTold_ + settings_.limits.progressInterval);
}

bool Transfer::tick(TimePoint now) noexcept {
    if (now >= stall_.deadline()) {
        return fail(CURLE_OPERATION_TIMEDOUT);
    }
    return now < lastTold_ + settings_.limits.progressInterval || tellProgress(nullptr, now);
}

void Transfer::finish(CURLcode result) noexcept {
    if (failure_ != CURLE_OK) {
        result = failure_;
    } else if (result == CURLE_OK && !statusSeen_) {
        // The connection has closed inside the headers, which libcurl takes for an empty response.
        result = CURLE_WEIRD_SERVER_REPLY;
    }
    if (!cancelled_ && result != CURLE_OK) {
        tellError(result);
    }
}

std::size_t Transfer::headerCb(char* bytes, std::size_t size, std::size_t count,
                               void* transfer) noexcept {
    const std::size_t length = size * count;
    return static_cast<Transfer*>(transfer)->takeHeader({bytes, length}) ? length : 0;
}

bool Transfer::takeHeader(std::string_view line) {
    if (hasEnded()) {
        return false;
    }
    headerBytes_ += static_cast<std::int64_t>(line.size());
    ++headerLines_;
    if (headerBytes_ > settings_.limits.headerBytes ||
        headerLines_ > settings_.limits.headerLines) {
        return fail(CURLE_RECV_ERROR);
    }
    if (statusSeen_) {
        return true;  // a trailer
    }
    if (isUnwantedCoding(line)) {
        return fail(CURLE_BAD_CONTENT_ENCODING);
    }
    const long status = isBlank(line) ? info(CURLINFO_RESPONSE_CODE) : 0;
    if (status >= 200) {
        statusSeen_ = true;
        tellStatus(static_cast<std::int32_t>(status));
    }
    return failure_ == CURLE_OK;
}

std::size_t Transfer::bodyCb(char* bytes, std::size_t size, std::size_t count,
                             void* transfer) noexcept {
    const std::size_t length = size * count;
    return static_cast<Transfer*>(transfer)->takeBody(bytes, length) ? length
                                                                     : CURL_WRITEFUNC_ERROR;
}

bool Transfer::takeBody(const char* bytes, std::size_t size) {
    if (size == 0 || hasEnded()) {
        return !hasEnded();
    }
    if (!statusSeen_) {
        return fail(CURLE_WEIRD_SERVER_REPLY);
    }
    const TimePoint now = std::chrono::steady_clock::now();
    received_ += static_cast<std::int64_t>(size);
    stall_.received(now, static_cast<std::int64_t>(size));
    evbuffer piece{bytes, size};
    const bool goesOn = tellProgress(&piece, now);
    return goesOn && (!piece.refused || fail(CURLE_WRITE_ERROR));
}

int Transfer::connectedCb(void* transfer, char* /*primaryIp*/, char* /*localIp*/,
                          int /*primaryPort*/, int /*localPort*/) noexcept {
    return static_cast<Transfer*>(transfer)->takeConnection() ? CURL_PREREQFUNC_OK
                                                              : CURL_PREREQFUNC_ABORT;
}

bool Transfer::takeConnection() {
    ++attempts_;
    if (attempts_ > mostAttempts) {
        return fail(CURLE_GOT_NOTHING);
    }
    staleOsError_ = info(CURLINFO_OS_ERRNO);
    // Should libcurl try again, then not on another connection that has been lying about.
    curl_easy_setopt(easy(), CURLOPT_FRESH_CONNECT, 1L);
    return true;
}

bool Transfer::fail(CURLcode reason) {
    failure_ = reason;
    return false;
}

long Transfer::info(CURLINFO what) const {
    long value = 0;
    (curl_easy_getinfo)(easy_.get(), what, &value);
    return value;
}

}  // namespace Norvel::Networking
