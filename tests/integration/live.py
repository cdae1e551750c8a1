#!/usr/bin/python3
"""Follows the host service by a client that was not made for it: Debian's python3-websockets.

Usage: live.py PROGRAM      (the host service)
"""

import asyncio
import json
import signal
import subprocess
import sys
import time
import urllib.request

import websockets

TIMEOUT = 20


class Host:
    """The real program in a process of its own."""

    def __init__(self, program):
        self.process = subprocess.Popen([program, "--port", "0"], stdout=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        self.address = line.removeprefix("kyr-host listens on ").split(". Try:")[0]

    def connect(self, path="/", **options):
        return websockets.connect(f"ws://{self.address}{path}", **options)

    def get(self, url):
        with urllib.request.urlopen(f"http://{self.address}{url}", timeout=TIMEOUT) as answer:
            return json.load(answer)

    def stop(self):
        begin = time.monotonic()
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(TIMEOUT), time.monotonic() - begin


def equal(actual, expected):
    if actual != expected:
        raise AssertionError(f"\n  actual:   {actual!r}\n  expected: {expected!r}")


async def ask(client, message):
    await client.send(message if isinstance(message, (str, bytes)) else json.dumps(message))


async def answer(client):
    return json.loads(await asyncio.wait_for(client.recv(), TIMEOUT))


async def close_code(client):
    try:
        while True:
            await asyncio.wait_for(client.recv(), TIMEOUT)
    except websockets.ConnectionClosed as closed:
        return closed.rcvd.code


async def acknowledges_and_tells_the_state(host):
    async with host.connect() as client:
        for event in ["/", "/id", "/host", "/host/spec", "/host/interfaces/id", "/host/interfaces?name=lo&$fields=mtu",
                      "/host/filesystems?$limit=0"]:
            await ask(client, {"type": "subscribe", "event": event})
            equal(await answer(client), {"event": event, "status": "ok", "type": "subscribe"})
            state = await answer(client)
            equal((state["type"], state["event"], state["status"]), ("data", event, "ok"))
            if event != "/host/filesystems?$limit=0":
                equal(state["data"], host.get(event)["data"])
            await ask(client, {"type": "unsubscribe", "event": event})
            reply = await answer(client)
            while reply["type"] == "data":
                reply = await answer(client)
            equal(reply, {"event": event, "status": "ok", "type": "unsubscribe"})


async def goes_on_at_the_interval(host):
    async with host.connect("/host/interfaces") as client:
        await ask(client, {"type": "subscribe", "event": "/host/id", "interval": 100})
        equal((await answer(client))["type"], "subscribe")
        stamps = [(await answer(client))["timestamp"] for _ in range(4)]
        equal(stamps, sorted(stamps))


async def refuses(host):
    async with host.connect() as client:
        for message, code in [({"type": "subscribe", "event": "/host/nothing"}, 404),
                              ({"type": "subscribe", "event": "/host/processes?$limit=x"}, 400),
                              ({"type": "subscribe", "event": "/host/processes?$expand=1"}, 400),
                              ({"type": "unsubscribe", "event": "/host"}, 404),
                              ("garbage", 400)]:
            await ask(client, message)
            error = await answer(client)
            equal((error["type"], error["code"]), ("error", code))


async def answers_pings(host):
    async with host.connect() as client:
        await asyncio.wait_for(await client.ping(b"anybody?"), TIMEOUT)


async def joins_fragments(host):
    async with host.connect() as client:
        text = json.dumps({"type": "subscribe", "event": "/id"})
        await client.send([text[:5], text[5:9], "", text[9:]])
        equal((await answer(client))["type"], "subscribe")


async def does_without_compression_and_subprotocols(host):
    async with host.connect(compression="deflate", subprotocols=["chat"]) as client:
        equal((client.extensions, client.subprotocol), ([], None))


async def closes_as_asked(host):
    client = await host.connect()
    await client.close(3000, "enough")
    equal(client.close_code, 3000)


async def closes_with_a_reason(host):
    for message, code in [(b"binary", 1003), ("x" * 20_000, 1009)]:
        client = await host.connect()
        await client.send(message)
        equal(await close_code(client), code)


async def refuses_strangers(host):
    ip, port = host.address.rsplit(":", 1)
    for url, origin, status in [(f"ws://{host.address}/", "http://stranger.example", 403),
                                ("ws://stranger.example/", None, 421),
                                (f"ws://{host.address}/host/nothing", None, 404)]:
        try:
            await websockets.connect(url, origin=origin, host=ip, port=int(port))
        except websockets.InvalidStatusCode as refusal:
            equal(refusal.status_code, status)
        else:
            raise AssertionError(f"{url} from {origin} was let in")


async def tells_that_it_ends(host):
    clients = [await host.connect() for _ in range(5)]
    for client in clients:
        await ask(client, {"type": "subscribe", "event": "/host/processes", "interval": 100})
        await answer(client)
    loop = asyncio.get_running_loop()
    stop = loop.run_in_executor(None, host.stop)
    codes = await asyncio.gather(*(close_code(client) for client in clients))
    equal(codes, [1001] * len(clients))
    exit_code, seconds = await stop
    equal(exit_code, 0)
    assert seconds < 2, f"took {seconds:.1f} s"


async def main(program):
    host = Host(program)
    try:
        for test in [acknowledges_and_tells_the_state, goes_on_at_the_interval, refuses, answers_pings,
                     joins_fragments, does_without_compression_and_subprotocols, closes_as_asked,
                     closes_with_a_reason, refuses_strangers, tells_that_it_ends]:
            await asyncio.wait_for(test(host), 60)
            print("ok:", test.__name__.replace("_", " "), flush=True)
    finally:
        host.process.kill()


if __name__ == "__main__":
    asyncio.run(main(*sys.argv[1:]))
