#!/usr/bin/env python3
"""Usage: lomix_frames.py LIBRARY INPUT.ppm OUTPUT PRESET FRAMES FPS

Draws frames 0 to FRAMES - 1 of a film from one picture and writes them to OUTPUT.0000.ppm and so on.
LIBRARY is liblomix.so.2, with its folder unless the system finds it. Needs no package beside Python.
"""
import ctypes
import re
import sys
from ctypes import byref, c_char, c_char_p, c_double, c_int32, c_int64, c_uint32, c_void_p

OK = 0
RGBA8 = 2


class Error(ctypes.Structure):
    _fields_ = [("struct_size", c_uint32), ("status", c_int32), ("message", c_char * 504)]


class Image(ctypes.Structure):
    _fields_ = [("struct_size", c_uint32), ("format", c_int32), ("width", c_int32),
                ("height", c_int32), ("row_bytes", c_int64), ("data", c_void_p)]


class FrameSettings(ctypes.Structure):
    _fields_ = [("struct_size", c_uint32), ("value_count", c_int32),
                ("values", ctypes.POINTER(c_double)), ("time_numerator", c_int64),
                ("time_denominator", c_int64), ("time_seconds", c_double), ("scale_x", c_double),
                ("scale_y", c_double)]


class Lomix:
    """The calls that this program makes. Those that fail raise RuntimeError."""

    def __init__(self, file):
        self._library = ctypes.CDLL(file)
        self._library.lomix_api_2  # A library of another API number has no such function.
        self._library.lomix_look_destroy.argtypes = [c_void_p]
        self._library.lomix_look_destroy.restype = None
        self._library.lomix_context_destroy.argtypes = [c_void_p]
        self._library.lomix_context_destroy.restype = None
        self.parameter_count = self._library.lomix_parameter_count()

    def call(self, name, *arguments):
        error = Error(ctypes.sizeof(Error))
        if getattr(self._library, name)(*arguments, byref(error)) != OK:
            raise RuntimeError(error.message.decode())

    def create(self, kind, *arguments):
        created = c_void_p()
        self.call(f"lomix_{kind}", *arguments, byref(created))
        return created

    def destroy(self, look, context):
        self._library.lomix_context_destroy(context)
        self._library.lomix_look_destroy(look)


def describe(pixels, width, height):
    return Image(ctypes.sizeof(Image), RGBA8, width, height, width * 4, ctypes.addressof(pixels))


def draw_film(lomix, preset, source, output, frame_count, fps):
    """Draws every frame into output and yields its number. source, output: Image."""
    look, context = c_void_p(), c_void_p()
    try:
        look = lomix.create("look_create_from_preset", preset.encode())
        context = lomix.create("context_create", c_int32(0))
        values = (c_double * lomix.parameter_count)()
        for number in range(frame_count):
            lomix.call("lomix_look_values", look, c_double(number / fps), values,
                       c_int32(len(values)))
            settings = FrameSettings(ctypes.sizeof(FrameSettings), len(values), values, number, fps)
            lomix.call("lomix_context_render", context, byref(settings), byref(source),
                       byref(output), None, None)
            yield number
    finally:
        lomix.destroy(look, context)


def read_ppm(name):
    """(width, height, buffer of RGBA bytes) of a binary PPM of 8 bits without comments."""
    with open(name, "rb") as file:
        data = file.read()
    header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    if header is None:
        raise RuntimeError(f"cannot read '{name}' (use a binary PPM of 8 bits)")
    width, height = int(header[1]), int(header[2])
    rgb = data[header.end():header.end() + width * height * 3]
    rgba = bytearray(b"\xff") * (width * height * 4)
    for channel in range(3):
        rgba[channel::4] = rgb[channel::3]
    return width, height, (c_char * len(rgba)).from_buffer(rgba)


def write_ppm(name, width, height, pixels):
    rgb = bytearray(width * height * 3)
    for channel in range(3):
        rgb[channel::3] = pixels.raw[channel::4]
    with open(name, "wb") as file:
        file.write(b"P6\n%d %d\n255\n" % (width, height) + rgb)


def main():
    if len(sys.argv) != 7:
        print("usage: lomix_frames.py LIBRARY INPUT.ppm OUTPUT PRESET FRAMES FPS", file=sys.stderr)
        return 2
    library, input_name, output_name, preset, frames, fps = sys.argv[1:]
    try:
        width, height, source = read_ppm(input_name)
        output = (c_char * len(source))()
        for number in draw_film(Lomix(library), preset, describe(source, width, height),
                                describe(output, width, height), int(frames), int(fps)):
            write_ppm(f"{output_name}.{number:04}.ppm", width, height, output)
    except (OSError, RuntimeError, ValueError) as error:
        print(f"error: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
