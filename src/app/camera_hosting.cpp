#include "app/camera_hosting.h"

#include "app/application.h"
#include "app/user_interface.h"
#include "base/log.h"
#include "capture/capture_drivers.h"
#include "document/portfolio.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>

namespace tess {

std::shared_ptr<CaptureDrivers> FindCaptureDrivers(const std::string& settings_file,
                                                   std::vector<std::string>& problems) {
    auto drivers = std::make_shared<CaptureDrivers>();
    drivers->LoadDeclared(settings_file, problems);
    drivers->AddDevices(FindV4l2Devices());
    return drivers;
}

void HostCameras(Application& app, Portfolio& portfolio) {
    std::vector<std::string> problems;
    auto drivers = FindCaptureDrivers(app.PathInDirectory("Tessarolle.INI"), problems);
    for (const std::string& problem : problems)
        LogWarning("camera not usable: {}", problem);
    // Reader threads only post: everything else happens on the loop.
    asio::io_context& loop = app.Loop();
    drivers->SetFrameReady([&loop, &app] { asio::post(loop, [&app] { app.WakeSoon(); }); });
    CaptureServices services;
    services.now = [&app] { return app.AppClock().Now(); };
    services.message = [&app](std::string_view text, std::string_view caption) {
        app.UI().ShowMessage(text, caption);
    };
    portfolio.SetCapture(std::move(drivers), std::move(services));
}

} // namespace tess
