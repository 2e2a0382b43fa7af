#include "publish/canvas_web_server.h"

namespace tess {

void CanvasWebServer::Reset() {
    SetEnabled(false);
    SetFileName("");
    SetInterval(0);
    SetQuality(80);
    SetOffScheduleFile("offair.jpg");
    schedule_.Reset();
}

} // namespace tess
