#pragma once

// What the tests of the system's proxy settings share.

#include "http/system_proxy_settings.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "foundation/text_tools.h"
#include "support/registry_values.h"

namespace TestSupport {

inline constexpr std::uint32_t textType = 1;
inline constexpr std::uint32_t expandedType = 2;
inline constexpr std::uint32_t numberType = 4;

/// The values of the key, as a test wants them.
class SystemProxy : public testing::Test {
protected:
    SystemProxy() {
        setNumber("ProxyEnable", 1);
        setText("ProxyServer", "");
        setText("ProxyOverride", "");
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

    /// What the settings hold, as "enabled,http,https,ftp|override|pattern|pattern".
    std::string held() const {
        std::string text = std::to_string(settings_.enabled) + "," + settings_.httpProxy.cstr() +
                           "," + settings_.httpsProxy.cstr() + "," + settings_.ftpProxy.cstr() +
                           "|" + settings_.overrideText.cstr();
        for (std::int32_t i = 0; i < settings_.bypassList.count; ++i) {
            text += std::string("|") + settings_.bypassList.data[i].cstr();
        }
        return text;
    }

    std::string reload() {
        EXPECT_FALSE(getSystemProxySettings(settings_, true));
        return held();
    }

    SystemProxySettings settings_;
};

inline constexpr const char* nothing = "0,,,|";

}  // namespace TestSupport
