#!/usr/bin/env python3
"""Checks who includes whom, and that platform code stands in files of its own.

The product (plugin/, commands/) knows the host through host/ alone; the host's libraries know only
those below them; Qt stays in its folder; what differs between platforms is a whole file.
"""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# The host's libraries, lowest first.
LIBRARIES = ("sv", "windows", "notation", "script", "services", "core", "dialog", "browser", "tools")
PORT = "tavhost/ui/toolkit.h"

STANDARD = set("""
algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine
csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque
exception execution filesystem format forward_list fstream functional future initializer_list
iomanip ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource
mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator
semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string
string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo
unordered_map unordered_set utility valarray variant vector version
""".split())
COMPILER = {"immintrin.h", "emmintrin.h", "cpuid.h", "cxxabi.h", "x86intrin.h"}
POSIX = re.compile(r"^(sys/.*|net/.*|netinet/.*|arpa/.*|linux/.*|unistd\.h|fcntl\.h|dirent\.h|"
                   r"pthread\.h|signal\.h|poll\.h|spawn\.h|dlfcn\.h|termios\.h|pwd\.h|grp\.h|"
                   r"fnmatch\.h|glob\.h|netdb\.h|sched\.h|elf\.h|iconv\.h|time\.h|errno\.h|locale\.h|langinfo\.h|"
                   r"limits\.h|wordexp\.h|ftw\.h|strings\.h|execinfo\.h|link\.h)$")
WINDOWS = re.compile(r"^(windows|winhttp|winsock2|ws2tcpip|winbase|winnt|winuser|shellapi|shlobj|"
                     r"shlwapi|direct|io|conio|process|psapi|tlhelp32|dbghelp|aclapi|sddl|mmsystem|"
                     r"winspool|objbase|bcrypt|share|fcntl|winioctl|knownfolders|wininet|"
                     r"winternl|processthreadsapi|sys/(stat|types|utime)|malloc|excpt)\.h$",
                     re.IGNORECASE)
LIBRARY_HEADERS = re.compile(r"^(nlohmann/|utf8\.h|utf8/|boost/|curl/|editline/|zlib\.h|alsa/)")
QT = re.compile(r"^(Q[A-Za-z0-9]+|Qt[A-Z][A-Za-z]*/.*|q[a-z0-9_]+\.h)$")

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
CONDITIONAL = re.compile(
    r"^[ \t]*#[ \t]*(?:if|ifdef|ifndef|elif)\b.*\b(?:_WIN32|_WIN64|WIN32|__MINGW\w*|_MSC_VER|"
    r"__linux\w*|__unix\w*|__APPLE__|__CYGWIN__|_POSIX\w*)\b.*$", re.MULTILINE)


def platform_of(path):
    """"posix" or "windows" for a file that belongs to one platform, else None."""
    if path.startswith("tavhost/windows/"):
        return "posix"  # the whole library is for POSIX systems
    match = re.search(r"_(posix|windows)(_test)?\.(cpp|h)$", path)
    return match[1] if match else None


def may_have_conditionals(path):
    return path == "host/export.h" or path.startswith("host/windows/") or platform_of(path)


def area(path):
    """What a file belongs to: "host", "commands", "plugin", or "tavhost/<folder>"."""
    parts = path.split("/")
    if parts[0] != "tavhost":
        return parts[0]
    if parts[1] == "ui" and len(parts) > 3:
        return "/".join(parts[:3])
    return "/".join(parts[:2])


def quoted_problem(path, included):
    """Why a file may not include one of the project's own, or None."""
    here, there = area(path), area(included)
    if here == "host":
        return None if there == "host" else "host/ stands by itself"
    if here == "commands":
        if there in ("host", "commands") or included in ("commands/support/results.h", "commands/support/checks.h"):
            return None
        return "commands know host/, commands/support/results.h and commands/support/checks.h"
    if here == "plugin":
        if there in ("host", "plugin") or included == "commands/handlers.h":
            return None
        return "plugin/ knows host/ and commands/handlers.h"
    if there in ("commands", "plugin"):
        return "the host never includes the plug-in"
    if there == "host":
        return None
    if there == "tavhost/ui/qt" and here != "tavhost/ui/qt":
        return "the Qt module is loaded, never linked"
    if here == "tavhost/app":
        return None
    if there == "tavhost/app":
        return "only app/ knows app/"
    if here in ("tavhost/loader", "tavhost/check"):
        return None
    if there == "tavhost/check" and not here.startswith("tavhost/ui/qt"):
        return "check stands above the libraries"
    if here == "tavhost/ui/qt":
        return None
    if here == "tavhost/ui/headless":
        return "a back end knows no loader" if there == "tavhost/loader" else None
    if here == "tavhost/ui/workbench":
        return None if there == here else "the workbench's rules stand by themselves"
    if here == "tavhost/ui":
        return None if there == "tavhost/ui" else "the port knows host/ alone"
    library = here.removeprefix("tavhost/")
    if library not in LIBRARIES:
        return f"{here}/ has no place in the order of the libraries"
    if included == PORT or there == here:
        return None
    other = there.removeprefix("tavhost/")
    if other in LIBRARIES and LIBRARIES.index(other) < LIBRARIES.index(library):
        return None
    return f"{library} is not above {other}"


def angled_problem(path, included):
    """Why a file may not include a header from outside, or None."""
    here = area(path)
    if included in STANDARD:
        return None
    if QT.match(included) and included not in STANDARD:
        return None if here == "tavhost/ui/qt" else "Qt stays in tavhost/ui/qt/"
    if included in COMPILER and here.startswith("tavhost/"):
        return None
    platform = platform_of(path)
    if POSIX.match(included) or WINDOWS.match(included):
        if path.startswith("host/windows/"):
            return None
        if platform == "posix" and POSIX.match(included):
            return None
        if platform == "windows" and WINDOWS.match(included):
            return None
        return "platform headers stand in *_posix and *_windows files"
    if LIBRARY_HEADERS.match(included):
        return None if here.startswith("tavhost/") else "only the host uses libraries"
    return "not a known header; scripts/check_includes.py lists them"


def check_file(path, text, exists):
    """The problems of one file as lines; `exists` tells whether a path is in the tree."""
    problems = []

    def report(position, what):
        problems.append(f"{path}:{text.count(chr(10), 0, position) + 1}: {what}")

    for match in INCLUDE.finditer(text):
        quoted, angled = match.groups()
        if quoted:
            why = None if exists(quoted) else "no such file from the top folder"
            if QT.match(quoted) or quoted.endswith(".moc"):
                why = None if area(path) == "tavhost/ui/qt" else "Qt stays in tavhost/ui/qt/"
            why = why or quoted_problem(path, quoted)
        else:
            why = angled_problem(path, angled)
        if why:
            report(match.start(), f"includes {quoted or angled}: {why}")
    if not may_have_conditionals(path):
        for match in CONDITIONAL.finditer(text):
            report(match.start(), f"a platform conditional: {match[0].strip()}")
    return problems


def sources():
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard",
         "host", "commands", "plugin", "tavhost"],
        cwd=ROOT, capture_output=True, text=True)
    if listed.returncode == 0:
        paths = listed.stdout.splitlines()
    else:  # an exported tree
        paths = [path.relative_to(ROOT).as_posix() for top in ("host", "commands", "plugin", "tavhost")
                 for path in (ROOT / top).rglob("*")]
    return sorted(path for path in set(paths)
                  if path.endswith((".h", ".cpp", ".inc")) and (ROOT / path).is_file())


def main():
    problems = []
    files = sources()
    if not files:
        problems.append("no sources found")
    for path in files:
        text = (ROOT / path).read_text("utf-8", "replace")
        problems += check_file(path, text, lambda name: (ROOT / name).is_file())
    for problem in problems:
        print(problem)
    print(f"{len(files)} files, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
