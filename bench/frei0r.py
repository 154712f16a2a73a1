#!/usr/bin/env python3
"""Usage: bench/frei0r.py [--build FOLDER] [--turns N]

Times the frei0r plug-in, with every part of the effect on, in one process and in turns with the library that
draws the same frame on one thread, and with Debian's nosync0r, glitch0r and scanline0r where frei0r-plugins is
installed; then whole runs of ffmpeg. Verifies first that plug-in and library draw the same bytes. Prints the
least milliseconds a frame and their quotients, at 1920x1080 and 3840x2160. FOLDER: build/release.
"""
import argparse
import ctypes
import os
import pathlib
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
LOOK = ("Signal Distortion=15,Scan Distortion=20,Horizontal Sync=2,Vertical Sync=3,Bars Overlay=30,"
        "Noise=30,Scanline Overlay=30,Scanline Thickness=3,Blend w/Original=10")
OTHERS = ("nosync0r", "glitch0r", "scanline0r")


class Filter:
    """A frei0r plug-in with one instance."""

    def __init__(self, file, size, parameters=None):
        self.code = ctypes.CDLL(str(file), mode=os.RTLD_LOCAL)
        self.code.f0r_construct.restype = ctypes.c_void_p
        self.code.f0r_update.argtypes = [ctypes.c_void_p, ctypes.c_double, ctypes.c_void_p, ctypes.c_void_p]
        self.code.f0r_init()
        self.instance = ctypes.c_void_p(self.code.f0r_construct(*size))
        for index, text in (parameters or {}).items():
            value = ctypes.c_char_p(text.encode())
            self.code.f0r_set_param_value(self.instance, ctypes.byref(value), index)

    def switch_on(self):
        """Sets all numbers to the middle of their range: most are 0 by default. Returns how many."""
        info = (ctypes.c_byte * 48)()
        self.code.f0r_get_plugin_info(info)
        count = ctypes.c_int.from_buffer(info, 36).value
        middle = ctypes.c_double(0.5)
        for index in range(count):
            self.code.f0r_set_param_value(self.instance, ctypes.byref(middle), index)
        return count

    def draw(self, seconds, source, output):
        self.code.f0r_update(self.instance, seconds, source, output)


class Library:
    """The same frame by liblomix."""

    def __init__(self, file, size):
        sys.path.insert(0, str(ROOT / "examples"))
        import lomix_frames as api
        self.api, self.size = api, size
        self.code = ctypes.CDLL(str(file))
        look = ctypes.c_void_p()
        self.code.lomix_look_create(ctypes.byref(look), None)
        for item in LOOK.split(","):
            name, value = item.split("=")
            self.code.lomix_look_set_text(look, name.encode(), value.encode(), None)
        self.values = (ctypes.c_double * 13)()
        self.code.lomix_look_values(look, ctypes.c_double(0), self.values, 13, None)

    def image(self, data):
        width, height = self.size
        return self.api.Image(ctypes.sizeof(self.api.Image), 2, width, height, width * 4, data)

    def draw(self, seconds, source, output):
        settings = self.api.FrameSettings()
        settings.struct_size = ctypes.sizeof(settings)
        settings.value_count, settings.time_seconds = 13, seconds
        settings.values = ctypes.cast(self.values, type(settings.values))
        frame = ctypes.c_void_p()
        images = self.image(source), self.image(output)
        self.code.lomix_frame_create(ctypes.byref(settings), ctypes.byref(images[0]), ctypes.byref(images[1]),
                                     ctypes.byref(frame), None)
        self.code.lomix_frame_draw_rows(frame, 0, self.size[1], None)
        self.code.lomix_frame_destroy(frame)


def in_process(build, size, turns):
    pixels = size[0] * size[1] * 4
    source = ctypes.create_string_buffer(os.urandom(pixels), pixels)
    output, other = ctypes.create_string_buffer(pixels), ctypes.create_string_buffer(pixels)
    address = ctypes.addressof
    drawers = {"library": Library(build / "lib/liblomix.so", size),
               "lomix": Filter(build / "bin/frei0r-1/lomix.so", size, {0: LOOK})}
    drawers["library"].draw(1.5, address(source), address(output))
    drawers["lomix"].draw(1.5, address(source), address(other))
    if output.raw != other.raw or output.raw == source.raw:
        sys.exit("plug-in and library draw different frames")
    folder = pathlib.Path("/usr/lib/frei0r-1")
    drawers |= {name: Filter(folder / f"{name}.so", size) for name in OTHERS
                if (folder / f"{name}.so").exists()}
    for name in drawers.keys() & set(OTHERS):
        drawers[name].switch_on()
    least = dict.fromkeys(drawers, float("inf"))
    for turn in range(turns):
        for name, drawer in drawers.items():
            began = time.perf_counter()
            drawer.draw(1.5 + turn / 25, address(source), address(output))
            least[name] = min(least[name], (time.perf_counter() - began) * 1000)
    return least


def in_ffmpeg(build, size, frames, turns):
    filters = {"none": "null", "lomix": f"frei0r=filter_name=lomix:filter_params='{LOOK}|y'"}
    for name in OTHERS:
        file = pathlib.Path(f"/usr/lib/frei0r-1/{name}.so")
        if file.exists():
            numbers = "|".join(["0.5"] * Filter(file, size).switch_on())
            filters[name] = f"frei0r={name}" + (f":{numbers}" if numbers else "")
    environment = os.environ | {"FREI0R_PATH": f"{build}/bin/frei0r-1:/usr/lib/frei0r-1"}
    least = dict.fromkeys(filters, float("inf"))
    for _ in range(turns):
        for name, text in filters.items():
            began = time.perf_counter()
            # A source that costs next to nothing, in the plug-ins' own pixels.
            subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-f", "lavfi", "-i",
                            f"color=c=teal:s={size[0]}x{size[1]}:r=25,format=rgba", "-frames:v", str(frames),
                            "-vf", text, "-f", "null", "-"], check=True, env=environment)
            least[name] = min(least[name], (time.perf_counter() - began) * 1000 / frames)
    return {name: value - least["none"] for name, value in least.items() if name != "none"}


def report(title, least, base):
    print(title)
    for name, value in least.items():
        print(f"  {name:11} {value:8.2f} ms   {value / least[base]:6.2f} x {base}")


def main():
    options = argparse.ArgumentParser(usage=__doc__)
    options.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    options.add_argument("--turns", type=int, default=15)
    given = options.parse_args()
    for size, frames in (((1920, 1080), 60), ((3840, 2160), 20)):
        name = f"{size[0]}x{size[1]}"
        report(f"{name}, in one process:", in_process(given.build, size, given.turns), "library")
        report(f"{name}, in ffmpeg, above a run without a filter:",
               in_ffmpeg(given.build, size, frames, max(2, given.turns // 5)), "lomix")


if __name__ == "__main__":
    main()
