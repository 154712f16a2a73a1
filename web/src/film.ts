// Films and the camera: the browser decodes them.

import { make } from "./dom.js";
import type { FrameRate } from "./look.js";
import { frameRates, rateOfTimes } from "./rate.js";

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

  /** Plays some frames slowly and without sound, and looks at some that come later, to find out how long they last.
   *  Returns the known rate that fits. */
  async findRate(): Promise<FrameRate> {
    const { video } = this;
    const times: number[] = [];
    const { muted, playbackRate } = video;
    const before = this.onFrame;
    video.muted = true;
    // Fewer frames are left out.
    video.playbackRate = 0.5;
    this.onFrame = (seconds) => times.push(seconds);
    await video.play().catch(() => undefined);
    for (let i = 0; i < 60 && times.length < 12; ++i) await new Promise((resolve) => setTimeout(resolve, 50));
    video.pause();
    for (const seconds of [1.7, 4.1, 9.3, 16.9, Math.min(this.duration - 0.15, 30)]) {
      if (seconds < 1 || seconds > this.duration - 0.1) continue;
      const known = times.length;
      await this.seek(seconds);
      for (let i = 0; i < 10 && times.length === known; ++i) await new Promise((resolve) => setTimeout(resolve, 50));
    }
    this.onFrame = before;
    await this.seek(0);
    Object.assign(video, { muted, playbackRate });
    return rateOfTimes(times) ?? frameRates[0]!;
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
