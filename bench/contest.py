"""Runs programs in turns and keeps how long they took and how much memory they had."""

import dataclasses
import json
import os
import pathlib
import shlex
import statistics
import subprocess
import sys


@dataclasses.dataclass
class Runner:
    """One program with its arguments, and what its runs have shown."""

    name: str
    command: list
    # Programs of a few milliseconds are run this often in each turn, by hyperfine.
    runs_per_turn: int = 1
    # Whether the program measures itself: it prints its seconds first.
    measures_itself: bool = False
    seconds: list = dataclasses.field(default_factory=list)
    processor_seconds: list = dataclasses.field(default_factory=list)
    peaks: list = dataclasses.field(default_factory=list)

    @property
    def median(self):
        return statistics.median(self.seconds)

    @property
    def processor_median(self):
        return statistics.median(self.processor_seconds)

    @property
    def peak(self):
        """Largest resident size in bytes."""
        return max(self.peaks)


class Arena:
    """Where programs are run: the benchmarks' programs and a directory for files."""

    def __init__(self, programs: pathlib.Path, directory: pathlib.Path):
        self.programs = programs
        self.directory = directory
        self._environment = dict(os.environ, QUARLO_TEMP_PATH=str(directory), LC_ALL="C")

    def program(self, name):
        return str(self.programs / name)

    def path(self, name):
        return str(self.directory / name)

    def call(self, command):
        """Runs a program that only has to do its work; returns its output."""
        result = subprocess.run(command, env=self._environment, cwd=self.directory, text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, check=False)
        if result.returncode != 0:
            sys.exit(f"{shlex.join(command)} failed:\n{result.stderr}")
        return result.stdout

    def measure(self, command, output="/dev/null"):
        """Runs a program once; returns its seconds, those of the processor, and its peak in
        bytes."""
        answer = self.call([self.program("bench_measure"), output, *command])
        seconds, processor_seconds, peak, status = answer.split()
        if status != "0":
            sys.exit(f"{shlex.join(command)} ended with status {status}")
        return float(seconds), float(processor_seconds), 1024 * int(peak)

    def output(self, runner):
        """What a program writes, as bytes. Not a measured run: it warms the caches up."""
        path = self.directory / "output"
        self.measure(runner.command, str(path))
        data = path.read_bytes()
        path.unlink()
        return data

    def take_turn(self, runner):
        """One turn of a program: its seconds and its peak are added to what it has shown."""
        if runner.measures_itself:
            runner.seconds.append(float(self.call(runner.command).split()[0]))
            return
        seconds, processor_seconds, peak = self.measure(runner.command)
        runner.processor_seconds.append(processor_seconds)
        runner.peaks.append(peak)
        runner.seconds += ([seconds] if runner.runs_per_turn == 1
                           else self._many_runs(runner.command, runner.runs_per_turn))

    def _many_runs(self, command, runs):
        results = self.path("hyperfine.json")
        self.call(["hyperfine", "-N", "--warmup", "3", "--runs", str(runs), "--style", "none",
                   "--output", "null", "--export-json", results, shlex.join(command)])
        return json.loads(pathlib.Path(results).read_text(encoding="utf-8"))["results"][0]["times"]

    def microbenchmarks(self, name, repetitions, seconds):
        """Runs a program on Google Benchmark, its benchmarks in random turns; returns the median
        of each in nanoseconds of processor time, by group and by contender."""
        answer = json.loads(self.call(
            [self.program(name), "--benchmark_format=json", f"--benchmark_min_time={seconds}",
             f"--benchmark_repetitions={repetitions}",
             "--benchmark_enable_random_interleaving=true",
             "--benchmark_report_aggregates_only=true"]))
        groups = {}
        for result in answer["benchmarks"]:
            if result.get("error_occurred"):
                sys.exit(f"{name}: {result['run_name']}: {result['error_message']}")
            if result["aggregate_name"] == "median":
                group, contender = result["run_name"].rsplit("/", 1)
                groups.setdefault(group, {})[contender] = result["cpu_time"]
        return groups
