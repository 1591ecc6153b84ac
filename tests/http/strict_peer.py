"""A web server and proxy that takes nothing but what the standard allows, and says what was not.
The rules are h11's (Debian's python3-h11)."""
import socket
import threading

import h11

from server import stop_listening


class StrictServer:
    """Answers as `answers` tells: by path, the h11 events to send behind the request. Keeps what it
    was asked in `requests` (h11.Request) and what was wrong in `faults`."""

    def __init__(self, answers):
        self.answers = answers
        self.requests = []
        self.faults = []
        self.connections = 0
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.url = f"http://127.0.0.1:{self.port}"
        threading.Thread(target=self._accept, daemon=True).start()

    def close(self):
        stop_listening(self.listener)

    def _accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            self.connections += 1
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        peer = h11.Connection(h11.SERVER)
        try:
            with connection:
                while self._exchange(connection, peer):
                    peer.start_next_cycle()
        except (h11.RemoteProtocolError, h11.LocalProtocolError) as error:
            self.faults.append(str(error))
        except OSError:
            pass

    def _exchange(self, connection, peer):
        """False when the connection is not to be used any more."""
        request = None
        while True:
            event = peer.next_event()
            if event is h11.NEED_DATA:
                peer.receive_data(connection.recv(65536))
            elif isinstance(event, h11.Request):
                request = event
                self.requests.append(event)
            elif isinstance(event, h11.Data):
                self.faults.append("a request with a body")
            elif isinstance(event, h11.EndOfMessage):
                break
            else:
                return False  # the client has gone
        for event in self._events(request):
            connection.sendall(peer.send(event) or b"")
        return peer.our_state is h11.DONE and peer.their_state is h11.DONE

    def _events(self, request):
        target = request.target.decode()
        path = "/" + target.split("/", 3)[3] if "://" in target else target
        return self.answers.get(path, [h11.Response(status_code=404, headers=[("Content-Length", "0")]),
                                       h11.EndOfMessage()])
