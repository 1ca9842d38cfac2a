#!/usr/bin/env python3
"""Runs the benchmark programs side by side and prints one table (see
bench/README.md). Called by bench/run-all.sh after it has built them."""
import argparse
import datetime
import os
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def run(command):
    """Runs `command` under GNU time: (the "key value" pairs it printed, wall microseconds, peak
    resident set in KiB). A launcher as small as time keeps the child's peak its own (the kernel
    counts the peak of the process the child was forked from too)."""
    start = time.perf_counter()
    process = subprocess.Popen(["/usr/bin/time", "-f", "rkbench_rss_kb %M"] + command, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE)
    output = b""
    while True:
        chunk = process.stdout.read(1 << 20)
        if not chunk:
            break
        if len(output) < 4096:
            output += chunk[:4096]
    errors = process.stderr.read()
    process.wait()
    wall = (time.perf_counter() - start) * 1e6
    if process.returncode != 0:
        raise SystemExit(f"run-all: {' '.join(command)} failed with status {process.returncode}")
    text = output.decode(errors="replace")
    words = text.split()
    fields = {}
    for line in text.splitlines():
        parts = line.split()
        if len(parts) == 10 and parts[0] == "sort":
            fields[f"sort_line_{parts[1]}"] = (float(parts[3]), float(parts[5]), float(parts[9]))
    for key, value in zip(words[::2], words[1::2]):
        try:
            fields[key] = float(value)
        except ValueError:
            pass
    rss = [line.split()[1] for line in errors.decode(errors="replace").splitlines()
           if line.startswith("rkbench_rss_kb ")]
    return fields, wall, int(rss[-1]) if rss else 0


def listing_programs(bin_dir):
    """(name, command maker, whether it reports its own read time) of every listing program."""
    return [
        ("rpf_fso_get_local_fso", lambda folder: [f"{bin_dir}/rkcore-list-folder", "--free", folder], True),
        ("floor program", lambda folder: [f"{bin_dir}/rkcore-floor-listing", folder], True),
        ("ls -lU", lambda folder: ["ls", "-lU", "--color=never", folder], False),
        ("GIO file infos", lambda folder: [f"{bin_dir}/rkcore-gio-listing", folder], True),
        ("Qt QFileInfo", lambda folder: [f"{bin_dir}/rkcore-qt-listing", folder], True),
        ("Python os.scandir", lambda folder: [sys.executable, f"{ROOT}/bench/peers/scandir_listing.py", folder], True),
    ]


def spread(values, digits=2):
    values = sorted(values)
    return f"{statistics.median(values):.{digits}f} ({values[0]:.{digits}f}-{values[-1]:.{digits}f})"


def verdict(value, limit, at_most=True):
    met = value <= limit if at_most else value >= limit
    return ("<= " if at_most else ">= ") + f"{limit:g}: " + ("met" if met else "NOT met")


def measure_listings(bin_dir, sizes, rounds):
    programs = listing_programs(bin_dir)
    results = {}  # (size, program) -> list of (time us, rss kb, fields)
    for size in sizes:
        folder = f"/tmp/rkcore-bench-tree-{size}"
        subprocess.run([f"{bin_dir}/rkcore-make-listing-folder", folder, str(size)], check=True,
                       stdout=subprocess.DEVNULL)
        print(f"run-all: {size} entries, {rounds} rounds", file=sys.stderr)
        for _, make, _ in programs:  # warm the caches
            run(make(folder))
        for _ in range(rounds):
            for name, make, reports in programs:
                fields, wall, rss = run(make(folder))
                results.setdefault((size, name), []).append((fields["read_us"] if reports else wall, rss, fields))
    return programs, results


def print_listings(programs, results, sizes):
    print("Reading a folder into records: time of rpf_fso_get_local_fso / time of the peer, per round")
    print(f"{'entries':>9}  {'peer':<22} {'ratio median (min-max)':<24} {'rounds':>6} {'peer us/entry':>14}  target")
    for size in sizes:
        ours = [t for t, _, _ in results[(size, programs[0][0])]]
        print(f"{size:>9}  {'(rpf itself)':<22} {'':<24} {len(ours):>6} {statistics.median(ours) / size:>14.3f}")
        for name, _, _ in programs[1:]:
            theirs = [t for t, _, _ in results[(size, name)]]
            ratios = [a / b for a, b in zip(ours, theirs)]
            target = verdict(statistics.median(ratios), 1.1) if name == "floor program" and size >= 100000 else ""
            print(f"{size:>9}  {name:<22} {spread(ratios):<24} {len(ratios):>6} "
                  f"{statistics.median(theirs) / size:>14.3f}  {target}")
    print()
    big, small = max(sizes), sorted(sizes)[-2] if len(sizes) > 1 else None
    if small is not None:
        print(f"Memory kept per entry: peak RSS growth from {small:,} to {big:,} entries / {big - small:,}")
        for name, _, _ in programs:
            grow = (min(r for _, r, _ in results[(big, name)]) - min(r for _, r, _ in results[(small, name)]))
            per = grow * 1024 / (big - small)
            target = verdict(round(per), 400) if name == programs[0][0] else ""
            print(f"{'':>9}  {name:<22} {per:>8.0f} bytes  {target}")
        print()
    print("Deep free of the records: rpf_fso_destroy_deep time / read time, per round")
    for size in sizes:
        rows = results[(size, programs[0][0])]
        ratios = [f["free_us"] / f["read_us"] for _, _, f in rows]
        left = max(f["blocks_left"] for _, _, f in rows)
        target = verdict(statistics.median(ratios), 0.10) if size >= 100000 else ""
        print(f"{size:>9}  {'deep free':<22} {spread(ratios, 3):<24} {len(ratios):>6} "
              f"{'blocks left ' + str(int(left)):>14}  {target}")
    print()


def measure_urls(bin_dir, rounds, url_rounds):
    programs = [("rpf_url_new_from_string", "rkcore-url-rpf"), ("g_uri_parse", "rkcore-url-glib"),
                ("libcurl URL API", "rkcore-url-curl"), ("QUrl", "rkcore-url-qt")]
    programs = [(name, path) for name, path in programs if os.access(f"{bin_dir}/{path}", os.X_OK)]
    results = {}
    for _ in range(rounds):
        for name, path in programs:
            fields, _, _ = run([f"{bin_dir}/{path}", str(url_rounds)])
            results.setdefault(name, []).append(fields)
    return programs, results


def print_urls(programs, results):
    ours = results[programs[0][0]]
    print("URL texts (FTP, SFTP, AFP, SMB, file): time of the peer / time of rpf, per round (rpf is N times faster)")
    print(f"{'':>9}  {'peer':<22} {'parse: median (min-max)':<24} {'rounds':>6} {'peer ns/URL':>14}  target")
    print(f"{'':>9}  {'(rpf itself)':<22} {'':<24} {len(ours):>6} "
          f"{statistics.median(f['parse_ns'] for f in ours):>14.1f}")
    for name, _ in programs[1:]:
        theirs = results[name]
        ratios = [b["parse_ns"] / a["parse_ns"] for a, b in zip(ours, theirs)]
        print(f"{'':>9}  {name:<22} {spread(ratios):<24} {len(ratios):>6} "
              f"{statistics.median(f['parse_ns'] for f in theirs):>14.1f}  "
              f"{verdict(statistics.median(ratios), 3, at_most=False)}")
    print(f"{'':>9}  {'peer':<22} {'full text: median (min-max)':<24}")
    print(f"{'':>9}  {'(rpf itself)':<22} {'':<24} {len(ours):>6} "
          f"{statistics.median(f['text_ns'] for f in ours):>14.1f}")
    for name, _ in programs[1:]:
        theirs = results[name]
        ratios = [b["text_ns"] / a["text_ns"] for a, b in zip(ours, theirs)]
        print(f"{'':>9}  {name:<22} {spread(ratios):<24} {len(ratios):>6} "
              f"{statistics.median(f['text_ns'] for f in theirs):>14.1f}")
    traced = [f["traced_parse_ns"] / f["parse_ns"] for f in ours]
    print(f"{'':>9}  {'rpf, stream on (file)':<22} {spread(traced):<24} {len(traced):>6} "
          f"{statistics.median(f['traced_parse_ns'] for f in ours):>14.1f}  (its cost: traced / off)")
    missing = {"libcurl URL API"} - {name for name, _ in programs}
    if missing:
        print(f"{'':>9}  (not built: {', '.join(missing)}; install libcurl4-openssl-dev)")
    print()


def measure_objects(bin_dir, sizes, rounds):
    """Objects for every child of a folder (newFSOForLocalPath with its children, each identified)
    beside ls -lU, whole processes timed in turn; memory per child; the sorts of 100,000 children."""
    sizes = [size for size in sizes if size >= 100000] or sizes[-1:]
    empty = "/tmp/rkcore-bench-tree-empty"
    os.makedirs(empty, exist_ok=True)
    results = {}
    for size in sizes:
        folder = f"/tmp/rkcore-bench-tree-{size}"
        objects = [f"{bin_dir}/rkcore-object-folder", folder]
        listing = ["ls", "-lU", "--color=never", folder]
        run(objects), run(listing)  # warm the caches
        for _ in range(rounds):
            _, ours, rss = run(objects)
            _, theirs, _ = run(listing)
            results.setdefault(size, []).append((ours, theirs, rss))
    _, _, empty_rss = run([f"{bin_dir}/rkcore-object-folder", empty])
    sort_size = 100000 if 100000 in sizes else sizes[0]
    fields, _, _ = run([f"{bin_dir}/rkcore-object-folder", "--sort", f"/tmp/rkcore-bench-tree-{sort_size}"])
    return results, empty_rss, sort_size, fields


def print_objects(results, empty_rss, sort_size, fields):
    print("Objects of a folder's children, each identified: whole process time / ls -lU, per round")
    print(f"{'entries':>9}  {'peer':<22} {'ratio median (min-max)':<24} {'rounds':>6} {'ours us/entry':>14}  target")
    for size, rows in results.items():
        ratios = [ours / theirs for ours, theirs, _ in rows]
        target = verdict(statistics.median(ratios), 1.2) if size == 100000 else ""
        print(f"{size:>9}  {'ls -lU':<22} {spread(ratios):<24} {len(ratios):>6} "
              f"{statistics.median(o for o, _, _ in rows) / size:>14.3f}  {target}")
    for size, rows in results.items():
        per = (min(r for _, _, r in rows) - empty_rss) * 1024 / size
        target = verdict(round(per), 1024) if size == 100000 else ""
        print(f"{size:>9}  {'memory per child':<22} {per:>8.0f} bytes (peak RSS less the empty folder's)  {target}")
    print(f"Sorting {sort_size:,} children (best of 5): time of the sort / time of a plain sort of the bare keys")
    # The program prints "sort ATTRIBUTE objects_us T plain_us P ratio R naive_us N" lines; the parsed
    # pairs keep only the last of each key, so read them again here.
    for attribute, limit in (("name", 3), ("date", 2), ("size", 2)):
        line = fields.get(f"sort_line_{attribute}")
        if line is None:
            continue
        objects, plain, naive = line
        ratio = objects / plain
        print(f"{'':>9}  {'by ' + attribute:<22} {ratio:<24.2f} {5:>6} {objects / sort_size:>14.3f}  "
              f"{verdict(ratio, limit)}; a sort asking the pairwise comparator takes {naive / objects:.1f} times ours")
    print()


def measure_size_walk(bin_dir, rounds):
    """sizeObject of a 200,000-entry tree's top folder (one thread, hidden counts included) beside the
    floor walk and du -s, taken in turn in each round; the rkcore du tool beside du -s and
    du -s --apparent-size; 100,000 type lookups."""
    tree = "/tmp/rkcore-bench-sizetree"
    subprocess.run([f"{bin_dir}/rkcore-make-size-tree", tree, "200000"], check=True, stdout=subprocess.DEVNULL)
    programs = {
        "sizeObject": [f"{bin_dir}/rkcore-size-walk", tree],
        "sizeObject, 2 threads": [f"{bin_dir}/rkcore-size-walk", "--threads", "2", tree],
        "floor": [f"{bin_dir}/rkcore-floor-walk", tree],
        "du -s": ["du", "-s", tree],
        "rkcore du": [f"{bin_dir}/rkcore", "du", tree],
        "du -s --apparent-size": ["du", "-s", "--apparent-size", tree],
        "rkcore du --apparent": [f"{bin_dir}/rkcore", "du", "--apparent", tree],
    }
    for command in programs.values():  # warm the caches
        run(command)
    results = {}
    for _ in range(rounds):
        for name, command in programs.items():
            results.setdefault(name, []).append(run(command))
    types, _, _ = run([f"{bin_dir}/rkcore-size-walk", "--types", "100000"])
    return results, types


def print_size_walk(results, types):
    ours = results["sizeObject"]
    entries = ours[0][0]["entries"]
    print(f"The size walk: sizeObject of a tree's top folder ({entries:,.0f} entries), one thread, hidden counts "
          "included")
    print(f"{'':>9}  {'peer':<22} {'ratio median (min-max)':<24} {'rounds':>6} {'peer us/entry':>14}  target")
    floor = [f["walk_us"] for f, _, _ in results["floor"]]
    walk = [f["walk_us"] for f, _, _ in ours]
    ratios = [a / b for a, b in zip(walk, floor)]
    print(f"{'':>9}  {'floor (walk time)':<22} {spread(ratios):<24} {len(ratios):>6} "
          f"{statistics.median(floor) / entries:>14.3f}  {verdict(statistics.median(ratios), 1.5)}")
    for ours_name, peer in (("sizeObject", "du -s"), ("sizeObject, 2 threads", "du -s"), ("rkcore du", "du -s"),
                            ("rkcore du --apparent", "du -s --apparent-size")):
        mine = [wall for _, wall, _ in results[ours_name]]
        theirs = [wall for _, wall, _ in results[peer]]
        ratios = [a / b for a, b in zip(mine, theirs)]
        label = {"sizeObject": "du -s (whole process)", "sizeObject, 2 threads": "du -s (2 threads)",
                 "rkcore du": "du -s (rkcore du)", "rkcore du --apparent": "du --apparent-size"}[ours_name]
        print(f"{'':>9}  {label:<22} {spread(ratios):<24} {len(ratios):>6} "
              f"{statistics.median(theirs) / entries:>14.3f}  "
              f"{verdict(statistics.median(ratios), 1.0) if ours_name == 'sizeObject, 2 threads' else ''}")
    growth = max(f["walk_rss_growth_kb"] for f, _, _ in ours)
    print(f"{'':>9}  {'peak memory growth':<22} {growth / 1024:>8.2f} MiB during the walk  "
          f"{verdict(growth / 1024, 4)}")
    print(f"{'':>9}  {'typeForFileName':<22} {1e9 / types['ns_per_lookup']:>12,.0f} lookups/s "
          f"({types['ns_per_lookup']:.0f} ns each, 100,000 lookups)")
    print()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--bin", required=True)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--rounds", type=int)
    parser.add_argument("--sizes")
    options = parser.parse_args()
    sizes = [int(s) for s in (options.sizes or ("10000 100000" if options.quick else "10000 100000 1000000")).split()]
    rounds = options.rounds or (3 if options.quick else 5)
    started = time.time()
    listing = measure_listings(options.bin, sizes, rounds)
    urls = measure_urls(options.bin, rounds, 2000 if options.quick else 4000)
    objects = measure_objects(options.bin, sizes, rounds)
    size_walk = measure_size_walk(options.bin, rounds)
    print(f"RKCore benchmarks, {datetime.datetime.now():%Y-%m-%d %H:%M}, {os.cpu_count()} cores, "
          f"{os.uname().release}; programs in turn, warm caches, {rounds} rounds")
    print()
    print_listings(*listing, sizes)
    print_urls(*urls)
    print_objects(*objects)
    print_size_walk(*size_walk)
    print(f"({time.time() - started:.0f} s)")


if __name__ == "__main__":
    main()
