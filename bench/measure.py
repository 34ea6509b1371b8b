#!/usr/bin/env python3
"""Times the workloads for the engine, php-cgi and the C floor; called by bench/run.

Usage: measure.py WORKDIR BENCHDIR [WORKLOAD...]

WORKDIR holds sorn (with sorn.conf beside it and the scripts under site/), php/ and
floor. Every command runs as a CGI program with a clean environment. Before timing,
each page's body is compared with BENCHDIR/expected/WORKLOAD.txt.

Timing: hyperfine runs all of one command's runs before the next command's, so the
commands take turns here instead: ROUNDS rounds, each giving every command one short
hyperfine batch (order rotated each round); the median is taken over all runs. The
batches are kept to ten runs: on a shared virtual machine the speed of the host
drifts within seconds, and a batch of forty could fall into a slow spell that the
command it is compared with missed. Peak
resident memory is GNU time's %M (ru_maxrss), the largest of three runs. (ru_maxrss of
a child forked straight from Python would include Python's own pages from before exec.)
"""
import json, os, statistics, subprocess, sys, tempfile, time

ROUNDS = int(os.environ.get("BENCH_ROUNDS", "20"))
BUDGET = float(os.environ.get("BENCH_SECONDS", "5"))  # seconds per command and workload
WORKLOADS = ["hello", "loop", "funcs", "strings", "page", "findkey"]
# The most each workload may take, as a share of php-cgi's time.
PHP_TARGET = {"loop": 1.0, "funcs": 0.5, "strings": 1.0, "page": 0.5}
FLOOR_TARGET = 1.2  # hello against the C floor


def cgi_env(extra):
    env = {"PATH": "/usr/bin:/bin", "GATEWAY_INTERFACE": "CGI/1.1", "REQUEST_METHOD": "GET",
           "QUERY_STRING": "", "SERVER_NAME": "localhost", "SERVER_PORT": "80",
           "SERVER_PROTOCOL": "HTTP/1.0", "REMOTE_ADDR": "127.0.0.1", "TZ": "UTC"}
    env.update(extra)
    return env


def commands(work, workload):
    """(label, argv, environment) of each program that serves this workload."""
    out = [("engine", [os.path.join(work, "sorn")], cgi_env({"PATH_INFO": "/%s.sn" % workload,
                                                               "SCRIPT_NAME": "/sorn"})),
           ("php-cgi", ["/usr/bin/php-cgi"],
            cgi_env({"SCRIPT_FILENAME": os.path.join(work, "php", workload + ".php"),
                     "SCRIPT_NAME": "/%s.php" % workload, "REDIRECT_STATUS": "200"}))]
    if workload == "hello":
        out.append(("floor", [os.path.join(work, "floor")], cgi_env({})))
    return out


def run_once(argv, env):
    """Runs one request; returns (stdout bytes, exit status, seconds)."""
    start = time.perf_counter()
    p = subprocess.run(argv, env=env, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                       stderr=subprocess.DEVNULL, timeout=120)
    return p.stdout, p.returncode, time.perf_counter() - start


def peak_rss(argv, env):
    """Peak resident set of one request in KiB, by GNU time (whose own share is ~1 MB)."""
    with tempfile.NamedTemporaryFile() as f:
        subprocess.run(["/usr/bin/time", "-f", "%M", "-o", f.name] + argv, env=env,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=120)
        return int(open(f.name).read().split()[-1])


def body(raw):
    text = raw.decode("utf-8", "replace").replace("\r\n", "\n")
    return text.split("\n\n", 1)[1] if "\n\n" in text else text


def hyperfine_batch(argv, env, runs, warmup):
    with tempfile.NamedTemporaryFile(suffix=".json") as js:
        subprocess.run(["hyperfine", "-N", "-i", "--style", "none", "--warmup", str(warmup),
                        "--runs", str(runs), "--export-json", js.name, "--", " ".join(argv)],
                       env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       check=True, timeout=600)
        return json.load(open(js.name))["results"][0]["times"]


def cut(text, limit=400):
    return text if len(text) <= limit else text[:limit] + "..."


def fmt_ms(s):
    return "%.1f" % (s * 1000) if s >= 0.01 else "%.2f" % (s * 1000)


def main():
    work, benchdir = sys.argv[1], sys.argv[2]
    chosen = sys.argv[3:] or WORKLOADS
    rows, notes, misses = [], [], []
    hello_floor = None
    # The floor is measured with hello; findkey is held against it.
    if "findkey" in chosen and "hello" in chosen:
        chosen = ["hello"] + [w for w in chosen if w != "hello"]
    for w in chosen:
        expected = open(os.path.join(benchdir, "expected", w + ".txt"), encoding="utf-8").read()
        cmds = commands(work, w)
        ok, probe, rss, wrong = {}, {}, {}, []
        for label, argv, env in cmds:
            raw, status, secs = run_once(argv, env)
            got = body(raw)
            ok[label], probe[label] = got == expected, secs
            if not ok[label]:
                wrong.append((label, status, got))
        engine_out = next((got for label, _, got in wrong if label == "engine"), "")
        if "undefined function" in engine_out:
            notes.append("%s: skipped: the engine lacks built-in functions that "
                         "bench/scripts/%s.sn calls:\n    %s" % (w, w, engine_out.strip()[:300]))
            continue
        for label, status, got in wrong:
            notes.append("%s/%s: wrong output (exit %d)\n    expected: %r\n    actual:   %r"
                         % (w, label, status, cut(expected), cut(got)))
        for label, argv, env in cmds:
            rss[label] = max(peak_rss(argv, env) for _ in range(3))
        times = {label: [] for label, _, _ in cmds}
        runs = {label: max(2, min(10, int(BUDGET / ROUNDS / max(probe[label], 1e-4))))
                for label, _, _ in cmds}
        for r in range(ROUNDS):
            order = cmds[r % len(cmds):] + cmds[:r % len(cmds)]
            for label, argv, env in order:
                times[label] += hyperfine_batch(argv, env, runs[label],
                                                1 if probe[label] < 0.2 else 0)
        med = {label: statistics.median(t) for label, t in times.items()}
        rows.append((w, med, rss, {l: len(t) for l, t in times.items()}, ok))
        e = med["engine"]
        if "floor" in med:
            hello_floor = med["floor"]
        if w == "findkey":
            # One record found by key in a 100,000-record indexed table.
            if e > 0.25 * med["php-cgi"]:
                misses.append("findkey: engine %.3f x php-cgi+SQLite (target <= 0.25)"
                              % (e / med["php-cgi"]))
            if hello_floor is None:
                notes.append("findkey: run with hello to compare with the C floor")
            elif e > 3 * hello_floor:
                misses.append("findkey: engine %.2f x the C floor's hello (target <= 3)"
                              % (e / hello_floor))
        if "floor" in med and e > FLOOR_TARGET * med["floor"]:
            misses.append("%s: engine %.2f x the C floor (target <= %.1f)"
                          % (w, e / med["floor"], FLOOR_TARGET))
        if w in PHP_TARGET and e > PHP_TARGET[w] * med["php-cgi"]:
            misses.append("%s: engine %.2f x php-cgi (target <= %.1f)"
                          % (w, e / med["php-cgi"], PHP_TARGET[w]))
        if rss["engine"] >= 8 * 1024:
            misses.append("%s: engine peak RSS %.1f MB (target < 8 MB)" % (w, rss["engine"] / 1024))

    print()
    print("Median wall time per request (ms), CGI environment, %d interleaved rounds" % ROUNDS)
    head = "%-8s %10s %10s %9s %13s %13s %10s %10s %10s" % (
        "workload", "engine", "php-cgi", "floor", "engine/floor", "engine/php", "RSS eng",
        "RSS php", "RSS floor")
    print(head)
    print("-" * len(head))
    for w, med, rss, n, ok in rows:
        floor = med.get("floor")
        mark = lambda l: "" if ok[l] else "!"
        print("%-8s %10s %10s %9s %13s %13s %10s %10s %10s" % (
            w, fmt_ms(med["engine"]) + mark("engine"), fmt_ms(med["php-cgi"]) + mark("php-cgi"),
            fmt_ms(floor) + mark("floor") if floor else "-",
            "%.2f" % (med["engine"] / floor) if floor else "-",
            "%.3f" % (med["engine"] / med["php-cgi"]),
            "%.1f MB" % (rss["engine"] / 1024), "%.1f MB" % (rss["php-cgi"] / 1024),
            "%.1f MB" % (rss["floor"] / 1024) if "floor" in rss else "-"))
    print("(runs per median: %s; RSS = peak resident set, largest of 3 runs; "
          "! = output differed from bench/expected)" % ", ".join(
              "%s %s" % (w, "/".join(str(n[l]) for l in n)) for w, _, _, n, _ in rows))
    for note in notes:
        print(note)
    print("targets: hello <= %.1f x floor; %s; findkey <= 0.25 x php-cgi "
          "and <= 3 x the floor's hello; engine RSS < 8 MB" % (
              FLOOR_TARGET, ", ".join("%s <= %.1f x php-cgi" % kv for kv in PHP_TARGET.items())))
    for m in misses:
        print("  missed: " + m)
    if not misses:
        print("  all met")
    return 0


if __name__ == "__main__":
    sys.exit(main())
