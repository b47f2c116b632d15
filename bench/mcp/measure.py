"""Measures the servers of this folder under the same load; started by `run`."""

import json
import pathlib
import re
import resource
import statistics
import subprocess
import sys
import urllib.request

FOLDER = pathlib.Path(__file__).resolve().parent
TOOLS = str(FOLDER / "tools.json")
TOKEN = "0123456789abcdef0123456789abcdef"
METHODS = ("ping", "tools/list")
CONNECTIONS = (1, 32, 200)
INITIALIZE = {"jsonrpc": "2.0", "id": 0, "method": "initialize",
              "params": {"protocolVersion": "2025-06-18", "capabilities": {},
                         "clientInfo": {"name": "bench", "version": "1"}}}


class Server:
    def __init__(self, name, *command):
        self.name = name
        self.process = subprocess.Popen(command, cwd=FOLDER, stdout=subprocess.PIPE, text=True)
        self.url = f"http://127.0.0.1:{int(self.process.stdout.readline())}/mcp"

    def ask(self, message):
        request = urllib.request.Request(self.url, json.dumps(message).encode(), {
            "Authorization": f"Bearer {TOKEN}", "Content-Type": "application/json",
            "Accept": "application/json, text/event-stream", "Mcp-Session-Id": "bench"})
        return json.load(urllib.request.urlopen(request))

    def load(self, method, connections, seconds):
        """Returns the requests a second, the median and the 99th percentile of the response times in
        microseconds, and the share of one processor that wrk itself used, in percent."""
        before = processor_seconds()
        output = subprocess.run(
            ["wrk", "-t1", f"-c{connections}", f"-d{seconds}s", "-s", str(FOLDER / "load.lua"), self.url,
             "--", TOKEN, method], capture_output=True, text=True, check=True).stdout
        rate, median, p99, failures = map(int, re.search(r"result (.*)", output)[1].split())
        if failures or not rate:
            sys.exit(f"{self.name}: {failures} failures\n{output}")
        return rate, median, p99, (processor_seconds() - before) / seconds * 100


def processor_seconds():
    """The processor time of child processes that have ended; the servers are still running."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def main():
    ours, rounds, seconds = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
    servers = [Server("Korvane", ours, TOKEN, TOOLS),
               Server("Node alone", "node", "plain-server.mjs", TOKEN, TOOLS),
               Server("SDK, one session", "node", "sdk-server.mjs", TOKEN, TOOLS, "session"),
               Server("SDK, stateless", "node", "sdk-server.mjs", TOKEN, TOOLS)]
    try:
        servers[2].ask(INITIALIZE)
        for method in METHODS:
            answers = [server.ask({"jsonrpc": "2.0", "id": 1, "method": method}) for server in servers]
            if any(answer != answers[0] for answer in answers):
                sys.exit(f"The servers do not answer {method} alike: {answers}")

        # In turns, so that other work of the machine slows all servers alike.
        runs = {}
        for number in range(rounds):
            for method in METHODS:
                for connections in CONNECTIONS:
                    for server in servers:
                        run = server.load(method, connections, seconds)
                        runs.setdefault((method, connections, server.name), []).append(run)
            print(f"round {number + 1} of {rounds} done", file=sys.stderr)

        print("| request | connections | server | requests/s | p50 ms | p99 ms | wrk busy |")
        print("| --- | ---: | --- | ---: | ---: | ---: | ---: |")
        for (method, connections, name), results in runs.items():
            rate, median, p99, busy = (statistics.median(column) for column in zip(*results))
            print(f"| {method} | {connections} | {name} | {rate:,.0f} | {median / 1000:.2f} "
                  f"| {p99 / 1000:.2f} | {busy:.0f} % |")
    finally:
        for server in servers:
            server.process.terminate()
            server.process.wait()


main()
