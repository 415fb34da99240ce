#include "support/certificates.h"

#include <initializer_list>
#include <vector>

#include "support/child_process.h"

namespace TestSupport {

namespace {

/// `openssl req` with a new key and no settings but these.
std::vector<std::string> requestCommand(const std::string& settings, const std::string& key,
                                        std::initializer_list<std::string> more) {
    std::vector<std::string> command{
        "openssl", "req",     "-config",  settings,
        "-newkey", "ec",      "-pkeyopt", "ec_paramgen_curve:prime256v1",
        "-nodes",  "-keyout", key};
    command.insert(command.end(), more);
    return command;
}

}  // namespace

std::string CertificateAuthority::name(const std::string& file) const {
    return peerPath(directory_.path() / file);
}

CertificateAuthority::CertificateAuthority() {
    directory_.write("settings", "[req]\ndistinguished_name = name\n[name]\n");
    runCommand(
        requestCommand(name("settings"), name("authority.key"),
                       {"-x509", "-days", "30", "-subj", "/CN=Authority of the tests", "-addext",
                        "basicConstraints=critical,CA:TRUE", "-addext",
                        "keyUsage=critical,keyCertSign,cRLSign", "-out", name("authority.pem")}));
}

Certificate CertificateAuthority::issue(const std::string& names, int days) {
    const std::string server = "server" + std::to_string(++issued_);
    const std::string start = name(server);
    runCommand(requestCommand(name("settings"), start + ".key",
                              {"-subj", "/CN=Server of the tests", "-addext",
                               "subjectAltName=" + names, "-out", start + ".csr"}));
    runCommand({"openssl", "x509", "-req", "-in", start + ".csr", "-copy_extensions", "copyall",
                "-CA", name("authority.pem"), "-CAkey", name("authority.key"), "-days",
                std::to_string(days), "-out", start + ".pem"});
    return {directory_.path() / (server + ".pem"), directory_.path() / (server + ".key")};
}

}  // namespace TestSupport
