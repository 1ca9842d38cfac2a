#!/usr/bin/env python3
"""Python's reading of a folder: os.scandir, each entry's own status (and a
link's target status) kept with its name.
    scandir_listing.py FOLDER
Prints "entries N read_us T max_rss_kb R"."""
import os
import resource
import sys
import time


def main():
    if len(sys.argv) != 2:
        print("usage: scandir_listing.py FOLDER", file=sys.stderr)
        return 2
    start = time.perf_counter()
    kept = []
    with os.scandir(sys.argv[1]) as entries:
        for entry in entries:
            status = entry.stat(follow_symlinks=False)
            target = None
            if entry.is_symlink():
                try:
                    target = entry.stat()
                except OSError:
                    pass
            kept.append((entry.name, status, target))
    elapsed = (time.perf_counter() - start) * 1e6
    rss = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(f"entries {len(kept)} read_us {elapsed:.0f} max_rss_kb {rss}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
