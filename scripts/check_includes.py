#!/usr/bin/env python3
"""Checks who includes whom, and that platform code stands in files of its own.

The product (plugin/, commands/) knows the host through host/ alone; a room of the host knows the
rooms that it needs, all of them below it; Qt stays in its room; what differs between platforms is
a whole file.
"""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# The rooms of the host, the folders of tavhost/, lowest floor first, and the rooms that each may
# include: no more than it uses, so that nobody comes to know a neighbour unseen.
LIBRARY = re.compile(r"^ *tav_host_library\((\w+)(?:\s+USES((?:\s+[a-z]+)+))?[^)]*\)", re.MULTILINE)


def rooms_of(cmake):
    return {room: tuple(used.split()) for room, used in LIBRARY.findall(cmake)}


ROOMS = rooms_of((ROOT / "cmake/HostLibrary.cmake").read_text())
# The Qt module is loaded, never linked; tavhost/qt/CMakeLists.txt makes it.
ROOMS["qt"] = ("base", "reference", "ui", "ide")
FLOORS = list(ROOMS)

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
POSIX = re.compile(r"^(sys/.*|net/.*|netinet/.*|arpa/.*|linux/.*|unistd\.h|endian\.h|fcntl\.h|dirent\.h|"
                   r"pthread\.h|semaphore\.h|signal\.h|stdio_ext\.h|poll\.h|spawn\.h|dlfcn\.h|termios\.h|pwd\.h|grp\.h|"
                   r"fnmatch\.h|glob\.h|netdb\.h|sched\.h|elf\.h|iconv\.h|time\.h|errno\.h|locale\.h|langinfo\.h|"
                   r"limits\.h|wordexp\.h|ftw\.h|strings\.h|execinfo\.h|link\.h|malloc\.h)$")
WINDOWS = re.compile(r"^(windows|winhttp|winsock2|ws2tcpip|winbase|winnt|winuser|shellapi|shlobj|"
                     r"shlwapi|direct|io|conio|process|psapi|tlhelp32|dbghelp|aclapi|sddl|mmsystem|"
                     r"winspool|objbase|bcrypt|share|fcntl|winioctl|knownfolders|wininet|"
                     r"winternl|processthreadsapi|sys/(stat|types|utime)|malloc|excpt)\.h$",
                     re.IGNORECASE)
LIBRARY_HEADERS = re.compile(r"^(nlohmann/|tl/|utf8\.h|utf8/|boost/|curl/|editline/|zlib\.h|alsa/)")
QT = re.compile(r"^(Q[A-Za-z0-9]+|Qt[A-Z][A-Za-z]*/.*|q[a-z0-9_]+\.h)$")

# Whatever brings another file in; INCLUDE is the one form in which that is written.
ANY_INCLUDE = re.compile(r"^[ \t]*#[ \t]*(?:include|include_next|import)\b.*$", re.MULTILINE)
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
CONDITIONAL = re.compile(
    r"^[ \t]*#[ \t]*(?:if|ifdef|ifndef|elif|elifdef|elifndef)\b.*\b(?:_WIN32|_WIN64|WIN32|__MINGW\w*|_MSC_VER|"
    r"__linux\w*|__unix\w*|__APPLE__|__CYGWIN__|_POSIX\w*)\b.*$", re.MULTILINE)


COMMENT_OR_JOINT = re.compile(r"/\*.*?\*/|\\\n", re.DOTALL)


def as_compiled(text):
    """The text without what hides a directive: comments inside a line, and lines that go on in the
    next. As many line feeds stand behind a joint's line as were in it, so that places stay."""
    def blank(match):
        return " " + "\n" * match[0].count("\n") if match[0].startswith("/*") else " "
    return COMMENT_OR_JOINT.sub(blank, text)


def platform_of(path):
    """"posix" or "windows" for a file that belongs to one platform, else None."""
    if path.startswith("tavhost/windows/"):
        return "posix"  # the whole library is for POSIX systems
    match = re.search(r"_(posix|windows)(_test)?\.(cpp|h)$", path)
    return match[1] if match else None


def may_have_conditionals(path):
    return path == "host/export.h" or path.startswith("host/windows/") or platform_of(path)


def area(path):
    """What a file belongs to: "host", "commands", "plugin", or "tavhost/<room>"."""
    parts = path.split("/")
    return parts[0] if parts[0] != "tavhost" else "/".join(parts[:2])


def host_problem(path, included):
    """Why a header of host/ may not include another, or None: its folders stand on the floors of
    the rooms that define them."""
    name, other = path.split("/")[1], included.split("/")[1]
    if other in FLOORS and name in FLOORS and FLOORS.index(other) > FLOORS.index(name):
        return f"{name} stands below {other}"
    return None


def quoted_problem(path, included):
    """Why a file may not include one of the project's own, or None."""
    here, there = area(path), area(included)
    if here == "host":
        return host_problem(path, included) if there == "host" else "host/ stands by itself"
    if here == "commands":
        return None if there in ("host", "commands") else "commands know host/ alone"
    if here == "plugin":
        return None if there in ("host", "commands", "plugin") else "plugin/ knows host/ and commands/"
    if there in ("commands", "plugin"):
        return "the host never includes the plug-in"
    room = here.removeprefix("tavhost/")
    if room not in ROOMS:
        return f"{here}/ is no room; cmake/HostLibrary.cmake lists them"
    if there == "host":
        return None
    other = there.removeprefix("tavhost/")
    if other == room or other in ROOMS[room]:
        return None
    if other == "qt":
        return "the Qt module is loaded, never linked"
    if other not in ROOMS:
        return f"{there}/ is no room; cmake/HostLibrary.cmake lists them"
    return f"{room} does not use {other}; cmake/HostLibrary.cmake tells what each room needs"


def rooms_problems():
    """What is wrong with the rooms themselves: one that reaches up."""
    return [f"tavhost/{path.name}/ is no room; cmake/HostLibrary.cmake lists them"
            for path in (ROOT / "tavhost").iterdir() if path.is_dir() and path.name not in ROOMS] + [
            f"cmake/HostLibrary.cmake: {room} would reach up to {other}"
            for room, others in ROOMS.items() for other in others
            if other not in FLOORS or FLOORS.index(other) >= FLOORS.index(room)]


def angled_problem(path, included):
    """Why a file may not include a header from outside, or None."""
    here = area(path)
    if included in STANDARD:
        return None
    if QT.match(included) and included not in STANDARD:
        return None if here == "tavhost/qt" else "Qt stays in tavhost/qt/"
    if included in COMPILER and (here.startswith("tavhost/") or here == "plugin"):
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

    compiled = as_compiled(text)
    for match in ANY_INCLUDE.finditer(compiled):
        written = INCLUDE.match(match[0])
        if not written or match[0] not in text or "include_next" in match[0]:
            report(match.start(), f"another form of an include: {match[0].strip()}")
        elif written[1] and any(part in ("", ".", "..") for part in written[1].split("/")):
            report(match.start(), f"includes {written[1]}: a path is written without detours")
    for match in INCLUDE.finditer(text):
        quoted, angled = match.groups()
        if quoted:
            if QT.match(quoted) or quoted.endswith(".moc"):
                why = None if area(path) == "tavhost/qt" else "Qt stays in tavhost/qt/"
            elif not exists(quoted):
                why = "no such file from the top folder"
            else:
                why = quoted_problem(path, quoted)
        else:
            why = angled_problem(path, angled)
        if why:
            report(match.start(), f"includes {quoted or angled}: {why}")
    if not may_have_conditionals(path):
        for match in CONDITIONAL.finditer(compiled):
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
    problems = rooms_problems()
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
