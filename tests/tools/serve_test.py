#!/usr/bin/env python3
"""Starts tools/publisher/serve.py as people do, and asks it from outside for what Ovrel would ask the publisher."""

import http.client
import pathlib
import re
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest

PUBLISHER = pathlib.Path(__file__).resolve().parents[2] / "tools" / "publisher"
SAMPLE = PUBLISHER / "sample"
ADDRESS = "127.0.0.1"
HOST = "ovrel.example"
SILENCE_SECONDS = 60


class Publisher:
    """A running server, found by what it prints."""

    def __init__(self, certificates, host=HOST):
        self.host = host
        # The umask leaves it to the program to keep its keys from others.
        self.process = subprocess.Popen(
            [sys.executable, PUBLISHER / "serve.py", SAMPLE, certificates,
             "--host", host, "--port", "0", "--proxy-port", "0"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, umask=0)
        printed = ""
        while "Try: " not in printed:
            line = self.process.stdout.readline()
            if not line:
                raise RuntimeError(f"serve.py ended with {self.process.wait()} and had printed {printed!r}")
            printed += line
        self.port = int(re.search(r"port (\d+)\.$", printed, re.MULTILINE)[1])
        self.authority = pathlib.Path(re.search(r"^Trust: +(.+)$", printed, re.MULTILINE)[1])
        self.proxy_port = int(re.search(rf"^Proxy: +http://{ADDRESS}:(\d+)$", printed, re.MULTILINE)[1])

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()

    def trusting(self):
        """A client's side of TLS that trusts the printed authority and nobody else."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        context.load_verify_locations(self.authority)
        return context

    def shake_hands(self, name, context):
        """Throws unless the server's certificate holds for `name`."""
        with socket.create_connection((ADDRESS, self.port), SILENCE_SECONDS) as connection:
            context.wrap_socket(connection, server_hostname=name).close()

    def get(self, path):
        """What a client gets through the proxy: status, content type and body. The path is sent as it is written."""
        connection = http.client.HTTPSConnection(ADDRESS, self.proxy_port, timeout=SILENCE_SECONDS,
                                                 context=self.trusting())
        connection.set_tunnel(self.host, http.client.HTTPS_PORT)
        connection.request("GET", path)
        response = connection.getresponse()
        result = response.status, response.headers["Content-Type"], response.read()
        connection.close()
        return result

    def ask_proxy(self, request_line):
        """The status of its answer."""
        with socket.create_connection((ADDRESS, self.proxy_port), SILENCE_SECONDS) as connection:
            connection.sendall(f"{request_line} HTTP/1.1\r\nHost: {HOST}\r\n\r\n".encode())
            with connection.makefile("rb") as answer:
                return int(answer.readline().split()[1])


def openssl(*arguments):
    return subprocess.run(["openssl", *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True)


def files_below(folder):
    return {file: file.read_bytes() for file in folder.rglob("*") if file.is_file()}


class PublisherTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.certificates = cls.folder / "certificates"
        cls.publisher = cls.enterClassContext(Publisher(cls.certificates))

    def test_serves_every_file_of_the_folder(self):
        types = {".txt": "text/plain; charset=utf-8", ".avif": "image/avif"}
        files = files_below(SAMPLE)
        self.assertIn(SAMPLE / "app_settings.txt", files)
        for file, content in files.items():
            with self.subTest(file=file.name):
                answer = self.publisher.get(f"/app/{file.relative_to(SAMPLE)}")
                self.assertEqual(answer, (200, types[file.suffix], content))

    def test_finds_nothing_elsewhere_and_lists_no_folder(self):
        for path in ["/", "/app", "/app_settings.txt", "/application/app_settings.txt", "/App/app_settings.txt",
                     "/app/nothing.txt", "/app/", "/app/banners/", "/app/?/app/", "/app/./"]:
            with self.subTest(path=path):
                self.assertEqual(self.publisher.get(path)[0], 404)

    def test_does_not_leave_the_folder(self):
        secret = (PUBLISHER / "README.md").read_bytes()
        for path in ["/app/../README.md", "/app/banners/../../README.md", "/app/%2e%2e/README.md",
                     "/app/..%2fREADME.md", "/app/banners/..%2F..%2FREADME.md", "/app/..%5cREADME.md",
                     f"/app/{PUBLISHER}/README.md", f"/app//{PUBLISHER}/README.md"]:
            with self.subTest(path=path):
                status, _, body = self.publisher.get(path)
                self.assertEqual(status, 404)
                self.assertNotIn(secret, body)

    def test_is_trusted_for_its_host_alone(self):
        self.publisher.shake_hands(HOST, self.publisher.trusting())
        for name in ["other.example", f"www.{HOST}", ADDRESS]:
            with self.subTest(name=name), self.assertRaises(ssl.SSLCertVerificationError):
                self.publisher.shake_hands(name, self.publisher.trusting())
        with self.assertRaises(ssl.SSLCertVerificationError):
            self.publisher.shake_hands(HOST, ssl.create_default_context())

    def test_lets_its_authority_vouch_for_nobody_else(self):
        for subject, holds in [(f"DNS:{HOST}", True), (f"DNS:www.{HOST}", True), ("DNS:other.example", False),
                               ("DNS:example", False), (f"DNS:not{HOST}", False), (f"IP:{ADDRESS}", False),
                               ("IP:::1", False)]:
            with self.subTest(subject=subject):
                certificate = self._certificate_for(subject)
                verified = openssl("verify", "-CAfile", self.publisher.authority, certificate)
                self.assertEqual(verified.returncode == 0, holds, verified.stderr)
                self.assertEqual("subtree violation" in verified.stderr, not holds, verified.stderr)

    def _certificate_for(self, subject):
        """Signed by the server's authority."""
        authority = self.publisher.authority
        request, certificate = self.folder / "request.pem", self.folder / "certificate.pem"
        openssl("req", "-newkey", "rsa:2048", "-noenc", "-keyout", self.folder / "request.key", "-out", request,
                "-subj", "/O=Test", "-addext", f"subjectAltName={subject}").check_returncode()
        openssl("x509", "-req", "-in", request, "-CA", authority, "-CAkey", authority.with_suffix(".key"),
                "-copy_extensions", "copy", "-out", certificate).check_returncode()
        return certificate

    def test_leads_to_its_host_alone(self):
        self.assertEqual(self.publisher.ask_proxy(f"CONNECT {HOST}:443"), 200)
        for request in ["CONNECT other.example:443", f"CONNECT www.{HOST}:443", f"CONNECT {HOST}:80",
                        f"CONNECT {ADDRESS}:{self.publisher.port}", f"GET https://{HOST}/app/app_settings.txt"]:
            with self.subTest(request=request):
                self.assertEqual(self.publisher.ask_proxy(request), 403)

    def test_keeps_its_keys_from_others(self):
        keys = [file for file in files_below(self.certificates) if file.suffix == ".key"]
        self.assertEqual(len(keys), 2)
        for key in keys:
            self.assertEqual(key.stat().st_mode & 0o777, 0o600, key.name)

    def test_uses_its_certificates_again(self):
        before = files_below(self.certificates)
        trusting = self.publisher.trusting()
        with Publisher(self.certificates) as again:
            again.shake_hands(HOST, trusting)
        self.assertEqual(files_below(self.certificates), before)

    def test_plays_a_host_with_letters_beyond_ascii(self):
        with Publisher(self.certificates, "xn--bcher-kva.example") as publisher:
            self.assertEqual(publisher.get("/app/app_settings.txt")[0], 200)


if __name__ == "__main__":
    unittest.main()
