#include "publish/ftp_test_server.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace tess::test {

namespace {

const char* TlsArgument(FtpTls tls) {
    switch (tls) {
    case FtpTls::Explicit:
        return "explicit";
    case FtpTls::Implicit:
        return "implicit";
    default:
        return "none";
    }
}

} // namespace

std::string ReadIfThere(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

FtpTestServer::FtpTestServer(FtpServerOptions options) : options_(options) {
    root_ = dir_.File("root");
    std::filesystem::create_directories(root_);
    if (options_.tls != FtpTls::None) MakeCertificate();
    Start();
}

FtpTestServer::~FtpTestServer() {
    Stop();
}

void FtpTestServer::MakeCertificate() {
    ProcessResult made = RunProcess({"/usr/bin/openssl", "req", "-x509", "-newkey", "rsa:2048",
                                     "-nodes", "-keyout", dir_.File("key.pem"), "-out",
                                     dir_.File("cert.pem"), "-days", "2", "-subj", "/CN=localhost"},
                                    dir_.Path());
    if (made.exit_code != 0) throw std::runtime_error("openssl req failed: " + made.err);
    ProcessResult digest =
        RunProcess({"/bin/sh", "-c",
                    "openssl x509 -pubkey -noout -in cert.pem | openssl pkey -pubin -outform der | "
                    "openssl dgst -sha256 -binary | base64"},
                   dir_.Path());
    if (digest.exit_code != 0) throw std::runtime_error("key digest failed: " + digest.err);
    key_digest_ = "sha256//" + digest.out.substr(0, digest.out.find('\n'));
}

void FtpTestServer::Start() {
    const std::string port_file = dir_.File("port");
    std::filesystem::remove(port_file);
    std::vector<std::string> argv = {"/usr/bin/python3",
                                     std::string(TESS_SOURCE_DIR) + "/tests/publish/ftp_server.py",
                                     "--root",
                                     root_,
                                     "--user",
                                     kUser,
                                     "--password",
                                     kPassword,
                                     "--port",
                                     std::to_string(port_),
                                     "--port-file",
                                     port_file,
                                     "--log",
                                     dir_.File("commands.log"),
                                     "--tls",
                                     TlsArgument(options_.tls),
                                     "--cert",
                                     dir_.File("cert.pem"),
                                     "--key",
                                     dir_.File("key.pem"),
                                     "--throttle",
                                     std::to_string(options_.throttle_bytes_per_second)};
    process_ = std::make_unique<Process>(argv, dir_.Path());
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!std::filesystem::exists(port_file)) {
        if (!process_->Running() || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("the FTP test server did not start: " +
                                     ReadIfThere(dir_.File("commands.log.stderr")));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    port_ = std::stoi(ReadIfThere(port_file));
}

void FtpTestServer::Freeze() {
    if (process_) process_->Signal(SIGSTOP);
}

void FtpTestServer::Thaw() {
    if (process_) process_->Signal(SIGCONT);
}

void FtpTestServer::Stop() {
    process_.reset(); // SIGKILL and reap
}

std::string FtpTestServer::ServerName() const {
    const char* scheme = options_.tls == FtpTls::Implicit   ? "ftps://"
                         : options_.tls == FtpTls::Explicit ? "ftpes://"
                                                            : "ftp://";
    return scheme + std::string("127.0.0.1:") + std::to_string(port_);
}

std::vector<std::string> FtpTestServer::Commands() const {
    std::istringstream log(ReadIfThere(dir_.File("commands.log")));
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> FtpTestServer::FileCommands() const {
    static const char* const kSetUp[] = {"USER", "PASS", "PWD",  "TYPE", "EPSV",
                                         "PASV", "AUTH", "PBSZ", "PROT", "QUIT"};
    std::vector<std::string> kept;
    for (const std::string& line : Commands()) {
        std::string verb = line.substr(0, line.find(' '));
        bool setup = false;
        for (const char* s : kSetUp)
            setup |= verb == s;
        if (!setup) kept.push_back(line);
    }
    return kept;
}

void FtpTestServer::ClearLog() {
    std::ofstream(dir_.File("commands.log"), std::ios::trunc);
}

} // namespace tess::test
