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
import uuid

import zkimgset
from zkimgset import _zkimgset

__all__ = ["autosetup", "run_jobs"]

# How often a task may be on a worker that dies before it fails, on the
# cluster started here: once is bad luck, twice is the picture.
ALLOWED_FAILURES = 1


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
    """One Dask task: one picture, in a worker process."""
    remove_leftovers(job.output)
    return _zkimgset.correct(job, settings)


def _reason(error):
    name = type(error).__name__
    if name == "KilledWorker":
        return "its worker died while correcting it, on every try (%s)" % name
    return "the task failed: %s: %s" % (name, error)


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
    with dask.config.set({"distributed.scheduler.allowed-failures": ALLOWED_FAILURES}):
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

    run = uuid.uuid4().hex[:12]
    futures = [
        client.submit(_correct, job, settings, key="zkimgset-%s-%d" % (run, i), pure=False,
                      retries=0)
        for i, job in enumerate(jobs)
    ]
    index = {f.key: i for i, f in enumerate(futures)}
    if progress and futures:
        _progress_bar(client, futures)
    # The results come with the futures as each is done: one fetch each
    # inside Dask's loop, not a blocking call per picture from this thread.
    # The loop is the client's own: by default it would be the newest
    # client's, and a caller with two clients would wait forever.
    done = as_completed(futures, loop=client.loop, with_results=True, raise_errors=False)
    for future, result in done:
        i = index[future.key]
        if future.status != "finished":  # the task's worker died, or Dask gave up on it
            # An error comes as (type, error, traceback), a cancelled task as its error.
            error = result[1] if isinstance(result, tuple) else result
            remove_leftovers(jobs[i].output)
            result = _zkimgset.failed(jobs[i].input, _reason(error))
        future.release()
        yield i, result


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
