#include "support/certificates.h"

#include "support/child_process.h"

namespace TestSupport {

namespace {

// Each runs in the directory $0, with no settings but these, whatever the system has. The authority
// signs with RSA: a signature of elliptic curves is one byte short now and then, and Wine refuses
// that.
constexpr const char* makeAuthority =
    "cd \"$0\"; printf '[req]\\ndistinguished_name = name\\n[name]\\n' > settings; "
    "openssl req -config settings -nodes -newkey rsa:2048 -keyout authority.key "
    "-x509 -days 30 -subj '/CN=Authority of the tests' -out authority.pem "
    "-addext basicConstraints=critical,CA:TRUE -addext keyUsage=critical,keyCertSign,cRLSign";

constexpr const char* issueCertificate =
    "cd \"$0\"; "
    "openssl req -config settings -nodes -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 "
    "-keyout \"$1.key\" -subj '/CN=Server of the tests' -out \"$1.csr\" "
    "-addext \"subjectAltName=$2\"; "
    "openssl x509 -req -in \"$1.csr\" -copy_extensions copyall -CA authority.pem "
    "-CAkey authority.key -days \"$3\" -out \"$1.pem\"";

}  // namespace

CertificateAuthority::CertificateAuthority() {
    runCommand({"sh", "-ec", makeAuthority, peerPath(directory_.path())});
}

Certificate CertificateAuthority::issue(const std::string& names, int days) {
    const std::string name = "server" + std::to_string(++issued_);
    runCommand({"sh", "-ec", issueCertificate, peerPath(directory_.path()), name, names,
                std::to_string(days)});
    return {directory_.path() / (name + ".pem"), directory_.path() / (name + ".key")};
}

}  // namespace TestSupport
