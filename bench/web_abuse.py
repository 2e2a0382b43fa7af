#!/usr/bin/python3
"""Misbehaving visitors against the running web server, with its memory watched.

    make bench && bench/web_abuse.py [BUILD_DIR]      (default build/release)

Starts bench/web_serve (the program's event loop and update timer, a 1280x720 canvas served
as Canvas01.jpg, a web folder with index.htm and a 16 MB file) and, in turn: 1,000
connections that send half a request header and wait; 10,000 connections opened and dropped
(every other one reset); a client that asks for the 16 MB file twice and reads nothing. After
each, ordinary requests must be answered (once pool members free up) and the server must
still run. The whole series runs ROUNDS times (3 by default). Prints the server's resident
memory after each step and exits non-zero on a failure.
"""

import os
import resource
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build/release"))
PORT = int(os.environ.get("PORT", "18483"))
ROUNDS = int(os.environ.get("ROUNDS", "3"))  # memory that grew round after round would show
INDEX = b"<html>index</html>"


def get(path, timeout=3.0):
    """One request without keep-alive; the whole answer, or b"" when refused or timed out."""
    try:
        with socket.create_connection(("127.0.0.1", PORT), timeout=timeout) as s:
            s.sendall(b"GET /" + path.encode() + b" HTTP/1.1\r\nHost: abuse\r\n\r\n")
            data = b""
            while True:
                chunk = s.recv(65536)
                if not chunk:
                    return data
                data += chunk
    except OSError:
        return b""


def body(answer):
    return answer.split(b"\r\n\r\n", 1)[1] if b"\r\n\r\n" in answer else b""


def memory(pid):
    fields = {}
    with open(f"/proc/{pid}/status") as f:
        for line in f:
            key, _, value = line.partition(":")
            if key in ("VmRSS", "VmHWM"):
                fields[key] = int(value.split()[0])
    return fields


class Run:
    def __init__(self, server):
        self.server = server
        self.failures = 0

    def check(self, what, ok):
        print(f"  {'ok  ' if ok else 'FAIL'} {what}")
        self.failures += 0 if ok else 1

    def alive_and_answering(self, step):
        self.check(f"{step}: server still running", self.server.poll() is None)
        self.check(f"{step}: index.htm answered", body(get("index.htm")) == INDEX)
        picture = body(get("Canvas01.jpg"))
        self.check(f"{step}: canvas picture answered ({len(picture)} bytes)",
                   picture[:2] == b"\xff\xd8")
        m = memory(self.server.pid)
        print(f"  memory after {step}: VmRSS {m['VmRSS']} kB, VmHWM {m['VmHWM']} kB")


def half_headers(run):
    print("1,000 connections sending half a header")
    clients = []
    for _ in range(1000):
        s = socket.create_connection(("127.0.0.1", PORT), timeout=5)
        s.sendall(b"GET /index.htm HTTP/1.1\r\nHost: sl")
        clients.append(s)
    time.sleep(1)
    closed = 0
    for s in clients:
        s.setblocking(False)
        try:
            closed += s.recv(1) == b""
        except BlockingIOError:
            pass
        except OSError:
            closed += 1
    print(f"  {closed} closed unanswered by the server, {1000 - closed} held")
    run.check("the pool is full: a request now is refused", body(get("index.htm", 1)) == b"")
    time.sleep(5.5)  # past the reclaim age, a newcomer takes an idle member's place
    run.alive_and_answering("half headers")
    for s in clients:
        s.close()


def opened_and_dropped(run):
    print("10,000 connections opened and dropped")
    start = time.monotonic()
    for i in range(10000):
        s = socket.create_connection(("127.0.0.1", PORT), timeout=5)
        if i % 2:  # a reset rather than an orderly close
            s.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        s.close()
    print(f"  {time.monotonic() - start:.1f} s")
    time.sleep(0.5)
    run.alive_and_answering("opened and dropped")


def reads_nothing(run):
    print("a client that asks for 16 MB twice and reads nothing")
    sink = socket.socket()
    sink.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    sink.connect(("127.0.0.1", PORT))
    request = b"GET /big.bin HTTP/1.1\r\nHost: sink\r\nConnection: keep-alive\r\n\r\n"
    sink.sendall(request * 2)
    time.sleep(1)
    answered = sum(body(get("index.htm")) == INDEX for _ in range(20))
    run.check(f"others answered meanwhile ({answered} of 20)", answered == 20)
    run.alive_and_answering("a client that reads nothing")
    sink.close()


def main():
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(hard, 8192), hard))
    with tempfile.TemporaryDirectory(prefix="tess-web-abuse-") as web:
        with open(os.path.join(web, "index.htm"), "wb") as f:
            f.write(INDEX)
        with open(os.path.join(web, "big.bin"), "wb") as f:
            f.write(b"x" * (16 << 20))
        server = subprocess.Popen([os.path.join(BUILD, "bench/web_serve"), "--port", str(PORT),
                                   "--web", web], stdout=subprocess.PIPE)
        try:
            if b"serving" not in server.stdout.readline():
                print("web_serve did not start")
                return 1
            run = Run(server)
            m = memory(server.pid)
            print(f"memory at the start: VmRSS {m['VmRSS']} kB")
            for round in range(ROUNDS):
                print(f"round {round + 1} of {ROUNDS}")
                half_headers(run)
                opened_and_dropped(run)
                reads_nothing(run)
            print("all well" if run.failures == 0 else f"{run.failures} failures")
            return 1 if run.failures else 0
        finally:
            server.send_signal(signal.SIGTERM)
            server.wait(timeout=10)


if __name__ == "__main__":
    sys.exit(main())
