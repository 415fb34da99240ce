// What goes out on the wire, and what comes back of sound servers.

#include <gtest/gtest.h>

#include "networking/fetcher.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"

using TestSupport::FetchedResponse;
using TestSupport::Fetcher;
using TestSupport::ok;
using TestSupport::ScriptedServer;

TEST(HttpRequest, BringsStatusAndBodyAndSendsOnlyHostAndWhatTheOwnerSet) {
    ScriptedServer server;
    server.on("/lib/id.txt", ok("stamp 7\n"));
    Fetcher fetcher;
    fetcher.useServer(server.port());
    Norvel::Networking::Headers headers;
    headers.internalSet("User-Agent", -2, "kivdownloader", -1, true, nullptr);
    fetcher.pool.setHeaders(fetcher.error, headers, false);

    const FetchedResponse response = fetcher.fetch("/lib/id.txt");

    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "stamp 7\n");
    EXPECT_EQ(response.received, 8);
    EXPECT_EQ(response.reason(), 0);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].head, "GET /lib/id.txt HTTP/1.1\r\nHost: " + server.address() +
                                             "\r\nUser-Agent: kivdownloader\r\n\r\n");
}
