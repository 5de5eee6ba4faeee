#!/usr/bin/env python3
"""Prints the per-test outcome of the Linux and the Windows runs side by side.

    compare-tests.py LINUX.xml WINDOWS.xml

Both files are CTest's JUnit output. Exits 1 when a test that ran on Windows
did not pass there; tests present on one platform only are listed with the
reason their absence is documented (in the CMake files that leave them out).
"""
import sys
import xml.etree.ElementTree as ET


def outcomes(path):
    results = {}
    for case in ET.parse(path).getroot().iter("testcase"):
        status = case.get("status", "run")
        if case.find("failure") is not None or status == "fail":
            outcome = "FAILED"
        elif case.find("skipped") is not None or status in ("notrun", "disabled"):
            outcome = "skipped"
        else:
            outcome = "passed"
        results[case.get("name")] = outcome
    return results


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    linux, windows = outcomes(sys.argv[1]), outcomes(sys.argv[2])
    # The Wine prefixes the Windows run sets up are fixtures, not tests.
    windows = {name: outcome for name, outcome in windows.items() if not name.endswith("WinePrefix") and
               name != "WinePrefix.Template"}
    names = sorted(set(linux) | set(windows))
    width = max(len(name) for name in names)
    counts = {"same": 0, "linux only": 0, "windows only": 0, "differs": 0}
    print(f"{'test':<{width}}  {'Linux':<8}  Windows")
    for name in names:
        left, right = linux.get(name, "-"), windows.get(name, "-")
        if left == "-":
            counts["windows only"] += 1
        elif right == "-":
            counts["linux only"] += 1
        elif left == right:
            counts["same"] += 1
        else:
            counts["differs"] += 1
        print(f"{name:<{width}}  {left:<8}  {right}")
    print()
    print(f"{len(names)} tests: {counts['same']} alike on both platforms, {counts['differs']} differ, "
          f"{counts['linux only']} on Linux only, {counts['windows only']} on Windows only")
    failed = [name for name, outcome in windows.items() if outcome == "FAILED"]
    if failed:
        print("failed on Windows: " + ", ".join(failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
