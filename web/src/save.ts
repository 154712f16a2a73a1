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

const filmTypes = ["video/webm;codecs=vp9,opus", "video/webm;codecs=vp8,opus", "video/webm"];

export class Saver {
  private isCancelled = false;
  private busy = false;
  private readonly progress = element("progress", HTMLElement);
  private readonly bar = element("progress-bar", HTMLProgressElement);

  constructor(
    private readonly worker: Remote<WorkerApi>,
    private readonly events: SaverEvents,
  ) {
    onPress("cancel", () => (this.isCancelled = true));
  }

  /** Whether the worker's source and the film's clock belong to a task. */
  get isBusy(): boolean {
    return this.busy;
  }

  saveText(text: string, name: string): void {
    download(new Blob([text], { type: "application/json" }), name);
  }

  /** Saves the frame that is shown, with all its pixels. */
  async savePng(source: Source, json: string, player: Player): Promise<void> {
    await this.task(async () => {
      download(await this.png(source, json, player, player.frame), `${stem(source.name)}-lomix.png`);
    });
  }

  /** Saves every frame as a PNG in a ZIP file. */
  async saveSequence(source: Source, json: string, player: Player): Promise<void> {
    if (source.film?.isCamera) throw new Error("camera: it has no end (save a picture of it, or a film)");
    await this.task(async () => {
      const count = player.frameCount;
      const digits = Math.max(4, String(count - 1).length);
      await this.worker.zipBegin();
      for (let frame = 0; frame < count; ++frame) {
        if (this.showProgress(frame / count)) return this.events.say("Cancelled; nothing was saved.");
        const file = await this.png(source, json, player, frame);
        await this.worker.zipAdd(`${stem(source.name)}-lomix.${String(frame).padStart(digits, "0")}.png`, file);
      }
      download(await this.worker.zipEnd(), `${stem(source.name)}-lomix.zip`);
      this.events.say(`${count} frames saved.`);
    });
  }

  /** Saves many pictures with one look, in a ZIP file. A file that is no picture is left out and named. */
  async saveMany(files: File[], json: string, time: Time): Promise<void> {
    if (files.length === 0) return;
    await this.task(async () => {
      const names = new Set<string>();
      const faults: string[] = [];
      await this.worker.zipBegin();
      for (const [i, file] of files.entries()) {
        if (this.showProgress(i / files.length)) return this.events.say("Cancelled; nothing was saved.");
        try {
          const png = await this.worker.pictureToPng(file, file.name, json, time);
          let name = `${stem(file.name)}-lomix.png`;
          for (let n = 2; names.has(name); ++n) name = `${stem(file.name)}-lomix-${n}.png`;
          names.add(name);
          await this.worker.zipAdd(name, png);
        } catch (error) {
          faults.push(error instanceof Error ? error.message : String(error));
        }
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
    // The canvas that the worker draws into cannot be recorded in all browsers. A copy can.
    const shown = element("after", HTMLCanvasElement);
    const copy = make("canvas", { width: source.width, height: source.height });
    const context = copy.getContext("2d")!;
    const stream = copy.captureStream();
    const video = source.film?.video as (HTMLVideoElement & { captureStream?(): MediaStream }) | undefined;
    video?.captureStream?.().getAudioTracks().forEach((track) => stream.addTrack(track));
    const recorder = new MediaRecorder(stream, { mimeType: type, videoBitsPerSecond: 16e6 });
    const chunks: Blob[] = [];
    recorder.addEventListener("dataavailable", (event) => chunks.push(event.data));
    const stopped = new Promise((resolve) => recorder.addEventListener("stop", resolve, { once: true }));
    this.isCancelled = false;
    this.progress.hidden = false;
    try {
      player.pause();
      player.seek(0);
      await source.film?.seek(0);
      recorder.start(1000);
      player.play();
      for (let last = -1; player.isPlaying && player.frame >= last && player.frame < player.frameCount - 1; ) {
        last = player.frame;
        if (this.showProgress(last / player.frameCount)) break;
        context.drawImage(shown, 0, 0, copy.width, copy.height);
        await new Promise((resolve) => requestAnimationFrame(resolve));
      }
    } finally {
      recorder.stop();
      await stopped;
      player.pause();
      this.progress.hidden = true;
    }
    if (this.isCancelled) return this.events.say("Cancelled; nothing was saved.");
    download(new Blob(chunks, { type: "video/webm" }), `${stem(source.name)}-lomix.webm`);
  }

  private async png(source: Source, json: string, player: Player, frame: number): Promise<Blob> {
    const time = timeOfFrame(frame, player.rate);
    const { film } = source;
    if (!film) return this.worker.png(json, time);
    return this.worker.png(json, time, await (film.isCamera ? film.grab() : film.frame(frame, player.rate)));
  }

  private async task(act: () => Promise<void>): Promise<void> {
    if (this.busy) throw new Error("saving: another file is being saved (wait for it, or cancel it)");
    this.busy = true;
    this.isCancelled = false;
    this.progress.hidden = false;
    this.bar.value = 0;
    try {
      await act();
    } finally {
      this.busy = false;
      this.progress.hidden = true;
    }
  }

  /** Shows how far the task is. Returns whether the user cancelled it. */
  private showProgress(part: number): boolean {
    this.bar.value = part;
    return this.isCancelled;
  }
}
