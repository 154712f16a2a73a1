// Picture files: bytes to pixels and back. Runs in a worker.

import { convertIndexedToRgb, decode, encode, type DecodedPng } from "fast-png";
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

interface PngHeader {
  width: number;
  height: number;
  depth: number;
  colour: number;
  isInterlaced: boolean;
}

// Types of colour.
const [greyWithAlpha, colourWithAlpha] = [4, 6];

function pngHeader(view: DataView): PngHeader | undefined {
  // Signature, length and name of the first chunk.
  const start = [0x89504e47, 0x0d0a1a0a, 13, 0x49484452];
  if (view.byteLength < 33 || start.some((word, i) => view.getUint32(4 * i) !== word)) return undefined;
  return {
    width: view.getUint32(16),
    height: view.getUint32(20),
    depth: view.getUint8(24),
    colour: view.getUint8(25),
    isInterlaced: view.getUint8(28) !== 0,
  };
}

// Whether a PNG has a chunk "tRNS", which stands before the pixels, the first "IDAT".
function hasClearColours(view: DataView): boolean {
  const [trns, idat] = [0x74524e53, 0x49444154];
  for (let at = 8; at + 8 <= view.byteLength; ) {
    const name = view.getUint32(at + 4);
    if (name === trns || name === idat) return name === trns;
    at += 12 + view.getUint32(at);
  }
  return false;
}

function hasTransparency({ channels, transparency, palette }: DecodedPng): boolean {
  return channels === 2 || channels === 4 || transparency !== undefined || palette?.[0]?.length === 4;
}

// Returns the samples of a grey picture, several of which are in a byte.
function unpackedGrey({ width, height, depth, data }: DecodedPng): Uint8Array {
  const rowBytes = Math.ceil((width * depth) / 8);
  return Uint8Array.from({ length: width * height }, (_, i) => {
    const bit = (i % width) * depth;
    const byte = data[Math.floor(i / width) * rowBytes + (bit >> 3)]!;
    return (byte >> (8 - depth - (bit & 7))) & ((1 << depth) - 1);
  });
}

/** Returns the pixels of a PNG with 8 bits a channel. */
export function pixelsOfPng(png: DecodedPng): Pixels {
  const { width, height, depth, palette } = png;
  const data = new Uint8ClampedArray(width * height * 4);
  const channels = palette?.[0]?.length ?? png.channels;
  const samples = palette ? convertIndexedToRgb(png) : depth < 8 ? unpackedGrey(png) : png.data;
  const largest = palette ? 255 : 2 ** depth - 1;
  const sample = (i: number) => (largest === 255 ? samples[i]! : Math.round((samples[i]! * 255) / largest));
  const grey = channels < 3;
  const clear = png.transparency;
  for (let from = 0, to = 0; to < data.length; from += channels, to += 4) {
    data[to] = sample(from);
    data[to + 1] = sample(grey ? from : from + 1);
    data[to + 2] = sample(grey ? from : from + 2);
    data[to + 3] = channels % 2 === 0 ? sample(from + channels - 1) : 255;
    if (clear !== undefined && channels % 2 === 1) {
      let isClear = true;
      for (let i = 0; i < channels; ++i) isClear &&= samples[from + i] === clear[i];
      if (isClear) data[to + 3] = 0;
    }
  }
  return { width, height, data };
}

// A canvas multiplies colours by alpha and loses their last bits, and browsers cut 16 bits short. So those files
// are decoded here; all others by the browser, which is faster.
function isDecodedHere(header: PngHeader, view: DataView): boolean {
  if (header.isInterlaced && header.depth < 8) return false;
  return header.colour === greyWithAlpha || header.colour === colourWithAlpha || header.depth === 16 || hasClearColours(view);
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
  const header = pngHeader(new DataView(await file.slice(0, 64).arrayBuffer()));
  if (header) {
    checkSize(name, header.width, header.height);
    const bytes = await file.arrayBuffer();
    if (isDecodedHere(header, new DataView(bytes))) {
      try {
        const png = decode(bytes, { checkCrc: true });
        return { ...pixelsOfPng(png), hasAlpha: hasTransparency(png), bits: Math.max(header.depth, 8) };
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
