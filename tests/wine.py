"""Running Windows programs under Wine for the tests: a private prefix, one server for the run."""

import fcntl
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

# Debian keeps the 64-bit programs in a folder outside PATH.
FOLDERS = ("/usr/lib/wine", "/usr/lib/x86_64-linux-gnu/wine", "/opt/wine-stable/bin", "/usr/bin")
# Wine's own word, now and then, of a thread that still asks it something while the program ends,
# which may cut it off.
LATE_REQUEST = re.compile(rb"^wine client error:[^\n]*(?:\n|\Z)", re.MULTILINE)
CRASH_NOTE = re.compile(rb"^wine: Unhandled .*, starting debugger\.\.\.\r?\n", re.MULTILINE)
EXIT_CODE = re.compile(rb"\[exit code 0x([0-9A-F]{8})\]\r?\n$")
DLL_INIT_FAILED = 0xC0000142  # STATUS_DLL_INIT_FAILED; of it, a shell sees the low byte
ATTEMPTS = 3


def find(*names):
    for folder in FOLDERS:
        for name in names:
            path = os.path.join(folder, name)
            if os.access(path, os.X_OK):
                return path
    return None


def was_not_started(exit_code, out, err):
    """Once in thousands of times Wine cannot initialise its own libraries for a program and ends
    it before its first line. Such a program is to be started again, at most ATTEMPTS times in all;
    what fails for another reason fails each time."""
    return exit_code in (DLL_INIT_FAILED, DLL_INIT_FAILED & 0xFF) and not out and not err


def run(command, **options):
    """subprocess.run with captured output, of a program that may run under Wine."""
    for _ in range(ATTEMPTS):
        done = subprocess.run(command, capture_output=True, check=False, **options)
        if not was_not_started(done.returncode, done.stdout, done.stderr):
            break
    return done


class Nothing:
    """Stands for Wine where programs run by themselves."""

    def __enter__(self):
        return None

    def __exit__(self, *_):
        pass


class Wine:
    """Wine with a prefix of its own beside the program's build; its server lives as long as this."""

    def __init__(self, program):
        self.bin = Path(program).resolve().parent
        self.prefix = self.bin.parent / "wine-prefix"
        self.loader = find("wine64", "wine")
        self.server = find("wineserver64", "wineserver")
        self.runner = self.bin / "run_and_report.exe"

    def environment(self):
        return {
            "WINEPREFIX": str(self.prefix),
            "WINEARCH": "win64",
            "WINESERVER": str(self.server),
            "WINEDEBUG": "-all",
            "WINEDLLOVERRIDES": "mscoree,mshtml=;winemenubuilder.exe=",
            "LC_ALL": "C.UTF-8",
            "TMPDIR": "/tmp",  # where programs find the server
        }

    def _run(self, command):
        # Wine's services, started by its first program, would hold on to a pipe; not to a file.
        with tempfile.TemporaryFile() as output:
            code = subprocess.run(command, env={**os.environ, **self.environment()},
                                  stdin=subprocess.DEVNULL, stdout=output,
                                  stderr=subprocess.STDOUT, timeout=180).returncode
            if code != 0:
                output.seek(0)
                sys.exit(f"{' '.join(map(str, command))} failed:\n" +
                         output.read().decode(errors="replace"))

    def _serve(self, option):
        # Its exit code tells nothing: one that runs already is as good.
        subprocess.run([self.server, option], env={**os.environ, **self.environment()},
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=180, check=False)

    def __enter__(self):
        if not self.loader or not self.server:
            sys.exit("Wine is not installed; scripts/setup --windows installs it")
        self.prefix.parent.mkdir(parents=True, exist_ok=True)
        # Several runs may share the prefix: one makes it, the last one to leave ends the server.
        self._users = open(self.prefix.parent / "wine-users.lock", "w")
        with open(self.prefix.parent / "wine-prefix.lock", "w") as making:
            fcntl.flock(making, fcntl.LOCK_EX)
            fcntl.flock(self._users, fcntl.LOCK_SH)
            self._make_prefix()
            self._serve("-p")  # stays when no program is left
            self._run([self.loader, "cmd", "/c", "exit", "0"])  # starts the services
        return self

    def __exit__(self, *_):
        try:
            fcntl.flock(self._users, fcntl.LOCK_EX | fcntl.LOCK_NB)
            self._serve("-k")
        except BlockingIOError:
            pass
        self._users.close()

    def _make_prefix(self):
        made = self.prefix / "tavhost-ready"
        if made.exists():
            return
        shutil.rmtree(self.prefix, ignore_errors=True)
        self._run([self.loader, "wineboot", "--init"])
        # A crash ends the program at once instead of waiting behind a dialog.
        self._run([self.loader, "reg", "add", r"HKCU\Software\Wine\WineDbg", "/v",
                   "ShowCrashDialog", "/t", "REG_DWORD", "/d", "0", "/f"])
        self._run([self.loader, "reg", "add",
                   r"HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug", "/v",
                   "Debugger", "/t", "REG_SZ", "/d", "", "/f"])
        self._serve("-w")  # the settings are on disk now
        made.touch()

    def command(self, command, whole_exit_code=False):
        """Wine's own exit code holds 8 bits; a small program beside the tested one reports all 32."""
        reporter = [str(self.runner)] if whole_exit_code else []
        return [self.loader] + reporter + command

    @staticmethod
    def exit_code(exit_code, err):
        err = LATE_REQUEST.sub(b"", CRASH_NOTE.sub(b"", err))
        match = EXIT_CODE.search(err)
        if not match:
            return exit_code, err
        return int(match[1], 16), err[:match.start()]
