"""What tests say to programs that were built with sanitizers; others do not listen."""

import os


def environment_for_faults(environment=os.environ):
    """For a program that is to fault: the fault is the program's own, as without a sanitizer, which
    would report it and exit instead."""
    environment = dict(environment)
    for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"):
        environment[name] = ":".join(filter(None, (environment.get(name), "handle_segv=0")))
    return environment
