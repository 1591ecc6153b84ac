"""A certificate of 127.0.0.1, and an authority of our own that signed it."""
import os
import subprocess


def make(folder):
    """Leaves `ca.pem`, `server.pem` and `server.key` in the folder."""

    def openssl(*arguments):
        subprocess.run(["openssl", *arguments], check=True, capture_output=True, cwd=folder)

    openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "ca.key", "-out", "ca.pem",
            "-days", "2", "-subj", "/CN=Test authority")
    openssl("req", "-newkey", "rsa:2048", "-nodes", "-keyout", "server.key", "-out", "server.csr",
            "-subj", "/CN=127.0.0.1")
    with open(os.path.join(folder, "names"), "w") as file:
        file.write("subjectAltName=IP:127.0.0.1\n")
    openssl("x509", "-req", "-in", "server.csr", "-CA", "ca.pem", "-CAkey", "ca.key",
            "-CAcreateserial", "-out", "server.pem", "-days", "2", "-extfile", "names")
