"""A message bus of a test's own, and programs of the system's Python on it, which say and are told
things by lines of JSON."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest

from program import TIME_LIMIT

# The Python of the system, for which Debian builds the bindings.
SYSTEM_PYTHON = "/usr/bin/python3"


def skip_without(*imported):
    """Leaves a class of tests out where there is no bus, or not what its helper imports."""
    binding = [SYSTEM_PYTHON, "-c", "; ".join(imported)]
    if (not shutil.which("dbus-daemon") or not os.path.exists(SYSTEM_PYTHON) or
            subprocess.run(binding, capture_output=True).returncode != 0):
        raise unittest.SkipTest("a bus or its binding is not here; scripts/setup --test installs it")


# Starts no services that this machine may have, such as a portal.
SETTINGS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
  </policy>
</busconfig>
"""


class Bus:
    """On which programs meet; without `services`, only those that are started by themselves."""

    def __init__(self, environment, services=True):
        settings = ["--session"]
        if not services:
            self.settings = tempfile.NamedTemporaryFile("w", suffix=".conf")
            self.settings.write(SETTINGS)
            self.settings.flush()
            settings = [f"--config-file={self.settings.name}"]
        self.process = subprocess.Popen(
            ["dbus-daemon", *settings, "--nofork", "--print-address=1"], env=environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.address = self.process.stdout.readline().decode().strip()
        if not self.address:
            raise AssertionError("dbus-daemon did not start")

    def stop(self):
        self.process.terminate()
        self.process.wait(timeout=TIME_LIMIT)
        self.process.stdout.close()
        if hasattr(self, "settings"):
            self.settings.close()


class Helper:
    """A program of the system's Python."""

    def __init__(self, program, arguments, environment):
        self.process = subprocess.Popen(
            [SYSTEM_PYTHON, program, *arguments], env=environment, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    def tell(self, what):
        self.process.stdin.write(json.dumps(what).encode() + b"\n")
        self.process.stdin.flush()

    def hear(self):
        """The next that it says; None: it has ended."""
        line = self.process.stdout.readline()
        return json.loads(line) if line else None

    def stop(self):
        self.process.stdin.close()
        self.process.wait(timeout=TIME_LIMIT)
        self.process.stdout.close()
