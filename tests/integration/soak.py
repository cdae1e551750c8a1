#!/usr/bin/python3
"""Asks a running host service all kinds of things for a long time while 200 clients follow it.

Usage: soak.py ADDRESS PROCESS-ID [MINUTES [SUBSCRIBERS]]

Ends with 1 if an answer is not the expected one, if a subscriber misses its messages or loses its connection, if
memory, descriptors or threads of the service go on growing, or if the slowest percent of the requests of
one kind becomes slower in the course of time.
"""

import asyncio
import gzip
import http.client
import json
import os
import socket
import statistics
import sys
import threading
import time
from collections import defaultdict

import connections
from connections import Service, check, open_all

WORKERS = 8
PAUSE = 0.04
SAMPLE_PERIOD = 10.0
WARM_UP = 60.0

# By how much the median of the last third may exceed that of the one before: memory in KiB, for the allocator takes
# its time to find its size; descriptors and threads come and go with the connections of the moment.
ALLOWED_GROWTH = 2048
ALLOWED_MORE = 2
# The slowest percent of the last third may take this many times that of the first third, and this many seconds more.
ALLOWED_FACTOR = 2.0
ALLOWED_DELAY = 0.1

QUERIES = [
    "/", "/id", "/host", "/host/id", "/host/spec", "/host/accessrights", "/host/processes",
    "/host/processes?$sortby=-residentMemory,name&$limit=5&$fields=id,name,residentMemory",
    "/host/processes?$offset=3&$limit=-3", "/host/processes?name=*k*&$expand=1", "/host/processes?$search=*s*&$limit=2",
    "/host/interfaces?$expand=2", "/host/filesystems?$limit=0", "/host/notes?$limit=100&$sortby=name",
    "/cdn/explorer/index.html",
]
REFUSED = [
    ("GET", "/host/processes?$limit=many", 400), ("GET", "/host/nothing", 404), ("PUT", "/host/processes", 405),
    ("GET", "/host/processes/5a5a5a5a-0000-4000-8000-000000000001", 404), ("GET", "/host/processes?$offset=x", 400),
]
NOTE = json.dumps({"name": "Milk", "text": "Two bottles. " * 100})


class Worker(threading.Thread):
    """Sends mixed requests, one after the other, over one connection as long as that stays open."""

    def __init__(self, address, end):
        super().__init__(daemon=True)
        self.address, self.end = address, end
        self.durations = defaultdict(list)
        self.wrong = []
        self.connection = None

    def ask(self, kind, method, url, expected, body=None, headers=()):
        begin = time.monotonic()
        try:
            if self.connection is None:
                self.connection = http.client.HTTPConnection(self.address, timeout=20)
            self.connection.request(method, url, body, dict(headers))
            answer = self.connection.getresponse()
            text = answer.read()
            if answer.status != expected:
                self.wrong.append(f"{method} {url}: {answer.status}, not {expected}: {text[:200]!r}")
            if answer.will_close:
                self.hang_up()
            self.durations[kind].append((begin, time.monotonic() - begin))
            return answer, text
        except (http.client.HTTPException, OSError) as failure:
            # A connection that was idle, or that ended the most requests, may be closed at any time.
            if not isinstance(failure, (http.client.RemoteDisconnected, ConnectionResetError, BrokenPipeError)):
                self.wrong.append(f"{method} {url}: {failure!r}")
            self.hang_up()
            return None, b""

    def hang_up(self):
        if self.connection:
            self.connection.close()
        self.connection = None

    def read(self, number):
        self.ask("read", "GET", QUERIES[number % len(QUERIES)], 200)

    def read_again(self, _number):
        answer, _ = self.ask("read", "GET", "/host/spec", 200)
        if answer and answer.getheader("ETag"):
            self.ask("unchanged", "GET", "/host/spec", 304, headers={"If-None-Match": answer.getheader("ETag")})

    def read_compressed(self, _number):
        answer, text = self.ask("compressed", "GET", "/host/processes?$limit=50", 200, headers={"Accept-Encoding": "gzip"})
        if answer and answer.getheader("Content-Encoding") == "gzip":
            json.loads(gzip.decompress(text))

    def be_refused(self, number):
        self.ask("refused", *REFUSED[number % len(REFUSED)])

    def keep_a_note(self, _number):
        made, _ = self.ask("write", "POST", "/host/notes", 201, NOTE)
        if made:
            place = made.getheader("Location")
            self.ask("write", "PUT", place, 200, NOTE.replace("Milk", "Bread"))
            self.ask("read", "GET", place, 200)
            self.ask("write", "DELETE", place, 200)

    def send_too_much(self, _number):
        self.ask("refused", "POST", "/host/notes", 413, "x" * 2_000_000)
        self.hang_up()

    def leave_in_the_middle(self, _number):
        host, port = self.address.rsplit(":", 1)
        with socket.create_connection((host, int(port)), timeout=20) as plain:
            plain.sendall(b"POST /host/notes HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100\r\n\r\n{")

    def run(self):
        turn = 0
        steps = [self.read] * 12 + [self.read_again, self.read_compressed, self.be_refused, self.keep_a_note,
                                    self.read, self.be_refused, self.leave_in_the_middle]
        while time.monotonic() < self.end:
            turn += 1
            step = self.send_too_much if turn % 200 == 0 else steps[turn % len(steps)]
            step(turn)
            time.sleep(PAUSE)
        self.hang_up()


def slowest_percent(durations):
    ordered = sorted(durations)
    return ordered[len(ordered) * 99 // 100]


def check_growth(what, values, allowed):
    third = max(1, len(values) // 3)
    before, after = statistics.median(values[-2 * third:-third] or values), statistics.median(values[-third:])
    return check(what, after - before <= allowed,
                 f"{before:.0f} in the second third, {after:.0f} in the last, {min(values)} to {max(values)} in all")


def check_speed(kind, entries, begin, end):
    first = [duration for at, duration in entries if at < begin + (end - begin) / 3]
    last = [duration for at, duration in entries if at >= begin + (end - begin) * 2 / 3]
    if not first or not last:
        return check(f"requests ({kind})", False, "too few")
    before, after = slowest_percent(first), slowest_percent(last)
    return check(f"slowest percent ({kind}, {len(entries)} requests)",
                 after <= ALLOWED_FACTOR * before + ALLOWED_DELAY,
                 f"{before * 1000:.1f} ms in the first third, {after * 1000:.1f} ms in the last, "
                 f"half of all below {sorted(duration for _, duration in entries)[len(entries) // 2] * 1000:.1f} ms")


async def watch(service, begin, seconds, workers, readers):
    samples = []
    while time.monotonic() - begin < seconds:
        await asyncio.sleep(min(SAMPLE_PERIOD, seconds))
        elapsed = time.monotonic() - begin
        sample = (service.memory(), service.descriptors(), len(os.listdir(f"{service.folder}/task")))
        if elapsed > WARM_UP or seconds <= WARM_UP:
            samples.append(sample)
        requests = sum(len(entries) for worker in workers for entries in worker.durations.values())
        print(f"{elapsed:6.0f} s: {sample[0]} KiB, {sample[1]} descriptors, {sample[2]} threads, {requests} requests, "
              f"{sum(reader.messages for reader in readers)} messages", flush=True)
    return [list(values) for values in zip(*samples)]


async def main(address, process_id, minutes=30.0, subscribers=200):
    service = Service(process_id)
    seconds = minutes * 60
    readers = await open_all(address, subscribers + 1)
    begin = time.monotonic()
    tasks = [asyncio.create_task(reader.run()) for reader in readers]
    workers = [Worker(address, begin + seconds) for _ in range(WORKERS)]
    cpu_begin = service.cpu_time()
    for worker in workers:
        worker.start()
    memory, descriptors, threads = await watch(service, begin, seconds, workers, readers)
    elapsed = time.monotonic() - begin
    load = (service.cpu_time() - cpu_begin) / elapsed
    for task in tasks:
        task.cancel()
    for worker in workers:
        worker.join(60)
    durations = defaultdict(list)
    for worker in workers:
        for kind, entries in worker.durations.items():
            durations[kind] += entries
    wrong = [text for worker in workers for text in worker.wrong]
    fewest = min(reader.messages for reader in readers)
    lost = sum(reader.is_lost for reader in readers)
    print(f"{subscribers} subscribers, {elapsed:.0f} s, {load * 100:.0f} % of one processor, longest wait of a subscriber "
          f"{max(reader.longest_wait for reader in readers):.1f} s")
    results = [
        check("answers", not wrong, f"{len(wrong)} wrong {wrong[:5]}"),
        check("subscribers", lost == 0 and fewest >= 0.5 * elapsed / connections.INTERVAL,
              f"{lost} lost, {fewest} messages at least for each"),
        check_growth("memory in KiB", memory, ALLOWED_GROWTH),
        check_growth("descriptors", descriptors, ALLOWED_MORE),
        check_growth("threads", threads, ALLOWED_MORE),
    ] + [check_speed(kind, entries, begin, begin + elapsed) for kind, entries in sorted(durations.items())]
    return 0 if all(results) else 1


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    sys.exit(asyncio.run(main(sys.argv[1], int(sys.argv[2]), *map(float, sys.argv[3:4]), *map(int, sys.argv[4:5]))))
