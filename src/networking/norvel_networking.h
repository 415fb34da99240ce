#pragma once

// The whole contract with the networking library: a pool of HTTP clients that run on threads of the
// library's own. The library includes nothing above the foundation; http and interface call it.
//
// A request in brief: `HttpClientPool::waitAvailable` hands out a client that has nothing running,
// `HttpClient::request` starts a GET on it and returns, the callbacks tell how it goes, and the
// next `waitAvailable` that gives this client, or its `waitForRequestCompletion`, returns after the
// last of them. Between these two the token and all that hangs on it belong to the library's
// thread.

#include <cstddef>
#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_node.h"
#include "foundation/pstream.h"

/// Marks what the library exports; its build defines it where the platform wants more than a
/// default.
#ifndef NORVEL_API
#define NORVEL_API
#endif

namespace Norvel {

/// Through which the library reports. The caller zeroes it, may pass it through several calls, and
/// looks at `chain` alone.
struct Err {
    std::uint64_t reserved = 0;
    Brelt::ErrorChain chain;
};
static_assert(sizeof(Err) == 16);

struct evbuffer;

/// Bytes of a response on their way to a stream. Begins as null; a non-null content is the caller's
/// to free. Valid during the callback that gave it: the bytes lie in the receive buffer.
struct NORVEL_API Buffer {
    evbuffer* content = nullptr;

    /// Appends the bytes to `stream`. False, with `error` filled, if the stream refused them; an
    /// exception of the stream becomes such an error. If memory ran out `error` may be empty, but
    /// the request ends as failed all the same.
    bool saveTo(Err& error, Brelt::PStream* stream) const;
};
static_assert(sizeof(Buffer) == sizeof(void*));

/// Frees a non-null content of a `Buffer`.
NORVEL_API void internalEvbufferFree(evbuffer* content);

namespace Networking {

/// Base of what the caller hands in with a request and gets back in each callback. Empty.
struct ReqTokenGeneralType {};

struct ReqIDGeneralType;
struct IP;
struct ClientSSLConfiguration;
struct HeaderList;
class ClientPool;

/// The process-wide context of the library.
struct NetworkingContext {
    void* reserved;
    /// What https clients use; null while the network layer isn't started.
    ClientSSLConfiguration* clientSsl;
};

/// The context as it stands now; valid for the life of the process.
NORVEL_API const NetworkingContext* getNorvelNetworkingContext();

/// Splits a trailing ":" and 1 to 5 digits, up to 65535 and outside brackets, off [`begin`, `end`).
///
/// `host` receives the text in front (a null handle if that is empty) and `port` the number.
/// Without such a port `host` receives the whole text, `port` stays, and the result tells whether
/// the text is sound otherwise: false for a ":" outside brackets that no port follows.
NORVEL_API bool parseServerWithPort(const char* begin, const char* end, Brelt::CharString& host,
                                    int& port);

/// Headers to send with each request.
class NORVEL_API Headers {
public:
    Headers();
    Headers(const Headers&) = delete;
    Headers& operator=(const Headers&) = delete;
    ~Headers();

    /// Sets one header. A length below 0 means up to the NUL; with `replace` an older value goes.
    ///
    /// `result`, where not null, receives 0, or -1 for a name or value that can't stand in a
    /// header.
    void internalSet(const char* name, int nameLength, const char* value, int valueLength,
                     bool replace, int* result);

private:
    friend class HttpClientPool;
    HeaderList* list_;
};

/// What has arrived of a response. Valid during the callback.
class NORVEL_API Response {
public:
    /// Gives the bytes that are new since the last call: a null content if there are none. What
    /// isn't fetched in a callback is gone after it.
    void getResponseData(Buffer& buffer);

private:
    friend class Transfer;
    explicit Response(evbuffer* piece) : piece_(piece) {}
    evbuffer* piece_;
};

/// First argument of each callback; only the fourth word matters to the receiver.
struct CallbackSource {
    void* reserved[3];
    /// What was given to `HttpClientPool::setCallbacks`.
    void* userData;
};

/// How far a response has got.
struct ResponseProgress {
    std::uint32_t reserved;
    /// The callback sets it to 1 to stop the request; no callback comes for it afterwards.
    std::uint32_t cancel;
    std::uint64_t reserved2;
    /// Bytes of the response's body so far.
    std::int64_t received;
};
static_assert(offsetof(ResponseProgress, cancel) == 4);
static_assert(offsetof(ResponseProgress, received) == 16);

/// Why a request failed.
struct ResponseError {
    /// The transfer's result code (a CURLcode) in the low 12 bits. Above them: 0x1000 once the
    /// status has been told, 0x2000 and 0x4000 for what `underlying` is.
    std::uint32_t reason;
    /// With 0x4000 the result of the certificate's verification, with 0x2000 the status by which a
    /// proxy refused the tunnel, else the operating system's error, or 0.
    std::uint32_t underlying;
};
static_assert(sizeof(ResponseError) == 8);

/// One client of a pool; runs one request at a time. Lives in its pool's array.
class NORVEL_API HttpClient {
public:
    using IgnoredCb = void (*)(CallbackSource*, ReqTokenGeneralType*);
    using StatusCb = void (*)(CallbackSource*, ReqTokenGeneralType*, const std::int32_t* status);
    using ProgressCb = void (*)(CallbackSource*, ReqTokenGeneralType*, ResponseProgress*,
                                Response*);
    using ErrorCb = void (*)(CallbackSource*, const ResponseError*, ReqTokenGeneralType*);

    /// The callbacks, all on a thread of the library's; for one client never two at a time.
    struct Callbacks {
        /// 64, the size of this record.
        std::uint64_t size;
        IgnoredCb ignored;
        /// The headers of the final response are there: once, before its first piece.
        StatusCb status;
        /// A piece has arrived. Comes about once a second also without one, from the start of the
        /// request on, so that an abort is seen while a connection or a response stalls.
        ProgressCb progress;
        /// The request has failed; the last callback for it. None comes after a `cancel`.
        ErrorCb error;
        void* unused1;
        void* unused2;
        /// 1.
        std::uint64_t version;
    };

    /// Starts a GET for `path`, the request target exactly as it goes on the wire, and returns.
    ///
    /// `flags` is 1, `buffer` and `id` are null. False, with `error` filled, if it wasn't started:
    /// an empty path, a control character in it, one without a leading slash where it follows the
    /// host on its way to a proxy, a client that is busy, a pool without a sound set-up. `path` is
    /// copied; `token` and what hangs on it belong to the library until the wait for this client
    /// returns. A connection that was used before and closes without an answer is followed by one
    /// attempt on a new one; nothing else is tried again.
    bool request(Err& error, const char* path, unsigned flags, ReqTokenGeneralType* token,
                 Buffer* buffer, ReqIDGeneralType** id);

    /// Blocks until the running request and its callbacks are over; returns at once if there is
    /// none.
    void waitForRequestCompletion(ReqIDGeneralType* id);

private:
    friend class ClientPool;
    HttpClient() = default;
    ~HttpClient() = default;
    ClientPool* pool_ = nullptr;
};
static_assert(sizeof(HttpClient::Callbacks) == 64);
static_assert(sizeof(HttpClient) == sizeof(void*));

/// A fixed number of clients for one server, with the threads that serve them.
///
/// The fields are set by the owner before `initialize`: null, 0 and -1. All operations run on one
/// thread of the owner's. The set-up calls come before the first request, add to `error` what they
/// refuse and return false then; on a pool whose `initialize` failed each of them does. After a
/// refused call the pool starts no request: it might go another way than the owner meant.
class NORVEL_API HttpClientPool {
public:
    /// The array of clients; element i is client i.
    HttpClient* clients;
    std::int32_t count;
    std::int32_t reserved;

    /// Makes `clientCount` clients. False if it couldn't.
    bool initialize(int clientCount);
    /// `mode` is 2: requests of all clients run at once.
    bool setMode(Err& error, unsigned mode);
    /// The server of all requests. `host` may carry user information and a bracketed IPv6 address.
    bool setServer(Err& error, const char* host, int port, IP* address);
    /// Makes the clients use TLS, 1.2 or later, with the server's certificate and name verified;
    /// fails while the network layer isn't started. Copies `configuration`.
    bool setSSLContext(Err& error, const ClientSSLConfiguration* configuration);
    /// A null `host` means direct, whatever the environment says. Its user information goes out as
    /// the proxy's credentials. An http request goes to the proxy in absolute form, https through a
    /// tunnel.
    bool setProxyServer(Err& error, const char* host, int port);
    /// Copies `callbacks`; `userData` comes back in each of them. An exception of a callback ends
    /// its request as failed.
    bool setCallbacks(Err& error, const HttpClient::Callbacks& callbacks, void* userData);
    /// Copies `headers`; sent with each request. With `append` older ones stay.
    bool setHeaders(Err& error, Headers& headers, bool append);
    /// Blocks until a client has nothing running and its callbacks are over; gives the client that
    /// has been free the longest, and its index. Null when the pool isn't usable.
    HttpClient* waitAvailable(int* index);
    /// Ends what runs and the threads; no callback comes afterwards. A second call does nothing.
    void destroy();
};
static_assert(sizeof(void*) != 8 || sizeof(HttpClientPool) == 16);

/// What one start of the network layer holds. The owner sets the fields to 0, 0x10000 and null.
class NORVEL_API NetworkingContextInitializerRAII {
public:
    /// Bit 0x2: this start is counted. Bit 0x10000: set by the owner before `deinitialize`.
    std::uint32_t flags;
    std::uint32_t second;
    void* third;

    /// Starts the layer, or counts one start more; any thread may. `name` is free.
    ///
    /// On Linux the certificates are those of `SSL_CERT_FILE` and `SSL_CERT_DIR`, where set,
    /// instead of the system's. False, with `errorText` filled, if the layer can't be started, as
    /// with such a variable that names nothing that can be read.
    bool initializeDefault(const char* name, Brelt::CharString& errorText);
    /// Takes back this start if `wasCounted`; the last one stops the layer: then no more pools can
    /// be set up for https. Those that are go on.
    void deinitialize(bool wasCounted);
};
static_assert(sizeof(void*) != 8 || sizeof(NetworkingContextInitializerRAII) == 16);

}  // namespace Networking
}  // namespace Norvel
