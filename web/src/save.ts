// What the user takes home: pictures, sequences and films.

import { download, element, make, onPress } from "./dom.js";
import type { Time } from "./engine.js";
import type { Film } from "./film.js";
import { stem, timeOfFrame } from "./look.js";
import type { Player } from "./player.js";
import type { WorkerApi } from "./protocol.js";
import type { Remote } from "./rpc.js";

/** What is open. */
export interface Source {
  name: string;
  width: number;
  height: number;
  /** Bits a channel in the file. */
  bits: number;
  /** The film; undefined for a picture. */
  film: Film | undefined;
}

export interface SaverEvents {
  say(text: string): void;
  showError(error: unknown): void;
}

// What a ZIP file without extensions can hold.
const zipBytes = 2 ** 32 - 1;
const zipEntries = 65535;

const filmTypes = ["video/webm;codecs=vp9,opus", "video/webm;codecs=vp8,opus", "video/webm"];

// Milliseconds that a recorder may take to begin.
const recorderPatience = 10_000;

// Throws Error where a ZIP file cannot hold so much.
function requireZip(count: number, bytes: number): void {
  if (count <= zipEntries && bytes <= zipBytes) return;
  const size = `${count} pictures of ${(bytes / 1e9).toFixed(1)} GB`;
  throw new Error(
    `ZIP: ${size} are too much (the limits are ${zipEntries} and ${(zipBytes / 1e9).toFixed(1)} GB; save less, or use the lomix command)`,
  );
}

export class Saver {
  private isCancelled = false;
  private busy: "files" | "film" | undefined;
  private readonly progress = element("progress", HTMLElement);
  private readonly bar = element("progress-bar", HTMLProgressElement);

  constructor(
    private readonly worker: Remote<WorkerApi>,
    private readonly events: SaverEvents,
    private readonly busyChanged: () => void,
  ) {
    onPress("cancel", () => (this.isCancelled = true));
  }

  /** Whether something is being saved: source and clock belong to that task. */
  get isBusy(): boolean {
    return this.busy !== undefined;
  }
  /** Whether the task draws frames of its own, so that none may be drawn for the page. */
  get drawsItself(): boolean {
    return this.busy === "files";
  }

  /** Throws Error while something is being saved. */
  requireIdle(): void {
    if (this.isBusy) throw new Error("saving: a file is being saved (wait for it, or cancel it)");
  }

  saveText(text: string, name: string): void {
    download(new Blob([text], { type: "application/json" }), name);
  }

  /** Saves the frame that is shown, with all its pixels. */
  async savePng(source: Source, json: string, player: Player): Promise<void> {
    await this.task("files", async () => {
      download(await this.png(source, json, player, player.frame), `${stem(source.name)}-lomix.png`);
    });
  }

  /** Saves every frame as a PNG in a ZIP file. */
  async saveSequence(source: Source, json: string, player: Player): Promise<void> {
    if (source.film?.isCamera) throw new Error("camera: it has no end (save a picture of it, or a film)");
    const count = player.frameCount;
    await this.task("files", async () => {
      const digits = Math.max(4, String(count - 1).length);
      let bytes = 0;
      await this.worker.zipBegin();
      for (let frame = 0; frame < count; ++frame) {
        if (this.showProgress(frame / count)) return this.events.say("Cancelled; nothing was saved.");
        const file = await this.png(source, json, player, frame);
        // Each frame is about as large as the first.
        bytes += file.size;
        requireZip(count, frame === 0 ? bytes * count : bytes);
        await this.worker.zipAdd(`${stem(source.name)}-lomix.${String(frame).padStart(digits, "0")}.png`, file);
      }
      download(await this.worker.zipEnd(), `${stem(source.name)}-lomix.zip`);
      this.events.say(`${count} frames saved.`);
    });
  }

  /** Saves many pictures with one look, in a ZIP file. A file that is no picture is left out and named. */
  async saveMany(files: File[], json: string, time: Time): Promise<void> {
    if (files.length === 0) return;
    await this.task("files", async () => {
      const names = new Set<string>();
      const faults: string[] = [];
      let bytes = 0;
      await this.worker.zipBegin();
      for (const [i, file] of files.entries()) {
        if (this.showProgress(i / files.length)) return this.events.say("Cancelled; nothing was saved.");
        let png: Blob;
        try {
          png = await this.worker.pictureToPng(file, file.name, json, time);
        } catch (error) {
          faults.push(error instanceof Error ? error.message : String(error));
          continue;
        }
        bytes += png.size;
        requireZip(files.length, bytes);
        let name = `${stem(file.name)}-lomix.png`;
        for (let n = 2; names.has(name); ++n) name = `${stem(file.name)}-lomix-${n}.png`;
        names.add(name);
        await this.worker.zipAdd(name, png);
      }
      if (names.size > 0) download(await this.worker.zipEnd(), "lomix.zip");
      this.events.say(`${names.size} of ${files.length} pictures saved.`);
      if (faults.length > 0) this.events.showError(new Error(faults.join("; ")));
    });
  }

  /** Plays from the first frame to the last and records what is shown, with the film's sound. */
  async saveFilm(source: Source, player: Player): Promise<void> {
    const type = filmTypes.find((candidate) => globalThis.MediaRecorder?.isTypeSupported(candidate));
    if (type === undefined) throw new Error("film: this browser cannot record WebM (save a PNG sequence instead)");
    await this.task("film", async () => {
      player.pause();
      player.seek(0);
      await source.film?.seek(0);
      const chunks = await this.record(source, player, type);
      player.pause();
      if (this.isCancelled) return this.events.say("Cancelled; nothing was saved.");
      const film = new Blob(chunks, { type: "video/webm" });
      if (film.size === 0) throw new Error("film: the browser recorded nothing (try again, or save a PNG sequence)");
      download(film, `${stem(source.name)}-lomix.webm`);
      this.events.say("");
    });
  }

  private async record(source: Source, player: Player, type: string): Promise<Blob[]> {
    // The canvas that the worker draws into cannot be recorded in all browsers. A copy can.
    const shown = element("after", HTMLCanvasElement);
    const copy = make("canvas", { width: source.width, height: source.height });
    const context = copy.getContext("2d")!;
    const show = async () => {
      context.drawImage(shown, 0, 0, copy.width, copy.height);
      await new Promise((resolve) => requestAnimationFrame(resolve));
    };
    const stream = copy.captureStream();
    const video = source.film?.video as (HTMLVideoElement & { captureStream?(): MediaStream }) | undefined;
    video?.captureStream?.().getAudioTracks().forEach((track) => stream.addTrack(track));
    const recorder = new MediaRecorder(stream, { mimeType: type, videoBitsPerSecond: 16e6 });
    const chunks: Blob[] = [];
    recorder.addEventListener("dataavailable", (event) => {
      if (event.data.size > 0) chunks.push(event.data);
    });
    const stopped = new Promise((resolve) => recorder.addEventListener("stop", resolve, { once: true }));
    await show();
    recorder.start(250);
    try {
      player.play();
      const start = performance.now();
      // The camera has no last frame: it is recorded for as long as a picture would play.
      const part = () => (source.film?.isCamera ? (performance.now() - start) / 1000 / player.length : (player.frame + 1) / player.frameCount);
      for (let last = 0, now = part(); player.isPlaying && now >= last && now < 1; last = now, now = part()) {
        if (this.showProgress(now)) break;
        await show();
      }
      player.pause();
      // On a slow machine the encoder may not have begun; it loses frames that it has not encoded.
      const until = performance.now() + recorderPatience;
      while (chunks.length === 0 && !this.isCancelled && performance.now() < until) await show();
    } finally {
      recorder.stop();
      await stopped;
    }
    return chunks;
  }

  private async png(source: Source, json: string, player: Player, frame: number): Promise<Blob> {
    const time = timeOfFrame(frame, player.rate);
    const { film } = source;
    if (!film) return this.worker.png(json, time);
    return this.worker.png(json, time, await (film.isCamera ? film.grab() : film.frame(frame, player.rate)));
  }

  private async task(busy: "files" | "film", act: () => Promise<void>): Promise<void> {
    this.requireIdle();
    this.busy = busy;
    this.isCancelled = false;
    this.progress.hidden = false;
    this.bar.value = 0;
    this.busyChanged();
    try {
      await act();
    } finally {
      this.busy = undefined;
      this.progress.hidden = true;
      this.busyChanged();
    }
  }

  /** Shows how far the task is. Returns whether the user cancelled it. */
  private showProgress(part: number): boolean {
    this.bar.value = part;
    return this.isCancelled;
  }
}
