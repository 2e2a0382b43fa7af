#!/usr/bin/python3
"""Watches a multipart MJPEG stream (ours or motion's) for the camera benchmark: reads every
part, notes when it came (CLOCK_MONOTONIC), and reads the frame number the benchmark's source
drew into its frames (eight black or white squares, a binary number, see camera_vs_peers.sh)
from a 1/8-scale decode. Runs until the stream ends or SECONDS pass, then writes one line per
part to OUT: "received_seconds frame_number" (-1 when the number cannot be read).

    stream_viewer.py URL SECONDS OUT
"""

import io
import re
import socket
import sys
import time
from urllib.parse import urlparse

from PIL import Image

# Where the squares are in the 1280x720 frame: left edge, top, side, step.
BITS_X, BITS_Y, SIDE, STEP = 600, 320, 40, 48


def frame_number(jpeg):
    try:
        image = Image.open(io.BytesIO(jpeg))
        image.draft("L", (image.width // 8, image.height // 8))
        image = image.convert("L")
    except Exception:
        return -1
    scale = 1280 / image.width
    number = 0
    for bit in range(8):
        x = (BITS_X + bit * STEP + SIDE / 2) / scale
        y = (BITS_Y + SIDE / 2) / scale
        number |= (image.getpixel((int(x), int(y))) > 128) << bit
    return number


def connect(url):
    parts = urlparse(url)
    sock = socket.create_connection((parts.hostname, parts.port or 80), timeout=2)
    sock.sendall(b"GET %s HTTP/1.0\r\nHost: %s\r\n\r\n" % (parts.path.encode(), parts.hostname.encode()))
    return sock


def main():
    url, seconds, out_path = sys.argv[1], float(sys.argv[2]), sys.argv[3]
    end = time.monotonic() + seconds
    # motion takes connections a few seconds before it sends anything on them.
    while True:
        try:
            sock = connect(url)
            first = sock.recv(1 << 16)
            if first:
                break
        except OSError:
            pass
        if time.monotonic() > end:
            sys.exit("no stream at " + url)
        time.sleep(0.1)
    buffer = first
    rows = []
    length_re = re.compile(rb"content-length:\s*(\d+)", re.I)
    answered = False
    while time.monotonic() < end:
        try:
            data = sock.recv(1 << 16)
        except socket.timeout:
            continue
        except OSError:
            break
        if not data:
            break
        buffer += data
        while True:
            head_end = buffer.find(b"\r\n\r\n")
            if head_end < 0:
                break
            head, rest = buffer[:head_end], head_end + 4
            if not answered:  # the answer's own header
                answered, buffer = True, buffer[rest:]
                continue
            match = length_re.search(head)
            if match:
                size = int(match.group(1))
                if len(buffer) < rest + size:
                    break
                body, buffer = buffer[rest:rest + size], buffer[rest + size:]
            else:  # no length: the part ends at the JPEG's end marker
                stop = buffer.find(b"\xff\xd9", rest)
                if stop < 0:
                    break
                body, buffer = buffer[rest:stop + 2], buffer[stop + 2:]
            rows.append((time.monotonic(), body))
    if rows:  # one picture kept, to see what was served
        with open(out_path + ".jpg", "wb") as out:
            out.write(rows[len(rows) // 2][1])
    with open(out_path, "w") as out:
        for received, body in rows:
            out.write("%.6f %d\n" % (received, frame_number(body)))


if __name__ == "__main__":
    main()
