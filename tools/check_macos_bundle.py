#!/usr/bin/env python3
"""Usage: tools/check_macos_bundle.py [--ofx] BUNDLE...

Checks plug-in bundles for macOS as far as that goes without the system: layout, property list, and for
either processor the kind of file, its oldest system, libraries, exports, what unwinding an exception takes, and
the hash of every page in its signature. --ofx: the bundles are OpenFX plug-ins. Prints one line per fault and exits 1 if there is any.
"""
import hashlib
import pathlib
import plistlib
import re
import struct
import subprocess
import sys

FAT_MAGIC = 0xCAFEBABE
MAGIC_64 = 0xFEEDFACF
PROCESSORS = {0x0100000C: "arm64", 0x01000007: "x86_64"}
BUNDLE = 8
LOAD_LIBRARY, SEGMENT, CODE_SIGNATURE, BUILD_VERSION = 0xC, 0x19, 0x1D, 0x32
SIGNATURE, CODE_DIRECTORY = 0xFADE0CC0, 0xFADE0C02
AD_HOC, SHA256 = 2, 2
MACOS = 1

# In the unwinder's words for a function: how to unwind it, by which record, and who handles exceptions.
MODE, RECORD, HANDLER = 0x0F000000, 0x00FFFFFF, 0x30000000
BY_RECORD = {"arm64": 0x03000000, "x86_64": 0x04000000}
FUNCTION = re.compile(r"function offset=0x([0-9a-f]+), encoding(?:\[\d+\])?=0x([0-9a-f]+)")

# Of each kind of bundle: its files, keys of its property list, where its code is, and what it exports.
EFFECT = (
    ["Info.plist", "MacOS/Lomix", "PkgInfo", "Resources/Lomix.rsrc"],
    {"CFBundleExecutable": "Lomix", "CFBundleIdentifier": "org.lomix.Lomix", "CFBundlePackageType": "eFKT",
     "CFBundleSignature": "FXTC", "LSMinimumSystemVersion": "11.0"},
    "MacOS/Lomix",
    ["_EntryPointFunc"],
)
OFX = (
    ["Info.plist", "MacOS/Lomix.ofx"],
    {"CFBundleExecutable": "Lomix.ofx", "CFBundleIdentifier": "org.lomix.openfx", "CFBundlePackageType": "BNDL",
     "LSMinimumSystemVersion": "11.0"},
    "MacOS/Lomix.ofx",
    ["_OfxGetNumberOfPlugins", "_OfxGetPlugin", "_OfxSetHost"],
)


def slices(code):
    magic, count = struct.unpack_from(">II", code)
    if magic != FAT_MAGIC:
        return {}
    found = {}
    for i in range(count):
        kind, _, offset, size, _ = struct.unpack_from(">5I", code, 8 + 20 * i)
        found[PROCESSORS.get(kind, hex(kind))] = code[offset:offset + size]
    return found


def load_commands(code):
    magic, _, _, kind, count = struct.unpack_from("<5I", code)
    commands = []
    at = 32
    for _ in range(count):
        command, size = struct.unpack_from("<II", code, at)
        commands.append((command, code[at:at + size]))
        at += size
    return (kind if magic == MAGIC_64 else None), commands


def signature_faults(code, offset, size):
    blob = code[offset:offset + size]
    magic, _, count = struct.unpack_from(">III", blob)
    places = [struct.unpack_from(">II", blob, 12 + 8 * i) for i in range(count)]
    directories = [at for _, at in places if struct.unpack_from(">I", blob, at)[0] == CODE_DIRECTORY]
    if magic != SIGNATURE or not directories:
        yield "its signature holds no list of pages"
        return
    at = directories[0]
    flags, hashes, _, _, pages, limit = struct.unpack_from(">6I", blob, at + 12)
    hash_size, hash_type, _, page_bits = struct.unpack_from("BBBB", blob, at + 36)
    if not flags & AD_HOC or hash_type != SHA256 or limit != offset:
        yield "its signature is not an ad-hoc one of all bytes before it"
    if pages != -(-limit >> page_bits):
        yield f"its signature lists {pages} pages"
    for i in range(pages):
        page = code[i << page_bits:min((i + 1) << page_bits, limit)]
        start = at + hashes + i * hash_size
        if hashlib.sha256(page).digest() != blob[start:start + hash_size]:
            yield f"page {i} is not as it was signed"


def code_faults(code):
    kind, commands = load_commands(code)
    if kind != BUNDLE:
        yield f"kind of file {kind}, not a bundle"
    versions = [struct.unpack_from("<II", c, 8) for kind, c in commands if kind == BUILD_VERSION]
    if versions != [(MACOS, 11 << 16)]:
        yield f"built for {versions}, not macOS 11.0"
    libraries = [c[24:].split(b"\0")[0].decode() for kind, c in commands if kind == LOAD_LIBRARY]
    if libraries != ["/usr/lib/libSystem.B.dylib"]:
        yield f"it is linked to {libraries}"
    signatures = [struct.unpack_from("<II", c, 8) for kind, c in commands if kind == CODE_SIGNATURE]
    if len(signatures) != 1:
        yield "it is not signed"
    for offset, size in signatures:
        yield from signature_faults(code, offset, size)


def dump(file, processor, what):
    command = ["llvm-objdump-14", "--macho", f"--arch={processor}", what, str(file)]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exports(file, processor):
    lines = dump(file, processor, "--exports-trie").splitlines()
    return [line.split()[-1] for line in lines if line.startswith("0x")]


def section(code, name):
    """Address and bytes, which are none where there is no such section."""
    for command, data in load_commands(code)[1]:
        if command != SEGMENT:
            continue
        for at in range(72, len(data), 80):
            if data[at:at + 16].rstrip(b"\0") == name:
                address, size, offset = struct.unpack_from("<QQI", data, at + 32)
                return address, code[offset:offset + size]
    return 0, b""


def unwind_faults(code, processor, text):
    functions = [(int(at, 16), int(word, 16)) for at, word in FUNCTION.findall(text)]
    if not any(word & HANDLER for _, word in functions):
        yield "no function handles exceptions"
    address, records = section(code, b"__eh_frame")
    for function, word in functions:
        if word & MODE != BY_RECORD[processor]:
            continue
        begin = (word & RECORD) + 8
        if begin == 8 or begin + 8 > len(records) or (
                address + begin + struct.unpack_from("<q", records, begin)[0] != function):
            yield f"the function at {function:#x} cannot be unwound"


def faults(bundle, kind):
    expected_files, keys, code_file, names = kind
    contents = bundle / "Contents"
    files = sorted(f.relative_to(contents).as_posix() for f in bundle.rglob("*") if f.is_file())
    if files != expected_files:
        yield f"it holds {files}"
        return
    plist = plistlib.loads((contents / "Info.plist").read_bytes())
    for key, value in keys.items():
        if plist.get(key) != value:
            yield f"{key} is {plist.get(key)!r}, not {value!r}"
    if kind == EFFECT and (contents / "PkgInfo").read_bytes() != b"eFKTFXTC":
        yield "PkgInfo is not eFKTFXTC"
    file = contents / code_file
    parts = slices(file.read_bytes())
    if sorted(parts) != sorted(PROCESSORS.values()):
        yield f"it is for {sorted(parts)}"
    for processor, code in parts.items():
        unwinding = dump(file, processor, "--unwind-info")
        for fault in [*code_faults(code), *unwind_faults(code, processor, unwinding)]:
            yield f"{processor}: {fault}"
        if sorted(exports(file, processor)) != names:
            yield f"{processor}: it exports {exports(file, processor)}"


def main():
    kind = OFX if sys.argv[1:2] == ["--ofx"] else EFFECT
    bundles = [pathlib.Path(name) for name in sys.argv[1:] if name != "--ofx"]
    if not bundles:
        print(__doc__, file=sys.stderr)
        return 2
    found = [f"{bundle}: {fault}" for bundle in bundles for fault in faults(bundle, kind)]
    print("\n".join(found) or f"macOS: {len(bundles)} bundles are as they should be.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
