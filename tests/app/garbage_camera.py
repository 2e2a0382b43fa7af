#!/usr/bin/python3
"""A broken HTTP camera for the tests: on 127.0.0.1:PORT it answers every request as an MJPEG
stream and then sends TOTAL bytes of garbage (pseudo-random bytes, now and then a part
header and a JPEG start marker), then closes. With MODE "framed" the garbage starts with a
part header, so that it passes for a stream and both the stream parser and the decoder get
fed; with "endless" that first part never ends; with "raw" it does not pass for a stream. Bytes actually sent are added up in COUNT_FILE after each
connection.

    garbage_camera.py PORT COUNT_FILE MODE [TOTAL]
"""

import os
import random
import socket
import sys
import threading

HEAD = (b"HTTP/1.1 200 OK\r\n"
        b"Content-Type: multipart/x-mixed-replace;boundary=frame\r\n\r\n")
PART = b"\r\n--frame\r\nContent-Type: image/jpeg\r\n\r\n\xff\xd8\xff\xe0"
CHUNK = 64 * 1024


def garbage_block(mode):
    rng = random.Random(7)
    block = bytearray(rng.randbytes(1024 * 1024))
    # A part header and a JPEG start every 48 KiB or so.
    if mode != "endless":
        for at in range(1000, len(block) - len(PART), 48 * 1024 + 13):
            block[at:at + len(PART)] = PART
    if mode != "raw":  # the stream's first line is its first boundary
        block[0:len(PART) - 2] = PART[2:]
    return bytes(block)


class Counter:
    def __init__(self, path):
        self.path = path
        self.total = 0
        self.lock = threading.Lock()

    def add(self, sent):
        with self.lock:
            self.total += sent
            with open(self.path + ".tmp", "w") as out:
                out.write(str(self.total))
            # Replaced whole, so a reader never sees half a number.
            os.replace(self.path + ".tmp", self.path)


def serve(conn, block, total, counter):
    sent = 0
    try:
        conn.settimeout(30)
        request = b""
        while b"\r\n\r\n" not in request:
            data = conn.recv(4096)
            if not data:
                return
            request += data
        conn.sendall(HEAD)
        offset = 0
        while sent < total:
            size = min(CHUNK, total - sent)
            piece = block[offset:offset + size]
            if len(piece) < size:
                piece += block[:size - len(piece)]
            conn.sendall(piece)
            sent += size
            offset = (offset + size) % len(block)
    except OSError:
        pass  # the client went away: that is allowed
    finally:
        counter.add(sent)
        conn.close()


def main():
    port = int(sys.argv[1])
    counter = Counter(sys.argv[2])
    block = garbage_block(sys.argv[3])
    total = int(sys.argv[4]) if len(sys.argv) > 4 else 100 * 1024 * 1024
    counter.add(0)
    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.bind(("127.0.0.1", port))
    listener.listen(8)
    while True:
        conn, _ = listener.accept()
        threading.Thread(target=serve, args=(conn, block, total, counter), daemon=True).start()


if __name__ == "__main__":
    main()
