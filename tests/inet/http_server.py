#!/usr/bin/env python3
"""A local HTTP and HTTPS server for the internet client's tests.

Listens on 127.0.0.1 on two free ports at or below 32767 (plain and TLS; the TLS certificate is
made at start with the openssl command, for 127.0.0.1 and localhost), prints one line
"READY <http port> <https port> <certificate file>" and serves until its standard input
closes or --lifetime seconds pass. What a request gets depends on its path:

  /reply?status=&reason=&body=&header=Name:Value (repeatable)   that status, reason, body
  /echo                     the request line, headers and body, as the body
  /gzip?size=N&enc=GZIP     N bytes of text gzipped, with that Content-Encoding
  /deflate?size=N           N bytes raw-deflated, Content-Encoding: deflate
  /bigheaders?chars=N       a header block of about N characters
  /stall?ms=N               waits N ms before answering
  /trickle?bytes=N&ms=M     announces N bytes, sends one every M ms
  /steady?chunks=N&size=S&ms=M   N chunks of S bytes, one every M ms
  /closemid                 announces 1000 bytes, sends 10 and closes
  /redirect?to=PATH         302 to PATH

Test suites import it and use running(), which starts it in a process of its own.
"""
import argparse
import contextlib
import gzip
import http.server
import os
import random
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse
import zlib

TEXT = b"En un lugar de la Mancha, de cuyo nombre no quiero acordarme. "


def text_of(size):
    return (TEXT * (size // len(TEXT) + 1))[:size]


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def send_all(self, status, reason, headers, body):
        self.send_response_only(status, reason)
        for name, value in headers:
            self.send_header(name, value)
        if not any(n.lower() == "content-length" for n, _ in headers):
            self.send_header("Content-Length", str(len(body)))
        self.send_header("Connection", "close")
        self.end_headers()
        self.wfile.write(body)
        self.close_connection = True

    def do_POST(self):
        self.do_GET()

    def do_GET(self):
        try:
            self.answer()
        except (BrokenPipeError, ConnectionResetError):
            self.close_connection = True

    def answer(self):
        url = urllib.parse.urlsplit(self.path)
        q = urllib.parse.parse_qs(url.query, keep_blank_values=True)
        arg = lambda name, default: q.get(name, [default])[0]
        length = int(self.headers.get("Content-Length") or 0)
        posted = self.rfile.read(length) if length else b""
        path = url.path
        if path == "/reply":
            headers = [tuple(h.split(":", 1)) for h in q.get("header", [])]
            status = int(arg("status", "200"))
            body = arg("body", "").encode("latin-1")
            if status == 204:
                self.send_response_only(204, arg("reason", "No Content"))
                self.send_header("Connection", "close")
                self.end_headers()
                self.close_connection = True
                return
            self.send_all(status, arg("reason", "OK"), headers, body)
        elif path == "/echo":
            body = (self.requestline + "\r\n").encode("latin-1")
            body += str(self.headers).encode("latin-1") + posted
            self.send_all(200, "OK", [], body)
        elif path == "/gzip":
            body = gzip.compress(text_of(int(arg("size", "1000"))))
            self.send_all(200, "OK", [("Content-Encoding", arg("enc", "gzip"))], body)
        elif path == "/deflate":
            c = zlib.compressobj(6, zlib.DEFLATED, -15)
            body = c.compress(text_of(int(arg("size", "1000")))) + c.flush()
            self.send_all(200, "OK", [("Content-Encoding", "deflate")], body)
        elif path == "/bigheaders":
            chars = int(arg("chars", "1100"))
            self.send_all(200, "OK", [("X-Filler", "f" * chars)], b"cuerpo")
        elif path == "/stall":
            time.sleep(int(arg("ms", "2000")) / 1000)
            self.send_all(200, "OK", [], b"tarde")
        elif path == "/trickle":
            n, ms = int(arg("bytes", "5")), int(arg("ms", "1000"))
            self.send_headers_only(n)
            for _ in range(n):
                self.wfile.write(b"x")
                self.wfile.flush()
                time.sleep(ms / 1000)
        elif path == "/steady":
            chunks, size, ms = int(arg("chunks", "10")), int(arg("size", "1000")), int(arg("ms", "100"))
            self.send_headers_only(chunks * size)
            for _ in range(chunks):
                self.wfile.write(text_of(size))
                self.wfile.flush()
                time.sleep(ms / 1000)
        elif path == "/closemid":
            self.send_headers_only(1000)
            self.wfile.write(b"0123456789")
            self.wfile.flush()
            self.connection.shutdown(socket.SHUT_RDWR)
        elif path == "/redirect":
            self.send_all(302, "Found", [("Location", arg("to", "/reply"))], b"")
        else:
            self.send_all(404, "Not Found", [], b"")

    def send_headers_only(self, length):
        self.send_response_only(200, "OK")
        self.send_header("Content-Length", str(length))
        self.send_header("Connection", "close")
        self.end_headers()
        self.wfile.flush()
        self.close_connection = True


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 128


def bind_free_port(context=None):
    """A server on a random free port between 20000 and 32767."""
    for _ in range(200):
        port = random.randint(20000, 32767)
        try:
            server = Server(("127.0.0.1", port), Handler)
        except OSError:
            continue
        if context is not None:
            server.socket = context.wrap_socket(server.socket, server_side=True)
        return server
    raise SystemExit("no free port")


def make_certificate(directory):
    cert = os.path.join(directory, "cert.pem")
    key = os.path.join(directory, "key.pem")
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", cert,
         "-days", "2", "-subj", "/CN=localhost",
         "-addext", "subjectAltName=IP:127.0.0.1,DNS:localhost",
         "-addext", "basicConstraints=critical,CA:TRUE"],
        check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return cert, key


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--lifetime", type=float, default=300)
    args = parser.parse_args()
    directory = tempfile.mkdtemp(prefix="qel_inet_server_")
    cert, key = make_certificate(directory)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(cert, key)
    plain = bind_free_port()
    secure = bind_free_port(context)
    for s in (plain, secure):
        threading.Thread(target=s.serve_forever, daemon=True).start()
    print("READY %d %d %s" % (plain.server_address[1], secure.server_address[1], cert), flush=True)

    def finish():
        shutil.rmtree(directory, ignore_errors=True)
        os._exit(0)

    def stop_on_eof():
        sys.stdin.read()
        finish()

    threading.Thread(target=stop_on_eof, daemon=True).start()
    time.sleep(args.lifetime)
    finish()


@contextlib.contextmanager
def running():
    """This server in a process of its own: yields the base URLs ("http", "https") and "env",
    the variables a client needs (the test CA, no proxy for the loopback)."""
    proc = subprocess.Popen(["/usr/bin/python3", __file__], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True)
    _, http_port, https_port, ca_file = proc.stdout.readline().split()
    try:
        yield {"http": "http://127.0.0.1:%s" % http_port,
               "https": "https://localhost:%s" % https_port,
               "env": {"SSL_CERT_FILE": ca_file, "no_proxy": "127.0.0.1,localhost"}}
    finally:
        proc.stdin.close()
        proc.wait(timeout=10)


if __name__ == "__main__":
    main()
