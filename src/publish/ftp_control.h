#pragma once

// The FTP client the transfer engine drives: one command at a time (connect, change
// directory, put, delete, rename, close), each ending in a state-change event, as an Internet
// transfer control would report it. libcurl runs the commands on the control's own worker
// thread (see FtpWorker for why), so no command ever holds up the event loop; everything
// here, the state changes included, stays on the loop thread. FTPS and SFTP come with it.

#include "publish/ftp_worker.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <asio/io_context.hpp>

namespace tess {

enum class FtpCommandKind { Connect, ChangeDirectory, Put, Delete, Rename, Close };

struct FtpCommand {
    FtpCommandKind kind = FtpCommandKind::Connect;
    std::string first;  // the directory, the remote name, the file to delete, the old name
    std::string second; // the new name of a rename
    std::shared_ptr<const std::string> data; // the bytes of a put

    // The command as one line, such as PUT "FTPPsh03.tmp" (for logs).
    std::string Text() const;
};

struct FtpLogin {
    std::string server; // host name or URL, see FtpAddress
    std::string user;
    std::string password;
    // Accepts this one certificate key (TLS) or host key (SSH) instead of the usual checks:
    // "sha256//BASE64" or "SHA256:BASE64", as openssl and ssh-keygen print them.
    std::string server_key;
    int timeout_seconds = 30; // for the connection and for each answer of the server
};

class FtpControl {
public:
    static constexpr int kStateError = 11;
    static constexpr int kStateResponseCompleted = 12;
    static constexpr std::size_t kMaxResponseText = 200;

    // Gets the control's states (kStateError, kStateResponseCompleted), never from inside a
    // call to the control.
    using StateChanged = std::function<void(int state)>;

    FtpControl(asio::io_context& loop, StateChanged changed);
    ~FtpControl();
    FtpControl(const FtpControl&) = delete;
    FtpControl& operator=(const FtpControl&) = delete;

    void SetLogin(FtpLogin login) { login_ = std::move(login); }
    // Runs one command; a command still running is abandoned first.
    void Execute(const FtpCommand& command);
    // Abandons the command and the connection; no state change follows.
    void Cancel();
    bool StillExecuting() const { return executing_; }
    // The last error: the server's answer when it gave one, else what went wrong.
    const std::string& ResponseInfo() const { return response_info_; }

private:
    struct Transfer;

    static std::size_t OnRead(char* buffer, std::size_t size, std::size_t count, void* self);
    static int OnPrerequest(void* self, char* to, char* from, int to_port, int from_port);
    static std::size_t OnHeader(char* buffer, std::size_t size, std::size_t count, void* self);

    bool Configure(const FtpCommand& command, std::string& problem);
    bool SetOptions(const FtpCommand& command, const std::string& url);
    std::string Url(const std::string& directory, const std::string& name) const;
    std::string QuotePath(const std::string& name) const;
    void Finished(const Transfer& transfer, CURLcode code);
    void Report(int state, std::string info = {});
    // `at_once`: without the goodbye, which a stalled server would make the worker wait for.
    void DropConnection(bool at_once);

    asio::io_context& loop_;
    StateChanged changed_;
    FtpLogin login_;
    const struct CurlLibrary* curl_ = nullptr;
    std::unique_ptr<FtpWorker> worker_;  // started with the first command
    std::shared_ptr<Transfer> transfer_; // the command being set up or run
    std::string directory_;              // the directory changed to, "" for the login directory
    std::string response_info_;
    bool executing_ = false;
    std::uint64_t serial_ = 0; // tells a late completion whether its command still counts
    std::shared_ptr<char> alive_ = std::make_shared<char>();
    bool sftp_ = false;
    bool closing_ = false;
};

} // namespace tess
