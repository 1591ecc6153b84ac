"""A web server and proxy that takes nothing but what the standard allows, and says what was not.
The rules are h11's (Debian's python3-h11)."""
import h11

from server import Listener


class StrictServer(Listener):
    """Answers as `answers` tells: by path, the h11 events to send behind the request. Keeps what it
    was asked in `requests` (h11.Request) and what was wrong in `faults`."""

    def __init__(self, answers):
        self.answers = answers
        self.requests = []
        self.faults = []
        self.connections = 0
        super().__init__()

    def _serve(self, connection):
        self.connections += 1
        peer = h11.Connection(h11.SERVER)
        try:
            while self._exchange(connection, peer):
                peer.start_next_cycle()
        except (h11.RemoteProtocolError, h11.LocalProtocolError) as error:
            self.faults.append(str(error))

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
