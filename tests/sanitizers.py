"""Settings for programs that were built with sanitizers; other programs ignore them."""

import os


def environment_for_faults(environment=os.environ):
    """The environment for a program that is to crash: it then ends by the fault itself, as without a
    sanitizer, rather than by the sanitizer's report and exit code."""
    environment = dict(environment)
    for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"):
        environment[name] = ":".join(filter(None, (environment.get(name), "handle_segv=0")))
    return environment


def are_in_use():
    """Whether this is a run of the tests with sanitizers, which make programs slow and large."""
    return any(name in os.environ for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"))
