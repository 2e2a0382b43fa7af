#pragma once

// The built-in HTTP server: its settings, as the portfolio file stores them, and, once the
// program attaches it to its event loop, the listening socket and a fixed pool of
// connections. It answers requests for canvas pictures and, when allowed, for files under
// WebPath. Without an event loop (the file commands, document tests) it is settings only.

#include "publish/web_reply.h"
#include "publish/web_response.h"
#include "settings/limit.h"
#include "settings/script_events.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace asio {
class io_context;
}

namespace tess {

class WebConnection;

// What the server needs from the program that runs it.
struct WebServerHooks {
    // The program's "now" (a local date): the Date line, picture ages, idle connections.
    std::function<double()> now;
    CanvasFinder find_canvas;
    // Shown once when the port cannot be listened on.
    std::function<void(std::string_view text, std::string_view caption)> listen_failed;
};

class WebServer {
public:
    static constexpr std::int32_t kDefaultPort = 18080;
    // Enough for a page of pictures open in many browsers at once (each keeps up to six
    // connections) and for 64-connection load tests; each member holds at most one request
    // header, since bodies are sent from their files.
    static constexpr int kPoolSize = 128;
    // A connection taken this long ago, or last busy this long ago, gives way to a new one
    // when every member is in use.
    static constexpr double kReclaimSeconds = 5;
    // With the pool full, one client address holds at most this share of it: a new
    // connection of a client at its share takes the place of its own oldest, and one of
    // another client takes the oldest of a client over its share. A visitor opening
    // connections without end (half headers, a broken script) then shuts out only itself,
    // while a single busy client may use the whole pool when nobody else wants it.
    static constexpr int kMaxPerClient = kPoolSize / 4;
    // A connection with no request and nothing sent for this long is closed anyway.
    static constexpr double kIdleSeconds = 15;

    WebServer();
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    // Switching on listens on Port when attached to a loop; if that fails Enabled stays
    // false and the failure is shown. Switching off closes every connection and stops
    // listening. Port and WebPath take effect at the next switching on and the next
    // connection.
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value);

    // The TCP port; 0 lets the system choose a free one.
    std::int32_t Port() const { return port_; }
    void SetPort(std::int32_t value) { Mark(StoreLimited(port_, value, 0, 65535)); }

    // Folder of the files served besides canvas pictures, as the settings file holds it.
    const std::string& WebPath() const { return web_path_; }
    void SetWebPath(std::string value) { Mark(StoreIfChanged(web_path_, std::move(value))); }

    bool AllowNonCanvasServes() const { return allow_non_canvas_serves_; }
    void SetAllowNonCanvasServes(bool value) {
        Mark(StoreIfChanged(allow_non_canvas_serves_, value));
    }

    bool NeedsSaving() const { return needs_saving_; }
    void SetNeedsSaving(bool value) { needs_saving_ = value; }

    // Runs the server on `loop` from now on; when Enabled it starts listening at once.
    void Attach(asio::io_context& loop, WebServerHooks hooks);
    bool Attached() const { return runtime_ != nullptr; }
    // Every answered request raises the script's WebRequest event here; null: none.
    void SetScriptEvents(ScriptEvents* events) { events_ = events; }

    bool Listening() const;
    // The port actually listened on (the chosen one when Port is 0); 0 when not listening.
    std::uint16_t ListeningPort() const;
    // Pool member 0..kPoolSize-1; only while attached.
    WebConnection& Connection(int index);

    // --- for the pool members ---
    double Now() const;
    WebReplyContext ReplyContext(const WebConnection& connection);
    void NotifyWebRequest(std::string_view address, std::string_view path) const;
    // Queues a member whose answer encodes a picture. Such answers run one per turn of the
    // event loop, so the update timer and the other connections get their turns between
    // them even when many clients ask for encodings at once.
    void HoldForEncoding(WebConnection& connection);

private:
    struct Runtime;

    void Mark(bool changed) { needs_saving_ |= changed; }
    bool StartListening();
    void StopListening();
    void PostHeldAnswer();

    bool enabled_ = false;
    std::int32_t port_ = kDefaultPort;
    std::string web_path_ = "web";
    bool allow_non_canvas_serves_ = false;
    bool needs_saving_ = false;
    ScriptEvents* events_ = nullptr;
    std::unique_ptr<Runtime> runtime_;
};

} // namespace tess
