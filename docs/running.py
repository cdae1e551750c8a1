"""A service that runs while a check needs it."""

import asyncio
import re
import shlex
import signal
import subprocess
import sys

ADDRESS = re.compile(r"listens on (?:http://)?([\d.]+:\d+)")


class Service:
    """A service that runs while it is needed."""

    def __init__(self, command):
        self.process = subprocess.Popen(shlex.split(command), stdout=subprocess.PIPE, text=True)
        found = None
        while not found:
            line = self.process.stdout.readline()
            if not line:
                sys.exit(f"{command}: ended without telling where it listens")
            found = ADDRESS.search(line)
        self.address = found.group(1)

    def close(self):
        self.process.send_signal(signal.SIGTERM)
        code = self.process.wait(60)
        if code != 0:
            sys.exit(f"the service ended with {code}")


class Talk:
    """A WebSocket to a service, by Debian's python3-websockets."""

    TIMEOUT = 30

    def __init__(self, address):
        import websockets  # not every check needs it

        self.loop = asyncio.new_event_loop()
        self.socket = self.wait(lambda: websockets.connect(f"ws://{address}/"))

    def wait(self, operation):
        async def limited():
            return await asyncio.wait_for(operation(), self.TIMEOUT)

        return self.loop.run_until_complete(limited())

    def send(self, text):
        self.wait(lambda: self.socket.send(text))

    def receive(self):
        return self.wait(self.socket.recv)

    def close(self):
        self.wait(self.socket.close)
        self.loop.close()
