#pragma once

// What the user's system says about proxies, read once per process. For proxy selection.

#include <cstddef>
#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_chain.h"
#include "foundation/table.h"

/// The user's settings. Addresses begin with "http://" whatever they are for; one that isn't set is
/// empty. A list of addresses has no fallback from one protocol to another.
struct SystemProxySettings {
    /// 1 or 0; with 0 all else is empty.
    std::int32_t enabled = 0;
    Brelt::CharString httpProxy;
    Brelt::CharString httpsProxy;
    Brelt::CharString ftpProxy;
    /// The exceptions as the system has them, and cut into patterns for `wildcardMatch`.
    Brelt::CharString overrideText;
    Brelt::Table<Brelt::CharString> bypassList;
};
static_assert(offsetof(SystemProxySettings, enabled) == 0);
static_assert(offsetof(SystemProxySettings, httpProxy) == sizeof(void*));
static_assert(offsetof(SystemProxySettings, httpsProxy) == 2 * sizeof(void*));
static_assert(offsetof(SystemProxySettings, ftpProxy) == 3 * sizeof(void*));
static_assert(offsetof(SystemProxySettings, overrideText) == 4 * sizeof(void*));
static_assert(offsetof(SystemProxySettings, bypassList) == 5 * sizeof(void*));

/// Copies the process-wide record to `settings`, after reading it on the first call or with
/// `reload`.
///
/// The returned error is that of a reading in this very call; the record is filled all the same,
/// with what was got, and isn't read again by itself. The source: three values below the current
/// user's `SOFTWARE\Microsoft\Windows\CurrentVersion\Internet Settings`. Any thread: reading and
/// copying happen under one lock. Raises `std::bad_alloc`.
Brelt::ErrorChain getSystemProxySettings(SystemProxySettings& settings, bool reload);
