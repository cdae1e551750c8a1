#!/usr/bin/python3
"""Holds many WebSockets to a running host service, of which one stands still, and tells how it bears them. Before
that, as many clients send their handshakes byte by byte, and come again when they are sent away.

Usage: connections.py ADDRESS PROCESS-ID [MINUTES [CONNECTIONS]]

Ends with 1 if a request is not answered while handshakes drip, if a client that reads misses its messages or loses its connection, if the one that does not read is
still served at the end, or if memory or descriptors of the service grow.
"""

import asyncio
import json
import os
import resource
import socket
import sys
import time

import websockets

EVENT = "/host/processes?$limit=5&$fields=cpuTime&$sortby=-cpuTime"
LARGE_EVENT = "/host/processes?$limit=100"
INTERVAL = 1.0
SAMPLE_PERIOD = 10.0
WARM_UP = 30.0
DRIP_TIME = 20.0

# What may be added after the warm-up, in KiB: the allocator takes its time to find its size.
ALLOWED_GROWTH = 2048

# The service opens files for as long as it reads them.
ALLOWED_SPREAD = 3


def subscribe(event, interval):
    return json.dumps({"type": "subscribe", "event": event, "interval": int(interval * 1000)})


class Service:
    def __init__(self, process_id):
        self.folder = f"/proc/{process_id}"

    def memory(self):
        with open(f"{self.folder}/status", encoding="utf-8") as status:
            return int(next(line for line in status if line.startswith("VmRSS:")).split()[1])

    def descriptors(self):
        return len(os.listdir(f"{self.folder}/fd"))

    def cpu_time(self):
        with open(f"{self.folder}/stat", encoding="utf-8") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Dripper:
    """A client that sends its handshake byte by byte."""

    def __init__(self):
        self.times_dropped = 0

    async def run(self, address):
        host, port = address.rsplit(":", 1)
        head = f"GET / HTTP/1.1\r\nHost: {address}\r\nUpgrade: websocket\r\n".encode()
        while True:
            writer = None
            try:
                _, writer = await asyncio.open_connection(host, int(port))
                for byte in head:
                    writer.write(bytes([byte]))
                    await writer.drain()
                    await asyncio.sleep(1)
            except OSError:
                self.times_dropped += 1
                await asyncio.sleep(0.1)
            finally:
                if writer:
                    writer.close()


async def get(address, path):
    """The status of the answer, 0 if there is none."""
    host, port = address.rsplit(":", 1)
    try:
        reader, writer = await asyncio.open_connection(host, int(port))
        writer.write(f"GET {path} HTTP/1.1\r\nHost: {address}\r\nConnection: close\r\n\r\n".encode())
        answer = await asyncio.wait_for(reader.read(), 10)
        writer.close()
        return int(answer.split()[1]) if answer else 0
    except (OSError, asyncio.TimeoutError):
        return 0


async def bears_drippers(address, count):
    drippers = [Dripper() for _ in range(count)]
    tasks = [asyncio.create_task(dripper.run(address)) for dripper in drippers]
    statuses = []
    longest = 0.0
    end = time.monotonic() + DRIP_TIME
    while time.monotonic() < end:
        begin = time.monotonic()
        statuses.append(await get(address, "/host/id"))
        longest = max(longest, time.monotonic() - begin)
        await asyncio.sleep(0.2)
    for task in tasks:
        task.cancel()
    await asyncio.gather(*tasks, return_exceptions=True)
    failures = sum(status != 200 for status in statuses)
    return check(f"requests while {count} handshakes drip", failures == 0,
                 f"{len(statuses)}, {failures} not answered, {longest:.2f} s at most, "
                 f"{sum(dripper.times_dropped for dripper in drippers)} times a client was sent away")


class Reader:
    """A client that reads what it is sent."""

    def __init__(self):
        self.messages = 0
        self.longest_wait = 0.0
        self.is_lost = False

    async def open(self, address):
        self.socket = await websockets.connect(f"ws://{address}/", ping_interval=None, compression=None)
        await self.socket.send(subscribe(EVENT, INTERVAL))
        await self.socket.recv()

    async def run(self):
        last = time.monotonic()
        try:
            async for _ in self.socket:
                now = time.monotonic()
                self.longest_wait = max(self.longest_wait, now - last)
                last = now
                self.messages += 1
        except websockets.ConnectionClosed:
            pass
        self.is_lost = True


async def open_idler(address):
    """A client that asks for much and reads nothing. It takes no more than it must."""
    host, port = address.rsplit(":", 1)
    plain = socket.socket()
    plain.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    plain.connect((host, int(port)))
    plain.settimeout(10)
    plain.sendall((
        f"GET / HTTP/1.1\r\nHost: {address}\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n").encode())
    plain.recv(4096)
    text = subscribe(LARGE_EVENT, 0.1).encode()
    mask = b"\0\0\0\0"
    plain.sendall(bytes([0x81, 0x80 | len(text)]) + mask + text)
    return plain


def is_dropped(plain):
    """Whether nothing follows what has come; that may be an end or a reset."""
    plain.settimeout(2)
    try:
        while plain.recv(65536):
            pass
    except socket.timeout:
        return False
    except OSError:
        pass
    return True


async def open_all(address, count):
    readers = [Reader() for _ in range(count - 1)]
    for first in range(0, len(readers), 20):
        await asyncio.gather(*(reader.open(address) for reader in readers[first:first + 20]))
    return readers


def check(name, is_good, detail):
    print(f"{'ok' if is_good else 'BAD'}: {name}: {detail}", flush=True)
    return is_good


async def main(address, process_id, minutes=10.0, count=1000):
    resource.setrlimit(resource.RLIMIT_NOFILE, (resource.getrlimit(resource.RLIMIT_NOFILE)[1],) * 2)
    service = Service(process_id)
    print(f"before: {service.memory()} KiB, {service.descriptors()} descriptors", flush=True)
    is_dripping_borne = await bears_drippers(address, count)
    readers = await open_all(address, count)
    idler = await open_idler(address)
    begin = time.monotonic()
    cpu_begin = service.cpu_time()
    tasks = [asyncio.create_task(reader.run()) for reader in readers]
    samples = []
    while time.monotonic() - begin < minutes * 60:
        await asyncio.sleep(min(SAMPLE_PERIOD, minutes * 60))
        elapsed = time.monotonic() - begin
        sample = (service.memory(), service.descriptors())
        if elapsed > WARM_UP or minutes * 60 <= WARM_UP:
            samples.append(sample)
        print(f"{elapsed:6.0f} s: {sample[0]} KiB, {sample[1]} descriptors, "
              f"{sum(reader.messages for reader in readers)} messages", flush=True)
    elapsed = time.monotonic() - begin
    load = (service.cpu_time() - cpu_begin) / elapsed
    lost = sum(reader.is_lost for reader in readers)
    fewest = min(reader.messages for reader in readers)
    longest = max(reader.longest_wait for reader in readers)
    for task in tasks:
        task.cancel()
    memory = [sample[0] for sample in samples]
    descriptors = [sample[1] for sample in samples]
    is_idler_dropped = is_dropped(idler)
    print(f"{count} connections, {elapsed:.0f} s, {load * 100:.0f} % of one processor, "
          f"longest wait of a client {longest:.1f} s")
    is_good = all([
        is_dripping_borne,
        check("connections of those who read", lost == 0, f"{lost} lost"),
        check("messages", fewest >= 0.5 * elapsed / INTERVAL, f"{fewest} at least for each client"),
        check("who does not read", is_idler_dropped, "dropped" if is_idler_dropped else "still there"),
        check("descriptors", max(descriptors) - min(descriptors) <= ALLOWED_SPREAD, f"{min(descriptors)} to {max(descriptors)}"),
        check("memory", memory[-1] - memory[0] <= ALLOWED_GROWTH, f"{memory[0]} to {memory[-1]} KiB, "
              f"{max(memory)} at most"),
    ])
    idler.close()
    return 0 if is_good else 1


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    sys.exit(asyncio.run(main(sys.argv[1], int(sys.argv[2]), *map(float, sys.argv[3:4]),
                              *map(int, sys.argv[4:5]))))
