"""The same results on a cluster, one of whose workers is killed in the middle."""

import os
import pathlib
import signal
import sys
import threading
import time

import pytest
from fleet_modules import container_of, many_processes, random_tables, write_fleet

from qo_cmc import fleet
from qo_cmc.fleet import __main__ as command
from qo_cmc.fleet import checks, cluster, dispatch, shading

distributed = pytest.importorskip("distributed")

pytestmark = many_processes


def die_or_wait(batch):
    """The first worker that takes `slow` says who it is; all that take `deadly` die."""
    for path, _ in batch:
        said = pathlib.Path(path + ".pid")
        # A worker that dies before its nanny knows that it lives is not started again.
        if path.endswith(("slow", "deadly")) and not said.exists():
            time.sleep(1.0)
        if path.endswith("slow") and not said.exists():
            said.write_text(str(os.getpid()), encoding="utf-8")
            time.sleep(60)
        if path.endswith("deadly"):
            os.kill(os.getpid(), signal.SIGKILL)


# Workers import these by name.
def check_after_a_wait(batch, shared):
    die_or_wait(batch)
    return checks.check_batch(batch, shared)


def sum_after_a_wait(batch, shared):
    die_or_wait(batch)
    return shading.sum_batch(batch, shared)


def judge_after_a_wait(batch, shared):
    die_or_wait([counted.named for counted in batch])
    return shading.judge_batch(batch, shared)


def allow_no_failures(dask_scheduler):
    dask_scheduler.allowed_failures = 0


@pytest.fixture(scope="module")
def client():
    settings = {
        "distributed.worker.daemon": True,
    }
    import dask

    # Workers are new interpreters, which import this file.
    with dask.config.set(settings), pytest.MonkeyPatch.context() as environment:
        folder = str(pathlib.Path(__file__).parent)
        environment.setenv("PYTHONPATH", os.pathsep.join([folder, *sys.path]))
        with distributed.LocalCluster(
            n_workers=2,
            threads_per_worker=1,
            processes=True,
            dashboard_address="127.0.0.1:0",
            silence_logs="CRITICAL",
        ) as local, distributed.Client(local) as found:
            yield found


def kill_who_takes(path):
    said = path.parent / (path.name + ".pid")

    def kill():
        for _ in range(2000):
            if said.exists() and (text := said.read_text(encoding="utf-8")):
                os.kill(int(text), signal.SIGKILL)
                return
            time.sleep(0.01)

    thread = threading.Thread(target=kill)
    thread.start()
    return thread


def test_reports_are_those_of_this_process(tmp_path, client, monkeypatch):
    container = container_of(random_tables(1))
    paths = [tmp_path / name for name in ["slow", *map(str, range(300)), "cut", "missing"]]
    for path in paths[:-2]:
        path.write_bytes(container)
    paths[-2].write_bytes(container[:-1])
    expected = fleet.check(paths, workers=0)
    monkeypatch.setattr(checks, "check_batch", check_after_a_wait)
    killer = kill_who_takes(paths[0])
    report = fleet.check(paths, client=client)
    killer.join()
    assert expected == report
    assert (tmp_path / "slow.pid").exists()


@pytest.mark.parametrize(
    ("name", "replacement"),
    [("sum_batch", sum_after_a_wait), ("judge_batch", judge_after_a_wait)],
)
def test_statistics_have_the_same_bits(tmp_path, client, monkeypatch, name, replacement):
    tables = [random_tables(seed) for seed in range(40)]
    tables[23][1, 0, 2, 2] += 800
    paths = write_fleet(tmp_path, tables)
    paths[17] = paths[17].rename(tmp_path / "slow")
    expected = fleet.shading_statistics(paths, limit=8.0, workers=0)
    monkeypatch.setattr(shading, name, replacement)
    killer = kill_who_takes(paths[17])
    found = fleet.shading_statistics(paths, limit=8.0, client=client)
    killer.join()
    assert (tmp_path / "slow.pid").exists()
    assert [str(paths[23])] == [each.path for each in found.outside]
    assert expected.outside == found.outside
    (group,), (same,) = expected.groups, found.groups
    assert group.paths == same.paths
    for light, same_light in zip(group.lights, same.lights):
        for channel, mean in light.mean.items():
            assert mean.tobytes() == same_light.mean[channel].tobytes()
            assert light.spread[channel].tobytes() == same_light.spread[channel].tobytes()


def test_a_file_that_kills_every_worker_stands_alone_in_the_end(tmp_path, client, monkeypatch):
    container = container_of(random_tables(1))
    paths = [tmp_path / name for name in ["a", "b", "c", "deadly", "e", "f"]]
    for path in paths:
        path.write_bytes(container)
    expected = list(fleet.check(paths, workers=0))
    expected[3] = fleet.FileReport(
        str(paths[3]), None, (), "every worker that took it died, 1 in all"
    )
    monkeypatch.setattr(checks, "check_batch", check_after_a_wait)
    # Nannies are not to be hurried: one death beside others, and one alone.
    monkeypatch.setattr(dispatch, "TRIES", 1)
    client.run_on_scheduler(allow_no_failures)
    assert expected == list(fleet.check(paths, client=client))


def test_a_cluster_without_workers_is_not_waited_for_without_end(monkeypatch):
    monkeypatch.setattr(cluster, "SECONDS_BETWEEN_LOOKS", 0.1)
    monkeypatch.setattr(cluster, "SECONDS_WITHOUT_WORKERS", 0.5)
    with distributed.LocalCluster(
        n_workers=0, processes=False, dashboard_address="127.0.0.1:0"
    ) as empty, distributed.Client(empty) as client:
        with pytest.raises(RuntimeError, match="the cluster has had no worker for"):
            fleet.check(["a"], client=client)


def test_the_command_line_takes_a_schedulers_address(tmp_path, client, capfdbinary):
    path = tmp_path / "module"
    path.write_bytes(container_of(random_tables(1)))
    address = client.scheduler_info()["address"]
    assert 0 == command.main(["check", "--scheduler", address, str(path)])
    assert b'"valid":true' in capfdbinary.readouterr().out
