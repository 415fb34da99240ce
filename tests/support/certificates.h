#pragma once

// Certificates for https servers of tests, made afresh by the openssl command.

#include <filesystem>
#include <string>

#include "support/temp_directory.h"

namespace TestSupport {

/// Two PEM files, which live as long as their authority.
struct Certificate {
    std::filesystem::path file;
    std::filesystem::path key;
};

class CertificateAuthority {
public:
    CertificateAuthority();

    /// Its own certificate: what a client has to trust.
    std::filesystem::path file() const { return directory_.path() / "authority.pem"; }

    /// A server's certificate for these names. With `days` below 0 it has run out.
    Certificate issue(const std::string& names = "DNS:localhost,IP:127.0.0.1", int days = 30);

private:
    TempDirectory directory_;
    int issued_ = 0;
};

}  // namespace TestSupport
