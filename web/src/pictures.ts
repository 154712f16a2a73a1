// Picture files: bytes to pixels and back. Runs in a worker.

import { decode, encode, type DecodedPng } from "fast-png";
import { LomixError, type Pixels } from "./engine.js";

/** The largest picture: its source and its output have to fit into a browser's memory. */
export const maxSide = 16384;
export const maxPixels = 64e6;

export interface Picture extends Pixels {
  /** The file has transparency. */
  hasAlpha: boolean;
  /** Bits a channel in the file. */
  bits: number;
}

/** Throws LomixError where a picture is too large. */
export function checkSize(name: string, width: number, height: number): void {
  if (width > maxSide || height > maxSide || width * height > maxPixels) {
    throw new LomixError(
      `${name}: ${width} × ${height} pixels are too many (the limit is ${maxPixels / 1e6} million pixels, ${maxSide} a side; render it with the lomix command)`,
    );
  }
}

// Signature, length and name of the first chunk, then width, height, depth and type of colour.
function pngHeader(bytes: Uint8Array): { width: number; height: number; depth: number; colour: number } | null {
  const start = [0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0, 0, 0, 13, 0x49, 0x48, 0x44, 0x52];
  if (bytes.length < 33 || !start.every((byte, i) => bytes[i] === byte)) return null;
  const view = new DataView(bytes.buffer, bytes.byteOffset);
  return { width: view.getUint32(16), height: view.getUint32(20), depth: bytes[24]!, colour: bytes[25]! };
}

function hasTransparency(png: DecodedPng): boolean {
  return png.channels === 2 || png.channels === 4 || png.transparency !== undefined;
}

/** Returns the pixels of a PNG whose samples have 8 or 16 bits. */
export function pixelsOfPng(png: DecodedPng): Pixels {
  const { width, height, channels } = png;
  const data = new Uint8ClampedArray(width * height * 4);
  const sample = (i: number) => (png.depth === 16 ? Math.round(png.data[i]! / 257) : png.data[i]!);
  const grey = channels < 3;
  const clear = png.transparency;
  for (let from = 0, to = 0; to < data.length; from += channels, to += 4) {
    data[to] = sample(from);
    data[to + 1] = sample(grey ? from : from + 1);
    data[to + 2] = sample(grey ? from : from + 2);
    data[to + 3] = channels % 2 === 0 ? sample(from + channels - 1) : 255;
    if (clear !== undefined && channels % 2 === 1) {
      let isClear = true;
      for (let i = 0; i < channels; ++i) isClear &&= png.data[from + i] === clear[i];
      if (isClear) data[to + 3] = 0;
    }
  }
  return { width, height, data };
}

// A canvas multiplies colours by alpha and loses their last bits, and browsers cut 16 bits short. So those files
// are decoded here; all others by the browser.
function isDecodedHere(header: { depth: number; colour: number }): boolean {
  const [greyWithAlpha, colourWithAlpha, palette] = [4, 6, 3];
  return header.colour === greyWithAlpha || header.colour === colourWithAlpha || (header.depth === 16 && header.colour !== palette);
}

/** Draws a bitmap at a size and returns its pixels. */
export function pixelsOfBitmap(bitmap: CanvasImageSource, width: number, height: number, canvas?: OffscreenCanvas): Pixels {
  canvas ??= new OffscreenCanvas(width, height);
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
  const context = canvas.getContext("2d", { willReadFrequently: true });
  if (!context) throw new LomixError("memory: not enough for this picture (use a smaller one, or close other pages)");
  context.globalCompositeOperation = "copy";
  context.imageSmoothingQuality = "high";
  context.drawImage(bitmap, 0, 0, width, height);
  const { data } = context.getImageData(0, 0, width, height);
  return { width, height, data };
}

/** Reads a picture file. name: for messages. Throws LomixError. */
export async function readPicture(file: Blob, name: string): Promise<Picture> {
  const start = new Uint8Array(await file.slice(0, 64).arrayBuffer());
  const header = pngHeader(start);
  if (header) {
    checkSize(name, header.width, header.height);
    if (isDecodedHere(header)) {
      try {
        const png = decode(new Uint8Array(await file.arrayBuffer()), { checkCrc: true });
        return { ...pixelsOfPng(png), hasAlpha: hasTransparency(png), bits: header.depth };
      } catch (error) {
        throw new LomixError(`${name}: this PNG is damaged (save it again, or try another file)`, { cause: error });
      }
    }
  }
  let bitmap: ImageBitmap;
  try {
    bitmap = await createImageBitmap(file, {
      imageOrientation: "from-image",
      premultiplyAlpha: "none",
      colorSpaceConversion: "none",
    });
  } catch (error) {
    throw new LomixError(
      `${name}: this is no picture or film that this browser can read (try PNG, JPEG, WebP or MP4)`,
      { cause: error },
    );
  }
  try {
    checkSize(name, bitmap.width, bitmap.height);
    const pixels = pixelsOfBitmap(bitmap, bitmap.width, bitmap.height);
    let hasAlpha = false;
    for (let i = 3; i < pixels.data.length && !hasAlpha; i += 4) hasAlpha = pixels.data[i] !== 255;
    return { ...pixels, hasAlpha, bits: 8 };
  } finally {
    bitmap.close();
  }
}

/** Returns the pixels as a PNG file, without alpha where withAlpha is false. */
export function pngBytes(pixels: Pixels, withAlpha: boolean): Uint8Array<ArrayBuffer> {
  const { width, height } = pixels;
  let data = pixels.data;
  if (!withAlpha) {
    data = new Uint8ClampedArray(width * height * 3);
    for (let from = 0, to = 0; to < data.length; from += 4, to += 3) {
      data[to] = pixels.data[from]!;
      data[to + 1] = pixels.data[from + 1]!;
      data[to + 2] = pixels.data[from + 2]!;
    }
  }
  return encode({ width, height, data, depth: 8, channels: withAlpha ? 4 : 3 }) as Uint8Array<ArrayBuffer>;
}
