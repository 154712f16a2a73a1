// PNG files that are decoded by the page itself.

import assert from "node:assert/strict";
import { test } from "node:test";
import { deflateSync } from "node:zlib";
import { encode } from "fast-png";
import { pngBytes, readPicture } from "../src/pictures.js";
import { differences, readPng } from "./fixtures.js";

function ramp(length: number, step: number, limit: number): number[] {
  return Array.from({ length }, (_, i) => (i * step) % limit);
}

test("translucent pixels come back as they were", async () => {
  const pixels = { width: 16, height: 16, data: new Uint8ClampedArray(ramp(16 * 16 * 4, 37, 256)) };
  const read = await readPicture(new Blob([pngBytes(pixels, true)]), "a.png");
  assert.equal(differences(read, pixels), 0);
  assert.ok(read.hasAlpha && read.bits === 8);
});

test("16 bits are rounded to 8", async () => {
  const data = new Uint16Array([0, 128, 129, 65535, 32896, 257 * 7, 257 * 7 + 129, 65000]);
  const png = encode({ width: 2, height: 1, data, depth: 16, channels: 4 });
  const read = await readPicture(new Blob([png as Uint8Array<ArrayBuffer>]), "deep.png");
  assert.deepEqual([...read.data], [0, 0, 1, 255, 128, 7, 8, 253]);
  assert.equal(read.bits, 16);
});

test("opaque pictures are written without alpha", () => {
  const data = new Uint8ClampedArray([1, 2, 3, 255, 4, 5, 6, 255]);
  const file = pngBytes({ width: 2, height: 1, data }, false);
  assert.equal(file[25], 2);
  assert.deepEqual(readPng(file).data, data);
});

function crc(bytes: Uint8Array): number {
  let sum = -1;
  for (const byte of bytes) {
    sum ^= byte;
    for (let bit = 0; bit < 8; ++bit) sum = (sum >>> 1) ^ (sum & 1 ? 0xedb88320 : 0);
  }
  return ~sum >>> 0;
}

/** Returns a PNG of 3 x 2 pixels. samples: of the pixels by rows. */
function png(depth: number, colour: number, samples: number[], chunks: [string, number[]][]): Blob {
  const words = (value: number) => [value >>> 24, (value >>> 16) & 255, (value >>> 8) & 255, value & 255];
  const chunk = (name: string, data: number[]) => {
    const body = [...Buffer.from(name, "latin1"), ...data];
    return [...words(data.length), ...body, ...words(crc(Uint8Array.from(body)))];
  };
  const rows = [samples.slice(0, samples.length / 2), samples.slice(samples.length / 2)].flatMap((row) => {
    const bits = row.map((sample) => sample.toString(2).padStart(depth, "0")).join("");
    return [0, ...(bits.match(/.{1,8}/g) ?? []).map((byte) => parseInt(byte.padEnd(8, "0"), 2))];
  });
  return new Blob([Uint8Array.from([
    0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a,
    ...chunk("IHDR", [...words(3), ...words(2), depth, colour, 0, 0, 0]),
    ...chunks.flatMap(([name, data]) => chunk(name, data)),
    ...chunk("IDAT", [...deflateSync(Uint8Array.from(rows))]),
    ...chunk("IEND", []),
  ])]);
}

const [grey, truecolour, indexed] = [0, 2, 3];
// Its colours have bits that a canvas would lose.
const palette = [[201, 3, 77], [9, 250, 133], [1, 2, 3], [254, 127, 63]];
const alphas = [3, 255, 0];
const coloured = palette.map((colour, i) => [...colour, alphas[i] ?? 255]);
for (const depth of [1, 2, 4, 8]) {
  const indices = depth === 1 ? [0, 1, 1, 0, 0, 1] : [3, 1, 0, 2, 2, 3];
  test(`a palette of ${depth} bits keeps its colours and its transparency`, async () => {
    const chunks: [string, number[]][] = [["PLTE", palette.slice(0, 2 ** depth).flat()], ["tRNS", alphas.slice(0, 2 ** depth)]];
    const read = await readPicture(png(depth, indexed, indices, chunks), "a.png");
    assert.deepEqual([...read.data], indices.flatMap((index) => coloured[index]!));
    assert.deepEqual([read.hasAlpha, read.bits], [true, 8]);
  });
  test(`grey of ${depth} bits with a transparent level`, async () => {
    const read = await readPicture(png(depth, grey, indices, [["gAMA", [0, 0, 177, 143]], ["tRNS", [0, 1]]]), "a.png");
    const level = (index: number) => Math.round((index * 255) / (2 ** depth - 1));
    assert.deepEqual([...read.data], indices.flatMap((index) => [level(index), level(index), level(index), index === 1 ? 0 : 255]));
    assert.ok(read.hasAlpha);
  });
}

test("a transparent colour keeps its levels", async () => {
  const samples = [1, 2, 3, 200, 100, 50, 1, 2, 4, 9, 9, 9, 200, 100, 50, 0, 0, 0];
  const read = await readPicture(png(8, truecolour, samples, [["tRNS", [0, 200, 0, 100, 0, 50]]]), "a.png");
  assert.deepEqual([...read.data], [1, 2, 3, 255, 200, 100, 50, 0, 1, 2, 4, 255, 9, 9, 9, 255, 200, 100, 50, 0, 0, 0, 0, 255]);
});

function damaged(change: (bytes: Uint8Array) => Uint8Array): Blob {
  const pixels = { width: 8, height: 8, data: new Uint8ClampedArray(ramp(256, 11, 256)) };
  return new Blob([change(pngBytes(pixels, true)) as Uint8Array<ArrayBuffer>]);
}

const faults: [string, Blob, RegExp][] = [
  ["cut off", damaged((bytes) => bytes.slice(0, 60)), /^a\.png: this PNG is damaged/],
  ["with a wrong byte", damaged((bytes) => bytes.with(50, bytes[50]! ^ 1)), /^a\.png: this PNG is damaged/],
  ["with an index behind its palette", png(8, indexed, [0, 1, 2, 3, 4, 5], [["PLTE", [1, 2, 3]], ["tRNS", [9]]]), /^a\.png: this PNG is damaged/],
  ["of more pixels than fit", damaged((bytes) => bytes.with(17, 1)), /^a\.png: 65544 × 8 pixels are too many/],
];
for (const [name, file, message] of faults) {
  test(`a PNG ${name} is refused in one sentence`, () => assert.rejects(readPicture(file, "a.png"), { message }));
}
