#include "publish/publish_properties.h"

#include "time/schedule_properties.h"

#include <fmt/format.h>

namespace tess {

namespace {

using T = PropertyType;

// No real server: users replace it with their own.
constexpr const char* kExampleFTPServer = "ftp.example.com";

PropertyTable<FTPPush> MakeFTPPushTable() {
    using P = Property<FTPPush>;
    return PropertyTable<FTPPush>({
        P("Enabled", "", "Enabled", T::Boolean, "False")
            .Means("the canvas is uploaded")
            .Access(&FTPPush::Enabled, &FTPPush::SetEnabled),
        P("BaseTime", "", "BaseTime", T::TimeOfDay, "00:00:00")
            .Range(0, FTPPush::kMaxBaseTime)
            .Means("anchor of the upload grid after midnight")
            .Access(&FTPPush::BaseTime, &FTPPush::SetBaseTime),
        P("FilePath", "", "FilePath", T::String, "FTPPush<NN>.jpg")
            .Means("remote path; <NN> is the canvas slot")
            .DefaultFrom(
                [](const FTPPush& p) { return fmt::format("FTPPush{:02}.jpg", p.CanvasIndex()); })
            .Access(&FTPPush::Path, &FTPPush::SetPath),
        P("FTPMode", "", "FTPMode", T::Integer, "0")
            .Range(0, 2)
            .Means("0 upload as temporary, delete, rename; 1 upload as temporary, rename over; "
                   "2 upload in place")
            .Access(&FTPPush::FTPMode, &FTPPush::SetFTPMode),
        P("Rate", "", "Interval", T::Double, "60")
            .Range(0, FTPPush::kMaxInterval)
            .Units("seconds")
            .Means("between uploads; 0 at every update")
            .Access(&FTPPush::Interval, &FTPPush::SetInterval),
        P("Password", "", "Password", T::String, "")
            .Means("FTP password, kept as plain text")
            .Access(&FTPPush::Password, &FTPPush::SetPassword),
        P("Quality", "", "Quality", T::Integer, "80")
            .Range(1, 100)
            .Means("JPEG quality of the uploaded picture")
            .Access(&FTPPush::Quality, &FTPPush::SetQuality),
        P("ServerName", "", "ServerName", T::String, kExampleFTPServer)
            .Means("FTP server host name")
            .Access(&FTPPush::ServerName, &FTPPush::SetServerName),
        P("UserName", "", "UserName", T::String, "")
            .Means("FTP user name")
            .Access(&FTPPush::UserName, &FTPPush::SetUserName),
        P("ServerKey", "", "ServerKey", T::String, "")
            .Optional()
            .Means("accepted server key: sha256//BASE64 (FTPS certificate) or SHA256:... (SFTP "
                   "host key); written only when set")
            .Access(&FTPPush::ServerKey, &FTPPush::SetServerKey),
        P("Schedule", "FTPPushSchedule", "", T::Group, "")
            .Means("daily window of the uploads")
            .Group(
                ScheduleProperties(), [](auto& p) -> auto& { return p.Schedule(); }),
    });
}

PropertyTable<CanvasWebServer> MakeCanvasWebServerTable() {
    using P = Property<CanvasWebServer>;
    using W = CanvasWebServer;
    return PropertyTable<CanvasWebServer>({
        P("Enabled", "", "Enabled", T::Boolean, "False")
            .Means("the web server serves this canvas")
            .Access(&W::Enabled, &W::SetEnabled),
        P("FileName", "", "FileName", T::String, "Canvas<NN>.jpg")
            .Means("request path of the picture; <NN> is the canvas slot")
            .DefaultFrom([](const W& w) { return fmt::format("Canvas{:02}.jpg", w.CanvasIndex()); })
            .Access(&W::FileName, &W::SetFileName),
        P("Interval", "", "Interval", T::Double, "0")
            .Range(0, W::kMaxInterval)
            .Units("seconds")
            .Means("one encoding is reused this long; 0 encodes for every request")
            .Access(&W::Interval, &W::SetInterval),
        P("Quality", "", "Quality", T::Integer, "80")
            .Range(1, 100)
            .Means("JPEG quality of the served picture")
            .Access(&W::Quality, &W::SetQuality),
        P("OffScheduleFile", "", "OffScheduleFile", T::Path, "offair.jpg")
            .Means("file under the web path served while the schedule is off")
            .Access(&W::OffScheduleFile, &W::SetOffScheduleFile),
        P("Schedule", "WebServerSchedule", "", T::Group, "")
            .Means("daily window of the served picture")
            .Group(
                ScheduleProperties(), [](auto& w) -> auto& { return w.Schedule(); }),
    });
}

// Enabled is read last, so that the server starts with its final port and folder.
PropertyTable<WebServer> MakeWebServerTable() {
    using P = Property<WebServer>;
    return PropertyTable<WebServer>(
        {
            P("Port", "", "Port", T::Integer, "80")
                .Range(0, 65535)
                .Means("TCP port; 0 lets the system choose")
                .Access(&WebServer::Port, &WebServer::SetPort),
            P("RootPath", "", "WebPath", T::Path, "web")
                .Means("folder of the files served besides canvas pictures")
                .Access(&WebServer::WebPath, &WebServer::SetWebPath),
            P("AllowNonCanvasServes", "", "AllowNonCanvasServes", T::Boolean, "False")
                .Means("files of the web folder are served too")
                .Access(&WebServer::AllowNonCanvasServes, &WebServer::SetAllowNonCanvasServes),
            P("Enabled", "", "Enabled", T::Boolean, "False")
                .Means("the HTTP server listens")
                .Access(&WebServer::Enabled, &WebServer::SetEnabled),
        },
        {"Enabled", "AllowNonCanvasServes", "Port", "RootPath"});
}

} // namespace

const PropertyTable<FTPPush>& FTPPushProperties() {
    static const PropertyTable<FTPPush> table = MakeFTPPushTable();
    return table;
}

const PropertyTable<CanvasWebServer>& CanvasWebServerProperties() {
    static const PropertyTable<CanvasWebServer> table = MakeCanvasWebServerTable();
    return table;
}

const PropertyTable<WebServer>& WebServerProperties() {
    static const PropertyTable<WebServer> table = MakeWebServerTable();
    return table;
}

} // namespace tess
