// What the page asks of its worker.

import type { Description, LookState, Time } from "./engine.js";

export interface PictureFacts {
  width: number;
  height: number;
  /** Bits a channel in the file; the effect gets 8. */
  bits: number;
}

export interface DrawRequest {
  /** The look, as a preset's JSON. */
  json: string;
  time: Time;
  /** 1 draws all pixels, 2 every second column and row. */
  reduction: number;
  /** A new frame of a film; without it the last source is drawn again. */
  bitmap?: ImageBitmap;
  /** Show the source too. */
  before: boolean;
}

export interface DrawnFrame {
  width: number;
  height: number;
  /** Milliseconds that the effect took. */
  milliseconds: number;
  /** By parameter index. */
  values: Float64Array;
  /** Scan, bars and signal, one number a row each. */
  profiles: Float32Array;
}

export interface BenchmarkResult {
  width: number;
  height: number;
  frames: number;
  /** Milliseconds a frame: the effect alone, and with showing it. */
  effect: number;
  shown: number;
  instructionSet: string;
}

/** The worker's methods. */
export interface WorkerApi {
  /** Loads the effect from a folder. plain: without vector instructions, even where the browser has them. */
  start(folder: string, plain: boolean): Promise<Description>;
  /** Takes the canvases for the output and the source. */
  show(after: OffscreenCanvas, before: OffscreenCanvas): void;
  /** Opens a picture and makes it the source. */
  open(file: Blob, name: string): Promise<PictureFacts>;
  draw(request: DrawRequest): DrawnFrame;
  /** Draws the built-in presets, small, in the order of the description. */
  thumbnails(width: number, time: Time): ImageData[];
  /** Draws all pixels of the source and returns a PNG file. */
  png(json: string, time: Time, bitmap?: ImageBitmap): Blob;
  /** Opens a picture, draws it, and returns a PNG file; the source stays. */
  pictureToPng(file: Blob, name: string, json: string, time: Time): Promise<Blob>;
  /** Begins, fills and ends a ZIP file. */
  zipBegin(): void;
  zipAdd(name: string, file: Blob): Promise<void>;
  zipEnd(): Blob;
  /** Reads a preset, or the entries of a link; both throw where something is not valid. */
  lookOfPreset(json: string): LookState;
  lookOfLink(entries: [string, string][]): LookState;
  presetOfLook(json: string, name: string, description: string): string;
  benchmark(json: string, width: number, height: number, frames: number): BenchmarkResult;
  memoryBytes(): number;
}
