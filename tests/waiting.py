"""Waiting in tests: for a condition, with a generous limit, never for a fixed time."""

import os
import time

LIMIT_SECONDS = 30
STEP_SECONDS = 0.01
COMPUTED_TICKS = 3  # of the processor's clock, usually 10 ms each


def until(condition, what, seconds=LIMIT_SECONDS):
    """The condition's first true value. `what` says in a failure what did not happen."""
    end = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(STEP_SECONDS)
    return value


def read_stat(path):
    with open(path) as file:
        fields = file.read().rpartition(")")[2].split()
    return fields[0], int(fields[11]) + int(fields[12])


def state_and_ticks(process):
    """The state of the main thread of a process of this system, and the processor time of it all."""
    return read_stat(f"/proc/{process.pid}/stat")


def ticks_beside_the_main_thread(process):
    """The processor time of a process of this system but for its main thread's."""
    main = read_stat(f"/proc/{process.pid}/task/{process.pid}/stat")
    return state_and_ticks(process)[1] - main[1]


def until_computed(process, ticks):
    """Until a process of this system has computed for so long, however busy the machine is."""
    end = state_and_ticks(process)[1] + ticks
    until(lambda: state_and_ticks(process)[1] >= end, "the program computes")


def until_at_work(process):
    """Until the main thread of a process of this system waits for something or has computed for a
    while: it is then in the middle of what it was seen to begin."""
    begin = state_and_ticks(process)[1]

    def is_at_work():
        state, ticks = state_and_ticks(process)
        return state == "S" or ticks - begin >= COMPUTED_TICKS

    until(is_at_work, "the program waits or computes")


class Mark:
    """A file that a script writes to say how far it has come; it may run under Wine too."""

    def __init__(self, folder):
        self.path = os.path.join(folder, "mark")
        self.command = f'FWRITE file:"{self.path}" text:"here"\n'

    def exists(self):
        return os.path.exists(self.path)

    def remove(self):
        os.remove(self.path)

    def wait(self):
        until(lambda: os.path.exists(self.path), "the script writes its mark")
