// Films and the camera: the browser decodes them.

import { make } from "./dom.js";
import type { FrameRate } from "./look.js";

/** Rates that films have, the usual one for pictures first. */
export const frameRates: FrameRate[] = [
  [24, 1], [24000, 1001], [25, 1], [30000, 1001], [30, 1], [50, 1], [60000, 1001], [60, 1],
].map(([numerator, denominator]) => ({ numerator: numerator!, denominator: denominator! }));

function eventOf(video: HTMLVideoElement, name: string, milliseconds: number): Promise<boolean> {
  return new Promise((resolve) => {
    const control = new AbortController();
    const finish = (happened: boolean) => {
      control.abort();
      clearTimeout(timer);
      resolve(happened);
    };
    const timer = setTimeout(() => finish(false), milliseconds);
    video.addEventListener(name, () => finish(true), { signal: control.signal, once: true });
    video.addEventListener("error", () => finish(false), { signal: control.signal, once: true });
  });
}

export class Film {
  private address: string | undefined;
  private onFrame: ((seconds: number) => void) | undefined;

  private constructor(
    readonly video: HTMLVideoElement,
    readonly isCamera: boolean,
  ) {
    const next = (_: number, { mediaTime }: VideoFrameCallbackMetadata) => {
      this.onFrame?.(mediaTime);
      video.requestVideoFrameCallback(next);
    };
    video.requestVideoFrameCallback(next);
  }

  /** Returns whether a file's type or name is a film's. */
  static isFilm(file: { name: string; type: string }): boolean {
    return file.type.startsWith("video/") || /\.(mp4|m4v|mov|mkv|avi|webm|ogv|mpe?g)$/i.test(file.name);
  }

  /** Opens a film, a file or an address of this page's server. Throws Error where the browser cannot decode it. */
  static async open(name: string, from: File | string): Promise<Film> {
    const video = make("video", { playsInline: true, preload: "auto" });
    const film = new Film(video, false);
    if (typeof from === "string") video.src = from;
    else film.address = video.src = URL.createObjectURL(from);
    const known = (await eventOf(video, "loadeddata", 30_000)) && video.videoWidth > 0;
    if (known) return film;
    film.close();
    throw new Error(`${name}: this browser cannot decode it (try MP4 with H.264, or WebM; the lomix command reads more)`);
  }

  /** Opens the camera. Throws Error where that is not allowed. */
  static async openCamera(): Promise<Film> {
    const video = make("video", { playsInline: true, muted: true });
    try {
      video.srcObject = await navigator.mediaDevices.getUserMedia({ video: true });
      await video.play();
    } catch (error) {
      const cause = error instanceof Error ? error.message : String(error);
      throw new Error(`camera: ${cause} (connect one, and allow this page to use it)`);
    }
    return new Film(video, true);
  }

  get width(): number {
    return this.video.videoWidth;
  }
  get height(): number {
    return this.video.videoHeight;
  }
  /** In seconds; 0 for the camera. */
  get duration(): number {
    return Number.isFinite(this.video.duration) ? this.video.duration : 0;
  }

  /** Calls show with the time of each frame that is played or sought. */
  onEachFrame(show: (seconds: number) => void): void {
    this.onFrame = show;
  }

  /** Plays some frames without sound to find out how long they last. Returns the known rate that is nearest. */
  async findRate(): Promise<FrameRate> {
    const { video } = this;
    const times: number[] = [];
    const muted = video.muted;
    video.muted = true;
    const before = this.onFrame;
    this.onFrame = (seconds) => times.push(seconds);
    await video.play().catch(() => undefined);
    for (let i = 0; i < 40 && times.length < 12; ++i) await new Promise((resolve) => setTimeout(resolve, 50));
    video.pause();
    this.onFrame = before;
    await this.seek(0);
    video.muted = muted;
    // Frames may be left out while playing: the shortest distance is a frame's.
    const shortest = Math.min(...times.slice(1).map((time, i) => time - times[i]!).filter((distance) => distance > 0.001));
    const distance = (rate: FrameRate) => Math.abs(Math.log((shortest * rate.numerator) / rate.denominator));
    if (!Number.isFinite(shortest)) return frameRates[0]!;
    return frameRates.reduce((best, rate) => (distance(rate) < distance(best) ? rate : best));
  }

  /** Goes to a time; resolves when its frame can be drawn. */
  async seek(seconds: number): Promise<void> {
    const { video } = this;
    if (Math.abs(video.currentTime - seconds) < 1e-6 && !video.seeking) return;
    const done = eventOf(video, "seeked", 10_000);
    video.currentTime = Math.min(seconds, this.duration);
    await done;
  }

  /** Returns the frame that is shown. */
  grab(): Promise<ImageBitmap> {
    return createImageBitmap(this.video);
  }

  /** Goes to a frame and returns it. */
  async frame(index: number, rate: FrameRate): Promise<ImageBitmap> {
    await this.seek(((index + 0.5) * rate.denominator) / rate.numerator);
    return this.grab();
  }

  close(): void {
    this.onFrame = undefined;
    this.video.pause();
    if (this.video.srcObject instanceof MediaStream) this.video.srcObject.getTracks().forEach((track) => track.stop());
    this.video.removeAttribute("src");
    this.video.srcObject = null;
    if (this.address !== undefined) URL.revokeObjectURL(this.address);
  }
}
