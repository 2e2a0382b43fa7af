#pragma once

// The settings of the publishing objects, as files, scripts and the control panel see them:
// a canvas's FTP push ("FTPPush" and "FTPPushSchedule" of the canvas file), a canvas's web
// picture ("WebServer" and "WebServerSchedule") and the portfolio's web server ("WebServer"
// of the portfolio file).

#include "publish/canvas_web_server.h"
#include "publish/ftp_push.h"
#include "publish/web_server.h"
#include "settings/property_table.h"

namespace tess {

const PropertyTable<FTPPush>& FTPPushProperties();
const PropertyTable<CanvasWebServer>& CanvasWebServerProperties();
const PropertyTable<WebServer>& WebServerProperties();

} // namespace tess
