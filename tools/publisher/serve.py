#!/usr/bin/env python3
"""Serves a folder as the publisher's server does, for trying banners and updates by hand.

    serve.py FOLDER CERTIFICATES [--host HOST] [--port PORT] [--proxy-port PORT] [--address ADDRESS]

FOLDER is found at https://HOST/app/. CERTIFICATES is a folder, made when it is missing, that keeps a certificate
authority for HOST and the server's certificate; it is good for this host and names below it alone. A proxy leads to
the server whoever asks it for HOST, so that neither port 443 nor the system's table of hosts is needed. README.md says
how Ovrel gets there.
"""

import argparse
import http.server
import pathlib
import re
import select
import shutil
import socket
import socketserver
import ssl
import subprocess
import sys
import threading
import urllib.parse

PATH = "/app/"
HTTPS_PORT = 443
AUTHORITY_DAYS = 365
SERVER_DAYS = 30
RENEWED_BEFORE_SECONDS = 7 * 24 * 3600
SILENCE_SECONDS = 60
REQUEST_LIMIT_BYTES = 8192
CHUNK_BYTES = 65536


def openssl(*arguments):
    """Returns whether it succeeded; says why it did not, unless the call only asks for that."""
    result = subprocess.run(["openssl", *map(str, arguments)], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if result.returncode != 0 and "-checkend" not in arguments:
        sys.exit(f"openssl {arguments[0]}: {result.stderr.strip()}")
    return result.returncode == 0


class Certificates:
    """The authority and the server's certificate of one host."""

    def __init__(self, folder, host):
        self.folder = folder / host
        self.host = host
        self.authority = self.folder / "authority.pem"
        self.authority_key = self.folder / "authority.key"
        self.server = self.folder / "server.pem"
        self.server_key = self.folder / "server.key"
        self.trust = self.folder / "trust"

    def prepare(self):
        self.folder.mkdir(mode=0o700, parents=True, exist_ok=True)
        if not self._is_valid(self.authority):
            self._make_authority()
            self.server.unlink(missing_ok=True)
        if not self._is_valid(self.server):
            self._make_server()

    @staticmethod
    def _is_valid(certificate):
        return certificate.exists() and openssl(
            "x509", "-in", certificate, "-noout", "-checkend", RENEWED_BEFORE_SECONDS)

    @staticmethod
    def _new_key(path):
        return ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-noenc", "-keyout", path]

    def _make_authority(self):
        # Who trusts it trusts it for this host and names below it, and for no address (RFC 5280, section 4.2.1.10).
        openssl("req", "-x509", *self._new_key(self.authority_key), "-out", self.authority,
                "-days", AUTHORITY_DAYS, "-subj", "/CN=Ovrel publisher on this computer",
                "-addext", "basicConstraints=critical,CA:TRUE,pathlen:0",
                "-addext", "keyUsage=critical,keyCertSign,cRLSign",
                "-addext", f"nameConstraints=critical,permitted;DNS:{self.host},"
                "excluded;IP:0.0.0.0/0.0.0.0,excluded;IP:0:0:0:0:0:0:0:0/0:0:0:0:0:0:0:0")
        shutil.rmtree(self.trust, ignore_errors=True)
        self.trust.mkdir()
        shutil.copy(self.authority, self.trust / "authority.pem")
        openssl("rehash", self.trust)

    def _make_server(self):
        request = self.folder / "server.csr"
        openssl("req", *self._new_key(self.server_key), "-out", request, "-subj", f"/CN={self.host}",
                "-addext", f"subjectAltName=DNS:{self.host}",
                "-addext", "extendedKeyUsage=serverAuth")
        openssl("x509", "-req", "-in", request, "-CA", self.authority, "-CAkey", self.authority_key,
                "-copy_extensions", "copy", "-days", SERVER_DAYS, "-out", self.server)
        request.unlink()


class FolderHandler(http.server.SimpleHTTPRequestHandler):
    """Answers from the folder for addresses below PATH, and 404 for all others."""

    protocol_version = "HTTP/1.1"
    timeout = SILENCE_SECONDS
    extensions_map = {**http.server.SimpleHTTPRequestHandler.extensions_map,
                      ".avif": "image/avif", ".txt": "text/plain; charset=utf-8", ".xml": "application/xml"}

    def send_head(self):
        if not urllib.parse.urlsplit(self.path).path.startswith(PATH):
            self.send_error(http.HTTPStatus.NOT_FOUND)
            return None
        return super().send_head()

    def translate_path(self, path):
        return super().translate_path(path[len(PATH) - 1:])

    def list_directory(self, path):
        self.send_error(http.HTTPStatus.NOT_FOUND)


class TlsServer(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, endpoint, folder, context):
        self.context = context
        super().__init__(endpoint, lambda *arguments: FolderHandler(*arguments, directory=folder))

    def finish_request(self, request, client_address):
        """Shakes hands on the connection's own thread, so that a silent client holds up nobody."""
        request.settimeout(SILENCE_SECONDS)
        try:
            connection = self.context.wrap_socket(request, server_side=True)
        except OSError as error:
            print(f"no TLS connection: {error}", file=sys.stderr)
            return
        with connection:
            super().finish_request(connection, client_address)


class ProxyHandler(socketserver.StreamRequestHandler):
    """Opens tunnels (RFC 9110, section 9.3.6) to the server for its host, and refuses everything else."""

    timeout = SILENCE_SECONDS

    def handle(self):
        request = self.rfile.readline(REQUEST_LIMIT_BYTES)
        while self.rfile.readline(REQUEST_LIMIT_BYTES).strip():
            pass
        target = f"{self.server.host}:{HTTPS_PORT}"
        words = request.decode("latin-1").split()
        if words[:2] != ["CONNECT", target]:
            print(f"proxy: refused {' '.join(words[:2])!r}", file=sys.stderr)
            self.wfile.write(b"HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
            return
        try:
            with socket.create_connection(self.server.destination) as server:
                self.wfile.write(b"HTTP/1.1 200 Connection established\r\n\r\n")
                self._tunnel(server)
        except OSError as error:
            print(f"proxy: {error}", file=sys.stderr)

    def _tunnel(self, server):
        other = {self.connection: server, server: self.connection}
        while True:
            readable, _, _ = select.select(list(other), [], [], SILENCE_SECONDS)
            if not readable:
                return
            for source in readable:
                data = source.recv(CHUNK_BYTES)
                if not data:
                    return
                other[source].sendall(data)


class ProxyServer(socketserver.ThreadingTCPServer):
    allow_reuse_address = True
    daemon_threads = True

    def __init__(self, endpoint, host, destination):
        self.host = host
        self.destination = destination
        super().__init__(endpoint, ProxyHandler)


def host_name(text):
    """A host in the form that the build takes (OVREL_PUBLISHER_HOST)."""
    label = "[a-z0-9]([-a-z0-9]*[a-z0-9])?"
    if not re.fullmatch(rf"{label}([.]{label})*[.][a-z]([-a-z0-9]*[a-z0-9])?", text):
        raise argparse.ArgumentTypeError(f"{text!r} is no host name of lower-case letters, digits, hyphens and dots")
    return text


def parse_arguments():
    parser = argparse.ArgumentParser(description="Serves a folder as the publisher's server does.")
    parser.add_argument("folder", type=pathlib.Path, metavar="FOLDER", help="found at https://HOST/app/")
    parser.add_argument("certificates", type=pathlib.Path, metavar="CERTIFICATES", help="keeps the certificates")
    parser.add_argument("--host", type=host_name, default="ovrel.example", help="that of the build (%(default)s)")
    parser.add_argument("--port", type=int, default=8443, help="of the server (%(default)s)")
    parser.add_argument("--proxy-port", type=int, default=8080, help="of the proxy (%(default)s)")
    parser.add_argument("--address", default="127.0.0.1", help="on which both listen (%(default)s)")
    arguments = parser.parse_args()
    if not arguments.folder.is_dir():
        parser.error(f"{arguments.folder} is no folder")
    return arguments


def main():
    arguments = parse_arguments()
    certificates = Certificates(arguments.certificates.absolute(), arguments.host)
    certificates.prepare()
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificates.server, certificates.server_key)

    server = TlsServer((arguments.address, arguments.port), str(arguments.folder.absolute()), context)
    proxy = ProxyServer((arguments.address, arguments.proxy_port), arguments.host, server.server_address)
    threading.Thread(target=proxy.serve_forever, daemon=True).start()

    proxy_address = f"http://{arguments.address}:{proxy.server_address[1]}"
    print(f"{arguments.folder} is at https://{arguments.host}{PATH}, port {server.server_address[1]}.")
    print(f"Trust:  {certificates.authority}")
    print(f"Proxy:  {proxy_address}")
    print(f"Try:    curl --cacert {certificates.authority} --proxy {proxy_address} "
          f"https://{arguments.host}{PATH}app_settings.txt", flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
