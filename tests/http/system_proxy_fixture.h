#pragma once

// What the tests of the system's proxy settings share.

#include "http/system_proxy_settings.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/text_tools.h"
#include "support/registry_values.h"

namespace TestSupport {

using Texts = std::vector<std::string>;

inline constexpr std::uint32_t textType = 1;
inline constexpr std::uint32_t expandedType = 2;
inline constexpr std::uint32_t numberType = 4;

/// The values of the key, as a test wants them.
class SystemProxy : public testing::Test {
protected:
    SystemProxy() {
        setNumber("ProxyEnable", 1);
        removeRegistryValue("ProxyServer");
        removeRegistryValue("ProxyOverride");
    }
    ~SystemProxy() override { resetRegistry(); }

    static void setNumber(const char* name, std::uint32_t number) {
        setRegistryValue(name, numberType, &number, sizeof(number));
    }

    static void setText(const char* name, const char* text, std::uint32_t type = textType) {
        Brelt::TextConverter converter(text);
        const Brelt::WideChar* wide = converter.getWide();
        setRegistryValue(name, type, wide,
                         static_cast<std::uint32_t>(converter.wideSize) * sizeof(*wide));
    }

    /// The three addresses, with blanks between them.
    std::string addresses() const {
        return std::string(settings_.httpProxy.cstr()) + " " + settings_.httpsProxy.cstr() + " " +
               settings_.ftpProxy.cstr();
    }

    Texts bypassed() const {
        Texts entries;
        for (std::int32_t i = 0; i < settings_.bypassList.count; ++i) {
            entries.emplace_back(settings_.bypassList.data[i].cstr());
        }
        return entries;
    }

    bool isBlank() const {
        return settings_.enabled == 0 && addresses() == "  " && settings_.overrideText.isEmpty() &&
               bypassed().empty();
    }

    SystemProxySettings settings_;
};

}  // namespace TestSupport
