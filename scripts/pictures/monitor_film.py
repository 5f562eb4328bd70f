#!/usr/bin/env python3
"""Films `opcua-cli monitor` while its server is killed and started again, and writes an animated SVG.

  monitor_film.py PLANT_SERVER OPCUA_CLI SVG
"""
import codecs
import fcntl
import os
import pty
import select
import signal
import struct
import subprocess
import sys
import termios
import time

from animated_svg import animated_svg
from terminal_screen import Screen

COLUMNS, ROWS = 88, 8
NODES = ["/Plant/Boiler/Drum", "/Plant/Line1/Speed", "/Plant/Line1/PartCount"]
# Seconds of the film.
KILLED, RESTARTED, END = 6.0, 9.0, 18.0
SHORTEST_FRAME = 0.4


def start_plant(program, *ports):
    """On the first of these ports that is free; 0 is any."""
    for port in ports:
        server = subprocess.Popen([program, "--port", str(port), "--die-with-parent"], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, text=True)
        ready = server.stdout.readline()
        if ready:
            return server, int(ready.rsplit(":", 1)[1])
        server.wait()
    sys.exit("monitor_film: the plant server did not start")


def start_monitor(program, port):
    """On a terminal of its own. Its command line is shown as it would be typed."""
    arguments = ["monitor", f"localhost:{port}", *NODES]
    child, terminal = pty.fork()
    if child == 0:
        os.environ.update(TERM="xterm", LC_ALL="C.UTF-8")
        os.environ.pop("NO_COLOR", None)
        fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))
        os.execv(program, ["opcua-cli", *arguments])
    return child, terminal, "$ opcua-cli " + " ".join(arguments)


class Film:
    def __init__(self, terminal):
        self.terminal, self.screen, self.frames = terminal, Screen(COLUMNS, ROWS), []
        self.decode = codecs.getincrementaldecoder("utf-8")().decode
        self.begin = None

    def seconds(self):
        return time.monotonic() - self.begin

    def take(self):
        if select.select([self.terminal], [], [], 0.05)[0]:
            self.screen.write(self.decode(os.read(self.terminal, 65536)))

    def roll_until(self, second, remark=""):
        """Keeps a frame whenever the screen has changed, but not more often than one can read. The remark stands below
        the screen."""
        below = ((0, remark, "c"),) if remark else ()
        while self.seconds() < second:
            self.take()
            lines = (*self.screen.lines(), below)
            if not self.frames or (lines != self.frames[-1][1]
                                   and self.seconds() - self.frames[-1][0] >= SHORTEST_FRAME):
                self.frames.append((self.seconds() if self.frames else 0.0, lines))

    def await_text(self, text):
        """Until the screen shows it; the film begins, or goes on, there."""
        deadline = time.monotonic() + 60
        while not any(text in words for spans in self.screen.lines() for _, words, _ in spans):
            if time.monotonic() > deadline:
                sys.exit(f"monitor_film: '{text}' did not show: {self.screen.lines()}")
            self.take()


def main(plant_program, client_program, svg):
    server, port = start_plant(plant_program, 4840, 0)
    monitor, terminal, command = start_monitor(client_program, port)
    try:
        film = Film(terminal)
        film.await_text("Pressure")
        film.begin = time.monotonic()
        film.roll_until(KILLED)
        server.kill()
        server.wait()
        film.roll_until(RESTARTED, "The server was killed.")
        server, _ = start_plant(plant_program, port)
        film.roll_until(END, "The server was started again.")
    finally:
        os.kill(monitor, signal.SIGINT)
        os.waitpid(monitor, 0)
        server.kill()
        server.wait()
    with open(svg, "w", encoding="utf-8") as file:
        file.write(animated_svg(film.frames, COLUMNS, ROWS + 1, END, command))
    print(f"monitor_film: {len(film.frames)} frames, {os.path.getsize(svg) // 1024} KiB")


main(*sys.argv[1:])
