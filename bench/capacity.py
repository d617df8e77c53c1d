#!/usr/bin/env python3
"""Measures what virtual devices cost that run side by side, and says what follows for a thousand tests.

    capacity.py SERVICE TOUR [DEVICES...]

SERVICE and TOUR are the programs vesk-video-service and vesk-device-tour; each device serves an application of its own,
the tour. Processor time, unlike time that passes, hardly depends on what else the machine does.
"""

from __future__ import annotations

import glob
import os
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

REST = 10.0  # seconds
LEAST_TOURS = 50


class Device:
    """A virtual device with a runtime directory of its own."""

    def __init__(self, service: str, directory: str) -> None:
        self.directory = directory
        self._environment = {**os.environ, "VESK_RUNTIME_DIR": directory, "VESK_LOG_TARGET": "none"}
        begun = time.monotonic()
        self._process = subprocess.Popen([service], env=self._environment, stdout=subprocess.PIPE, text=True)
        assert self._process.stdout is not None
        if ": serving " not in self._process.stdout.readline():
            sys.exit(f"{service} does not serve")
        self.start_ms = (time.monotonic() - begun) * 1000

    def _proc(self, name: str) -> Path:
        return Path(f"/proc/{self._process.pid}/{name}")

    def used_ms(self) -> float:
        """Processor time so far."""
        threads = glob.glob(str(self._proc("task/*/schedstat")))
        return sum(int(Path(thread).read_text().split()[0]) for thread in threads) / 1e6

    def memory_kib(self) -> int:
        """Memory of its own, and its share of what it has in common with other processes."""
        lines = self._proc("smaps_rollup").read_text().splitlines()
        return next(int(line.split()[1]) for line in lines if line.startswith("Pss:"))

    def descriptors(self) -> int:
        return len(os.listdir(self._proc("fd")))

    def files(self) -> int:
        return len(os.listdir(self.directory))

    def run_tours(self, tour: str, count: int) -> float:
        """Runs the tour so many times. Returns its processor time in ms."""
        return sum(self._run_tour(tour) for _ in range(count))

    def _run_tour(self, tour: str) -> float:
        process = subprocess.Popen([tour], env=self._environment, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if status != 0:
            sys.exit(f"{tour} ended with status {process.returncode}")
        return (usage.ru_utime + usage.ru_stime) * 1000

    def end(self) -> None:
        self._process.terminate()
        self._process.wait()


def measure(service: str, tour: str, count: int) -> tuple[float, ...]:
    devices: list[Device] = []
    with tempfile.TemporaryDirectory() as directory:
        try:
            for number in range(count):
                devices.append(Device(service, f"{directory}/{number}"))

            def each(of: str) -> float:
                return sum(getattr(device, of)() for device in devices) / count

            start, start_ms = each("used_ms"), sum(device.start_ms for device in devices) / count
            time.sleep(REST)
            rest, memory = each("used_ms"), each("memory_kib")
            tours = max(1, LEAST_TOURS // count)  # of each device
            with ThreadPoolExecutor(count) as pool:
                used = sum(pool.map(lambda device: device.run_tours(tour, tours), devices))
            serving = (each("used_ms") - rest) / tours
            return (start, start_ms, (rest - start) / REST * 60, memory, serving, used / count / tours,
                    each("memory_kib"), each("descriptors"), each("files"))
        finally:
            for device in devices:
                device.end()


def main() -> None:
    if len(sys.argv) < 3 or not all(argument.isdigit() and int(argument) > 0 for argument in sys.argv[3:]):
        sys.exit("usage: capacity.py SERVICE TOUR [DEVICES...]")
    service, tour = sys.argv[1:3]
    print("         start            rest      memory    the tour, processor ms   memory      files")
    print("devices  cpu ms  ms       ms/min    KiB PSS   service   application    after it    open  of it")
    for count in [int(argument) for argument in sys.argv[3:]] or [1, 10, 50, 200]:
        start, start_ms, rest, memory, serving, used, after, opened, files = measure(service, tour, count)
        print(f"{count:7}  {start:6.1f}  {start_ms:6.1f}  {rest:7.2f}  {memory:8.0f}  {serving:8.1f}  {used:11.1f}"
              f"  {after:10.0f}  {opened:8.0f}  {files:5.0f}", flush=True)
    busy = (start + serving + used) / 1000
    cores = os.cpu_count() or 1
    print(f"\nA device and a run of the tour keep a core busy for {busy:.3f} s. A thousand, of a second each, take")
    print(f"{1000 * busy / cores:.0f} s on this machine's {cores} cores if {cores / busy:.0f} are run at once.")


if __name__ == "__main__":
    main()
