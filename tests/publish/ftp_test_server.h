#pragma once

// A real FTP server for the upload tests: pyftpdlib run by /usr/bin/python3 on 127.0.0.1, with
// a temporary root, one user, and optionally TLS (with a self-signed certificate made here) or
// a throttled data channel. The commands it receives are logged one per line.

#include "support/run_process.h"
#include "support/temp_dir.h"

#include <memory>
#include <string>
#include <vector>

namespace tess::test {

enum class FtpTls { None, Explicit, Implicit };

struct FtpServerOptions {
    FtpTls tls = FtpTls::None;
    int throttle_bytes_per_second = 0; // 0: as fast as it goes
};

class FtpTestServer {
public:
    static constexpr const char* kUser = "webcam";
    static constexpr const char* kPassword = "s3cret pass";

    explicit FtpTestServer(FtpServerOptions options = {});
    ~FtpTestServer();

    // Stop kills the server at once, as a crash would; Start brings it back on its port.
    void Start();
    void Stop();
    // Freezes the server (SIGSTOP): it keeps its sockets but answers nothing.
    void Freeze();
    // Lets a frozen server go on (SIGCONT).
    void Thaw();

    int Port() const { return port_; }
    // "127.0.0.1:PORT" with the scheme the options call for.
    std::string ServerName() const;
    const std::string& Root() const { return root_; }
    std::string File(const std::string& name) const { return root_ + "/" + name; }
    // The commands received since the last ClearLog, such as "STOR FTPPsh03.tmp".
    std::vector<std::string> Commands() const;
    // The same without the log-in and transfer set-up commands (USER, PASS, PWD, TYPE, ...).
    std::vector<std::string> FileCommands() const;
    void ClearLog();
    // "sha256//BASE64" of the certificate's public key.
    const std::string& CertificateKey() const { return key_digest_; }

private:
    void MakeCertificate();

    FtpServerOptions options_;
    TempDir dir_;
    std::string root_;
    int port_ = 0;
    std::string key_digest_;
    std::unique_ptr<Process> process_;
};

// Reads the whole file, or "" when it does not exist.
std::string ReadIfThere(const std::string& path);

} // namespace tess::test
