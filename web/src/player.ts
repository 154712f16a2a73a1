// The clock: which frame is shown, and when the next one is due.

import { element, onPress } from "./dom.js";
import type { Film } from "./film.js";
import { secondsOf, type FrameRate } from "./look.js";
import { frameRates } from "./rate.js";

export class Player {
  /** The frame that is shown, from 0. */
  frame = 0;
  rate: FrameRate = frameRates[0]!;
  private isRunning = false;
  private film: Film | undefined;
  // Seconds since frame 0, where the clock stands between frames.
  private seconds = 0;
  private lastTick = 0;
  private readonly playButton: HTMLButtonElement;
  private readonly scrub = element("scrub", HTMLInputElement);
  private readonly clock = element("clock", HTMLElement);
  private readonly rateChoice = element("rate", HTMLSelectElement);
  private readonly speedChoice = element("speed", HTMLSelectElement);
  private readonly lengthField = element("length", HTMLInputElement);

  /** changed: called when another frame is due, or length or rate have changed. */
  constructor(private readonly changed: () => void) {
    this.playButton = onPress("play", () => this.toggle());
    onPress("previous", () => this.step(-1));
    onPress("next", () => this.step(1));
    this.scrub.addEventListener("input", () => this.seekFrame(Number(this.scrub.value)));
    this.rateChoice.append(
      ...frameRates.map(({ numerator, denominator }) => new Option(String(Number((numerator / denominator).toFixed(3))))),
    );
    this.rateChoice.addEventListener("change", () => this.setRate(frameRates[this.rateChoice.selectedIndex]!));
    this.speedChoice.addEventListener("change", () => this.applySpeed());
    this.lengthField.addEventListener("change", () => {
      if (!this.lengthField.checkValidity() || this.lengthField.value === "") this.lengthField.value = "10";
      this.setRate(this.rate);
    });
    this.setRate(this.rate);
  }

  /** Length of the line in seconds. */
  get length(): number {
    return this.film && !this.film.isCamera ? this.film.duration : this.lengthField.valueAsNumber;
  }
  get frameCount(): number {
    return Math.max(1, Math.round((this.length * this.rate.numerator) / this.rate.denominator));
  }
  get frameSeconds(): number {
    return this.rate.denominator / this.rate.numerator;
  }
  get time(): number {
    return secondsOf(this.frame, this.rate);
  }
  get isPlaying(): boolean {
    return this.isRunning;
  }

  /** Takes a film, whose own clock counts, or nothing for a picture. */
  setFilm(film: Film | undefined, rate: FrameRate): void {
    this.pause();
    this.film = film;
    this.lengthField.disabled = film !== undefined;
    film?.onEachFrame((seconds) => {
      const frame = Math.round((seconds * this.rate.numerator) / this.rate.denominator);
      this.showFrame(film.isCamera ? frame : Math.min(frame, this.frameCount - 1));
      this.changed();
    });
    if (film && !film.isCamera) {
      film.video.onended = () => {
        film.video.currentTime = 0;
        if (this.isRunning) void film.video.play();
      };
    }
    this.setRate(rate);
    this.applySpeed();
    this.showFrame(0);
  }

  setLength(seconds: number): void {
    this.lengthField.value = String(Math.ceil(seconds));
    this.setRate(this.rate);
  }

  toggle(): void {
    if (this.isRunning) this.pause();
    else this.play();
  }

  play(): void {
    this.isRunning = true;
    this.playButton.textContent = "Pause";
    if (this.film) {
      this.film.video.play().catch(() => this.pause());
    } else {
      this.lastTick = performance.now();
      this.seconds = this.time;
      requestAnimationFrame((now) => this.tick(now));
    }
  }

  pause(): void {
    const wasRunning = this.isRunning;
    this.isRunning = false;
    this.playButton.textContent = "Play";
    if (this.film && !this.film.video.paused) {
      this.film.video.pause();
      this.seekFilm(this.frame);
    } else if (wasRunning) {
      // What was drawn at half resolution is now drawn whole.
      this.changed();
    }
  }

  step(by: number): void {
    this.pause();
    this.seekFrame((this.frame + by + this.frameCount) % this.frameCount);
  }

  /** Shows the frame that is nearest to a time. */
  seek(seconds: number): void {
    this.seekFrame(Math.min(Math.round(seconds / this.frameSeconds), this.frameCount - 1));
  }

  private seekFrame(frame: number): void {
    this.showFrame(frame);
    this.seconds = this.time;
    if (this.film && !this.film.isCamera) this.seekFilm(frame);
    else this.changed();
  }

  // The browser does not always report a frame that it has shown before.
  private seekFilm(frame: number): void {
    void this.film?.seek((frame + 0.5) * this.frameSeconds).then(this.changed);
  }

  private tick(now: number): void {
    if (!this.isRunning || this.film) return;
    this.seconds += ((now - this.lastTick) / 1000) * Number(this.speedChoice.value);
    this.lastTick = now;
    const frame = Math.floor(this.seconds / this.frameSeconds + 1e-9);
    if (frame >= this.frameCount) this.seconds = 0;
    if (frame !== this.frame) {
      this.showFrame(frame % this.frameCount);
      this.changed();
    }
    requestAnimationFrame((next) => this.tick(next));
  }

  private showFrame(frame: number): void {
    this.frame = Math.max(0, frame);
    this.scrub.value = String(this.frame);
    this.scrub.setAttribute("aria-valuetext", `frame ${this.frame}, ${this.time.toFixed(2)} seconds`);
    this.clock.textContent = `${this.time.toFixed(2)} s, frame ${this.frame}`;
  }

  private setRate(rate: FrameRate): void {
    this.rate = rate;
    this.rateChoice.selectedIndex = frameRates.findIndex(
      ({ numerator, denominator }) => numerator === rate.numerator && denominator === rate.denominator,
    );
    this.scrub.max = String(this.frameCount - 1);
    this.showFrame(Math.min(this.frame, this.frameCount - 1));
    this.changed();
  }

  private applySpeed(): void {
    if (this.film) this.film.video.playbackRate = Number(this.speedChoice.value);
  }
}
