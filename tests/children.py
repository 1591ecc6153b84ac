"""Programs that a test starts end with it, however it ends."""

import contextlib
import ctypes
import os
import signal

PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


def end_with(parent):
    """For `preexec_fn`, in the child: it ends when the thread that started it does. `parent` is the
    number of this process: it may have ended before that could be said."""
    def prepare():
        _libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)
        if os.getppid() != parent:
            os._exit(1)
    return prepare


@contextlib.contextmanager
def unread_pipe():
    """The writing end of a pipe that is open, full, and never read."""
    reader, writer = os.pipe()
    try:
        os.set_blocking(writer, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(writer, bytes(65536))
        os.set_blocking(writer, True)
        yield writer
    finally:
        os.close(reader)
        os.close(writer)
