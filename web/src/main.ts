// The page: connects the panel, the stage, the clock and the worker.

import { Controls } from "./controls.js";
import { element, onPress, setPressed } from "./dom.js";
import type { Description, Key, LookState } from "./engine.js";
import { Film } from "./film.js";
import { Gallery } from "./gallery.js";
import * as looks from "./look.js";
import { Player } from "./player.js";
import { drawPlot } from "./plot.js";
import type { DrawnFrame, WorkerApi } from "./protocol.js";
import { frameRates } from "./rate.js";
import { remote, type Remote } from "./rpc.js";
import { Saver, type Source } from "./save.js";
import { Timeline } from "./timeline.js";
import { Viewer } from "./viewer.js";

const slowMilliseconds = 45;
const thumbnailWidth = 160;

function say(text: string): void {
  element("status", HTMLElement).textContent = text;
}

function showError(error: unknown): void {
  element("error-text", HTMLElement).textContent = error instanceof Error ? error.message : String(error);
  element("error", HTMLElement).hidden = false;
}

/** Runs a task and shows its error, if any. */
function run(task: Promise<unknown>): void {
  task.catch(showError);
}

async function fetchFile(address: string, name: string): Promise<Blob> {
  const response = await fetch(address);
  if (!response.ok) throw new Error(`${name}: it cannot be read (reload the page, or open the file again)`);
  return response.blob();
}

class App {
  private readonly parameters;
  private readonly controls: Controls;
  private readonly timeline: Timeline;
  private readonly gallery: Gallery;
  private readonly viewer: Viewer;
  private readonly player: Player;
  private readonly saver: Saver;
  private history: looks.History;
  private readonly presetStates = new Map<string, LookState>();
  private readonly calm = matchMedia("(prefers-reduced-motion: reduce)");
  private source: Source | undefined;
  private json = "";
  private isDrawing = false;
  private isDrawDue = false;
  // Whether the worker has no frame of the film yet that the clock shows.
  private needsFrame = false;
  private reduction = 1;
  private slowness = 0;
  private lastThumbnails = 0;
  private profiles: Float32Array | undefined;

  constructor(
    private readonly worker: Remote<WorkerApi>,
    private readonly description: Description,
  ) {
    this.parameters = description.parameters;
    this.history = new looks.History(looks.defaultLook(this.parameters));
    this.controls = new Controls(element("controls", HTMLElement), this.parameters, {
      change: (index, value, dragging) => this.changeValue(index, value, dragging),
      toggleKey: (index) => this.toggleKey(index),
    });
    this.timeline = new Timeline(element("tracks", HTMLElement), this.parameters, {
      move: (index, from, to, dragging) => this.moveKey(index, from, to, dragging),
      remove: (index, seconds) => this.setLook(looks.withoutKey(this.look, index, seconds), ""),
      setInterpolation: (index, seconds, interpolation) => {
        const key = this.look.keys[index]!.find((other) => other.seconds === seconds);
        if (key) this.setLook(looks.withKey(this.look, index, { ...key, interpolation }), "");
      },
      seek: (seconds) => this.player.seek(seconds),
    });
    this.gallery = new Gallery(description.presets, (preset) => this.choosePreset(preset.id));
    this.viewer = new Viewer(() => this.draw(), () => this.showPlot());
    this.player = new Player(() => this.frameChanged());
    this.saver = new Saver(worker, { say, showError }, () => this.showBusy());
    this.json = looks.presetJson(this.look, this.parameters);
    this.connectButtons();
    this.connectFiles();
  }

  async start(): Promise<void> {
    const [after, before] = ["after", "before"].map((id) => element(id, HTMLCanvasElement).transferControlToOffscreen());
    await this.worker.show(after!, before!);
    for (const preset of this.description.presets) {
      this.presetStates.set(preset.id, await this.worker.lookOfPreset(preset.json));
    }
    this.showFlicker();
    this.history = new looks.History(this.presetStates.get("weak-aerial") ?? this.look);
    this.lookChanged();
    const served = options.get("preview");
    if (served) await this.openServed(served).catch(showError);
    if (!this.source) await this.openSample("scene.jpg");
    await this.openLink();
    addEventListener("hashchange", () => run(this.openLink()));
    if (!this.calm.matches) this.player.play();
  }

  // ---------------------------------------------------------------------------------- sources

  private async openFiles(files: File[]): Promise<void> {
    const [file] = files;
    if (!file) return;
    this.saver.requireIdle();
    element("error", HTMLElement).hidden = true;
    if (file.name.endsWith(".json") || file.type === "application/json") {
      await this.openPreset(file);
    } else if (files.length > 1) {
      await this.openPicture(file, file.name);
      say(`The first of ${files.length} files is open. "Many pictures…" draws all of them with this look.`);
    } else if (Film.isFilm(file)) {
      await this.openFilm(file.name, file);
    } else {
      await this.openPicture(file, file.name);
    }
  }

  private async openSample(name: string): Promise<void> {
    await this.openPicture(await fetchFile(name, name), name);
  }

  // The file of "lomix preview". A film is not copied: the browser reads what it plays.
  private async openServed(name: string): Promise<void> {
    if (Film.isFilm({ name, type: "" })) return this.openFilm(name, "file");
    await this.openFiles([new File([await fetchFile("file", name)], name)]);
  }

  private async openPicture(file: Blob, name: string): Promise<void> {
    say(`Opening ${name}…`);
    const { width, height, bits } = await this.worker.open(file, name);
    this.setSource({ name, width, height, bits, film: undefined }, frameRates[0]!);
    say(bits > 8 ? `${name} has ${bits} bits a channel; this page draws 8 (the lomix command keeps them).` : "");
  }

  private async openFilm(name: string, from: File | string): Promise<void> {
    say(`Opening ${name}…`);
    const film = await Film.open(name, from);
    const rate = await film.findRate();
    this.setSource({ name, width: film.width, height: film.height, bits: 8, film }, rate);
    say("");
  }

  private async openCamera(): Promise<void> {
    const film = await Film.openCamera();
    this.setSource({ name: "camera", width: film.width, height: film.height, bits: 8, film }, frameRates[4]!);
    this.player.play();
  }

  private async openPreset(file: Blob): Promise<void> {
    this.setLook(await this.worker.lookOfPreset(await file.text()), "");
    this.makeRoomForKeys();
  }

  private async openLink(): Promise<void> {
    const entries = [...new URLSearchParams(location.hash.slice(1))];
    if (entries.length === 0) return;
    this.setLook(await this.worker.lookOfLink(entries), "");
    this.makeRoomForKeys();
  }

  private setSource(source: Source, rate: looks.FrameRate): void {
    this.source?.film?.close();
    this.source = source;
    this.needsFrame = source.film !== undefined;
    this.reduction = 1;
    this.slowness = 0;
    this.lastThumbnails = 0;
    this.viewer.setSize(source.width, source.height);
    this.player.setFilm(source.film, rate);
    this.draw();
  }

  // ------------------------------------------------------------------------------------ looks

  private get look(): LookState {
    return this.history.current;
  }

  /** The preset that the look equals. */
  private get presetId(): string | undefined {
    return [...this.presetStates].find(([, state]) => looks.sameLook(state, this.look))?.[0];
  }

  private setLook(look: LookState, label: string): void {
    this.history.add(look, label);
    this.lookChanged();
  }

  private lookChanged(): void {
    this.json = looks.presetJson(this.look, this.parameters);
    element("undo", HTMLButtonElement).disabled = !this.history.canUndo;
    element("redo", HTMLButtonElement).disabled = !this.history.canRedo;
    this.gallery.mark(this.presetId);
    this.showTexts();
    this.showKeys();
    this.draw();
  }

  private showKeys(): void {
    this.timeline.show(this.look, this.player.length, this.player.frameSeconds);
    this.timeline.showTime(this.player.time);
  }

  private changeValue(index: number, value: number, dragging: boolean): void {
    const label = `value ${index}`;
    if (this.look.keys[index]!.length > 0) {
      this.setLook(looks.withKey(this.look, index, this.newKey(index, value)), label);
    } else {
      this.setLook(looks.withValue(this.look, index, value), label);
    }
    if (!dragging) this.history.commit();
  }

  private newKey(index: number, value: number): Key {
    const seconds = this.keyAtPlayhead(this.look.keys[index]!)?.seconds ?? this.player.time;
    const before = this.look.keys[index]!.filter((key) => key.seconds <= seconds).at(-1);
    return { seconds, value, interpolation: before?.interpolation ?? looks.interpolationsOf(this.parameters[index]!)[0]! };
  }

  private toggleKey(index: number): void {
    const existing = this.keyAtPlayhead(this.look.keys[index]!);
    const look = existing
      ? looks.withoutKey(this.look, index, existing.seconds)
      : looks.withKey(this.look, index, this.newKey(index, this.shownValues[index]!));
    this.setLook(look, "");
  }

  // The key whose frame is shown.
  private keyAtPlayhead(keys: Key[]): Key | undefined {
    return keys.find((key) => Math.abs(key.seconds - this.player.time) < this.player.frameSeconds / 2);
  }

  // Keys snap to frames.
  private moveKey(index: number, from: number, to: number, dragging: boolean): number {
    const { rate, frameCount } = this.player;
    const frame = Math.min(Math.round((to * rate.numerator) / rate.denominator), frameCount);
    const seconds = looks.secondsOf(frame, rate);
    const isTaken = this.look.keys[index]!.some((key) => key.seconds === seconds);
    if (!isTaken) this.setLook(looks.withMovedKey(this.look, index, from, seconds), `move ${index}`);
    if (!dragging) this.history.commit();
    return isTaken ? from : seconds;
  }

  private choosePreset(id: string): void {
    this.setLook(this.presetStates.get(id)!, "");
    this.makeRoomForKeys();
    if (this.calm.matches) this.player.pause();
  }

  // The line of a picture is at least as long as the keys.
  private makeRoomForKeys(): void {
    const last = Math.max(0, ...this.look.keys.flat().map((key) => key.seconds));
    if (!this.source?.film && last > this.player.length) this.player.setLength(last);
  }

  // ---------------------------------------------------------------------------------- drawing

  private shownValues: ArrayLike<number> = [];

  private time() {
    return looks.timeOfFrame(this.player.frame, this.player.rate);
  }

  private frameChanged(): void {
    this.needsFrame = this.source?.film !== undefined;
    this.showTexts();
    this.draw();
  }

  /** Draws soon. While a frame is being drawn, others wait and only the newest is drawn. */
  private draw(): void {
    this.isDrawDue = true;
    if (!this.isDrawing && this.source && !this.saver.drawsItself) run(this.drawAll());
  }

  private async drawAll(): Promise<void> {
    this.isDrawing = true;
    this.viewer.stage.ariaBusy = "true";
    try {
      while (this.isDrawDue && !this.saver.drawsItself) {
        this.isDrawDue = false;
        // A picture that stands still is drawn whole.
        const reduction = this.player.isPlaying ? this.reduction : 1;
        const film = this.source!.film;
        const bitmap = film && this.needsFrame ? await film.grab() : undefined;
        this.needsFrame = false;
        const request = { json: this.json, time: this.time(), reduction, before: this.viewer.isCompared };
        const frame = await this.worker.draw(bitmap ? { ...request, bitmap } : request);
        this.showFrame(frame, reduction);
        await this.drawThumbnails();
      }
    } finally {
      this.isDrawing = false;
      this.viewer.stage.ariaBusy = "false";
    }
  }

  private showFrame(frame: DrawnFrame, reduction: number): void {
    this.shownValues = frame.values;
    this.profiles = frame.profiles;
    const { keys } = this.look;
    const shown = frame.values.slice();
    keys.forEach((list, i) => {
      if (list.length === 0) shown[i] = this.look.values[i]!;
    });
    this.controls.show(shown, keys.map((list) => list.length > 0), keys.map((list) => this.keyAtPlayhead(list) !== undefined));
    this.showKeys();
    this.showPlot();
    const half = reduction > 1 ? ", half resolution: this machine is slow" : "";
    element("facts", HTMLElement).textContent = `${frame.width} × ${frame.height}, ${frame.milliseconds.toFixed(1)} ms${half}`;
    if (this.player.isPlaying && reduction === 1) {
      this.slowness = 0.8 * this.slowness + 0.2 * frame.milliseconds;
      if (this.slowness > slowMilliseconds) this.reduction = 2;
    }
  }

  private showPlot(): void {
    if (this.profiles && this.viewer.stage.classList.contains("plotted")) drawPlot(this.profiles);
  }

  private async drawThumbnails(): Promise<void> {
    const now = performance.now();
    const isFirst = this.lastThumbnails === 0;
    const isDue = this.player.isPlaying && !this.saver.isBusy && !this.calm.matches && now - this.lastThumbnails > 250;
    if (!isFirst && !(isDue && this.gallery.isVisible)) return;
    this.lastThumbnails = now;
    // At 0 seconds presets with keys have not begun.
    const time = this.player.isPlaying ? this.time() : { numerator: 13, denominator: 10 };
    this.gallery.showPictures(await this.worker.thumbnails(thumbnailWidth, time));
  }

  private showFlicker(): void {
    element("flicker-state", HTMLElement).textContent = this.calm.matches
      ? "Your system asks for less motion, so nothing plays until you press Play."
      : "Press Space to pause.";
  }

  // -------------------------------------------------------------------------------- take home

  private showTexts(): void {
    if (!this.source) return;
    const { name, film, bits } = this.source;
    const { numerator, denominator } = this.time();
    const isVideo = film !== undefined;
    const options = isVideo || numerator === 0 ? [] : ["--time", `${numerator}/${denominator}`];
    if (bits > 8) options.push("--depth", "8");
    const task = { input: name, output: `${looks.stem(name)}-lomix.${isVideo ? "mp4" : "png"}`, options };
    element("command", HTMLTextAreaElement).value = looks.commandLine(this.look, this.parameters, task, this.presetId);
  }

  private async savePreset(): Promise<void> {
    const id = this.presetId;
    const preset = this.description.presets.find((other) => other.id === id);
    const text = await this.worker.presetOfLook(this.json, preset?.name ?? "", preset?.description ?? "");
    this.saver.saveText(text, `${id ?? "my-look"}.json`);
  }

  private async copy(text: string, what: string): Promise<void> {
    try {
      await navigator.clipboard.writeText(text);
      say(`${what} copied.`);
    } catch {
      throw new Error(`${what}: the browser does not let this page copy it (select the text and copy it yourself): ${text}`);
    }
  }

  private link(): string {
    return `${location.href.split("#")[0]}#${looks.linkText(this.look, this.parameters)}`;
  }

  /** Runs a task of the saver, while nothing plays but for it. */
  private async save(task: (source: Source) => Promise<void>): Promise<void> {
    this.saver.requireIdle();
    if (!this.source) return;
    const wasPlaying = this.player.isPlaying;
    this.player.pause();
    try {
      await task(this.source);
    } finally {
      this.frameChanged();
      if (wasPlaying) this.player.play();
    }
  }

  // Another picture or time would get into the file.
  private showBusy(): void {
    for (const id of ["sources", "view"]) element(id, HTMLElement).inert = this.saver.isBusy;
  }

  // ---------------------------------------------------------------------------------- buttons

  private connectButtons(): void {
    onPress("card", () => run(this.openSample("card.png")));
    onPress("scene", () => run(this.openSample("scene.jpg")));
    onPress("camera", () => run(this.openCamera()));
    onPress("error-close", () => (element("error", HTMLElement).hidden = true));
    onPress("flicker-close", () => (element("flicker", HTMLElement).hidden = true));
    onPress("undo", () => this.undo());
    onPress("redo", () => this.redo());
    onPress("reset", () => this.setLook(looks.defaultLook(this.parameters), ""));
    const profiles = onPress("profiles", () => {
      setPressed(profiles, this.viewer.stage.classList.toggle("plotted"));
      this.viewer.setZoom(undefined);
    });
    onPress("save-png", () => run(this.save((source) => this.saver.savePng(source, this.json, this.player))));
    onPress("save-zip", () => run(this.save((source) => this.saver.saveSequence(source, this.json, this.player))));
    onPress("save-film", () => run(this.save((source) => this.saver.saveFilm(source, this.player))));
    onPress("save-preset", () => run(this.savePreset()));
    onPress("copy-link", () => run(this.copy(this.link(), "Link")));
    onPress("copy-command", () => run(this.copy(element("command", HTMLTextAreaElement).value, "Command")));
    addEventListener("keydown", (event) => this.key(event));
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.showPlot());
  }

  private connectFiles(): void {
    const files = element("file", HTMLInputElement);
    onPress("open", () => files.click());
    files.addEventListener("change", () => {
      run(this.openFiles([...(files.files ?? [])]));
      files.value = "";
    });
    const many = element("many", HTMLInputElement);
    onPress("save-many", () => many.click());
    many.addEventListener("change", () => {
      const pictures = [...(many.files ?? [])];
      run(this.save(() => this.saver.saveMany(pictures, this.json, this.time())));
      many.value = "";
    });
    const { stage } = this.viewer;
    addEventListener("dragover", (event) => {
      event.preventDefault();
      stage.classList.add("dragged");
    });
    addEventListener("dragleave", () => stage.classList.remove("dragged"));
    addEventListener("drop", (event) => {
      event.preventDefault();
      stage.classList.remove("dragged");
      run(this.openFiles([...(event.dataTransfer?.files ?? [])]));
    });
    addEventListener("paste", (event) => run(this.openFiles([...(event.clipboardData?.files ?? [])])));
  }

  private undo(): void {
    this.history.undo();
    this.lookChanged();
  }
  private redo(): void {
    this.history.redo();
    this.lookChanged();
  }

  private key(event: KeyboardEvent): void {
    const target = event.target instanceof HTMLElement ? event.target : document.body;
    const isTyping = target.matches("textarea, select") || (target instanceof HTMLInputElement && target.type !== "range");
    const key = event.key.toLowerCase();
    if ((event.ctrlKey || event.metaKey) && !isTyping && (key === "z" || key === "y")) {
      if (key === "y" || event.shiftKey) this.redo();
      else this.undo();
      event.preventDefault();
      return;
    }
    if ((target !== document.body && target !== this.viewer.stage) || this.saver.isBusy) return;
    const acts: Record<string, () => void> = {
      " ": () => this.player.toggle(),
      arrowleft: () => this.player.step(-1),
      arrowright: () => this.player.step(1),
      home: () => this.player.seek(0),
      end: () => this.player.seek(this.player.length),
      "+": () => this.viewer.zoomBy(2),
      "-": () => this.viewer.zoomBy(0.5),
    };
    const act = event.ctrlKey || event.metaKey || event.altKey ? undefined : acts[key];
    if (!act) return;
    act();
    event.preventDefault();
  }
}

async function showBenchmark(worker: Remote<WorkerApi>): Promise<void> {
  const everything = "signal_distortion=35&scan_distortion=25&horizontal_sync=40&vertical_sync=-15&bars_overlay=50&noise=30&scanline_overlay=40&blend_with_original=25";
  const { parameters } = await description;
  const look = await worker.lookOfLink([...new URLSearchParams(everything)]);
  const result = await worker.benchmark(looks.presetJson(look, parameters), 1920, 1080, 100);
  say(
    `${result.width} × ${result.height}, everything on, ${result.instructionSet}: ${result.effect.toFixed(1)} ms a frame, ` +
      `${result.shown.toFixed(1)} ms with showing it, ${(1000 / result.shown).toFixed(0)} frames a second`,
  );
}

const options = new URLSearchParams(location.search);
const worker = remote<WorkerApi>(new Worker("worker.js"));
const description = worker.start("", options.has("plain"));
if (options.has("bench")) {
  run(description.then(() => showBenchmark(worker)));
} else {
  run(description.then((found) => new App(worker, found).start()));
}
// The server of "lomix preview" ends, and another address follows: there is nothing to keep.
if ("serviceWorker" in navigator && !options.has("preview")) navigator.serviceWorker.register("service.js").catch(() => undefined);
