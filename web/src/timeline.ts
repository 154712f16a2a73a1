// The time line: a lane for each parameter that has keys.

import { make, setPressed } from "./dom.js";
import type { Interpolation, Key, LookState, Parameter } from "./engine.js";
import { interpolationsOf } from "./look.js";

export interface TimelineEvents {
  /** Moves a key; returns the time that it has got. dragging: more moves of the same gesture may follow. */
  move(index: number, from: number, to: number, dragging: boolean): number;
  remove(index: number, seconds: number): void;
  setInterpolation(index: number, seconds: number, interpolation: Interpolation): void;
  /** The user selected a key: the playhead goes there. */
  seek(seconds: number): void;
}

export class Timeline {
  private selected: { index: number; seconds: number } | undefined;
  private look: LookState | undefined;
  private length = 10;
  private frameSeconds = 1 / 24;
  private readonly playheads: HTMLElement[] = [];

  constructor(
    private readonly parent: HTMLElement,
    private readonly parameters: Parameter[],
    private readonly events: TimelineEvents,
  ) {}

  /** Shows the keys of a look on a line of `length` seconds, whose frames last frameSeconds. */
  show(look: LookState, length: number, frameSeconds: number): void {
    if (look === this.look && length === this.length && frameSeconds === this.frameSeconds) return;
    Object.assign(this, { look, length, frameSeconds });
    this.draw();
  }

  /** Shows the playhead. */
  showTime(seconds: number): void {
    for (const playhead of this.playheads) playhead.style.left = this.place(seconds);
  }

  private place(seconds: number): string {
    return `${Math.min(Math.max(seconds / this.length, 0), 1) * 100}%`;
  }

  private draw(): void {
    const focused = document.activeElement instanceof HTMLElement && this.parent.contains(document.activeElement)
      ? document.activeElement.dataset.name
      : undefined;
    this.playheads.length = 0;
    const tracks = this.look!.keys.flatMap((keys, index) => (keys.length > 0 ? [this.track(index, keys)] : []));
    if (tracks.length === 0) {
      tracks.push(make("p", { className: "hint", textContent: "Press ◇ beside a control to change it over time." }));
    }
    const editor = this.editor();
    this.parent.replaceChildren(...tracks, ...(editor ? [editor] : []));
    if (focused !== undefined) {
      [...this.parent.querySelectorAll<HTMLElement>("[data-name]")].find((item) => item.dataset.name === focused)?.focus();
    }
  }

  private track(index: number, keys: Key[]): HTMLElement {
    const lane = make("div", { className: "lane" });
    const playhead = make("div", { className: "playhead" });
    this.playheads.push(playhead);
    lane.append(playhead, ...keys.map((key) => this.diamond(index, key, lane)));
    return make("div", { className: "track" }, make("span", { textContent: this.parameters[index]!.name }), lane);
  }

  private diamond(index: number, key: Key, lane: HTMLElement): HTMLElement {
    const parameter = this.parameters[index]!;
    const value = parameter.choices[key.value - 1] ?? `${key.value} ${parameter.unit}`;
    const button = make("button", {
      type: "button",
      textContent: { hold: "■", linear: "◆", ease: "●" }[key.interpolation],
      ariaLabel: `${parameter.name}: ${value} at ${key.seconds.toFixed(2)} s, ${key.interpolation}`,
      title: `${value} at ${key.seconds.toFixed(2)} s, ${key.interpolation}. Arrow keys move it, Delete deletes it.`,
    });
    button.dataset.name = `${index} ${key.seconds}`;
    button.style.left = this.place(key.seconds);
    setPressed(button, this.selected?.index === index && this.selected.seconds === key.seconds);
    let { seconds } = key;
    const move = (to: number, dragging: boolean) => {
      seconds = this.move(index, seconds, to, dragging);
    };
    button.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -1, ArrowRight: 1, PageDown: -10, PageUp: 10 }[event.key];
      if (by !== undefined) {
        move(seconds + by * this.frameSeconds, false);
      } else if (event.key === "Delete" || event.key === "Backspace") {
        this.remove(index, seconds);
      } else {
        return;
      }
      event.preventDefault();
      event.stopPropagation();
    });
    button.addEventListener("click", () => this.select(index, seconds));
    button.addEventListener("pointerdown", (event) => {
      this.drag(event, lane, seconds, move);
    });
    return button;
  }

  // The lane is redrawn while a key moves, so the pointer is followed on the document.
  private drag(event: PointerEvent, lane: HTMLElement, start: number, move: (to: number, dragging: boolean) => void): void {
    const secondsPerPixel = this.length / lane.getBoundingClientRect().width;
    const at = (now: PointerEvent) => start + (now.clientX - event.clientX) * secondsPerPixel;
    let moved = false;
    const control = new AbortController();
    const follow = (now: PointerEvent) => {
      moved ||= Math.abs(now.clientX - event.clientX) > 2;
      if (moved) move(at(now), true);
    };
    const finish = (now: PointerEvent) => {
      control.abort();
      if (moved) move(at(now), false);
    };
    document.addEventListener("pointermove", follow, { signal: control.signal });
    document.addEventListener("pointerup", finish, { signal: control.signal });
    document.addEventListener("pointercancel", () => control.abort(), { signal: control.signal });
  }

  private select(index: number, seconds: number): void {
    this.selected = { index, seconds };
    this.events.seek(seconds);
    this.draw();
  }

  // The events draw the lanes again, with new elements. The focus stays on the key.
  private move(index: number, from: number, to: number, dragging: boolean): number {
    const hadFocus = this.parent.contains(document.activeElement);
    const seconds = this.events.move(index, from, Math.max(0, to), dragging);
    this.selected = { index, seconds };
    this.draw();
    if (hadFocus) this.parent.querySelector<HTMLElement>('.lane button[aria-pressed="true"]')?.focus();
    return seconds;
  }

  private remove(index: number, seconds: number): void {
    this.selected = undefined;
    this.events.remove(index, seconds);
    this.parent.querySelector<HTMLElement>(".lane button")?.focus();
  }

  // What the selected key can be changed to.
  private editor(): HTMLElement | undefined {
    const { selected } = this;
    const key = selected && this.look!.keys[selected.index]!.find((other) => other.seconds === selected.seconds);
    if (!selected || !key) return undefined;
    const parameter = this.parameters[selected.index]!;
    const time = make("input", { type: "number", min: "0", step: "any", value: String(key.seconds), ariaLabel: "Time of the key in seconds" });
    time.dataset.name = "time";
    time.addEventListener("change", () => {
      if (Number.isNaN(time.valueAsNumber)) return;
      this.move(selected.index, selected.seconds, time.valueAsNumber, false);
    });
    const way = make("select", { ariaLabel: "Way to the next key" });
    way.dataset.name = "way";
    way.append(...interpolationsOf(parameter).map((name) => make("option", { textContent: name, selected: name === key.interpolation })));
    way.addEventListener("change", () => this.events.setInterpolation(selected.index, selected.seconds, way.value as Interpolation));
    const remove = make("button", { type: "button", textContent: "Delete key" });
    remove.dataset.name = "delete";
    remove.addEventListener("click", () => this.remove(selected.index, selected.seconds));
    return make("div", { className: "key-editor", role: "group", ariaLabel: "Selected key" },
      `${parameter.name} at`, time, "s", way, remove);
  }
}
