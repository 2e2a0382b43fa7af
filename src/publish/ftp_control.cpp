#include "publish/ftp_control.h"

#include "publish/curl_library.h"
#include "publish/ftp_address.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include <asio/post.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

bool PrintableName(const std::string& name) {
    for (char c : name)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f || c == '"') return false;
    return true;
}

// Server answers and library messages end up in a one-line status: printable and short.
std::string OneLine(std::string_view text) {
    std::string line;
    for (char c : text) {
        if (line.size() >= FtpControl::kMaxResponseText) break;
        if (c == '\r' || c == '\n') {
            if (!line.empty()) break;
            continue;
        }
        auto u = static_cast<unsigned char>(c);
        line += (u < 0x20 || u >= 0x7f) ? '?' : c;
    }
    return line;
}

std::string Trimmed(std::string directory) {
    while (directory.size() > 1 && directory.back() == '/')
        directory.pop_back();
    return directory;
}

// "SHA256:abc" (ssh-keygen) or "sha256//abc=" (curl, openssl) to the base64 text alone.
std::string KeyDigest(std::string key) {
    for (const char* prefix : {"SHA256:", "sha256//"})
        if (key.starts_with(prefix)) key.erase(0, std::strlen(prefix));
    return key;
}

} // namespace

std::string FtpCommand::Text() const {
    switch (kind) {
    case FtpCommandKind::Connect:
        return "CD \"./\"";
    case FtpCommandKind::ChangeDirectory:
        return fmt::format("CD \"{}\"", first);
    case FtpCommandKind::Put:
        return fmt::format("PUT \"{}\"", first);
    case FtpCommandKind::Delete:
        return fmt::format("DELETE \"{}\"", first);
    case FtpCommandKind::Rename:
        return fmt::format("RENAME \"{}\" \"{}\"", first, second);
    case FtpCommandKind::Close:
        return "CLOSE";
    }
    return {};
}

// What curl's callbacks touch while a command runs: the worker thread's from the moment the
// handle is handed over until the command's end is posted back, the loop thread's otherwise.
struct FtpControl::Transfer {
    explicit Transfer(const CurlLibrary& library) : curl(library), easy(library.easy_init()) {}
    ~Transfer() {
        if (easy && !handed) curl.easy_cleanup(easy);
        if (quote) curl.slist_free_all(quote);
    }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    const CurlLibrary& curl;
    CURL* const easy;
    bool handed = false; // the worker owns the handle
    curl_slist* quote = nullptr;
    std::shared_ptr<const std::string> data;
    std::size_t data_sent = 0;
    std::string last_reply; // the server's last answer line
    bool lost_connection = false;
    char error[CURL_ERROR_SIZE] = {};
};

FtpControl::FtpControl(asio::io_context& loop, StateChanged changed)
    : loop_(loop), changed_(std::move(changed)) {}

FtpControl::~FtpControl() {
    Cancel();
    worker_.reset();
}

void FtpControl::Cancel() {
    ++serial_;
    executing_ = false;
    DropConnection(true);
}

void FtpControl::DropConnection(bool at_once) {
    if (worker_) worker_->Drop(at_once);
    directory_.clear();
}

void FtpControl::Execute(const FtpCommand& command) {
    if (executing_) Cancel();
    executing_ = true;
    ++serial_;
    curl_ = Curl();
    if (curl_ && !worker_) worker_ = std::make_unique<FtpWorker>(loop_, *curl_);
    // A fresh handle per command: a handle used again after leaving the multi is not told
    // about the kept connection's socket by this libcurl, and its transfer waits forever.
    transfer_ = curl_ ? std::make_shared<Transfer>(*curl_) : nullptr;
    if (!transfer_ || !transfer_->easy) return Report(kStateError, "libcurl cannot be loaded");

    std::string problem;
    if (!Configure(command, problem)) return Report(kStateError, problem);
    if (command.kind == FtpCommandKind::Close && sftp_) {
        // SSH closes its session as the connection goes; there is no command for it.
        DropConnection(false);
        return Report(kStateResponseCompleted);
    }
    transfer_->handed = true;
    auto done = [this, alive = std::weak_ptr<char>(alive_), serial = serial_,
                 transfer = transfer_](CURLcode code) {
        if (!alive.expired() && serial == serial_) Finished(*transfer, code);
    };
    if (!worker_->Add(transfer_->easy, transfer_, std::move(done)))
        Report(kStateError, "cannot start the transfer");
}

// The event comes from the loop, never from inside Execute.
void FtpControl::Report(int state, std::string info) {
    asio::post(loop_, [this, alive = std::weak_ptr<char>(alive_), serial = serial_, state,
                       info = std::move(info)] {
        if (alive.expired() || serial != serial_) return;
        executing_ = false;
        if (state == kStateError) response_info_ = OneLine(info);
        if (changed_) changed_(state);
    });
}

void FtpControl::Finished(const Transfer& transfer, CURLcode code) {
    if (closing_) DropConnection(false);
    if (code == CURLE_OK) return Report(kStateResponseCompleted);
    const std::string& reply = transfer.last_reply;
    const bool server_refused = !reply.empty() && (reply[0] == '4' || reply[0] == '5');
    std::string info = transfer.lost_connection ? "the connection to the server was lost"
                       : server_refused         ? reply
                       : transfer.error[0]      ? std::string(transfer.error)
                                                : std::string(curl_->easy_strerror(code));
    // A refusal can leave the connection usable, but the engine starts afresh after errors.
    Report(kStateError, std::move(info));
}

bool FtpControl::Configure(const FtpCommand& command, std::string& problem) {
    auto address = ParseFtpAddress(login_.server);
    if (!address) {
        problem = fmt::format("server \"{}\" is not a host name or ftp://, ftps://, ftpes://, "
                              "sftp:// URL",
                              login_.server);
        return false;
    }
    if (!PrintableName(command.first) || !PrintableName(command.second)) {
        problem = "a remote name holds a quote or control character";
        return false;
    }
    sftp_ = address->protocol == FtpProtocol::Sftp;
    closing_ = command.kind == FtpCommandKind::Close;
    if (command.kind == FtpCommandKind::Connect) directory_.clear();
    if (command.kind == FtpCommandKind::ChangeDirectory) directory_ = Trimmed(command.first);
    // FTP URLs never name a directory: curl would change to it by itself, and back to the
    // login directory on every reused connection. The engine's CD is our own command.
    std::string url;
    switch (command.kind) {
    case FtpCommandKind::Put:
        url = Url(sftp_ ? directory_ : "", command.first);
        break;
    default:
        url = Url(sftp_ ? directory_ : "", "");
        break;
    }
    if (command.kind == FtpCommandKind::Connect) url = Url("", "");
    if (!SetOptions(command, address->Base() + url)) {
        problem = "libcurl refused an option";
        return false;
    }
    if (address->protocol == FtpProtocol::Ftpes)
        curl_->easy_setopt(transfer_->easy, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
    return true;
}

// The URL path of a file or directory: FTP paths are relative to the login directory unless
// they start with "/"; SFTP ones are absolute, "~" being the home directory.
std::string FtpControl::Url(const std::string& directory, const std::string& name) const {
    std::string path;
    if (sftp_) {
        path = directory.starts_with("/") ? EscapeUrlPath(directory)
                                          : "/~/" + EscapeUrlPath(directory);
    } else if (directory.starts_with("/")) {
        path = "/%2F" + EscapeUrlPath(directory.substr(1));
    } else {
        path = "/" + EscapeUrlPath(directory);
    }
    if (!path.ends_with("/")) path += "/";
    return path + EscapeUrlPath(name);
}

// An SFTP path for a quote command: the server resolves relative ones against the home
// directory, where the session starts.
std::string FtpControl::QuotePath(const std::string& name) const {
    if (directory_.empty() || directory_ == "/") return fmt::format("\"{}{}\"", directory_, name);
    return fmt::format("\"{}/{}\"", directory_, name);
}

bool FtpControl::SetOptions(const FtpCommand& command, const std::string& url) {
    Transfer& transfer = *transfer_;
    CURL* easy = transfer.easy;
    CURLcode code = CURLE_OK;
    auto set = [&code](CURLcode result) {
        if (code == CURLE_OK) code = result;
    };
    set(curl_->easy_setopt(easy, CURLOPT_URL, url.c_str()));
    set(curl_->easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "ftp,ftps,sftp"));
    set(curl_->easy_setopt(easy, CURLOPT_USERNAME, login_.user.c_str()));
    set(curl_->easy_setopt(easy, CURLOPT_PASSWORD, login_.password.c_str()));
    set(curl_->easy_setopt(easy, CURLOPT_NOSIGNAL, 1L));
    if (std::getenv("TESS_FTP_VERBOSE")) set(curl_->easy_setopt(easy, CURLOPT_VERBOSE, 1L));
    set(curl_->easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer.error));
    // Only the connect command may open a connection: a command that finds the connection
    // gone must fail, not run on a new one that has lost the directory change.
    if (command.kind != FtpCommandKind::Connect) {
        set(curl_->easy_setopt(easy, CURLOPT_PREREQFUNCTION, &FtpControl::OnPrerequest));
        set(curl_->easy_setopt(easy, CURLOPT_PREREQDATA, &transfer));
    }
    set(curl_->easy_setopt(easy, CURLOPT_HEADERFUNCTION, &FtpControl::OnHeader));
    set(curl_->easy_setopt(easy, CURLOPT_HEADERDATA, &transfer));
    const long timeout = login_.timeout_seconds;
    set(curl_->easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, timeout));
    set(curl_->easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, timeout));
    // A transfer that stalls for the time-out fails; a slow one that moves does not.
    set(curl_->easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L));
    set(curl_->easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, timeout));
    const std::string digest = KeyDigest(login_.server_key);
    if (!digest.empty() && sftp_) {
        set(curl_->easy_setopt(easy, CURLOPT_SSH_HOST_PUBLIC_KEY_SHA256, digest.c_str()));
    } else if (!digest.empty()) {
        // The named key stands in for the chain of trust: a self-signed certificate passes
        // when its key is the one given, and nothing else does.
        const std::string pin = "sha256//" + digest;
        set(curl_->easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L));
        set(curl_->easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L));
        set(curl_->easy_setopt(easy, CURLOPT_PINNEDPUBLICKEY, pin.c_str()));
    } else if (sftp_) {
        const char* home = std::getenv("HOME");
        const std::string known = std::string(home ? home : "") + "/.ssh/known_hosts";
        set(curl_->easy_setopt(easy, CURLOPT_SSH_KNOWNHOSTS, known.c_str()));
    }
    if (sftp_ && !login_.password.empty())
        set(curl_->easy_setopt(easy, CURLOPT_SSH_AUTH_TYPES,
                               static_cast<long>(CURLSSH_AUTH_PASSWORD | CURLSSH_AUTH_KEYBOARD)));

    auto quote = [&](const std::string& line) {
        transfer.quote = curl_->slist_append(transfer.quote, line.c_str());
    };
    switch (command.kind) {
    case FtpCommandKind::Put:
        transfer.data = command.data;
        set(curl_->easy_setopt(easy, CURLOPT_UPLOAD, 1L));
        set(curl_->easy_setopt(easy, CURLOPT_READFUNCTION, &FtpControl::OnRead));
        set(curl_->easy_setopt(easy, CURLOPT_READDATA, &transfer));
        set(curl_->easy_setopt(easy, CURLOPT_INFILESIZE_LARGE,
                               static_cast<curl_off_t>(transfer.data ? transfer.data->size() : 0)));
        break;
    case FtpCommandKind::ChangeDirectory:
        if (!sftp_) quote("CWD " + Trimmed(command.first));
        break;
    case FtpCommandKind::Delete:
        quote(sftp_ ? "rm " + QuotePath(command.first) : "DELE " + command.first);
        break;
    case FtpCommandKind::Rename:
        if (sftp_) {
            quote("rename " + QuotePath(command.first) + " " + QuotePath(command.second));
        } else {
            quote("RNFR " + command.first);
            quote("RNTO " + command.second);
        }
        break;
    case FtpCommandKind::Close:
        // The server closes after its answer, so the connection goes without waiting.
        quote("QUIT");
        break;
    default:
        break;
    }
    if (command.kind != FtpCommandKind::Put) set(curl_->easy_setopt(easy, CURLOPT_NOBODY, 1L));
    // A directory change comes before the (empty) transfer, everything else after it.
    const CURLoption list =
        command.kind == FtpCommandKind::ChangeDirectory ? CURLOPT_QUOTE : CURLOPT_POSTQUOTE;
    if (transfer.quote) set(curl_->easy_setopt(easy, list, transfer.quote));
    return code == CURLE_OK;
}

// These three run on the worker thread and touch nothing but the command's transfer.
int FtpControl::OnPrerequest(void* self, char*, char*, int, int) {
    auto& transfer = *static_cast<Transfer*>(self);
    long connects = 0;
    transfer.curl.easy_getinfo(transfer.easy, CURLINFO_NUM_CONNECTS, &connects);
    if (connects == 0) return CURL_PREREQFUNC_OK;
    transfer.lost_connection = true;
    return CURL_PREREQFUNC_ABORT;
}

std::size_t FtpControl::OnRead(char* buffer, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    if (!transfer.data) return 0;
    const std::string& data = *transfer.data;
    std::size_t bytes = std::min(size * count, data.size() - transfer.data_sent);
    std::memcpy(buffer, data.data() + transfer.data_sent, bytes);
    transfer.data_sent += bytes;
    return bytes;
}

// FTP answers come through here one line at a time; curl's own header lines do not start
// with a number.
std::size_t FtpControl::OnHeader(char* buffer, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    const std::size_t bytes = size * count;
    if (bytes >= 3 && std::isdigit(static_cast<unsigned char>(buffer[0])))
        transfer.last_reply = OneLine(std::string_view(buffer, bytes));
    return bytes;
}

} // namespace tess
