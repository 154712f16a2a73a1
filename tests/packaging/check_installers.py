#!/usr/bin/env python3
"""Usage: check_installers.py

Runs the install scripts for Linux and macOS from folders that look like unpacked packages.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parent.parent.parent / "packaging"
NOBODY = 65534
MEDIA_CORE = "Library/Application Support/Adobe/Common/Plug-ins/7.0/MediaCore"


def snapshot(folder):
    """Every file and folder below a folder, with a file's contents."""
    return {str(f.relative_to(folder)): f.read_bytes() if f.is_file() else None for f in folder.rglob("*")}


class InstallerTest(unittest.TestCase):
    def setUp(self):
        self.work = pathlib.Path(tempfile.mkdtemp(prefix="a folder "))
        self.addCleanup(shutil.rmtree, self.work)
        self.work.chmod(0o755)
        self.package = self.work / "package 1"

    def add(self, *files, text="new"):
        for name in files:
            file = self.package / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(f"{text} {name}")

    def run_script(self, *arguments, expected=0, **options):
        done = subprocess.run([self.package / "install.sh", *arguments], capture_output=True, text=True, **options)
        self.assertEqual(done.returncode, expected, done.stderr)
        if expected:
            self.assertRegex(done.stderr, r"\Aerror: install\.sh: .*\(.*\)\n\Z")
        return done.stderr

    def unprivileged(self):
        return {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}


class LinuxTest(InstallerTest):
    def setUp(self):
        super().setUp()
        self.add("bin/lomix", "lib/lomix/Lomix.so", "lib/lomix/reference/Lomix.so", "lib/liblomix.so.2",
                 "include/lomix/lomix.h", "share/man/man1/lomix.1", "OFX/Plugins/Lomix.ofx.bundle/Info.plist",
                 "README.html", "LICENCES.txt")
        (self.package / "lib/liblomix.so").symlink_to("liblomix.so.2")
        shutil.copy(SCRIPTS / "linux/install.sh", self.package)
        self.prefix = self.work / "a prefix"

    def test_installs_every_file_and_the_chosen_module(self):
        for engine, module in (("rows", "lib/lomix/Lomix.so"), ("reference", "lib/lomix/reference/Lomix.so")):
            self.run_script("--engine", engine, self.prefix)
            self.assertEqual((self.prefix / "lib/lomix/Lomix.so").read_text(), f"new {module}")
        for name in ("bin/lomix", "lib/liblomix.so.2", "include/lomix/lomix.h", "share/man/man1/lomix.1"):
            self.assertEqual((self.prefix / name).read_text(), f"new {name}")
        self.assertTrue((self.prefix / "lib/liblomix.so").is_symlink())
        self.assertEqual((self.prefix / "share/doc/lomix/LICENCES.txt").read_text(), "new LICENCES.txt")

    def test_removal_leaves_what_was_there_before(self):
        for before in ([], ["share/man/man1/other.1", "lib/other.so"]):
            for name in before:
                (self.prefix / name).parent.mkdir(parents=True, exist_ok=True)
                (self.prefix / name).write_text("another program's")
            if before:
                (self.prefix / "share/man/empty").mkdir()
            found = snapshot(self.work)
            self.run_script(self.prefix)
            self.assertNotEqual(snapshot(self.work), found)
            self.run_script("--remove", self.prefix)
            self.assertEqual(snapshot(self.work), found)

    def test_an_update_removes_files_that_are_gone(self):
        self.add("share/lomix/presets/gone.json")
        self.run_script(self.prefix)
        (self.package / "share/lomix/presets/gone.json").unlink()
        self.add("bin/lomix", text="newer")
        self.run_script(self.prefix)
        self.assertEqual((self.prefix / "bin/lomix").read_text(), "newer bin/lomix")
        self.assertFalse((self.prefix / "share/lomix/presets/gone.json").exists())
        self.run_script("--remove", self.prefix)
        self.assertFalse(self.prefix.exists())

    def test_foreign_files_are_not_replaced(self):
        for name in ("bin/lomix", "lib/liblomix.so", "share/doc/lomix/README.html"):
            for make in (lambda file: file.write_text("foreign"), lambda file: file.symlink_to("nowhere"),
                         lambda file: file.mkdir()):
                with self.subTest(name):
                    file = self.prefix / name
                    file.parent.mkdir(parents=True)
                    make(file)
                    found = snapshot(self.work)
                    self.assertIn(f"'{file}' exists", self.run_script(self.prefix, expected=1))
                    self.assertEqual(snapshot(self.work), found)
                    shutil.rmtree(self.prefix)

    def test_refuses_and_says_why(self):
        file = self.work / "file"
        file.write_text("")
        for arguments, code, message in (
                (["--remove", self.prefix], 1, "not installed there"),
                (["--engine"], 2, "an engine is missing"),
                (["--engine", "--remove"], 2, "an engine is missing"),
                (["--engine", "fast"], 2, "no engine 'fast'"),
                (["--force"], 2, "'--force' is not known"),
                ([self.prefix, "second"], 2, "'second'"),
                ([file], 1, "is no folder")):
            with self.subTest(arguments):
                found = snapshot(self.work)
                self.assertIn(message, self.run_script(*arguments, expected=code))
                self.assertEqual(snapshot(self.work), found)

    def test_asks_for_sudo_where_it_may_not_write(self):
        self.prefix.mkdir(mode=0o555)
        self.assertIn("use sudo", self.run_script(self.prefix, expected=1, **self.unprivileged()))
        self.prefix.chmod(0o755)
        self.run_script(self.prefix)
        (self.prefix / "share/lomix/installed.txt").chmod(0o444)
        self.prefix.chmod(0o555)
        self.assertIn("use sudo", self.run_script("--remove", self.prefix, expected=1, **self.unprivileged()))


class MacTest(InstallerTest):
    def setUp(self):
        super().setUp()
        for bundle, identifier in (("Lomix.plugin", "org.lomix.Lomix"), ("Lomix.ofx.bundle", "org.lomix.openfx"),
                                   ("reference/Lomix.plugin", "org.lomix.Lomix")):
            self.add(f"{bundle}/Contents/MacOS/Lomix")
            (self.package / bundle / "Contents/Info.plist").write_text(f"<string>{identifier}</string>")
        shutil.copy(SCRIPTS / "macos/install.sh", self.package)
        self.root = self.work / "root"
        self.root.mkdir()
        self.options = {"env": os.environ | {"DESTDIR": str(self.root)}}
        self.target = self.root / MEDIA_CORE / "Lomix.plugin"
        self.ofx_target = self.root / "Library/OFX/Plugins/Lomix.ofx.bundle"

    def test_installs_the_chosen_module_and_removes_it(self):
        for arguments, source in (([], "Lomix.plugin"), (["--engine", "reference"], "reference/Lomix.plugin"),
                                  (["--engine", "rows"], "Lomix.plugin")):
            self.run_script(*arguments, **self.options)
            self.assertEqual((self.target / "Contents/MacOS/Lomix").read_text(),
                             f"new {source}/Contents/MacOS/Lomix")
            self.assertEqual(snapshot(self.ofx_target), snapshot(self.package / "Lomix.ofx.bundle"))
        self.run_script("--remove", **self.options)
        self.assertEqual([f for f in self.root.rglob("*") if "omix" in f.name], [])

    def test_foreign_bundles_are_not_replaced(self):
        for bundle in (self.target, self.ofx_target):
            (bundle / "Contents").mkdir(parents=True)
            (bundle / "Contents/Info.plist").write_text("<string>com.example.Lomix</string>")
            found = snapshot(self.root)
            for arguments in ([], ["--remove"]):
                self.assertIn(f"'{bundle}' is not Lomix", self.run_script(*arguments, expected=1, **self.options))
                self.assertEqual(snapshot(self.root), found)
            shutil.rmtree(bundle)

    def test_refuses_and_says_why(self):
        for arguments, code, message in ((["--remove"], 1, "not installed there"),
                                         (["--engine"], 2, "an engine is missing"),
                                         (["--engine", "fast"], 2, "'--engine fast' is not known")):
            self.assertIn(message, self.run_script(*arguments, expected=code, **self.options))
        self.root.chmod(0o555)
        self.assertIn("use sudo", self.run_script(expected=1, **self.options, **self.unprivileged()))
        self.assertEqual(snapshot(self.root), {})


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
