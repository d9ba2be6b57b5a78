"""A LocalCluster of 2 workers corrects 40 camera pictures into the tool's
bytes and JSON Lines, also when a worker is killed mid-run."""

import os
import pickle
import shutil
import signal
import time

import pytest

import zkimgset
import zkimgset.dask as zkdask
from conftest import BATCH_SIZE, PHOTOS, files_of, json_lines, run_tool

pytest.importorskip("distributed")


@pytest.fixture(scope="module")
def client():
    with zkdask.cluster_client(workers=2) as c:
        yield c


def lines_of(results, folder):
    """The results' JSON Lines as the tool prints them from folder."""
    text = "".join(r.json + "\n" for r in results).replace(str(folder) + "/", "")
    return json_lines(text)


def test_batch_on_two_workers_is_the_tools(batch, client, tmp_path):
    broken = tmp_path / "broken.jpg"
    broken.write_bytes((batch.inputs / batch.names[0]).read_bytes()[:600])
    results = zkdask.autosetup([batch.inputs, broken], batch.folder / "out", client)
    try:
        assert [r.input for r in results] == \
            [str(batch.inputs / n) for n in sorted(batch.names)] + [str(broken)]
        assert lines_of(results[:-1], batch.folder) == \
            {f: r for f, r in batch.tool_lines.items() if f != "run"}
        assert files_of(batch.folder / "out") == files_of(batch.tool_out)
        _, tool_out = run_tool("autosetup", "--json", broken, "--out-dir", "x", cwd=tmp_path)
        assert (results[-1].status, results[-1].reason) == \
            ("failed", json_lines(tool_out)[str(broken)]["reason"])
    finally:
        shutil.rmtree(batch.folder / "out", ignore_errors=True)


def _forge(event):
    # Anyone who reaches the scheduler may send such an event; a pickle
    # unpickled whole could run anything.
    key = event[1][0]
    zkdask._runs[key.rpartition("-")[0]][1][key] = pickle.dumps("not a summary")


@pytest.mark.parametrize("take", [lambda event: None, _forge], ids=["lost", "forged"])
def test_results_whose_events_are_lost_or_forged_come_from_the_tasks(batch, client, monkeypatch,
                                                                     take):
    monkeypatch.setattr(zkdask, "_take_result", take)
    out = batch.folder / "out"
    jobs, _ = zkdask.plan_folder_run([batch.inputs], out)
    try:
        results = dict(zkdask.run_jobs(client, jobs[:4], zkimgset.settings()))
        lines = lines_of([results[i] for i in range(4)], batch.folder)
        assert len(lines) == 4 and lines == {f: batch.tool_lines[f] for f in lines}
    finally:
        shutil.rmtree(out, ignore_errors=True)


@pytest.mark.parametrize("start, reason", [
    (lambda c: c.submit(int, "x", pure=False),
     "the task failed: ValueError: invalid literal for int() with base 10: 'x'"),
    (lambda c: c.submit(time.sleep, 30, pure=False), "the task was cancelled"),
])
def test_a_task_that_gives_no_result_fails_its_picture_with_the_reason(client, start, reason,
                                                                      tmp_path):
    from distributed import wait

    future = start(client)
    if reason.endswith("cancelled"):
        future.cancel()
    else:
        wait(future)
    job = zkdask.plan_folder_run([PHOTOS[0]], tmp_path)[0][0]
    result = zkdask._result_of(future, None, job)
    assert (result.input, result.status, result.reason) == (str(PHOTOS[0]), "failed", reason)


def test_a_worker_killed_mid_run_leaves_nothing_torn(batch, client):
    out = batch.folder / "out"
    jobs, _ = zkdask.plan_folder_run([batch.inputs], out)
    # What a worker killed while writing the last picture would have left.
    leftover = out / ("." + os.path.basename(jobs[-1].output) + ".Zk19ab")
    leftover.write_bytes(b"half a picture")
    settings = zkimgset.settings()
    pids = client.run(os.getpid)
    results, killed = {}, None
    try:
        for i, result in zkdask.run_jobs(client, jobs, settings):
            results.setdefault(i, []).append(result)
            if killed is None and len(results) == 3:
                killed = next(w for w, keys in client.processing().items() if keys)
                os.kill(pids[killed], signal.SIGKILL)
        assert killed is not None
        assert sorted(results) == list(range(BATCH_SIZE))
        assert all(len(r) == 1 for r in results.values())
        assert lines_of([r[0] for r in results.values()], batch.folder) == \
            {f: r for f, r in batch.tool_lines.items() if f != "run"}
        assert files_of(out) == files_of(batch.tool_out)
    finally:
        shutil.rmtree(out, ignore_errors=True)
        client.wait_for_workers(2, timeout=60)
