#!/usr/bin/env python3
"""Usage: check_install.py CASE BUILD LOMIX

Installs the library from the build folder BUILD into a temporary folder, moves that folder, uses the
library from there as CASE says, and compares the examples' pictures with those of the command LOMIX.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
EXAMPLES = ROOT / "examples"
PRESET, FPS, FRAMES = "weak-aerial", 24, 3
C_FLAGS = ["-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Werror"]


def run(*command, **options):
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit code {done.returncode}\n{done.stdout}")
    return done.stdout


def same(first, second):
    if first.read_bytes() != second.read_bytes():
        sys.exit(f"{first.name} differs from {second.name}")


class Installation:
    def __init__(self, folder, build, lomix):
        self.folder, self.build, self.lomix = folder, build, lomix
        self.prefix = folder / "moved" / "prefix"
        for component in ("library", "development"):
            run("cmake", "--install", build, "--prefix", folder / "first", "--component", component)
        self.prefix.parent.mkdir()
        (folder / "first").rename(self.prefix)
        (self.shared,) = self.prefix.rglob("liblomix.so.2")
        (self.static,) = self.prefix.rglob("liblomix.a")
        self.environment = os.environ | {"LD_LIBRARY_PATH": str(self.shared.parent),
                                         "PKG_CONFIG_PATH": str(self.shared.parent / "pkgconfig")}
        self.card = folder / "card.ppm"
        run(lomix, "testcard", self.card, "--size", "333x222")

    def expected(self, time):
        """The command's picture at a time."""
        file = self.folder / f"expected-{time.replace('/', '-')}.ppm"
        run(self.lomix, "render", self.card, file, "--preset", PRESET, "--time", time, "--quiet")
        if file.read_bytes() == self.card.read_bytes():
            sys.exit(f"{file.name}: the preset draws nothing")
        return file

    def check_ppm(self, program):
        output = self.folder / "output.ppm"
        run(program, self.card, output, PRESET, "1.5", env=self.environment)
        same(output, self.expected("1.5"))
        for arguments, message in (([self.card, output, "weak-areal", "1"], "weak-aerial"),
                                   ([self.folder / "none.ppm", output, PRESET, "1"], "cannot read")):
            wrong = subprocess.run([program, *arguments], env=self.environment, text=True,
                                   capture_output=True)
            if wrong.returncode != 1 or message not in wrong.stderr:
                sys.exit(f"{arguments}: exit code {wrong.returncode}, {wrong.stderr}")

    def check_film(self, *command):
        run(*command, env=self.environment)
        for number in range(FRAMES):
            same(self.folder / f"film.{number:04}.ppm", self.expected(f"{number}/{FPS}"))

    def check_package(self, static):
        project = self.folder / "examples"
        run("cmake", "-G", "Ninja", "-S", EXAMPLES, "-B", project, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DLOMIX_EXAMPLES_STATIC={'ON' if static else 'OFF'}")
        run("cmake", "--build", project)
        # The package of this build, not one of the system.
        cache = (project / "CMakeCache.txt").read_text(encoding="utf-8")
        if f"Lomix_DIR:PATH={self.prefix}/" not in cache:
            sys.exit("CMake found another Lomix")
        self.check_linked(project / "ppm", static)
        self.check_ppm(project / "ppm")
        self.check_film(project / "frames_on_threads", self.card, self.folder / "film", PRESET,
                        FRAMES, FPS, 3)

    def check_linked(self, program, static):
        needed = "liblomix.so.2" in run("readelf", "--dynamic", program)
        if needed == static:
            sys.exit(f"{program} is linked with the other library")

    def check_pkgconfig(self, static):
        flags = ["--static"] if static else []
        if static:
            for file in self.shared.parent.glob("liblomix.so*"):
                file.unlink()
        words = run("pkg-config", "--cflags", "--libs", *flags, "lomix", env=self.environment).split()
        if static:
            words.append("-DLOMIX_STATIC")
        program = self.folder / "ppm"
        run("cc", *C_FLAGS, EXAMPLES / "ppm.c", "-o", program, *words)
        self.check_linked(program, static)
        self.check_ppm(program)

    def check_document(self):
        """The programs of docs/embedding.md compile as they are and run."""
        text = (ROOT / "docs/embedding.md").read_text(encoding="utf-8")
        programs = [code for code in re.findall(r"^```c\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)
                    if "int main" in code]
        if not programs:
            sys.exit("docs/embedding.md: no program was found")
        words = run("pkg-config", "--cflags", "--libs", "lomix", env=self.environment).split()
        for code in programs:
            source = self.folder / "document.c"
            source.write_text(code, encoding="utf-8")
            run("cc", *C_FLAGS, source, "-o", self.folder / "document", *words)
            run(self.folder / "document", cwd=self.folder, env=self.environment)


def check_subproject(folder):
    """A project that adds the sources gets the library and nothing else, and keeps its own settings."""
    (folder / "CMakeLists.txt").write_text(f"""
cmake_minimum_required(VERSION 3.22)
project(Around LANGUAGES C CXX)
set(CMAKE_CXX_STANDARD 17)
add_subdirectory({ROOT} lomix)
foreach(name CMAKE_RUNTIME_OUTPUT_DIRECTORY CMAKE_CXX_COMPILER_LAUNCHER CMAKE_CXX_VISIBILITY_PRESET)
  if(DEFINED ${{name}})
    message(FATAL_ERROR "${{name}} is set")
  endif()
endforeach()
get_directory_property(options COMPILE_OPTIONS)
if(options OR NOT CMAKE_CXX_STANDARD EQUAL 17)
  message(FATAL_ERROR "flags are changed: ${{options}}")
endif()
foreach(target lomix Lomix lomix_resource lomix_bench lomix_host lomix_engine_tests)
  if(TARGET ${{target}})
    message(FATAL_ERROR "${{target}} is built")
  endif()
endforeach()
add_executable(ppm {EXAMPLES}/ppm.c)
target_link_libraries(ppm PRIVATE Lomix::lomix)
add_executable(ppm_static {EXAMPLES}/ppm.c)
target_link_libraries(ppm_static PRIVATE Lomix::lomix_static)
""", encoding="utf-8")
    run("cmake", "-G", "Ninja", "-S", folder, "-B", folder / "build")
    help_text = run("cmake", "--build", folder / "build", "--target", "help")
    if "liblomix.so" not in help_text:
        sys.exit("the library is not among the targets")
    rules = (folder / "build/lomix/cmake_install.cmake").read_text(encoding="utf-8")
    if "lomix.h" in rules:
        sys.exit("the library is installed with the project around it")


def check_command(folder, build):
    """The command's component has the command, its presets, the browser page where it was built, completion
    scripts, manual page and metadata."""
    prefix = folder / "command"
    run("cmake", "--install", build, "--prefix", prefix, "--component", "command")
    share = prefix / "share"
    metainfo = "metainfo/org.lomix.lomix.metainfo.xml"
    presets = {f"lomix/presets/{file.name}" for file in (ROOT / "presets").glob("*.json")}
    page = {f"lomix/web/{file.name}": file for file in (ROOT / "dist/web").glob("*")}
    wanted = presets | page.keys() | {"bash-completion/completions/lomix", "zsh/site-functions/_lomix",
                        "fish/vendor_completions.d/lomix.fish", "man/man1/lomix.1", metainfo}
    found = {file.relative_to(share).as_posix() for file in share.rglob("*") if file.is_file()}
    if found != wanted:
        sys.exit(f"share: missing {sorted(wanted - found)}, too many {sorted(found - wanted)}")
    # They are this command's.
    run(prefix / "bin/lomix", "shell-files", folder / "again")
    for name, file in page.items():
        same(share / name, file)
    for file in wanted - presets - page.keys() - {metainfo}:
        same(share / file, folder / "again" / file)


def main():
    case, build, lomix = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        if case == "subproject":
            check_subproject(folder)
            return
        if case == "command":
            check_command(folder, build)
            return
        installed = Installation(folder, build, lomix)
        if case.startswith("package_"):
            installed.check_package(case.endswith("static"))
        elif case.startswith("pkgconfig_"):
            installed.check_pkgconfig(case.endswith("static"))
        elif case == "python":
            installed.check_film(sys.executable, EXAMPLES / "lomix_frames.py", installed.shared,
                                 installed.card, folder / "film", PRESET, FRAMES, FPS)
        elif case == "document":
            installed.check_document()
        else:
            sys.exit(f"there is no case '{case}'")


if __name__ == "__main__":
    main()
