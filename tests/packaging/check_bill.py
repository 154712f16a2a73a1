#!/usr/bin/env python3
"""Usage: check_bill.py

Asks tools/describe_packages.py for what it cannot do: it fails with one line that names the cause.
"""
import pathlib
import subprocess
import sys
import tempfile

TOOL = pathlib.Path(__file__).resolve().parent.parent.parent / "tools/describe_packages.py"


def main():
    faults = []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for package in ("Lomix-1.2.2-win64.zip", "lomix_11.2.3-1_amd64.deb", "Lomix-1.2.3-amiga.zip"):
            (folder / package).write_bytes(b"")
        for arguments, cause in ((["bill", "1.2.3", "Lomix-1.2.2-win64.zip"], "of another version than 1.2.3"),
                                 (["bill", "1.2.3", "lomix_11.2.3-1_amd64.deb"], "of another version than 1.2.3"),
                                 (["bill", "1.2.3", "Lomix-1.2.3-amiga.zip"], "no kind of package"),
                                 (["bill", "1.2.3", "lomix_1.2.3-1_amd64.deb"], "No such file"),
                                 (["check", "missing"], "'readelf -d missing' failed")):
            run = subprocess.run([TOOL, *arguments], cwd=folder, capture_output=True, text=True, check=False)
            lines = run.stderr.splitlines()
            if (run.returncode, len(lines), run.stdout) != (1, 1, "") or cause not in lines[0]:
                faults.append(f"{' '.join(arguments)}: ended with {run.returncode} and said '{run.stderr}'")
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
