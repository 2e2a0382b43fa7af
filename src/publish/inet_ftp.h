#pragma once

// Uploads one file (or a short list) to an FTP server without holding up the event loop: a
// small state machine issues one command at a time to its FtpControl and moves on when the
// control reports back or its tick comes. A failed attempt is retried twice; the remote file
// can be replaced so that web clients never read half a picture; a one-line status says
// what is happening.

#include "publish/ftp_control.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace tess {

class InetFTP {
public:
    static constexpr std::int32_t kRetryLimit = 3;
    static constexpr int kRequestTimeout = 30; // seconds
    static constexpr int kDisconnectTimeout = 2;
    // A state from this one on is a transfer under way.
    static constexpr std::int32_t kBusyState = 10;

    enum Mode : std::int32_t { kPutTempDeleteRename = 0, kPutTempRename = 1, kPutOriginal = 2 };
    enum Sub : std::int32_t { kIssue = 0, kWaiting = 1, kSucceeded = 2, kFailed = 3 };

    explicit InetFTP(asio::io_context& loop);
    ~InetFTP();
    InetFTP(const InetFTP&) = delete;
    InetFTP& operator=(const InetFTP&) = delete;

    const std::string& FTPServer() const { return server_; }
    void SetFTPServer(std::string value) { server_ = std::move(value); }
    const std::string& UserName() const { return user_; }
    void SetUserName(std::string value) { user_ = std::move(value); }
    const std::string& Password() const { return password_; }
    void SetPassword(std::string value) { password_ = std::move(value); }
    // The one certificate or host key accepted without the usual checks (see FtpLogin).
    const std::string& ServerKey() const { return server_key_; }
    void SetServerKey(std::string value) { server_key_ = std::move(value); }
    std::int32_t FTPMode() const { return mode_; }
    void SetFTPMode(std::int32_t value) { mode_ = value; }

    std::int32_t State() const { return state_; }
    std::int32_t SubState() const { return sub_state_; }
    // The machine runs (from StartSend until it completes, fails or is disconnected).
    bool Active() const { return active_; }
    const std::string& Error() const { return error_; }
    // "Idle" whenever the machine has stopped in state 0, otherwise the last text stored.
    std::string Status() const;

    // Gets every status text as it is stored, "Complete" included (which Status() shows as
    // "Idle" at once).
    void SetStatusObserver(std::function<void(const std::string&)> observer) {
        observer_ = std::move(observer);
    }

    // Both refuse (false) while a transfer runs; nothing is queued.
    bool SendFile(const std::string& local_directory, const std::string& remote_directory,
                  const std::string& local_name, const std::string& remote_name,
                  std::int32_t instance);
    // The bytes go from memory; no local file is written.
    bool SendDataFile(std::string data, const std::string& remote_directory,
                      const std::string& remote_name, std::int32_t instance);
    void StartSend();
    void Disconnect();
    // Seconds the server is given for the connection and for each answer.
    void SetRequestTimeout(int seconds) { request_timeout_ = seconds; }
    // The pause before a retry's first command, so a server that restarts is given time.
    void SetRetryPause(std::chrono::milliseconds pause) { retry_pause_ = pause; }
    // One step of the machine; the engine's own timer calls it too.
    void TimerEvent();
    void Shutdown();

    // "FTPPsh03.tmp" for instance 3.
    static std::string TempName(std::int32_t instance);

private:
    struct File {
        std::string local_path; // empty for bytes held in memory
        std::shared_ptr<const std::string> data;
        std::string remote_name;
    };

    void Reset();
    bool Accept(const std::string& remote_directory, std::int32_t instance);
    void StateMachine();
    void Issue();
    void Succeeded();
    void Failed();
    void Connect();
    void Execute(FtpCommand command);
    void Retry(std::int32_t back_to);
    void GoTo(std::int32_t state);
    void ResetConnection();
    void StateChanged(int control_state);
    void SetStatus(std::string text);
    void Schedule();
    std::shared_ptr<const std::string> FileBytes(const File& file);

    asio::io_context& loop_;
    asio::steady_timer timer_;
    std::unique_ptr<FtpControl> control_;
    std::string server_, user_, password_, server_key_;
    std::int32_t mode_ = kPutTempDeleteRename;
    std::int32_t state_ = 0;
    std::int32_t sub_state_ = kIssue;
    bool active_ = false;
    std::int32_t retry_ = 1;
    std::int32_t instance_ = 0;
    std::vector<File> files_;
    std::size_t file_index_ = 0;
    std::string remote_directory_;
    std::string remote_name_; // the name of the PUT: temporary or final
    std::string status_ = "Idle";
    std::string error_;
    std::function<void(const std::string&)> observer_;
    std::chrono::milliseconds retry_pause_{1000};
    int request_timeout_ = kRequestTimeout;
    bool pausing_ = false; // the next tick waits out the retry pause
    std::shared_ptr<char> alive_ = std::make_shared<char>();
};

} // namespace tess
