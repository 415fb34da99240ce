#pragma once

// One client's request: its libcurl handle, what arrives on it, and what the owner is told of it.
// ClientPool prepares it on the owner's thread while the client is free; all else happens on the
// network thread, called by EventLoop and by libcurl.

#include <curl/curl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "networking/norvel_networking.h"
#include "networking/pool_settings.h"
#include "networking/response_piece.h"
#include "networking/stall_clock.h"

namespace Norvel::Networking {

class Transfer {
public:
    /// `settings` outlives it. Raises `std::bad_alloc`.
    explicit Transfer(PoolSettings& settings);
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// Makes the handle ready for a GET of `target`, copied. Owner's thread, client free.
    CURLcode prepare(const std::string& target, ReqTokenGeneralType* token);

    CURL* easy() const { return easy_.get(); }
    static Transfer& of(CURL* easy);

    /// The clocks start.
    void begin(TimePoint now);
    /// When `tick` has something to do next.
    TimePoint nextTick() const;
    /// Tells of a response that brings nothing, where it is time to. False ends the request.
    bool tick(TimePoint now) noexcept;
    /// The last act: tells of a failure. Nothing, if the owner has cancelled.
    void finish(CURLcode result) noexcept;

private:
    struct EasyCleanup {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };

    static std::size_t headerCb(char* bytes, std::size_t size, std::size_t count,
                                void* transfer) noexcept;
    static std::size_t bodyCb(char* bytes, std::size_t size, std::size_t count,
                              void* transfer) noexcept;
    static int connectedCb(void* transfer, char* primaryIp, char* localIp, int primaryPort,
                           int localPort) noexcept;

    CURLcode makeHandle();
    bool takeHeader(std::string_view line);
    bool takeBody(const char* bytes, std::size_t size);
    bool takeConnection();
    void tellStatus(std::int32_t status);
    bool tellProgress(evbuffer* piece, TimePoint now);
    void tellError(CURLcode result);
    std::uint32_t underlyingError(CURLcode result, std::uint32_t& flags) const;
    bool fail(CURLcode reason);
    /// Nothing more is told of what libcurl may still bring.
    bool hasEnded() const { return cancelled_ || failure_ != CURLE_OK; }
    long info(CURLINFO what) const;

    PoolSettings& settings_;
    /// Made for each request; kept until the next one.
    std::unique_ptr<CURL, EasyCleanup> easy_;
    ReqTokenGeneralType* token_ = nullptr;
    StallClock stall_;
    TimePoint lastTold_;
    std::int64_t received_ = 0;
    std::int64_t headerBytes_ = 0;
    std::int32_t headerLines_ = 0;
    /// Connections that the request went out on.
    std::int32_t attempts_ = 0;
    /// The system's error as it was when the connection stood; libcurl never clears it.
    long staleOsError_ = 0;
    /// Why this side ended the request; it holds over libcurl's result.
    CURLcode failure_ = CURLE_OK;
    bool statusSeen_ = false;
    bool cancelled_ = false;
};

}  // namespace Norvel::Networking
