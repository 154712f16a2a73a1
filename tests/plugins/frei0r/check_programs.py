#!/usr/bin/env python3
"""Usage: check_programs.py LOMIX FOLDER

Runs ffmpeg and melt with the frei0r plug-in in FOLDER and compares their frames with those of the command
LOMIX at the same times, byte by byte. Says what is skipped where a program is not installed, and exits
1 if a frame differs.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

# ffmpeg pads rows to whole 16 pixels and does not tell the plug-in, so other widths cannot work there.
WIDTH, HEIGHT, FRAMES = 336, 181, 50
RATE = (24000, 1001)
PRESET = "slipping-hold"  # Its keys hold until exactly 1 and 2 s.
PROFILE = f"""description=test
frame_rate_num={RATE[0]}
frame_rate_den={RATE[1]}
width=320
height=180
progressive=1
sample_aspect_num=1
sample_aspect_den=1
display_aspect_num=16
display_aspect_den=9
colorspace=709
"""


def run(*command, folder, **environment):
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace", cwd=folder,
                          env=os.environ | environment)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit code {done.returncode}\n{done.stdout}")
    return done.stdout


class Check:
    def __init__(self, lomix, plugins, folder):
        self.lomix, self.plugins, self.folder = lomix, {"FREI0R_PATH": str(plugins)}, folder

    def ffmpeg(self, *arguments, **environment):
        run("ffmpeg", "-v", "error", "-nostdin", "-y", *arguments, folder=self.folder, **environment)

    def hashes(self, pictures, first):
        text = run("ffmpeg", "-v", "error", "-start_number", first, "-i", pictures, "-pix_fmt", "rgba", "-f",
                   "framemd5", "-", folder=self.folder)
        found = [line.split(",")[-1].strip() for line in text.splitlines() if not line.startswith("#")]
        if len(found) != FRAMES or len(set(found)) < FRAMES // 2:
            sys.exit(f"{pictures}: {len(found)} frames, of which {len(set(found))} differ")
        return found

    def expect(self, source, drawn, look):
        """Frames drawn.NNNN.png, counted from 1, are those of the command; source: a picture or '####'."""
        expected = f"{drawn}-expected.####.png"
        run(self.lomix, "render", source, expected, *look, "--frames", f"0-{FRAMES - 1}", "--fps",
            f"{RATE[0]}/{RATE[1]}", "--quiet", folder=self.folder)
        pairs = zip(self.hashes(f"{drawn}.%04d.png", 1),
                    self.hashes(expected.replace("####", "%04d"), 0))
        wrong = [frame for frame, (one, other) in enumerate(pairs) if one != other]
        if wrong:
            sys.exit(f"{drawn}: frames {wrong} are not the command's")

    def check_ffmpeg(self):
        rate = f"{RATE[0]}/{RATE[1]}"
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r={rate},format=rgba",
                    "-frames:v", FRAMES, "-start_number", 0, "clip.%04d.png")
        for name, filters, look in (
                ("preset", f"frei0r=lomix:{PRESET}|y", ["--preset", PRESET]),
                ("values", "frei0r=filter_name=lomix:filter_params='Noise=30, Scan Distortion=20|y'",
                 ["--set", "Noise=30", "--set", "Scan Distortion=20"]),
                ("positions", "frei0r=lomix:|y|0|0|0.2|0.15|0.2", ["--set", "Distortion Mode=Tile",
                 "--set", "Signal Distortion=15", "--set", "Scan Distortion=20"])):
            self.ffmpeg("-framerate", rate, "-i", "clip.%04d.png", "-vf", filters, "-pix_fmt", "rgba",
                        f"{name}.%04d.png", **self.plugins)
            self.expect("clip.####.png", name, look)
        return f"ffmpeg: {3 * FRAMES} frames are the command's."

    def check_melt(self):
        (self.folder / "profile").write_text(PROFILE, encoding="ascii")
        query = run("melt", "-query", "filter=frei0r.lomix", folder=self.folder, **self.plugins)
        for line in ("title: Lomix", "title: Look", "title: Blend w/Original", "identifier: 14"):
            if line not in query:
                sys.exit(f"melt -query does not print '{line}':\n{query}")
        picture = "clip.0007.png"
        for name, filters in (("plain", []), ("filtered", ["-filter", "frei0r.lomix", f"0={PRESET}"])):
            # Four threads: each has an instance of its own.
            run("melt", "-profile", "profile", picture, f"out={FRAMES - 1}", *filters, "-consumer",
                f"avformat:{name}.%04d.png", "vcodec=png", "pix_fmt=rgba", "real_time=-4",
                folder=self.folder, **self.plugins)
        self.expect("plain.0001.png", "filtered", ["--preset", PRESET])
        return f"melt: {FRAMES} frames are the command's."


def main():
    lomix, plugins = sys.argv[1:]
    for program in ("ffmpeg", "melt"):
        if shutil.which(program) is None:
            print(f"SKIPPED (frei0r): {program} is not installed (run tools/setup.sh)")
            if program == "ffmpeg":
                return
    with tempfile.TemporaryDirectory() as scratch:
        check = Check(lomix, plugins, pathlib.Path(scratch))
        print(check.check_ffmpeg())
        if shutil.which("melt") is not None:
            print(check.check_melt())


if __name__ == "__main__":
    main()
