#!/usr/bin/env python3
"""A loopback HTTPS server for the update-check tests.

usage: https_feed_server.py CERTIFICATE KEY FOLDER LOG

Serves the files in FOLDER over HTTPS on 127.0.0.1 at a free port and prints the port as
the first line of standard output. Besides the files it answers:
  /status/<code>       that HTTP status, with a short body
  /slow/<name>         the file <name>, after five seconds of silence
  /large               1 MiB that announces its length
  /endless             data without a length, until the client hangs up
  /redirect/<name>     a redirect to /<name> on this server
  /redirect-to-http    a redirect to plain http://
Each request's method, path and headers are appended to LOG as one JSON line.
"""

import http.server
import json
import ssl
import sys
import threading
import time

certificate, key, folder, log_path = sys.argv[1:5]
log_lock = threading.Lock()


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *args):
        pass  # the request log below is what the tests read

    def record(self):
        with log_lock, open(log_path, "a", encoding="utf-8") as log:
            entry = {"method": self.command, "path": self.path, "headers": [[k, v] for k, v in self.headers.items()]}
            log.write(json.dumps(entry) + "\n")

    def answer(self, status, body=b"", headers=()):
        self.send_response(status)
        for name, value in headers:
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def serve_file(self, name):
        if "/" in name or name.startswith("."):
            return self.answer(404, b"not found")
        try:
            with open(f"{folder}/{name}", "rb") as file:
                body = file.read()
        except OSError:
            return self.answer(404, b"not found")
        return self.answer(200, body, [("Content-Type", "application/json")])

    def do_GET(self):
        self.record()
        path = self.path
        if path.startswith("/status/"):
            code = int(path[len("/status/"):])
            return self.answer(code, b"status %d" % code)
        if path.startswith("/slow/"):
            time.sleep(5)
            return self.serve_file(path[len("/slow/"):])
        if path == "/large":
            return self.answer(200, b"{" + b" " * (1024 * 1024) + b"}")
        if path == "/endless":
            self.send_response(200)
            self.end_headers()
            try:
                while True:
                    self.wfile.write(b" " * 65536)
            except OSError:
                return None
        if path.startswith("/redirect/"):
            target = f"https://127.0.0.1:{self.server.server_port}/{path[len('/redirect/'):]}"
            return self.answer(301, b"", [("Location", target)])
        if path == "/redirect-to-http":
            return self.answer(301, b"", [("Location", f"http://127.0.0.1:{self.server.server_port}/feed.json")])
        return self.serve_file(path.lstrip("/"))


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
server.daemon_threads = True
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(certificate, key)
server.socket = context.wrap_socket(server.socket, server_side=True)
print(server.server_port, flush=True)
server.serve_forever()
