#!/usr/bin/env python3
"""Requests and the script service beside what one would take instead, on loopback.

Requests: the processor time of whole programs, less that of the same program without requests.
Texts: the time from the start to the end of whole programs, likewise, and the most memory they took.
The service: requests a second under wrk, which sends the next one behind each reply, and the latency
under which 99 % of them stay; the latency at fixed rates."""
import argparse
import os
import pathlib
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
PEERS = ROOT / "build-bench/bin"
RATES = (2000, 10000, 20000)  # that two processors can bear, the one that asks included
sys.dont_write_bytecode = True

PYTHON = """
import sys, urllib.request
for _ in range(int(sys.argv[2])):
    urllib.request.urlopen(sys.argv[1]).read()
"""
SCRIPT = """
for i from 1 to int(args[1]) { HTTP_REQUEST (args[0]) binary }
"""


def cpu(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run([str(part) for part in command], check=True, stdout=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def requests(tavhost, folder, server, rounds):
    script = folder / "get.tav"
    script.write_text(SCRIPT)
    base = f"http://127.0.0.1:{server}"
    for title, path, count, goal in [("GET 1 KiB", "/small", 2000, "0.6 x libcurl, new handles"),
                                     ("GET 100 MB", "/large/95", 4, "1.1 x libcurl")]:
        url = base + path
        ways = {
            "ours": lambda n: [tavhost, "run", script, url, n],
            "libcurl, kept handle": lambda n: [PEERS / "curl_peer", url, n, 1],
            "libcurl, new handles": lambda n: [PEERS / "curl_peer", url, n, 0],
            "python3 urllib": lambda n: ["/usr/bin/python3", "-c", PYTHON, url, n],
        }
        if shutil.which("curl"):
            ways["curl"] = lambda n: ["curl", "-s", *[url] * n] if n else ["curl", "--version"]
        times = {name: [] for name in ways}
        for _ in range(rounds):
            for name, way in ways.items():
                times[name].append(cpu(way(count)) - cpu(way(0)))
        ours = statistics.median(times["ours"])
        print(f"{title}  (goal {goal})")
        for name, measured in times.items():
            median = statistics.median(measured)
            print(f"  {name:<24}{median / count * 1e6:12.1f} us a request   ours {ours / median:.2f} x")


TEXT_PYTHON = """
import sys, urllib.request
for _ in range(int(sys.argv[2])):
    answer = urllib.request.urlopen(sys.argv[1])
    text = answer.read().decode(answer.headers.get_content_charset())
"""
TEXT_SCRIPT = """
for i from 1 to int(args[1]) { HTTP_REQUEST (args[0]) }
"""


def cost(command):
    """Seconds by the clock, seconds of processor time, and the most memory in MB."""
    begin = time.monotonic()
    process = subprocess.Popen([str(part) for part in command], stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        raise SystemExit(f"{command[0]} failed")
    return (time.monotonic() - begin, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024 / 1e6)


def texts(tavhost, folder, rounds):
    script = folder / "text.tav"
    script.write_text(TEXT_SCRIPT)
    # A process of its own: what it holds would count as memory of those that are started from here.
    holder = subprocess.Popen([sys.executable, ROOT / "tests/http/server.py"], text=True,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    server = holder.stdout.readline().strip()
    for charset in ("utf-8", "windows-1252", "utf-16le", "shift_jis"):
        url = f"{server}/text-of/100/{charset}"
        ways = {
            "ours": lambda n: [tavhost, "run", script, url, n],
            "python3 urllib": lambda n: ["/usr/bin/python3", "-c", TEXT_PYTHON, url, n],
        }
        cost(ways["ours"](1))  # the server makes the text
        spent = {name: [] for name in ways}
        for _ in range(rounds):
            for name, way in ways.items():
                spent[name].append([one - none for one, none in zip(cost(way(1)), cost(way(0)))])
        medians = {name: [statistics.median(each) for each in zip(*rows)]
                   for name, rows in spent.items()}
        wall, processor, _ = medians["ours"]
        print(f"a text of 100 MB in {charset}  (goal 0.6 x python, 1.3 x the text in memory)")
        for name, (seconds, cpu_seconds, memory) in medians.items():
            print(f"  {name:<24}{seconds * 1e3:8.0f} ms, {cpu_seconds * 1e3:6.0f} ms of processor, "
                  f"{memory / 100:5.2f} x the text   ours {wall / seconds:.2f} x, "
                  f"processor {processor / cpu_seconds:.2f} x")
    holder.stdin.close()
    holder.wait()


def wrk(url, folder, connections, seconds, token=None):
    lua = folder / "post.lua"
    lua.write_text('wrk.method = "POST"\nwrk.body = "GET_DISPLAY_SIZE"\n' +
                   (f'wrk.headers["X-Tavhost-Token"] = "{token}"\n' if token else ""))
    out = subprocess.run(["wrk", "-t1", f"-c{connections}", f"-d{seconds}", "--latency",
                          *(["-s", lua] if token else []), url],
                         check=True, capture_output=True, text=True).stdout
    latency = re.search(r"99%\s+([\d.]+)(us|ms|s)", out)
    scale = {"us": 1e-3, "ms": 1, "s": 1000}[latency[2]]
    wrong = re.search(r"Non-2xx or 3xx responses: (\d+)", out)
    if wrong:
        raise SystemExit(f"{url}: {wrong[1]} requests were refused")
    return float(re.search(r"Requests/sec:\s+([\d.]+)", out)[1]), float(latency[1]) * scale


def steady(url, connections, rate, seconds, token=None):
    """Replies a second, at a fixed rate of requests, and the milliseconds under which 50 and 99 % of
    them stayed."""
    port, path = re.fullmatch(r"http://127\.0\.0\.1:(\d+)(/.*)", url).groups()
    out = subprocess.run([PEERS / "steady_client", port, path, token or "none", str(connections),
                          str(rate), str(seconds)], check=True, capture_output=True, text=True).stdout
    return [float(part) for part in out.split()]


def resident(process):
    return int(pathlib.Path(f"/proc/{process.pid}/statm").read_text().split()[1]) * 4096


def service(tavhost, folder, server, rounds, seconds):
    process = subprocess.Popen([tavhost, "serve", "--port", "0", "--quiet"], text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    url = process.stdout.readline().split()[-1]
    token = pathlib.Path(process.stdout.readline().split(": ")[1].strip()).read_text().strip()
    nginx = None
    ways = {"ours": (url + "/command", token), "Beast, a constant": (f"http://127.0.0.1:{server}/", None)}
    if shutil.which("nginx"):
        conf = folder / "nginx.conf"
        conf.write_text(f"""daemon off; worker_processes 1; pid {folder}/nginx.pid; error_log /dev/null;
events {{ worker_connections 256; }}
http {{ access_log off; client_body_temp_path {folder}; keepalive_requests 10000000;
server {{ listen 127.0.0.1:18999; location / {{ return 200 "{'x' * 60}"; }} }} }}""")
        nginx = subprocess.Popen(["nginx", "-c", conf, "-p", folder], stderr=subprocess.DEVNULL)
        ways["nginx, a constant"] = ("http://127.0.0.1:18999/", None)
    try:
        for connections, goal in [(16, "0.7 x Beast"), (64, "p99 under 5 ms")]:
            results = {name: [] for name in ways}
            before = resident(process)
            for _ in range(rounds):
                for name, (target, key) in ways.items():
                    results[name].append(wrk(target, folder, connections, seconds, key))
            ours = statistics.median(rate for rate, _ in results["ours"])
            print(f"service, {connections} connections  (goal {goal})")
            for name, measured in results.items():
                rate = statistics.median(rate for rate, _ in measured)
                late = statistics.median(late for _, late in measured)
                print(f"  {name:<24}{rate:12.0f} requests/s   p99 {late:6.2f} ms   ours {ours / rate:.2f} x")
            print(f"  memory                  {before / 2**20:9.1f} MiB, behind some "
                  f"{ours * rounds * seconds:.0f} requests {resident(process) / 2**20:.1f} MiB")
        for rate in RATES:
            results = {name: [] for name in ways}
            for _ in range(rounds):
                for name, (target, key) in ways.items():
                    results[name].append(steady(target, 64, rate, seconds, key))
            print(f"service, 64 connections, {rate} requests a second  (goal p99 under 5 ms)")
            for name, measured in results.items():
                replies, middle, late = (statistics.median(part) for part in zip(*measured))
                print(f"  {name:<24}{replies:12.0f} requests/s   p50 {middle:6.2f} ms   "
                      f"p99 {late:6.2f} ms")
    finally:
        process.terminate()
        process.wait()
        if nginx:
            nginx.terminate()
            nginx.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", default=ROOT / "build/bin/tavhost")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=int, default=3)
    options = parser.parse_args()
    server = subprocess.Popen([PEERS / "hello_server"], stdout=subprocess.PIPE, text=True)
    port = int(server.stdout.readline())
    try:
        with tempfile.TemporaryDirectory() as name:
            os.chmod(name, 0o755)
            folder = pathlib.Path(name)
            requests(options.tavhost, folder, port, options.rounds)
            texts(options.tavhost, folder, options.rounds)
            if shutil.which("wrk"):
                service(options.tavhost, folder, port, options.rounds, options.seconds)
            else:
                print("wrk is not there: the service is not measured")
    finally:
        server.terminate()


if __name__ == "__main__":
    main()
