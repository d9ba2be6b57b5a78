"""python3 -m zkimgset: the command-line tool's autosetup, in this process or
on a Dask cluster.

Both commands plan, correct, write and report with the tool's own code, so
they print what ``zkimgset autosetup`` prints (the same lines, counts and
JSON Lines) and write the same bytes. Exit status: 0 when no picture failed,
1 when any failed, 2 for a usage mistake.
"""

import argparse
import os
import sys
import time

import zkimgset
from zkimgset import _zkimgset

USAGE = """\
Usage: python3 -m zkimgset COMMAND [ARGS...]

Commands:
  autosetup IN... -o OUT|--out-dir DIR|--in-place   correct pictures in this process
  batch IN... --out-dir DIR [--scheduler ADDRESS]   correct pictures on a Dask cluster

Run 'python3 -m zkimgset COMMAND --help' for a command's options.
"""

EXIT_FAILED = 1
EXIT_USAGE = 2


class UsageError(Exception):
    pass


class _Parser(argparse.ArgumentParser):
    def error(self, message):
        raise UsageError(message)


def _hex(text):
    return int(text, 16)


def _parser(command):
    p = _Parser(prog="python3 -m zkimgset " + command, add_help=True)
    p.add_argument("inputs", nargs="+", metavar="IN",
                   help="pictures (JPEG, PNG, TIFF) or folders of pictures")
    if command == "autosetup":
        where = p.add_mutually_exclusive_group(required=True)
        where.add_argument("-o", "--output", help="the corrected picture (one input only)")
        where.add_argument("--out-dir", help="write each picture under its own name into DIR")
        where.add_argument("--in-place", action="store_true",
                           help="replace each input with its corrected picture")
        p.add_argument("--backup", action="store_true",
                       help="with --in-place: keep each original as NAME~")
        p.add_argument("--suffix", help="the backup's suffix instead of ~")
    else:
        p.add_argument("--out-dir", required=True,
                       help="write each picture under its own name into DIR")
        p.add_argument("--scheduler", metavar="ADDRESS",
                       help="a Dask scheduler (tcp://HOST:PORT); default: a local cluster")
        p.add_argument("--workers", type=int, metavar="N",
                       help="worker processes of the local cluster (default: one a core)")
    p.add_argument("--format", choices=["jpeg", "jpg", "png", "tiff", "tif"])
    p.add_argument("--quality", type=int, default=95, help="JPEG quality, 1..100 (default 95)")
    p.add_argument("--no-clobber", action="store_true", help="skip pictures whose output exists")
    p.add_argument("--force", action="store_true",
                   help="correct pictures already marked as corrected")
    p.add_argument("-r", "--recursive", action="store_true",
                   help="pictures in sub-folders of a folder IN too")
    p.add_argument("--mode", type=_hex, default=zkimgset.FULL_ANALYSIS,
                   help="analysis stages, setup_mode bits (default 0xDF)")
    p.add_argument("--level", type=int, default=100, help="brightness, 70..130 (default 100)")
    p.add_argument("--contrast", type=int, default=0, help="contrast, -30..30 (default 0)")
    p.add_argument("--saturation", type=int, default=0, help="saturation, -150..150 (default 0)")
    p.add_argument("--blue-shift", type=int, default=0,
                   help="colour shift toward blue (or yellow, below 0), -7..7 (default 0)")
    p.add_argument("--red-shift", type=int, default=0,
                   help="colour shift toward red (or cyan, below 0), -7..7 (default 0)")
    p.add_argument("--no-exif", action="store_true",
                   help="ignore the file's Exif shooting values")
    talk = p.add_mutually_exclusive_group()
    talk.add_argument("-q", "--quiet", action="store_true", help="errors only")
    talk.add_argument("-v", "--verbose", action="store_true",
                      help="what each picture's correction did, in words")
    p.add_argument("--json", action="store_true",
                   help="one JSON object a picture, then a summary object")
    return p


def _emit(texts):
    out, err = texts
    if out:
        sys.stdout.write(out)
        sys.stdout.flush()
    if err:
        sys.stderr.write(err)
        sys.stderr.flush()


def _settings(o):
    if o.command == "autosetup":
        if (o.backup or o.suffix is not None) and not o.in_place:
            raise UsageError("--backup and --suffix go with --in-place")
        if o.in_place and o.format:
            raise UsageError("--in-place keeps each picture's format; --format does not go with it")
        if o.in_place and o.no_clobber:
            raise UsageError("--no-clobber does not go with --in-place, which replaces every input")
    if "-" in o.inputs or getattr(o, "output", None) == "-":
        raise UsageError("standard input and output are the command-line tool's: "
                         "zkimgset autosetup - -o -")
    try:
        return zkimgset.settings(
            mode=o.mode, level=o.level, contrast=o.contrast, saturation=o.saturation,
            blue_shift=o.blue_shift, red_shift=o.red_shift,
            exif=not o.no_exif, quality=o.quality, force=o.force,
            backup=getattr(o, "backup", False) or getattr(o, "suffix", None) is not None,
            suffix=getattr(o, "suffix", None) or "~")
    except ValueError as e:
        raise UsageError(str(e)) from None


def _plan(o):
    if o.command == "batch" or o.out_dir is not None:
        destination, target = "folder", o.out_dir
    elif o.in_place:
        destination, target = "in_place", ""
    else:
        destination, target = "file", o.output
    try:
        jobs, skipped = _zkimgset.plan(o.inputs, destination, target, o.format, o.recursive,
                                       o.no_clobber)
    except ValueError as e:
        raise UsageError(str(e)) from None
    if not jobs and not skipped:
        raise UsageError("no pictures in " + o.inputs[0])
    if destination == "folder":
        for folder in {target} | {job.output.rpartition("/")[0] or "." for job in jobs}:
            _zkimgset.make_folders(folder)
    return jobs, skipped


def _check_library(settings):
    """The tool stores the adjustments before any work, and stops when the
    library refuses them."""
    _zkimgset._store_adjustments(settings)


def _run(o):
    start = time.monotonic()
    settings = _settings(o)
    jobs, skipped = _plan(o)
    _check_library(settings)
    verbosity = "quiet" if o.quiet else "verbose" if o.verbose else "normal"
    terminal = not o.json and not o.quiet and sys.stderr.isatty()
    if o.command == "autosetup":
        progress = "bar" if terminal else "lines"
    else:
        # Dask's own bar is drawn while the cluster works; failures are listed
        # at the end, as the tool's bar lists them.
        progress = "none" if terminal else "lines"
    run = _zkimgset.TextRun(o.command, o.json, verbosity, len(jobs), progress)
    _emit(run.skipped_before(skipped))
    if o.command == "autosetup":
        for job in jobs:
            _emit(run.picture(_zkimgset.correct(job, settings)))
    elif jobs:
        from zkimgset import dask as zkdask

        workers = o.workers or min(len(jobs), os.cpu_count() or 1)
        with zkdask.cluster_client(scheduler=o.scheduler, workers=workers) as client:
            for _, result in zkdask.run_jobs(client, jobs, settings, progress=terminal):
                _emit(run.picture(result))
    _emit(run.finish(len(jobs), time.monotonic() - start, settings.text))
    return EXIT_FAILED if run.counts["failed"] else 0


def main(argv=None):
    args = sys.argv[1:] if argv is None else list(argv)
    if not args or args[0] in ("-h", "--help"):
        (sys.stdout if args else sys.stderr).write(USAGE)
        return 0 if args else EXIT_USAGE
    command = args[0]
    if command not in ("autosetup", "batch"):
        sys.stderr.write("zkimgset: unknown command '%s'\nTry 'python3 -m zkimgset --help'.\n"
                         % command)
        return EXIT_USAGE
    try:
        options = _parser(command).parse_args(args[1:])
        options.command = command
        return _run(options)
    except UsageError as e:
        sys.stderr.write("zkimgset %s: %s\nTry 'python3 -m zkimgset %s --help'.\n"
                         % (command, e, command))
        return EXIT_USAGE
    except zkimgset.ZKImgSetError as e:
        sys.stderr.write("zkimgset %s: %s\n" % (command, e))
        return EXIT_FAILED
    except KeyboardInterrupt:
        return 130
