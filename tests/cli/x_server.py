"""An X server of a test's own, with no screen but in memory; and one with a window manager, keys
and a mouse, as a person has it."""

import os
import shutil
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

import program
import waiting
from program import TIME_LIMIT

# Every window gets the keyboard when it opens and when it is clicked on; Alt+F4 asks it to close.
SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew></focus>
  <keyboard><keybind key="A-F4"><action name="Close"/></keybind></keyboard>
  <mouse>
    <context name="Client">
      <mousebind button="Left" action="Press">
        <action name="Raise"/><action name="Focus"/>
      </mousebind>
    </context>
  </mouse>
</openbox_config>
"""


def skip_without_windows():
    """Leaves a class of tests out where the program shows no windows, or where these tell nothing."""
    module = Path(os.environ["TAVHOST"]).resolve().parent.parent / "lib/tavhost/modules"
    if not (module / "libtavhost_qt.so").exists():
        raise unittest.SkipTest("there is no module for windows")
    if program.sanitized:
        raise unittest.SkipTest("what the libraries of X keep to the end is not ours")


class XServer:
    """Serves from when it is made until stop()."""

    NEEDS = ("Xvfb",)

    def __init__(self, size="1920x1080"):
        missing = [name for name in self.NEEDS if not shutil.which(name)]
        if missing:
            raise unittest.SkipTest(f"there is no {missing[0]}; scripts/setup --test installs it")
        # It would begin anew, and drop who comes meanwhile, whenever its last client goes.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", "1", "-screen", "0", f"{size}x24", "-nolisten", "tcp",
             "-noreset"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        number = self.server.stdout.readline().decode().strip()  # comes when it serves
        if not number:
            self.stop()
            raise AssertionError("Xvfb did not start")
        self.display = ":" + number

    def stop(self):
        self.server.terminate()
        self.server.wait(timeout=TIME_LIMIT)
        self.server.stdout.close()


class Desktop(XServer):
    """With a window manager."""

    NEEDS = ("Xvfb", "openbox", "xdotool", "xprop")

    def __init__(self, size="1366x768"):
        super().__init__(size)
        self.folder = tempfile.TemporaryDirectory()
        settings = Path(self.folder.name) / "rc.xml"
        settings.write_text(SETTINGS)
        self.environment = {**os.environ, "DISPLAY": self.display, "HOME": self.folder.name,
                            "XDG_CONFIG_HOME": self.folder.name}
        self.manager = subprocess.Popen(
            ["openbox", "--sm-disable", "--config-file", settings], env=self.environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)
        waiting.until(lambda: "window id" in self.property("-root", "_NET_SUPPORTING_WM_CHECK"),
                      "the window manager begins")

    def stop(self):
        if hasattr(self, "manager"):
            os.killpg(self.manager.pid, signal.SIGTERM)
            self.manager.wait(timeout=TIME_LIMIT)
            self.folder.cleanup()
        super().stop()

    def property(self, *arguments):
        return subprocess.run(["xprop", *arguments], env=self.environment, capture_output=True,
                              text=True, timeout=TIME_LIMIT).stdout

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self.environment,
                              capture_output=True, text=True, timeout=TIME_LIMIT).stdout.strip()

    def active(self):
        """The window that has the keyboard; None when none has it. The manager's own word for it
        outlives a window whose program has gone."""
        identifier = self.xdotool("getactivewindow")
        return next((window for window in self.stacked() if str(window) == identifier), None)

    def title(self, window):
        return self.xdotool("getwindowname", window)

    def stacked(self):
        """All windows, from the lowest to the one on top."""
        text = self.property("-root", "_NET_CLIENT_LIST_STACKING")
        return [int(word.strip(","), 16) for word in text.split() if word.startswith("0x")]
