#include "publish/inet_ftp.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <asio/post.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

// While a command runs the control's report moves the machine on; the tick only keeps it
// alive should a report never come.
constexpr auto kWaitingTick = std::chrono::milliseconds(250);

} // namespace

InetFTP::InetFTP(asio::io_context& loop) : loop_(loop), timer_(loop) {}

InetFTP::~InetFTP() {
    Shutdown();
}

std::string InetFTP::Status() const {
    return !active_ && state_ == 0 ? "Idle" : status_;
}

std::string InetFTP::TempName(std::int32_t instance) {
    const char* sign = instance < 0 ? "-" : "";
    return fmt::format("FTPPsh{}{:02}.tmp", sign, std::abs(static_cast<std::int64_t>(instance)));
}

void InetFTP::Reset() {
    files_.clear();
    file_index_ = 0;
}

bool InetFTP::Accept(const std::string& remote_directory, std::int32_t instance) {
    if (state_ >= kBusyState || active_) return false;
    Reset();
    remote_directory_ = remote_directory;
    std::replace(remote_directory_.begin(), remote_directory_.end(), '\\', '/');
    instance_ = instance;
    return true;
}

bool InetFTP::SendFile(const std::string& local_directory, const std::string& remote_directory,
                       const std::string& local_name, const std::string& remote_name,
                       std::int32_t instance) {
    if (!Accept(remote_directory, instance)) return false;
    std::string local = local_directory;
    if (!local.empty() && !local.ends_with('/')) local += '/';
    files_.push_back({local + local_name, nullptr, remote_name});
    StartSend();
    return true;
}

bool InetFTP::SendDataFile(std::string data, const std::string& remote_directory,
                           const std::string& remote_name, std::int32_t instance) {
    if (!Accept(remote_directory, instance)) return false;
    files_.push_back({"", std::make_shared<const std::string>(std::move(data)), remote_name});
    StartSend();
    return true;
}

void InetFTP::StartSend() {
    if (state_ == 1) ResetConnection();
    SetStatus("Starting");
    sub_state_ = kIssue;
    retry_ = 1;
    active_ = true;
    Schedule();
}

void InetFTP::Connect() {
    SetStatus("Connecting");
    if (!control_)
        control_ = std::make_unique<FtpControl>(
            loop_, [this](int control_state) { StateChanged(control_state); });
    control_->SetLogin({server_, user_, password_, server_key_, request_timeout_});
    control_->Cancel();
    Execute({FtpCommandKind::Connect, "./", "", nullptr});
}

void InetFTP::Disconnect() {
    SetStatus("Disconnecting");
    active_ = false;
    if (!control_ || (state_ == 0 && sub_state_ != kWaiting)) return;
    control_->Cancel();
    state_ = 40;
    // The abandoned connection's end, as the control would report it.
    asio::post(loop_, [this, alive = std::weak_ptr<char>(alive_)] {
        if (!alive.expired() && state_ == 40) StateChanged(10);
    });
}

void InetFTP::Shutdown() {
    active_ = false;
    timer_.cancel();
    control_.reset();
}

void InetFTP::TimerEvent() {
    StateMachine();
}

void InetFTP::Schedule() {
    if (!active_) return;
    std::chrono::milliseconds delay(0);
    if (sub_state_ == kWaiting) delay = kWaitingTick;
    if (pausing_) delay = retry_pause_;
    pausing_ = false;
    timer_.expires_after(delay);
    timer_.async_wait([this, alive = std::weak_ptr<char>(alive_)](const std::error_code& ec) {
        if (!ec && !alive.expired()) TimerEvent();
    });
}

void InetFTP::StateMachine() {
    if (!active_) return;
    switch (sub_state_) {
    case kIssue:
        Issue();
        break;
    case kSucceeded:
        Succeeded();
        break;
    case kFailed:
        Failed();
        break;
    default:
        break;
    }
    Schedule();
}

void InetFTP::Issue() {
    switch (state_) {
    case 0:
        GoTo(10);
        break;
    case 1:
        ResetConnection();
        GoTo(0);
        break;
    case 2:
        GoTo(11);
        break;
    case 3:
        GoTo(20);
        break;
    case 10:
        Connect();
        break;
    case 11:
        SetStatus("CD Directory");
        Execute({FtpCommandKind::ChangeDirectory,
                 remote_directory_.empty() ? "." : remote_directory_, "", nullptr});
        break;
    case 20: {
        SetStatus("Sending File");
        const File& file = files_[file_index_];
        remote_name_ = mode_ == kPutOriginal ? file.remote_name : TempName(instance_);
        auto bytes = FileBytes(file);
        if (!bytes) {
            error_ = "cannot read " + file.local_path;
            SetStatus("ERROR, " + error_);
            sub_state_ = kFailed;
            break;
        }
        Execute({FtpCommandKind::Put, remote_name_, "", std::move(bytes)});
        break;
    }
    case 21:
        Execute({FtpCommandKind::Delete, files_[file_index_].remote_name, "", nullptr});
        break;
    case 22:
        Execute({FtpCommandKind::Rename, remote_name_, files_[file_index_].remote_name, nullptr});
        break;
    case 30:
        Execute({FtpCommandKind::Close, "", "", nullptr});
        break;
    default:
        break;
    }
}

void InetFTP::Succeeded() {
    switch (state_) {
    case 10:
        GoTo(remote_directory_.empty() || remote_directory_ == "/" ? 20 : 11);
        break;
    case 11:
        GoTo(20);
        break;
    case 20:
        if (mode_ == kPutTempDeleteRename) {
            GoTo(21);
        } else if (mode_ == kPutTempRename) {
            GoTo(22);
        } else {
            SetStatus("Disconnecting");
            GoTo(30);
        }
        break;
    case 21:
        GoTo(22);
        break;
    case 22:
        if (file_index_ + 1 < files_.size()) {
            ++file_index_;
            GoTo(20);
        } else {
            SetStatus("Disconnecting");
            GoTo(30);
        }
        break;
    case 30:
        SetStatus("Complete");
        active_ = false;
        state_ = 0;
        break;
    default:
        break;
    }
}

void InetFTP::Failed() {
    switch (state_) {
    case 10:
        Retry(10);
        break;
    case 11:
    case 20:
    case 22:
        Retry(0);
        break;
    case 21:
        GoTo(22);
        break; // no old file to delete is no error
    case 30:
        active_ = false;
        state_ = 1;
        break;
    default:
        break;
    }
}

void InetFTP::Retry(std::int32_t back_to) {
    if (retry_ >= kRetryLimit) {
        active_ = false;
        state_ = 1;
        return;
    }
    ++retry_;
    ResetConnection();
    SetStatus(fmt::format("Failed.  Retry #{}", retry_));
    GoTo(back_to);
    pausing_ = true;
}

void InetFTP::GoTo(std::int32_t state) {
    state_ = state;
    sub_state_ = kIssue;
}

void InetFTP::Execute(FtpCommand command) {
    sub_state_ = kWaiting;
    control_->Execute(command);
}

void InetFTP::ResetConnection() {
    if (control_) control_->Cancel();
}

// The control's events: 10 disconnected, 11 error, 12 response completed.
void InetFTP::StateChanged(int control_state) {
    if (control_state == 10) {
        if (!active_) state_ = 0;
        sub_state_ = state_ == 30 || state_ == 40 ? kSucceeded : kFailed;
    } else if (control_state == FtpControl::kStateError) {
        sub_state_ = kFailed;
        error_ = control_->ResponseInfo();
        SetStatus("ERROR, " + error_);
    } else if (control_state == FtpControl::kStateResponseCompleted) {
        sub_state_ = kSucceeded;
    }
    Schedule();
}

void InetFTP::SetStatus(std::string text) {
    status_ = std::move(text);
    if (observer_) observer_(status_);
}

std::shared_ptr<const std::string> InetFTP::FileBytes(const File& file) {
    if (file.data) return file.data;
    std::ifstream in(file.local_path, std::ios::binary);
    if (!in) return nullptr;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return nullptr;
    return std::make_shared<const std::string>(std::move(bytes));
}

} // namespace tess
