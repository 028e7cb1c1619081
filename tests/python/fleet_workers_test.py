"""Workers that die, files that kill them, and callers who have had enough."""

import os
import pathlib
import signal
import subprocess
import sys
import threading
import time

import pytest
from fleet_modules import container_of, many_processes, random_tables, write_fleet

from qo_cmc import fleet
from qo_cmc.fleet import checks, dispatch, shading
from qo_cmc.fleet.processes import Processes

pytestmark = many_processes


def await_text(path):
    """What another process writes into a file, once it is there."""
    for _ in range(1000):
        if path.exists() and (text := path.read_text(encoding="utf-8")):
            return text
        time.sleep(0.01)
    raise TimeoutError(path)


def wait_to_be_killed_once(batch):
    """The first worker that takes the file `slow` says who it is, and works for ever."""
    for path, _ in batch:
        said = pathlib.Path(path + ".pid")
        if path.endswith("slow") and not said.exists():
            said.write_text(str(os.getpid()), encoding="utf-8")
            time.sleep(60)


def die_of_deadly_files(batch):
    for path, _ in batch:
        if path.endswith("deadly"):
            with open(path + ".deaths", "a", encoding="utf-8") as deaths:
                deaths.write("x")
            os.kill(os.getpid(), signal.SIGKILL)


# Workers import these by name.
def check_after_a_wait(batch, shared):
    wait_to_be_killed_once(batch)
    return checks.check_batch(batch, shared)


def sum_after_a_wait(batch, shared):
    wait_to_be_killed_once(batch)
    return shading.sum_batch(batch, shared)


def judge_after_a_wait(batch, shared):
    wait_to_be_killed_once([counted.named for counted in batch])
    return shading.judge_batch(batch, shared)


def check_unless_deadly(batch, shared):
    die_of_deadly_files(batch)
    return checks.check_batch(batch, shared)


def sum_unless_deadly(batch, shared):
    die_of_deadly_files(batch)
    return shading.sum_batch(batch, shared)


@pytest.fixture
def paths(tmp_path):
    container = container_of(random_tables(1))
    names = [f"{number}" for number in range(200)]
    names[63], names[131] = "slow", "deadly"
    paths = [tmp_path / name for name in names]
    for path in paths:
        path.write_bytes(container)
    return paths


def kill_who_takes(path):
    """A thread that kills the worker that waits at the file."""
    said = path.parent / (path.name + ".pid")
    thread = threading.Thread(target=lambda: os.kill(int(await_text(said)), signal.SIGKILL))
    thread.start()
    return thread


def test_a_killed_worker_loses_nothing_and_counts_nothing_twice(paths, monkeypatch):
    expected = fleet.check(paths, workers=0)
    monkeypatch.setattr(checks, "check_batch", check_after_a_wait)
    killer = kill_who_takes(paths[63])
    report = fleet.check(paths, workers=2)
    killer.join()
    assert expected == report


@pytest.mark.parametrize(
    ("name", "replacement"),
    [("sum_batch", sum_after_a_wait), ("judge_batch", judge_after_a_wait)],
)
def test_a_killed_worker_does_not_change_a_bit_of_the_statistics(
    tmp_path, monkeypatch, name, replacement
):
    paths = write_fleet(tmp_path, [random_tables(seed) for seed in range(40)])
    paths[17] = paths[17].rename(tmp_path / "slow")
    expected = fleet.shading_statistics(paths, limit=3.0, workers=0)
    monkeypatch.setattr(shading, name, replacement)
    killer = kill_who_takes(paths[17])
    found = fleet.shading_statistics(paths, limit=3.0, workers=2)
    killer.join()
    assert expected.outside == found.outside != ()
    assert expected.groups[0].paths == found.groups[0].paths
    for light, same_light in zip(expected.groups[0].lights, found.groups[0].lights):
        for channel, mean in light.mean.items():
            assert mean.tobytes() == same_light.mean[channel].tobytes()
            assert light.spread[channel].tobytes() == same_light.spread[channel].tobytes()


def test_a_file_that_kills_every_worker_stands_alone_in_the_end(paths, monkeypatch):
    expected = list(fleet.check(paths, workers=0))
    monkeypatch.setattr(checks, "check_batch", check_unless_deadly)
    report = fleet.check(paths, workers=2)
    error = "every worker that took it died, 3 in all"
    expected[131] = fleet.FileReport(str(paths[131]), None, (), error)
    assert expected == list(report)
    deaths = (paths[131].parent / "deadly.deaths").read_text(encoding="utf-8")
    # Once beside others, once for each halving of its batch of 25, and the tries alone.
    assert dispatch.TRIES <= len(deaths) <= dispatch.TRIES + 6


def test_statistics_leave_out_what_kills_every_worker_and_say_so(tmp_path, monkeypatch):
    paths = write_fleet(tmp_path, [random_tables(seed) for seed in range(9)])
    paths[4] = paths[4].rename(tmp_path / "deadly")
    monkeypatch.setattr(shading, "sum_batch", sum_unless_deadly)
    found = fleet.shading_statistics(paths, workers=2)
    assert [(str(paths[4]), "lost")] == [(left.path, left.why) for left in found.left_out]
    assert tuple(str(path) for path in paths if path.name != "deadly") == found.groups[0].paths


def raise_at_once(batch, _):
    raise KeyError("a mistake of our own")


def test_what_the_work_itself_raises_reaches_the_caller_and_ends_the_workers():
    with Processes(2) as engine, pytest.raises(KeyError, match="a mistake of our own"):
        list(dispatch.in_order(engine, raise_at_once, list(range(9))))


def pid_of_worker(batch, _):
    return [os.getpid()] * len(batch)


def is_alive(pid):
    """Not one that only waits for its parent to ask how it ended."""
    try:
        status = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii")
    except (FileNotFoundError, ProcessLookupError):
        return False
    return status.rpartition(")")[2].split()[0] != "Z"


def test_no_worker_is_left_when_nobody_wants_the_rest():
    with Processes(2) as engine:
        results = dispatch.in_order(engine, pid_of_worker, iter(range(100_000)))
        _, pids = next(results)
        assert is_alive(pids[0])
        results.close()
    assert not is_alive(pids[0])


def test_no_more_is_taken_than_the_workers_need():
    taken = 0

    def numbers():
        nonlocal taken
        for number in range(100_000):
            taken += 1
            yield number

    with Processes(1) as engine:
        for batch, _ in dispatch.in_order(engine, pid_of_worker, numbers()):
            assert taken <= batch[-1] + 1 + dispatch.AHEAD * dispatch.LARGEST_BATCH
            if batch[-1] > 5000:
                break


def sum_with_shared(batch, shared):
    return [item + int(shared[-1]) for item in batch]


def test_a_large_shared_value_reaches_every_worker():
    with Processes(2) as engine:
        for shared in [b"a" * 3_000_000, b"b" * 3_000_000]:
            answers = dispatch.in_order(engine, sum_with_shared, range(50), engine.share(shared))
            assert [item + shared[-1] for item in range(50)] == [
                value for _, values in answers for value in values
            ]


ENDED = """
import os, pathlib, sys, time
from qo_cmc import fleet
from qo_cmc.fleet import checks

folder, seconds = pathlib.Path(sys.argv[1]), float(sys.argv[2])

def wait(batch, shared):
    (folder / f"{os.getpid()}.worker").touch()
    time.sleep(seconds)
    return []

if __name__ == "__main__":
    checks.check_batch = wait
    fleet.check((str(number) for number in range(10**9)), workers=2)
"""


@pytest.mark.parametrize(
    ("end", "seconds"),
    [
        pytest.param(signal.SIGINT, 60, id="interrupted_while_they_work"),
        pytest.param(signal.SIGKILL, 0.05, id="killed"),
    ],
)
def test_workers_end_with_their_caller(tmp_path, end, seconds):
    script = tmp_path / "ended.py"
    script.write_text(ENDED, encoding="utf-8")
    with subprocess.Popen(
        [sys.executable, script, tmp_path, str(seconds)], stderr=subprocess.PIPE
    ) as caller:
        for _ in range(1000):
            pids = [int(path.stem) for path in tmp_path.glob("*.worker")]
            if len(pids) == 2:
                break
            time.sleep(0.01)
        assert 2 == len(pids)
        caller.send_signal(end)
    assert caller.returncode != 0
    for _ in range(1000):
        if not any(is_alive(pid) for pid in pids):
            break
        time.sleep(0.01)
    else:
        pytest.fail("a worker outlives its caller")


IMPORTING = """
import pathlib, sys, time
from qo_cmc import fleet

if __name__ == "__main__":
    fleet.check(["a", "b"], workers=1)
else:
    pathlib.Path(sys.argv[1]).touch()
    time.sleep(5)
"""


def test_an_interrupt_does_not_reach_workers_that_are_still_starting(tmp_path):
    script, started = tmp_path / "importing.py", tmp_path / "started"
    script.write_text(IMPORTING, encoding="utf-8")
    with subprocess.Popen(
        [sys.executable, script, started], stderr=subprocess.PIPE, start_new_session=True
    ) as caller:
        for _ in range(1000):
            if started.exists():
                break
            time.sleep(0.01)
        assert started.exists()
        os.killpg(caller.pid, signal.SIGINT)  # as a terminal sends it
        said = caller.stderr.read()
    assert -signal.SIGINT == caller.returncode
    assert [b"KeyboardInterrupt"] == [line for line in said.splitlines() if b"Interrupt" in line]
    assert b"Process Spawn" not in said


NO_GUARD = """
from qo_cmc import fleet
fleet.check(["a", "b"], workers=1)
"""


def test_a_script_without_a_guard_is_told_so(tmp_path):
    script = tmp_path / "no_guard.py"
    script.write_text(NO_GUARD, encoding="utf-8")
    ended = subprocess.run(
        [sys.executable, script], capture_output=True, text=True, check=False, timeout=60
    )
    assert 1 == ended.returncode
    assert 'if __name__ == "__main__"' in ended.stderr.splitlines()[-1]
