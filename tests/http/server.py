"""A web server that answers as each path asks, right or wrong, byte for byte. Loopback only."""
import contextlib
import functools
import gzip
import itertools
import socket
import ssl
import sys
import threading
import time
import zlib

CRLF = b"\r\n"


def answer(body, *fields, status="200 OK", length=True):
    lines = [b"HTTP/1.1 " + status.encode()]
    lines += [field.encode("latin-1") for field in fields]
    if length:
        lines.append(b"Content-Length: %d" % len(body))
    lines.append(b"Connection: close")
    return CRLF.join(lines) + CRLF + CRLF + body


class Listener:
    """Serves each connection in a thread of its own, by `_serve`, until closed."""

    scheme = "http"

    def __init__(self, host="127.0.0.1"):
        self.listener = socket.create_server((host, 0), backlog=128)
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    @property
    def url(self):
        return f"{self.scheme}://127.0.0.1:{self.port}"

    def close(self):
        # Closing alone leaves it open to the thread that waits in accept().
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()

    def _accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self._answer_all, args=(connection,), daemon=True).start()

    def _answer_all(self, connection):
        with connection, contextlib.suppress(OSError):  # the client has gone
            self._serve(connection)


@functools.cache
def gzip_bomb(megabytes):
    packer = zlib.compressobj(9, zlib.DEFLATED, 31)
    zeros = bytes(1 << 20)
    return b"".join(packer.compress(zeros) for _ in range(megabytes)) + packer.flush()


TEXTS = {"shift_jis": "日本語のテキスト and some that is not\n"}
LONGEST_PIECE = 1 << 20
PANGRAM = "Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich.\n"


def text_of(megabytes, charset):
    """So many MB of text in a charset, and their length: as pieces to be sent one after the other.
    To make all of it at once would keep every other thread of the program waiting meanwhile, and
    some of them measure."""
    line = TEXTS.get(charset, PANGRAM).encode(charset)
    lines = megabytes * 1_000_000 // len(line)
    piece = line * min(lines, LONGEST_PIECE // len(line))
    whole, rest = divmod(lines * len(line), len(piece))
    return lines * len(line), itertools.chain(itertools.repeat(piece, whole), [piece[:rest]])


# Answers that break off, or do not say where they end.
RAW = {
    "only-status": b"HTTP/1.1 200 OK\r\n",
    "cut-status": b"HTTP/1.1 20",
    "cut-name": b"HTTP/1.1 200 OK\r\nContent-Ty",
    "cut-value": b"HTTP/1.1 200 OK\r\nContent-Type: text/pl",
    "cut-fields": b"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n",
    "cut-last-line": b"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r",
    "only-interim": b"HTTP/1.1 100 Continue\r\n\r\n",
    "cut-behind-interim": b"HTTP/1.1 103 Early Hints\r\n\r\nHTTP/1.1 200 OK\r\nX: ",
    "switched": b"HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\nhello",
    "beyond-63-bits": b"HTTP/1.1 200 OK\r\nContent-Length: 9223372036854775808\r\n\r\nhello",
    "beyond-64-bits": b"HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551621\r\n\r\nhello",
    "blank-before-colon": b"HTTP/1.1 200 OK\r\nContent-Length : 100\r\n\r\nhello",
    "folded-length": b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n 0\r\n\r\nhello",
    "folded-chunks": b"HTTP/1.1 200 OK\r\nTransfer-Encoding:\r\n chunked\r\n\r\n"
                     b"5\r\nhello\r\n",
    "begins-folded": b"HTTP/1.1 200 OK\r\n\tfolded: x\r\nContent-Length: 5\r\n\r\nhello",
    "other-transfer": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: x-unheard-of\r\n\r\nhello",
    "packed-transfer": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n"
                       + gzip.compress(b"hello" * 1000)[:-12],
    "chunked-twice": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked, chunked\r\n\r\n"
                     b"5\r\nhello\r\n0\r\n\r\n",
    "no-last-chunk": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n",
    "cut-last-chunk": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n",
    "cut-trailer": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n"
                   b"X: y\r\n",
    "chunk-beyond-64-bits": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                            b"10000000000000005\r\nhello\r\n0\r\n\r\n",
    "packed-twice": b"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Encoding: gzip\r\n\r\n"
                    + gzip.compress(gzip.compress(b"hello")),
    "packed-nothing": b"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n",
}

# Answers that are whole, in ways that are seldom seen.
RAW_WHOLE = {
    "trailer": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n"
               b"Trailing: field\r\nContent-Type: text/x; charset=utf-16\r\n\r\n",
    "redirecting-trailer": b"HTTP/1.1 302 Found\r\nTransfer-Encoding: chunked\r\n\r\n"
                           b"5\r\nhello\r\n0\r\nLocation: /echo\r\n\r\n",
    "leading-zeros": b"HTTP/1.1 200 OK\r\nContent-Length: 00000000000000000000005\r\n\r\nhello",
    "chunked-in-capitals": b"HTTP/1.1 200 OK\r\ntransfer-encoding: Chunked\r\n\r\n"
                           b"5;x=y\r\nhello\r\n0\r\n\r\n",
    "line-feeds": b"HTTP/1.1 200 OK\nContent-Length: 5\n\nhello",
    "folded": b"HTTP/1.1 200 OK\r\nContent-Type: text/plain;\r\n\tcharset=utf-8\r\n"
              b"Content-Length: 5\r\n\r\nhello",
    "field-like-a-status": b"HTTP/1.1 200 OK\r\nX-First: 1\r\nHTTP/1.1 : no\r\n"
                           b"Content-Length: 5\r\n\r\nhello",
    "packed-nothing-said": b"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 0\r\n\r\n",
}
RAW.update(RAW_WHOLE)


class Server(Listener):
    """Serves on a port of its own until closed; counts requests by path."""

    def __init__(self, tls=None, host="127.0.0.1"):
        self.tls = tls
        self.requests = []
        self.pending = []  # paths of requests that will get no more, or not soon
        self.distrusted = 0  # clients that did not know who signed the certificate
        self.lock = threading.Lock()
        self.closing = threading.Event()
        self.other = None  # another server, for redirects from one to the other
        if tls:
            self.scheme = "https"
        super().__init__(host)

    def count(self, path):
        with self.lock:
            return sum(1 for request in self.requests if request.split(b" ")[1] == path.encode())

    def close(self):
        self.closing.set()
        super().close()

    def _serve(self, connection):
        if not self.tls:
            return self._answer_one(connection)
        try:
            with self.tls.wrap_socket(connection, server_side=True) as wrapped:
                self._answer_one(wrapped)
        except ssl.SSLError as error:
            self.distrusted += error.reason == "TLSV1_ALERT_UNKNOWN_CA"

    def _answer_one(self, connection):
        connection.settimeout(60)
        request = b""
        while CRLF + CRLF not in request:
            piece = connection.recv(65536)
            if not piece:
                return
            request += piece
        with self.lock:
            self.requests.append(request)
        self._answer(connection, request)

    def _answer(self, connection, request):
        target = request.split(b" ")[1].decode("latin-1")
        if target.startswith("http://"):  # through a proxy
            target = "/" + target.split("/", 3)[3]
        path, _, query = target.partition("?")
        name, _, rest = path.lstrip("/").partition("/")
        handler = getattr(self, "do_" + name.replace("-", "_"), None)
        if handler is None:
            connection.sendall(answer(b"no such page", status="404 Not Found"))
        else:
            handler(connection, rest, query, request)

    # Answers that are right.

    def do_text(self, connection, rest, query, request):
        connection.sendall(answer("grüße ✓".encode(), "Content-Type: text/plain; charset=utf-8"))

    def do_echo(self, connection, rest, query, request):
        connection.sendall(answer(request, "Content-Type: text/plain"))

    def do_encoded(self, connection, rest, query, request):
        bodies = {
            "latin1": ("grüße".encode("latin-1"), "text/plain; charset=ISO-8859-1"),
            "quoted": ("grüße".encode("latin-1"), 'text/plain; charset="iso-8859-15"; x=1'),
            "sjis": ("日本".encode("shift_jis"), "text/html;charset=Shift_JIS"),
            "utf16bom": ("\ufeffgrüße".encode("utf-16-le"), "text/plain"),
            "utf8bom": ("\ufeffgrüße".encode(), "text/plain"),
            "plain": ("grüße".encode(), "text/plain"),
            "1252": ("“grüße” €".encode("cp1252"), "text/plain"),
            "unknown": ("grüße".encode(), "text/plain; charset=no-such-set"),
            "badutf8": (b"a\xffb", "text/plain; charset=utf-8"),
            "utf32": ("grüße".encode("utf-32-be"), "text/plain; charset=utf-32"),
            "utf32bom": ("\ufeffgrüße".encode("utf-32-le"), "text/plain; charset=UTF-32"),
            "utf32mark": ("\ufeffgrüße".encode("utf-32-le"), "text/plain"),
            "utf32bigmark": ("\ufeffgrüße".encode("utf-32-be"), "text/plain"),
            "utf32le": ("grüße".encode("utf-32-le"), "text/plain; charset=utf-32le"),
        }
        body, content_type = bodies[rest]
        connection.sendall(answer(body, "Content-Type: " + content_type))

    def do_bytes(self, connection, rest, query, request):
        connection.sendall(answer(bytes(range(256)) * 4, "Content-Type: application/octet-stream"))

    def do_large(self, connection, rest, query, request):
        connection.sendall(answer(b"0123456789abcdef" * (int(rest) * 65536)))

    def do_text_of(self, connection, rest, query, request):
        """/text-of/100/utf-8: so many MB; with ?unnamed the charset is not named."""
        megabytes, charset = rest.split("/")
        kind = "text/plain" + ("" if query == "unnamed" else f"; charset={charset}")
        length, pieces = text_of(int(megabytes), charset)
        connection.sendall(answer(b"", f"Content-Type: {kind}", f"Content-Length: {length}",
                                  length=False))
        for piece in pieces:
            connection.sendall(piece)

    def do_nothing(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 204 No Content\r\n\r\n")

    def do_chunked(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                           b"5\r\nhello\r\n6\r\n world\r\n0\r\n\r\n")

    def do_until_close(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.0 200 OK\r\n\r\nto the end")

    def do_gzip(self, connection, rest, query, request):
        packed = gzip.compress(b"packed " * 100)
        if rest == "twice":
            packed = gzip.compress(b"packed " * 40) + gzip.compress(b"packed " * 60)
        elif rest == "cut":
            packed = packed[:-12]
        elif rest == "broken":
            packed = packed[:20] + bytes(20) + packed[40:]
        connection.sendall(answer(packed, "Content-Encoding: " + ("GZIP" if rest else "gzip")))

    def do_deflate(self, connection, rest, query, request):
        packer = zlib.compressobj(9, zlib.DEFLATED, -15 if rest == "bare" else 15)
        packed = packer.compress(b"packed " * 100) + packer.flush()
        connection.sendall(answer(packed, "Content-Encoding: deflate"))

    def do_identity(self, connection, rest, query, request):
        connection.sendall(answer(b"packed " * 100, "Content-Encoding: identity"))

    def do_other_encoding(self, connection, rest, query, request):
        connection.sendall(answer(b"unreadable", "Content-Encoding: x-unheard-of"))

    def do_continue(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n" + answer(b"after"))

    def do_same_lengths(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Length: 2\r\n\r\nok")

    def do_then(self, connection, rest, query, request):
        """Does what the test left in `then`, and answers when it is done."""
        self.then()
        connection.sendall(answer(b"done"))

    # Redirects.

    def do_redirect(self, connection, rest, query, request):
        left = int(rest)
        where = f"/redirect/{left - 1}" if left > 0 else "/text"
        connection.sendall(answer(b"", "Location: " + where, status="302 Found"))

    def do_loop(self, connection, rest, query, request):
        connection.sendall(answer(b"", "Location: /loop", status="301 Moved Permanently"))

    def do_relative(self, connection, rest, query, request):
        connection.sendall(answer(b"", "Location: ../echo?x=1", status="307 Temporary Redirect"))

    def do_see_other(self, connection, rest, query, request):
        connection.sendall(answer(b"", "Location: /echo", status="303 See Other"))

    def do_to(self, connection, rest, query, request):
        connection.sendall(answer(b"", "Location: " + query, status="302 Found"))

    def do_late_redirect(self, connection, rest, query, request):
        """So many times, each time late."""
        if rest == "0":
            return connection.sendall(answer(b"ok"))
        time.sleep(0.15)  # the client's limits are by the clock
        connection.sendall(answer(b"", f"Location: /late-redirect/{int(rest) - 1}", status="302 Found"))

    def do_slow_line(self, connection, rest, query, request):
        for piece in (b"HTTP/1.1 200 OK\r\nContent-", b"Len", b"gth: 2\r\n\r\nok"):
            time.sleep(0.7)  # within the client's limit, by the clock
            connection.sendall(piece)

    # Answers that are wrong, slow or hostile.

    def do_short(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this")

    def do_bad_chunk(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\nhello\r\n")

    def do_cut_chunk(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhel")

    def do_two_lengths(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\nContent-Length: 6\r\n\r\nhello!")

    def do_both(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 3\r\n"
                           b"Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n\r\n")

    def do_bad_length(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nhello")

    def do_old(self, connection, rest, query, request):
        connection.sendall(b"just text, no header")

    def do_hang_up(self, connection, rest, query, request):
        return

    def do_raw(self, connection, rest, query, request):
        """What RAW holds under this name, then the end."""
        connection.sendall(RAW[rest])

    def do_said_goodbye(self, connection, rest, query, request):
        """Over TLS: ends as TLS ends, where the other answers are simply cut off."""
        connection.sendall(b"HTTP/1.1 200 OK\r\n\r\nto the end")
        connection.unwrap()

    def do_goodbye_behind_a_length(self, connection, rest, query, request):
        """Without a word of it before."""
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole")
        connection.unwrap()

    def do_claims_http_2(self, connection, rest, query, request):
        connection.sendall(b"HTTP/2 200\r\n\r\nto the end")

    def do_silent(self, connection, rest, query, request):
        self.pending.append("/silent")
        self.closing.wait(30)

    def do_stall(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nsome")
        self.pending.append("/stall")
        self.closing.wait(30)

    def do_drip(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n")
        self.pending.append("/drip")
        while not self.closing.is_set():
            connection.sendall(b".")
            time.sleep(0.05)  # slow, but never silent for long

    def do_long_header(self, connection, rest, query, request):
        field = b"X-Filler: " + b"x" * 1000 + CRLF
        connection.sendall(b"HTTP/1.1 200 OK\r\n" + field * int(rest) +
                           b"Content-Length: 2\r\n\r\nok")

    def do_long_line(self, connection, rest, query, request):
        connection.sendall(answer(b"ok", "X-Filler: " + "x" * (int(rest) * 1000)))

    def do_long_trailer(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n" +
                           (b"X-Filler: " + b"x" * 1000 + CRLF) * int(rest) + CRLF)

    def do_endless_header(self, connection, rest, query, request):
        connection.sendall(b"HTTP/1.1 200 OK\r\n")
        while not self.closing.is_set():
            connection.sendall(b"X-Filler: " + b"x" * 1000 + CRLF)

    def do_bomb(self, connection, rest, query, request):
        connection.sendall(answer(gzip_bomb(int(rest)), "Content-Encoding: gzip"))

    def do_flaky(self, connection, rest, query, request):
        """Hangs up as often as the path says, then answers."""
        with self.lock:
            seen = sum(1 for r in self.requests if r.split(b" ")[1] == f"/flaky/{rest}".encode())
        if seen > int(rest):
            connection.sendall(answer(b"at last"))


class KeepingServer(Listener):
    """Keeps its connections, and answers each request with how many there were on its connection."""

    def __init__(self):
        self.connections = []
        super().__init__()

    def _serve(self, connection):
        self.connections.append(connection)
        count = 0
        while connection.recv(65536):
            count += 1
            connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n%d" % count)


class Proxy(Listener):
    """A forwarding proxy that counts what goes through it."""

    def __init__(self):
        self.seen = []
        super().__init__()

    @property
    def url(self):
        # Wine sends no whole address to a proxy whose name is the server's.
        return f"http://localhost:{self.port}"

    def _serve(self, connection):
        request = connection.recv(65536)
        self.seen.append(request)
        with contextlib.suppress(ValueError, IndexError):  # no request
            method, target, _ = request.split(b" ", 2)
            if method == b"CONNECT":
                return self._tunnel(connection, target)
            with self._far(target.split(b"/")[2]) as far:
                far.sendall(request)
                self._pump(far, connection)

    def _tunnel(self, connection, target):
        with self._far(target) as far:
            connection.sendall(b"HTTP/1.1 200 Connection established\r\n\r\n")
            back = threading.Thread(target=self._pump, args=(far, connection))
            back.start()
            self._pump(connection, far)
            back.join()

    @staticmethod
    def _far(authority):
        host, _, port = authority.decode().rpartition(":")
        return socket.create_connection((host, int(port)))

    @staticmethod
    def _pump(source, target):
        with contextlib.suppress(OSError):
            while piece := source.recv(65536):
                target.sendall(piece)
            target.shutdown(socket.SHUT_WR)


class EndlessProxy(Proxy):
    """Answers every request for a tunnel without end: how it begins, and what follows again and
    again, with a pause behind each if it is slow."""

    def __init__(self, begin, piece, pause=0):
        self.begin, self.piece, self.pause = begin, piece, pause
        self.talks = threading.Event()
        self.sent = 0  # bytes behind the beginning
        super().__init__()

    def _serve(self, connection):
        self.seen.append(connection.recv(65536))
        connection.sendall(self.begin)
        while True:
            connection.sendall(self.piece)
            self.sent += len(self.piece)
            self.talks.set()
            time.sleep(self.pause)


if __name__ == "__main__":  # by itself: says where, and serves until its input ends
    print(Server().url, flush=True)
    sys.stdin.read()
