#!/usr/bin/python3
"""An RTSP camera for the tests: GStreamer's RTSP server sending a moving MJPEG test
pattern at rtsp://127.0.0.1:PORT/cam until it is killed."""

import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer  # noqa: E402


def main():
    port = sys.argv[1]
    Gst.init(None)
    server = GstRtspServer.RTSPServer()
    server.set_address("127.0.0.1")
    server.set_service(port)
    factory = GstRtspServer.RTSPMediaFactory()
    factory.set_launch(
        "( videotestsrc is-live=true pattern=ball ! "
        "video/x-raw,format=I420,width=320,height=240,framerate=15/1 ! jpegenc ! rtpjpegpay name=pay0 pt=26 )")
    factory.set_shared(True)
    server.get_mount_points().add_factory("/cam", factory)
    if server.attach(None) == 0:
        sys.exit("cannot listen on port " + port)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
