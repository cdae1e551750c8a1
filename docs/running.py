"""A service that runs while a check needs it."""

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
        self.process.wait(20)
