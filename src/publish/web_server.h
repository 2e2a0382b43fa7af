#pragma once

// The settings of the built-in HTTP server, as the portfolio file stores them. The server
// listens while Enabled; it answers requests for canvas pictures and, when allowed, for
// files under WebPath.

#include "settings/limit.h"

#include <cstdint>
#include <string>

namespace tess {

class WebServer {
public:
    static constexpr std::int32_t kDefaultPort = 18080;

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { Mark(StoreIfChanged(enabled_, value)); }

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

private:
    void Mark(bool changed) { needs_saving_ |= changed; }

    bool enabled_ = false;
    std::int32_t port_ = kDefaultPort;
    std::string web_path_ = "web";
    bool allow_non_canvas_serves_ = false;
    bool needs_saving_ = false;
};

} // namespace tess
