#include "publish/web_server.h"

#include "base/error.h"
#include "base/log.h"
#include "publish/web_connection.h"
#include "publish/web_listener.h"
#include "time/clock.h"

#include <deque>
#include <vector>

#include <asio/post.hpp>

namespace tess {

namespace {

constexpr std::string_view kStartErrorText =
    "There was an error starting the web server.  Make sure the port is not already in use and "
    "the network is available.";
constexpr std::string_view kStartErrorCaption = "Web Start Error";

} // namespace

struct WebServer::Runtime {
    Runtime(asio::io_context& l, WebServerHooks h) : loop(l), hooks(std::move(h)) {}
    ~Runtime();

    asio::io_context& loop;
    WebServerHooks hooks;
    std::vector<std::unique_ptr<WebConnection>> pool;
    std::shared_ptr<WebListener> listener; // while listening
    WebDateCache dates;
    std::deque<int> held;     // pool members waiting to encode, first come first served
    bool held_posted = false; // a turn for the first of them is queued on the loop
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

WebServer::Runtime::~Runtime() {
    *alive = false;
}

WebServer::WebServer() = default;

WebServer::~WebServer() {
    StopListening();
}

void WebServer::SetEnabled(bool value) {
    if (value == enabled_) return;
    if (value && runtime_ && !StartListening()) return; // stays off; the user was told
    enabled_ = value;
    needs_saving_ = true;
    if (!value) StopListening();
}

void WebServer::Attach(asio::io_context& loop, WebServerHooks hooks) {
    StopListening();
    runtime_ = std::make_unique<Runtime>(loop, std::move(hooks));
    runtime_->pool.reserve(kPoolSize);
    for (int i = 0; i < kPoolSize; ++i)
        runtime_->pool.push_back(std::make_unique<WebConnection>(*this, i));
    if (enabled_ && !StartListening()) enabled_ = false;
}

bool WebServer::StartListening() {
    auto listener = std::make_shared<WebListener>(runtime_->loop, *this);
    std::error_code ec;
    if (!listener->Listen(static_cast<std::uint16_t>(port_), ec)) {
        LogError("web server: cannot listen on port {}: {}", port_, ec.message());
        if (runtime_->hooks.listen_failed)
            runtime_->hooks.listen_failed(kStartErrorText, kStartErrorCaption);
        return false;
    }
    LogInfo("web server: listening on port {}", listener->Port());
    runtime_->listener = std::move(listener);
    runtime_->listener->Start();
    return true;
}

void WebServer::StopListening() {
    if (!runtime_) return;
    for (auto& connection : runtime_->pool)
        connection->ForceClose();
    if (runtime_->listener) {
        runtime_->listener->Stop();
        runtime_->listener.reset();
        LogInfo("web server: stopped");
    }
}

bool WebServer::Listening() const {
    return runtime_ && runtime_->listener;
}

std::uint16_t WebServer::ListeningPort() const {
    return Listening() ? runtime_->listener->Port() : 0;
}

WebConnection& WebServer::Connection(int index) {
    if (!runtime_ || index < 0 || index >= kPoolSize)
        throw TessError(ErrorNumber::SubscriptOutOfRange, "Subscript out of range");
    return *runtime_->pool[index];
}

double WebServer::Now() const {
    return runtime_ && runtime_->hooks.now ? runtime_->hooks.now() : Clock::SystemNow();
}

WebReplyContext WebServer::ReplyContext(const WebConnection& connection) {
    WebReplyContext context;
    context.web_path = connection.WebPath();
    context.allow_non_canvas_serves = connection.AllowNonCanvasServes();
    context.now = Now();
    context.date = runtime_->dates.Text(context.now);
    context.find_canvas = &runtime_->hooks.find_canvas;
    return context;
}

void WebServer::HoldForEncoding(WebConnection& connection) {
    runtime_->held.push_back(connection.Index());
    PostHeldAnswer();
}

// Posted work runs after the loop has looked at its sockets and timers again.
void WebServer::PostHeldAnswer() {
    if (runtime_->held_posted || runtime_->held.empty()) return;
    runtime_->held_posted = true;
    asio::post(runtime_->loop, [this, alive = runtime_->alive] {
        if (!*alive) return;
        runtime_->held_posted = false;
        int index = runtime_->held.front();
        runtime_->held.pop_front();
        runtime_->pool[index]->AnswerHeldRequest();
        if (*alive) PostHeldAnswer();
    });
}

void WebServer::NotifyWebRequest(std::string_view address, std::string_view path) const {
    if (events_) events_->Raise(ScriptEvent::WebRequest, {std::string(address), std::string(path)});
}

} // namespace tess
