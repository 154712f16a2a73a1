// The worker: reads pictures, draws frames, writes files. The page never waits for it.

import { Zip, ZipPassThrough } from "fflate";
import { Engine, hasVectors, LomixError, type Description, type Look, type LookState, type Pixels, type Time } from "./engine.js";
import { checkSize, pixelsOfBitmap, pngBytes, readPicture, type Picture } from "./pictures.js";
import type { BenchmarkResult, DrawnFrame, DrawRequest, PictureFacts, WorkerApi } from "./protocol.js";
import { serve, type Port } from "./rpc.js";

type Canvas = { canvas: OffscreenCanvas; context: OffscreenCanvasRenderingContext2D };

function canvasWith(canvas: OffscreenCanvas): Canvas {
  const context = canvas.getContext("2d");
  if (!context) throw new LomixError("canvas: this browser cannot draw in the background (update it)");
  return { canvas, context };
}

function put({ canvas, context }: Canvas, data: Uint8ClampedArray, width: number, height: number): void {
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
  context.putImageData(new ImageData(data as Uint8ClampedArray<ArrayBuffer>, width, height), 0, 0);
}

async function fetchBytes(address: string): Promise<ArrayBuffer> {
  const response = await fetch(address);
  if (!response.ok) throw new LomixError(`${address}: not found (reload the page)`);
  return response.arrayBuffer();
}

class Worker implements WorkerApi {
  private engine!: Engine;
  private after: Canvas | undefined;
  private before: Canvas | undefined;
  private source: Picture | undefined;
  // The source at half its size, made when it is first drawn.
  private half: Pixels | undefined;
  private shownSource: Pixels | undefined;
  // The pixels that are in the engine's memory.
  private loaded: Pixels | undefined;
  private look: { json: string; look: Look } | undefined;
  private readonly reader = new OffscreenCanvas(1, 1);
  private zip: { zip: Zip; chunks: Uint8Array<ArrayBuffer>[] } | undefined;

  async start(folder: string, plain: boolean): Promise<Description> {
    const file = hasVectors() && !plain ? "lomix.wasm" : "lomix-plain.wasm";
    this.engine = await Engine.create(await fetchBytes(folder + file));
    return this.engine.description;
  }

  show(after: OffscreenCanvas, before: OffscreenCanvas): void {
    this.after = canvasWith(after);
    this.before = canvasWith(before);
  }

  async open(file: Blob, name: string): Promise<PictureFacts> {
    this.setSource(await readPicture(file, name));
    const { width, height, bits } = this.source!;
    return { width, height, bits };
  }

  draw(request: DrawRequest): DrawnFrame {
    if (request.bitmap) this.takeFrame(request.bitmap, request.reduction);
    const pixels = this.pixels(request.bitmap ? 1 : request.reduction);
    const scale = 1 / request.reduction;
    const { output, facts, milliseconds } = this.render(this.lookOf(request.json), request.time, pixels, scale);
    const { width, height } = pixels;
    if (this.after) put(this.after, output, width, height);
    if (this.before && request.before && this.shownSource !== pixels) {
      put(this.before, pixels.data, width, height);
      this.shownSource = pixels;
    }
    return { width, height, milliseconds, ...facts };
  }

  thumbnails(width: number, time: Time): ImageData[] {
    const picture = this.picture();
    const height = Math.max(1, Math.round((picture.height * width) / picture.width));
    const small = this.resized(picture, Math.min(width, picture.width), Math.min(height, picture.height));
    return this.engine.description.presets.map(({ json }) => {
      const look = this.engine.createLook(json);
      try {
        const { output } = this.render(look, time, small, small.width / picture.width);
        return new ImageData(output.slice(), small.width, small.height);
      } finally {
        look.destroy();
      }
    });
  }

  png(json: string, time: Time, bitmap?: ImageBitmap): Blob {
    if (bitmap) this.takeFrame(bitmap, 1);
    return this.pngOf(this.picture(), json, time);
  }

  async pictureToPng(file: Blob, name: string, json: string, time: Time): Promise<Blob> {
    return this.pngOf(await readPicture(file, name), json, time);
  }

  zipBegin(): void {
    const chunks: Uint8Array<ArrayBuffer>[] = [];
    const zip = new Zip((error, chunk) => {
      if (error) throw error;
      chunks.push(chunk as Uint8Array<ArrayBuffer>);
    });
    this.zip = { zip, chunks };
  }

  async zipAdd(name: string, file: Blob): Promise<void> {
    const entry = new ZipPassThrough(name);
    this.zip!.zip.add(entry);
    entry.push(new Uint8Array(await file.arrayBuffer()), true);
  }

  zipEnd(): Blob {
    this.zip!.zip.end();
    const file = new Blob(this.zip!.chunks, { type: "application/zip" });
    this.zip = undefined;
    return file;
  }

  lookOfPreset(json: string): LookState {
    return this.stateOf(json, () => undefined);
  }

  lookOfLink(entries: [string, string][]): LookState {
    return this.stateOf("", (look) => entries.forEach(([name, text]) => look.set(name, text)));
  }

  presetOfLook(json: string, name: string, description: string): string {
    return this.lookOf(json).json(name, description);
  }

  benchmark(json: string, width: number, height: number, frames: number): BenchmarkResult {
    const data = new Uint8ClampedArray(width * height * 4);
    for (let i = 0; i < data.length; ++i) data[i] = i % 4 === 3 ? 255 : (i * 7 + (i >> 9)) & 255;
    const pixels: Pixels = { width, height, data };
    const look = this.lookOf(json);
    const shown = canvasWith(new OffscreenCanvas(width, height));
    let effect = 0;
    let start = 0;
    // The first frames are warm-up: the browser compiles.
    for (let frame = -10; frame < frames; ++frame) {
      if (frame === 0) [effect, start] = [0, performance.now()];
      const { output, milliseconds } = this.render(look, { numerator: frame + 10, denominator: 25 }, pixels, 1);
      put(shown, output, width, height);
      effect += milliseconds;
    }
    const instructionSet = this.engine.description.instructionSet;
    return { width, height, frames, effect: effect / frames, shown: (performance.now() - start) / frames, instructionSet };
  }

  memoryBytes(): number {
    return this.engine.memoryBytes;
  }

  private picture(): Picture {
    if (!this.source) throw new LomixError("picture: none is open (open one first)");
    return this.source;
  }

  private setSource(source: Picture): void {
    this.source = source;
    this.half = undefined;
    this.loaded = undefined;
    this.shownSource = undefined;
  }

  private takeFrame(bitmap: ImageBitmap, reduction: number): void {
    checkSize("film", bitmap.width, bitmap.height);
    const width = Math.max(1, Math.round(bitmap.width / reduction));
    const height = Math.max(1, Math.round(bitmap.height / reduction));
    this.setSource({ ...pixelsOfBitmap(bitmap, width, height, this.reader), hasAlpha: false, bits: 8 });
    bitmap.close();
  }

  private pixels(reduction: number): Pixels {
    const picture = this.picture();
    if (reduction === 1) return picture;
    this.half ??= this.resized(picture, Math.ceil(picture.width / 2), Math.ceil(picture.height / 2));
    return this.half;
  }

  private resized(pixels: Pixels, width: number, height: number): Pixels {
    const canvas = new OffscreenCanvas(1, 1);
    put(canvasWith(canvas), pixels.data, pixels.width, pixels.height);
    return pixelsOfBitmap(canvas, width, height);
  }

  private lookOf(json: string): Look {
    if (this.look?.json !== json) {
      const look = this.engine.createLook(json);
      this.look?.look.destroy();
      this.look = { json, look };
    }
    return this.look.look;
  }

  private stateOf(json: string, change: (look: Look) => void): LookState {
    const look = this.engine.createLook(json);
    try {
      change(look);
      return look.state();
    } finally {
      look.destroy();
    }
  }

  private render(look: Look, time: Time, pixels: Pixels, scale: number) {
    const { width, height, data } = pixels;
    const memory = this.engine.source(width, height);
    if (this.loaded !== pixels) {
      memory.set(data);
      this.loaded = pixels;
    }
    const start = performance.now();
    const drawn = this.engine.draw(look, time, width, height, { x: scale, y: scale });
    return { ...drawn, milliseconds: performance.now() - start };
  }

  private pngOf(picture: Picture, json: string, time: Time): Blob {
    const { width, height } = picture;
    const { output } = this.render(this.lookOf(json), time, picture, 1);
    return new Blob([pngBytes({ width, height, data: output }, picture.hasAlpha)], { type: "image/png" });
  }
}

serve(self as unknown as Port, new Worker());
