"""The FTP server of the upload tests: pyftpdlib on 127.0.0.1 with one user, plain, with
explicit TLS (AUTH TLS) or with implicit TLS, optionally throttled. Every command it receives
goes to the log file, one line each, so tests can read the sequence the server saw. The port
is written to the port file once the server listens."""

import argparse
import logging
import os
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler, ThrottledDTPHandler
from pyftpdlib.servers import FTPServer


def parse():
    p = argparse.ArgumentParser()
    p.add_argument("--root", required=True)
    p.add_argument("--user", required=True)
    p.add_argument("--password", required=True)
    p.add_argument("--port", type=int, default=0)
    p.add_argument("--port-file", required=True)
    p.add_argument("--log", required=True)
    p.add_argument("--tls", choices=["none", "explicit", "implicit"], default="none")
    p.add_argument("--cert")
    p.add_argument("--key")
    p.add_argument("--throttle", type=int, default=0, help="bytes per second received")
    return p.parse_args()


def logging_handler(base, log):
    class Logged(base):
        def pre_process_command(self, line, cmd, arg):
            shown = "****" if cmd == "PASS" else (arg or "")
            log.write((cmd + " " + shown).rstrip() + "\n")
            log.flush()
            return super().pre_process_command(line, cmd, arg)

    return Logged


def tls_handler(args, implicit):
    from pyftpdlib.handlers import TLS_DTPHandler, TLS_FTPHandler

    class TlsData(TLS_DTPHandler):
        # curl opens the data connection and starts its TLS handshake before it sends STOR.
        # pyftpdlib 1.5.7 takes any input on a data channel with no transfer yet for a
        # disconnect and closes it, so the handshake is answered with a reset (curl then
        # reads "Bad PASV/EPSV response"). While the handshake is pending, input is the
        # handshake's own.
        def readable(self):
            if self._ssl_accepting:
                return True
            return super().readable()

    class Tls(TLS_FTPHandler):
        dtp_handler = TlsData

    Tls.certfile = args.cert
    Tls.keyfile = args.key
    Tls.tls_control_required = True
    Tls.tls_data_required = True
    if not implicit:
        return Tls

    class Implicit(Tls):
        # TLS from the first byte: the greeting waits for the handshake.
        def handle(self):
            self.secure_connection(self.ssl_context)

        def handle_ssl_established(self):
            Tls.handle(self)

    return Implicit


def main():
    args = parse()
    # The test's pipes are not read while the server runs: its own log goes to a file.
    logging.basicConfig(filename=args.log + ".server", level=logging.INFO)
    sys.stderr = open(args.log + ".stderr", "a", buffering=1)
    log = open(args.log, "a", buffering=1)
    authorizer = DummyAuthorizer()
    authorizer.add_user(args.user, args.password, args.root, perm="elradfmwMT")
    base = FTPHandler if args.tls == "none" else tls_handler(args, args.tls == "implicit")
    handler = logging_handler(base, log)
    handler.authorizer = authorizer
    handler.passive_ports = None
    if args.throttle:
        dtp = ThrottledDTPHandler
        dtp.read_limit = args.throttle
        dtp.write_limit = args.throttle
        handler.dtp_handler = dtp
    server = FTPServer(("127.0.0.1", args.port), handler)
    port = server.socket.getsockname()[1]
    tmp = args.port_file + ".tmp"
    with open(tmp, "w") as f:
        f.write(str(port))
    os.rename(tmp, args.port_file)
    server.serve_forever(handle_exit=True)


if __name__ == "__main__":
    sys.exit(main())
