#include "http/system_proxy_settings.h"

#include <mutex>

#include "foundation/out_of_memory.h"
#include "foundation/registry.h"
#include "foundation/splitting.h"

namespace {

using Brelt::CharString;

constexpr const char* settingsKey =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";

bool equalInAnyCase(const CharString& text, const char* lowerCase) {
    const char* c = text.cstr();
    for (; *lowerCase != '\0'; ++c, ++lowerCase) {
        const bool isCapital = *c >= 'A' && *c <= 'Z';
        if ((isCapital ? *c + ('a' - 'A') : *c) != *lowerCase) {
            return false;
        }
    }
    return *c == '\0';
}

/// The text of a value; empty if there is none to be had, for whatever reason.
CharString readText(const Brelt::RegistryKey& key, const char* name) {
    Brelt::RegistryValue value;
    CharString text;
    if (Brelt::readRegistryValue(key, name, value) ||
        Brelt::registryValueToString(value, text) != 0) {
        return {};
    }
    return text;
}

CharString toAddress(const CharString& value) {
    return Brelt::requireWhole(CharString("http://") + value);
}

void storeAddress(const Brelt::KeyValuePair& pair, SystemProxySettings& settings) {
    if (pair.key.isEmpty() || pair.value.isEmpty()) {
        return;
    }
    if (equalInAnyCase(pair.key, "http")) {
        settings.httpProxy = toAddress(pair.value);
    } else if (equalInAnyCase(pair.key, "https")) {
        settings.httpsProxy = toAddress(pair.value);
    } else if (equalInAnyCase(pair.key, "ftp")) {
        settings.ftpProxy = toAddress(pair.value);
    }
}

/// A text with a ";" is a list of "protocol=address", any other is one address for all protocols.
void storeAddresses(const CharString& text, SystemProxySettings& settings) {
    if (text.isEmpty()) {
        return;
    }
    Brelt::Table<std::int32_t> positions;
    Brelt::findDelimiters(text.cstr(), ";", positions);
    if (positions.count == 0) {
        settings.httpProxy = toAddress(text);
        settings.httpsProxy = settings.httpProxy;
        settings.ftpProxy = settings.httpProxy;
        return;
    }
    Brelt::Table<Brelt::KeyValuePair> pairs;
    Brelt::splitKeyValuePairs(text.cstr(), pairs, ";", '=', 0);
    for (std::int32_t i = 0; i < pairs.count; ++i) {
        storeAddress(pairs.data[i], settings);
    }
}

bool isSwitchedOn(const Brelt::RegistryValue& value) {
    std::uint32_t number = 0;
    return Brelt::registryValueToDword(value, number) == 0 && number != 0;
}

void storeExceptions(const CharString& text, SystemProxySettings& settings) {
    if (!text.isEmpty()) {
        settings.overrideText = text;
        Brelt::splitByChar(text.cstr(), ';', settings.bypassList, 0);
    }
}

void empty(SystemProxySettings& settings) {
    settings.enabled = 0;
    settings.httpProxy.clear();
    settings.httpsProxy.clear();
    settings.ftpProxy.clear();
    settings.overrideText.clear();
    settings.bypassList.count = 0;
}

Brelt::ErrorChain readSettings(SystemProxySettings& settings) {
    empty(settings);
    Brelt::RegistryKey key;
    if (auto error =
            key.open(Brelt::RegistryKey::currentUser(), settingsKey, Brelt::RegistryReadAccess);
        error) {
        return error;
    }
    Brelt::RegistryValue enabling;
    if (auto error = Brelt::readRegistryValue(key, "ProxyEnable", enabling); error) {
        return error;
    }
    if (isSwitchedOn(enabling)) {
        settings.enabled = 1;
        storeAddresses(readText(key, "ProxyServer"), settings);
        storeExceptions(readText(key, "ProxyOverride"), settings);
    }
    return {};
}

/// The one record of the process.
struct SharedSettings {
    std::mutex mutex;
    SystemProxySettings settings;
    bool loaded = false;
};

SharedSettings& sharedSettings() {
    static SharedSettings shared;
    return shared;
}

}  // namespace

Brelt::ErrorChain getSystemProxySettings(SystemProxySettings& settings, bool reload) {
    SharedSettings& shared = sharedSettings();
    const std::lock_guard lock(shared.mutex);
    Brelt::ErrorChain error;
    if (!shared.loaded || reload) {
        // Before the reading: one that fails isn't tried again.
        shared.loaded = true;
        error = readSettings(shared.settings);
    }
    settings = shared.settings;
    return error;
}
