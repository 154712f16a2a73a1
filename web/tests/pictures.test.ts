// PNG files that are decoded by the page itself.

import assert from "node:assert/strict";
import { test } from "node:test";
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

function damaged(change: (bytes: Uint8Array) => Uint8Array): Blob {
  const pixels = { width: 8, height: 8, data: new Uint8ClampedArray(ramp(256, 11, 256)) };
  return new Blob([change(pngBytes(pixels, true)) as Uint8Array<ArrayBuffer>]);
}

const faults: [string, Blob, RegExp][] = [
  ["cut off", damaged((bytes) => bytes.slice(0, 60)), /^a\.png: this PNG is damaged/],
  ["with a wrong byte", damaged((bytes) => bytes.with(50, bytes[50]! ^ 1)), /^a\.png: this PNG is damaged/],
  ["of more pixels than fit", damaged((bytes) => bytes.with(17, 1)), /^a\.png: 65544 × 8 pixels are too many/],
];
for (const [name, file, message] of faults) {
  test(`a PNG ${name} is refused in one sentence`, () => assert.rejects(readPicture(file, "a.png"), { message }));
}
