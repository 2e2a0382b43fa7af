#!/usr/bin/python3
"""An HTTP MJPEG camera for the camera benchmark: serves the frames of an MJPEG file (as ffmpeg
writes it: one JPEG after another) on 127.0.0.1:PORT/cam at FPS frames a second, each as a
multipart part with its Content-Length, as a live camera would: the video's clock starts with
the first client, a client that reconnects gets the frame of the moment, and once the last
frame is sent the source closes and stops listening, so that no program gets the video twice. The time each frame
was sent goes to SENT_LOG ("index seconds" per line, CLOCK_MONOTONIC), for the latency.

    camera_source.py PORT MJPEG_FILE FPS SENT_LOG
"""

import socket
import sys
import time


def split_jpegs(data):
    frames, start = [], 0
    while True:
        end = data.find(b"\xff\xd9\xff\xd8", start)
        if end < 0:
            frames.append(data[start:])
            return frames
        frames.append(data[start:end + 2])
        start = end + 2


def serve(conn, frames, fps, log, start):
    request = b""
    while b"\r\n\r\n" not in request:
        data = conn.recv(4096)
        if not data:
            return
        request += data
    conn.sendall(b"HTTP/1.1 200 OK\r\n"
                 b"Content-Type: multipart/x-mixed-replace;boundary=frame\r\n\r\n")
    # Like a live camera, a client that comes back gets the frame of the moment.
    index = max(0, int((time.monotonic() - start) * fps))
    while index < len(frames):
        pause = start + index / fps - time.monotonic()
        if pause > 0:
            time.sleep(pause)
        jpeg = frames[index]
        conn.sendall(b"--frame\r\nContent-Type: image/jpeg\r\nContent-Length: %d\r\n\r\n"
                     % len(jpeg) + jpeg + b"\r\n")
        log.write("%d %.6f\n" % (index, time.monotonic()))
        index += 1
    log.flush()


def main():
    port, path, fps, log_path = int(sys.argv[1]), sys.argv[2], float(sys.argv[3]), sys.argv[4]
    frames = split_jpegs(open(path, "rb").read())
    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.bind(("127.0.0.1", port))
    listener.listen(4)
    start = None
    with open(log_path, "w") as log:
        while start is None or time.monotonic() < start + len(frames) / fps:
            conn, _ = listener.accept()
            start = start or time.monotonic()
            try:
                serve(conn, frames, fps, log, start)
            except OSError:
                pass
            finally:
                conn.close()
            log.flush()


if __name__ == "__main__":
    main()
