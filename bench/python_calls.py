"""Makes calls through the Python package: for each byte that arrives, as many as the command line says."""

import socket
import sys

import vesk_video

REQUESTS = {
    b"c": vesk_video.VeskVideoGetVoCount,
    b"o": lambda: vesk_video.VeskVideoVoSetOffset(outEngNo=2001, xOffset=0, yOffset=0),
}

descriptor, calls = map(int, sys.argv[1:])
with socket.socket(fileno=descriptor) as benchmark:
    while name := benchmark.recv(1):
        request = REQUESTS[name]
        for _ in range(calls):
            request()
        benchmark.send(name)
