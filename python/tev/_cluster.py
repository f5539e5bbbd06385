"""Shards as tasks of Dask: on a cluster of this machine that ends with the run, or on another one."""

from __future__ import annotations

import contextlib
import itertools
import logging
import os
import queue
import tempfile
import time
import uuid
from typing import Any, Callable, Dict, Iterator, NamedTuple, Optional, Tuple

from ._shard import Counts, PartError, Scan, ScanError, scan_shard

# Tasks that are submitted for each that can run: a worker finds the next one when it has finished.
WINDOW_PER_SLOT = 2
SECONDS_BETWEEN_LOOKS = 5
SECONDS_FOR_AN_ANSWER = 30
SECONDS_WITHOUT_WORKERS = 300


class Keys(NamedTuple):
    """Files for a scheduler that speaks TLS."""

    authority: str
    certificate: str
    key: str


class Ended(NamedTuple):
    """A shard that is scanned, or that no further try is left for."""

    number: int
    counts: Optional[Counts]
    failure: str = ""


def _distributed() -> Any:
    try:
        import distributed
    except ImportError as error:
        raise ScanError(f"this needs Dask ({error}): install python3-distributed, or with pip "
                        "tev[archive]; `tev scan --shard` does without") from None
    return distributed


class Cluster:
    """A connection to a scheduler, and where none is given, a cluster that lives as long."""

    def __init__(self, jobs: Optional[int], scheduler: Optional[str], keys: Optional[Keys]) -> None:
        self._distributed = _distributed()
        self._workers_seen = time.monotonic()
        self.slots = 0
        self.memory: Optional[int] = None
        with contextlib.ExitStack() as ends:
            self._address = scheduler or self._start(ends, jobs or len(os.sched_getaffinity(0)))
            self._client = self._connect(keys)
            ends.callback(self._client.close, timeout=SECONDS_FOR_AN_ANSWER)
            while self.look() == 0:
                time.sleep(1)
            self._ends = ends.pop_all()

    def __enter__(self) -> Cluster:
        return self

    def __exit__(self, *error: object) -> None:
        self._ends.close()

    def _start(self, ends: contextlib.ExitStack, jobs: int) -> str:
        self.memory = self._distributed.system.MEMORY_LIMIT // jobs
        folder = ends.enter_context(tempfile.TemporaryDirectory(prefix="tev-archive-"))
        cluster = ends.enter_context(self._distributed.LocalCluster(
            n_workers=jobs, threads_per_worker=1, processes=True, host="127.0.0.1",
            dashboard_address="127.0.0.1:0", scheduler_kwargs={"dashboard": False},
            memory_limit=self.memory, local_directory=folder, silence_logs=logging.CRITICAL))
        address: str = cluster.scheduler_address
        return address

    def _connect(self, keys: Optional[Keys]) -> Any:
        security = keys and self._distributed.Security(
            tls_ca_file=keys.authority, tls_client_cert=keys.certificate, tls_client_key=keys.key,
            require_encryption=True)
        try:
            return self._distributed.Client(self._address, security=security, set_as_default=False,
                                            timeout=SECONDS_FOR_AN_ANSWER, name="tev-archive")
        except (OSError, ValueError, self._distributed.TimeoutError) as error:
            raise ScanError(f"no scheduler answers at {self._address}: {error}") from None

    def look(self) -> int:
        """How many tasks can run at once. Raises ScanError where that cannot be known, or where there
        has been no worker for long.
        """
        try:
            self.slots = sum(self._client.sync(self._client.scheduler.ncores,
                                               callback_timeout=SECONDS_FOR_AN_ANSWER).values())
        except (OSError, AttributeError, self._distributed.TimeoutError):
            raise self._gone() from None
        if self.slots:
            self._workers_seen = time.monotonic()
        elif time.monotonic() - self._workers_seen > SECONDS_WITHOUT_WORKERS:
            raise ScanError(f"the scheduler at {self._address} has had no worker for "
                            f"{SECONDS_WITHOUT_WORKERS} seconds")
        return self.slots

    def _gone(self) -> ScanError:
        return ScanError(f"the scheduler at {self._address} has gone; the parts stay, and the next "
                         "run goes on with them")

    def submit(self, *call: Any, name: str) -> Any:
        """A task, as the future of its result."""
        return self._client.submit(*call, key=name, pure=False)

    def result(self, future: Any) -> Any:
        """What a task that has ended returned. Raises what it raised, as a ScanError."""
        if future.status == "cancelled":  # nobody does: the connection was lost
            raise self._gone()
        try:
            return future.result(timeout=SECONDS_FOR_AN_ANSWER)
        except (self._distributed.CancelledError, self._distributed.TimeoutError):
            raise self._gone() from None

    def error(self, future: Any) -> Tuple[int, Optional[BaseException]]:
        """How many tries a task took that could not be finished, and what it raised: nothing where the
        workers died that were at it.
        """
        try:
            error = future.exception(timeout=SECONDS_FOR_AN_ANSWER)
        except (self._distributed.CancelledError, self._distributed.TimeoutError):
            raise self._gone() from None
        if isinstance(error, self._distributed.KilledWorker):
            # The scheduler itself tries it on so many others before it gives up.
            return getattr(error, "allowed_failures", 0) + 1, None
        return 1, error


class _Task(NamedTuple):
    """A shard that is submitted. A future that is let go is not run."""

    number: int
    tries: int
    future: Any


def run_shards(cluster: Cluster, scan: Scan, retries: int, tick: Callable[[], None]) -> Iterator[Ended]:
    """Scans all shards, and gives each as it ends. "tick" is called now and then.

    No more tasks are submitted at a time than keep the workers at work.
    """
    run = uuid.uuid4().hex
    numbers = iter(range(scan.shards))
    ended: queue.SimpleQueue[Any] = queue.SimpleQueue()
    submitted: Dict[str, _Task] = {}

    def submit(number: int, tries: int) -> None:
        name = f"tev-scan-{run}-{number}-{tries}"
        future = cluster.submit(scan_shard, scan, number, name=name)
        submitted[name] = _Task(number, tries, future)
        future.add_done_callback(ended.put)

    while True:
        free = WINDOW_PER_SLOT * max(cluster.slots, 1) - len(submitted)
        for number in itertools.islice(numbers, max(free, 0)):
            submit(number, 0)
        if not submitted:
            return
        task = submitted.pop(_next(ended, submitted, cluster, tick).key)
        if task.future.status != "error":
            yield Ended(task.number, cluster.result(task.future))
            continue
        tries, error = cluster.error(task.future)
        if task.tries + tries <= retries and not isinstance(error, PartError):
            submit(task.number, task.tries + tries)
        else:
            yield Ended(task.number, None, _failure(scan, task.number, error))


def _next(ended: queue.SimpleQueue[Any], submitted: Dict[str, _Task], cluster: Cluster,
          tick: Callable[[], None]) -> Any:
    """The next future that has ended, or that has been cancelled, of which nobody is called back."""
    while True:
        for _ in range(SECONDS_BETWEEN_LOOKS):
            tick()
            with contextlib.suppress(queue.Empty):
                return ended.get(timeout=1)
            for task in submitted.values():
                if task.future.status == "cancelled":
                    return task.future
        cluster.look()


def _failure(scan: Scan, number: int, error: Optional[BaseException]) -> str:
    if isinstance(error, ScanError):
        return str(error)
    if error is None:
        return f"shard {number} of {scan.shards}: all workers died that were at it, or were killed"
    # What else it is, nobody has foreseen.
    text = (str(error).splitlines() or [""])[0]
    return f"shard {number} of {scan.shards}: {type(error).__name__}: {text}"
