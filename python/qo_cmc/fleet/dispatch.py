"""Work on many items in batches: in order, with few in flight, whatever becomes of the workers."""

from __future__ import annotations

import contextlib
import itertools
from collections.abc import Callable, Collection, Iterable, Iterator, Sized
from dataclasses import dataclass
from typing import Any, Generic, Protocol, TypeVar, Union

Item = TypeVar("Item")
Value = TypeVar("Value")

# The work on a batch: its items, and what all batches share.
Work = Callable[[list[Item], Any], Value]

# Most containers take a tenth of a millisecond, and a task of a cluster one or two.
LARGEST_BATCH = 128
# How many workers an item that stands alone may take along before it is given up.
TRIES = 3
# Batches in flight, or waiting for an earlier one, for each worker.
AHEAD = 4


class WorkerDied(Exception):
    """The worker ended before it answered; also several, where an engine tries again by itself."""

    def __init__(self, deaths: int = 1) -> None:
        super().__init__(deaths)
        self.deaths = deaths


@dataclass(frozen=True)
class Lost:
    """In place of an item's value: so many workers died at it, one after the other."""

    deaths: int

    def __str__(self) -> str:
        return f"every worker that took it died, {self.deaths} in all"


class Engine(Protocol):
    """What runs tasks somewhere else. Tasks are whatever `submit` gives."""

    def workers(self) -> int:
        """How many tasks may run at once, at present."""

    def share(self, value: Any) -> Any:
        """What `submit` takes as `shared` so that tasks see the value, sent as seldom as can be."""

    def submit(self, work: Callable[[Any, Any], Any], items: Any, shared: Any) -> Any:
        """Starts a task, now or when a worker is free."""

    def wait(self, tasks: Collection[Any]) -> Collection[Any]:
        """Waits until at least one of the tasks is done, and tells which are."""

    def outcome(self, task: Any) -> Any:
        """A done task's value. Raises what the work raised, or WorkerDied."""

    def cancel(self, tasks: Collection[Any]) -> None:
        """Nobody waits for these any longer."""


# A run of items that were worked on together, and what came of it.
Answer = tuple[list[Item], Union[Value, Lost]]


@dataclass
class _Batch(Generic[Item]):
    number: int
    items: list[Item]


def in_order(
    engine: Engine,
    work: Work[Item, Value],
    items: Iterable[Item],
    shared: Any = None,
    *,
    expected: Iterable[object] | None = None,
) -> Iterator[Answer[Item, Value]]:
    """What the work gives for batches of the items, in the items' order, each item once.

    Batches in flight are bounded, and so are results that wait for an earlier one: the items may be
    many, and come from a generator. A batch whose worker dies is halved until the item at fault
    stands alone; what that one gives is `Lost`. What the work itself raises ends all.

    `expected` is what has the items' number, if anything has.
    """
    batches = _batches_of(items, _batch_size(engine, items if expected is None else expected))
    running: dict[Any, _Batch[Item]] = {}
    answers: dict[int, list[Answer[Item, Value]]] = {}
    suspects: list[_Batch[Item]] = []
    taken, given = 0, 0

    def take_done() -> None:
        for task in engine.wait(list(running)):
            batch = running.pop(task)
            try:
                answers[batch.number] = [(batch.items, engine.outcome(task))]
            except WorkerDied:
                suspects.append(batch)

    try:
        while True:
            room = AHEAD * max(1, engine.workers()) - (taken - given)
            for batch in itertools.islice(batches, max(0, room)):
                running[engine.submit(work, batch.items, shared)] = batch
                taken += 1
            if taken == given:
                return
            if given not in answers:
                take_done()
            if suspects:
                # Nothing else runs beside a suspect: on a cluster what shared a worker with the one
                # at fault is blamed as well.
                while running:
                    take_done()
                _make_sure_that_workers_start(engine)
                for batch in suspects:
                    answers[batch.number] = list(_one_by_one(engine, work, batch.items, shared))
                suspects.clear()
            if given in answers:
                yield from answers.pop(given)
                given += 1
    finally:
        engine.cancel(list(running))


def _batch_size(engine: Engine, items: Iterable[object]) -> int:
    """Small enough that all workers have some, when it is known how many items there are."""
    if not isinstance(items, Sized):
        return LARGEST_BATCH
    return max(1, min(LARGEST_BATCH, len(items) // (AHEAD * max(1, engine.workers()))))


def _batches_of(items: Iterable[Item], size: int) -> Iterator[_Batch[Item]]:
    source = iter(items)
    for number in itertools.count():
        batch = list(itertools.islice(source, size))
        if not batch:
            return
        yield _Batch(number, batch)


def _one_by_one(
    engine: Engine, work: Work[Item, Value], items: list[Item], shared: Any
) -> Iterator[Answer[Item, Value]]:
    """Halves what its worker dies of, until what is at fault stands alone."""
    pieces = [items]
    while pieces:
        piece = pieces.pop()
        answer: Union[Value, Lost]
        try:
            answer = _alone(engine, work, piece, shared)
        except WorkerDied as died:
            if len(piece) > 1:
                middle = len(piece) // 2
                pieces += [piece[middle:], piece[:middle]]
                continue
            answer = _tried_again(engine, work, piece, shared, died.deaths)
        yield piece, answer


def _tried_again(
    engine: Engine, work: Work[Item, Value], piece: list[Item], shared: Any, deaths: int
) -> Union[Value, Lost]:
    """What stands alone, and has killed so many workers: a single death may be mere chance."""
    while deaths < TRIES:
        try:
            answer: Value = _alone(engine, work, piece, shared)
            return answer
        except WorkerDied as died:
            deaths += died.deaths
    return Lost(deaths)


def _alone(engine: Engine, work: Callable[[Any, Any], Any], items: Any, shared: Any) -> Any:
    task = engine.submit(work, items, shared)
    try:
        engine.wait([task])
        return engine.outcome(task)
    finally:
        engine.cancel([task])


def _nothing(items: Any, shared: Any) -> None:
    """A task that no worker can die of."""


def _make_sure_that_workers_start(engine: Engine) -> None:
    """Without this, each file of a fleet would be blamed for workers that cannot even start."""
    for _ in range(TRIES):
        with contextlib.suppress(WorkerDied):
            _alone(engine, _nothing, [], None)
            return
    raise RuntimeError(
        "workers end before they do anything; a script that starts them does so under "
        'if __name__ == "__main__"'
    )
