#pragma once

// Cuts an address into its pieces: the one place that interprets the shape of a URL. For transfer
// setup and proxy selection.

#include <cstdint>

#include "foundation/char_string.h"

enum AddressingScheme : std::int32_t {
    /// Any other scheme, or none.
    SchemeOther = 0,
    SchemeHttp = 1,
    SchemeHttps = 2,
};

/// Cuts `url` into `scheme` (in lower case), `host`, `port` and `path`, and tells the scheme.
///
/// A cutter, not a validator: it decodes nothing, judges no host, and knows neither user
/// information nor a query. All outputs are overwritten; one that the text doesn't have becomes a
/// null handle, the port the scheme's own, or -1. `path` begins with its "/". A text without "://"
/// has `defaultScheme`. Touches nothing but its arguments. `url` isn't null.
AddressingScheme parseUrl(const char* url, Brelt::CharString& scheme, Brelt::CharString& host,
                          std::int32_t& port, Brelt::CharString& path,
                          AddressingScheme defaultScheme);
