"""Correcting picture files on a Dask cluster of worker processes.

The library keeps process-wide state, so the work is spread over processes:
each Dask task reads, corrects and writes one picture in a worker process
with one thread, by the command-line tool's own code, and its result is the
tool's summary of the picture (``FileResult.json`` is the line ``zkimgset
autosetup --json`` prints). Outputs are written to a temporary file beside
them and renamed into place when complete.

Without a client, a ``LocalCluster`` of worker processes is started on this
machine (one a core, one thread each) and closed afterwards. With one, the
work runs on its cluster: every worker needs this package installed, and
the same paths must name the same files there (a shared file system).

Each task also sends its result to the client at once, as an event on the
topic "zkimgset-results" that travels with the task's completion: fetching
every result from its worker would cost two more round trips a picture, as
much as the rest of the task's handling. Finished tasks are released in
groups for the same reason.

A picture that fails is reported with its reason and not tried again. A
task whose worker dies under it (killed, out of memory, a crash) is run
again on another worker, which first removes the temporary file the dead
one may have left; on the cluster this module starts, a task whose workers
die twice fails with its reason (``distributed.scheduler.allowed-failures``
is 1; an existing cluster keeps its scheduler's setting, 3 by default).
"""

import contextlib
import logging
import os
import re
import sys
import threading
import uuid

import zkimgset
from zkimgset import _zkimgset

__all__ = ["autosetup", "run_jobs"]

# How often a task may be on a worker that dies before it fails, on the
# cluster started here: once is bad luck, twice is the picture.
ALLOWED_FAILURES = 1

# Settings of the cluster started here. Dask checks each event loop's health
# 50 times a second and samples the workers' stacks 100 times a second for
# the dashboard's profile pages: on two cores the two took 5% of a core with
# the cluster idle, and 2% of a batch's time.
LOCAL_CLUSTER_CONFIG = {
    "distributed.scheduler.allowed-failures": ALLOWED_FAILURES,
    "distributed.admin.tick.interval": "500ms",
    "distributed.worker.profile.enabled": False,
}

RESULTS_TOPIC = "zkimgset-results"

# Finished tasks are released this many at a time. Until then their worker
# holds their results, and the scheduler would run them again if that worker
# died; such a run writes the same bytes, and the run waits for those the
# client has learnt of before it ends.
RELEASE_GROUP = 32

# The runs in flight in this process: run name -> (its client's id, {task
# key: the packed FileResult sent by the task}).
_runs = {}
_runs_lock = threading.Lock()


def _leftover_pattern(output):
    # The atomic writer's temporary file: "." + name + "." + mkstemp's six
    # letters and digits, beside the output.
    return re.compile(r"\." + re.escape(os.path.basename(output)) + r"\.[A-Za-z0-9]{6}\Z")


def remove_leftovers(output):
    """Removes the temporary files that a writer of output killed mid-way left
    beside it. Outputs of one run are distinct, so any such file is an
    earlier attempt's."""
    folder = os.path.dirname(output) or "."
    pattern = _leftover_pattern(output)
    try:
        names = [e.name for e in os.scandir(folder) if pattern.match(e.name)]
    except OSError:
        return
    for name in names:
        with contextlib.suppress(FileNotFoundError):
            os.unlink(os.path.join(folder, name))


def _correct(job, settings):
    """One Dask task: one picture, in a worker process. Its result is sent to
    the client as an event too, ahead of the task's completion."""
    from distributed import get_worker

    remove_leftovers(job.output)
    result = _zkimgset.correct(job, settings)
    worker = get_worker()
    worker.log_event(RESULTS_TOPIC, (worker.get_current_task(), result.__getstate__()))
    return result


def _take_result(event):
    """The client's handler of the results topic, on its event loop: keeps a
    result for its run if the run is this process's."""
    key, packed = event[1]
    run = _runs.get(key.rpartition("-")[0])
    if run is not None:
        run[1][key] = packed


def _reason(future):
    """Why a task that did not finish gave no result."""
    if future.status != "error":  # cancelled: the scheduler or the client went away
        return "the task was %s" % future.status
    error = future.exception()
    name = type(error).__name__
    if name == "KilledWorker":
        return "its worker died while correcting it, on every try (%s)" % name
    return "the task failed: %s: %s" % (name, error)


def _unpacked(packed):
    """The FileResult a task sent, or None for bytes that are not one. Only a
    summary can come of them: anyone who reaches the scheduler can send an
    event, and a general unpickler would run what it says."""
    result = _zkimgset.FileResult.__new__(_zkimgset.FileResult)
    try:
        result.__setstate__(packed)
    except (TypeError, ValueError):
        return None
    return result


def _result_of(future, packed, job):
    """The FileResult of a task that is done: the one it sent, or (should its
    event have been lost or be no summary) its value."""
    if future.status == "finished":
        result = _unpacked(packed) if packed is not None else None
        return result if result is not None else future.result()
    remove_leftovers(job.output)
    return _zkimgset.failed(job.input, _reason(future))


def _release(futures):
    """Releases the done futures and returns the others: those the scheduler
    is running again after a worker holding their result died."""
    running = []
    for future in futures:
        if future.done():
            future.release()
        else:
            running.append(future)
    return running


@contextlib.contextmanager
def cluster_client(client=None, scheduler=None, workers=None):
    """The client given, one of the scheduler at address scheduler, or one of
    a new LocalCluster of `workers` processes (default: one a core), one
    thread each, on the loopback interface."""
    if client is not None:
        yield client
        return
    import dask
    from distributed import Client, LocalCluster

    if scheduler is not None:
        with Client(scheduler) as c:
            yield c
        return
    with dask.config.set(LOCAL_CLUSTER_CONFIG):
        # The scheduler's web server always listens: on a free loopback port.
        cluster = LocalCluster(n_workers=workers or os.cpu_count() or 1, threads_per_worker=1,
                               processes=True, host="127.0.0.1",
                               dashboard_address="127.0.0.1:0", silence_logs=logging.ERROR)
    with cluster, Client(cluster) as c:
        yield c


def _progress_bar(client, futures):
    """Dask's progress bar on standard error until every future is done."""
    from distributed.diagnostics.progressbar import TextProgressBar

    with contextlib.redirect_stdout(sys.stderr):
        TextProgressBar(futures, scheduler=client.scheduler.address, complete=True)


def run_jobs(client, jobs, settings, progress=False):
    """Runs the jobs (from the tool's plan) on the client's cluster and yields
    (index, FileResult) as each picture is done. With progress, Dask's
    progress bar is drawn on standard error first."""
    from distributed import as_completed

    run = "zkimgset-" + uuid.uuid4().hex[:12]
    keys = ["%s-%d" % (run, i) for i in range(len(jobs))]
    index = {key: i for i, key in enumerate(keys)}
    mailbox = {}
    with _runs_lock:
        _runs[run] = (client.id, mailbox)
        client.subscribe_topic(RESULTS_TOPIC, _take_result)
    try:
        # One graph for the run, sent once.
        futures = client.map(_correct, jobs, [settings] * len(jobs), key=keys, pure=False,
                             retries=0)
        if progress and futures:
            _progress_bar(client, futures)
        # The loop is the client's own: by default it would be the newest
        # client's, and a caller with two clients would wait forever.
        held = []
        for future in as_completed(futures, loop=client.loop):
            i = index[future.key]
            yield i, _result_of(future, mailbox.pop(future.key, None), jobs[i])
            held.append(future)
            if len(held) >= RELEASE_GROUP:
                held = _release(held)
        held = _release(held)
        for _ in as_completed(held, loop=client.loop):
            pass  # nothing of the run is still running when it ends
        _release(held)
    finally:
        with _runs_lock:
            del _runs[run]
            if all(owner != client.id for owner, _ in _runs.values()):
                client.unsubscribe_topic(RESULTS_TOPIC)


def autosetup(paths, out_dir, client=None, *, recursive=False, format=None, no_clobber=False,
              workers=None, progress=False, **options):
    """Corrects the pictures of paths (files, or folders of pictures) into
    out_dir on a Dask cluster and returns their FileResults: those skipped by
    the plan first, then one for each picture in the order of the plan.

    client: a ``distributed.Client``; None starts a LocalCluster of
    `workers` processes for the call. recursive, format, no_clobber and the
    options of ``zkimgset.settings()`` are the tool's. A picture that fails
    has status "failed" and its reason; nothing is raised for it.
    """
    settings = zkimgset.settings(**options)
    jobs, skipped = plan_folder_run(paths, out_dir, format=format, recursive=recursive,
                                    no_clobber=no_clobber)
    results = [_zkimgset.skipped(path, reason) for path, reason in skipped]
    done = [None] * len(jobs)
    if jobs:
        with cluster_client(client, workers=workers or min(len(jobs), os.cpu_count() or 1)) as c:
            for i, result in run_jobs(c, jobs, settings, progress=progress):
                done[i] = result
    return results + done


def plan_folder_run(paths, out_dir, *, format=None, recursive=False, no_clobber=False):
    """The tool's plan of a run into out_dir (its folders made): the jobs, and
    the inputs skipped with their reasons."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        paths = [paths]
    inputs = [os.fsdecode(os.fspath(p)) for p in paths]
    out_dir = os.fsdecode(os.fspath(out_dir))
    jobs, skipped = _zkimgset.plan(inputs, "folder", out_dir, format, recursive, no_clobber)
    for folder in {out_dir} | {os.path.dirname(job.output) or "." for job in jobs}:
        _zkimgset.make_folders(folder)
    return jobs, skipped
