// Looks as the page edits them, and the texts that carry them: presets, command lines, links.

import type { Interpolation, Key, LookState, Parameter, Time } from "./engine.js";

/** Frames a second, a fraction of integers. */
export interface FrameRate {
  numerator: number;
  denominator: number;
}

/** Returns the time of a frame, which counts from 0. */
export function timeOfFrame(frame: number, rate: FrameRate): Time {
  return { numerator: frame * rate.denominator, denominator: rate.numerator };
}

/** Returns a frame's time in seconds. */
export function secondsOf(frame: number, rate: FrameRate): number {
  return (frame * rate.denominator) / rate.numerator;
}

export function defaultLook(parameters: Parameter[]): LookState {
  return { values: parameters.map((parameter) => parameter.defaultValue), keys: parameters.map(() => []) };
}

/** Returns whether two looks draw the same. A single key is one value for all times. */
export function sameLook(a: LookState, b: LookState): boolean {
  const used = (look: LookState) =>
    JSON.stringify(look.keys.map((keys, i) => (keys.length > 1 ? keys : (keys[0]?.value ?? look.values[i]))));
  return used(a) === used(b);
}

/** Returns the look with another value; its keys, if it has any, go. */
export function withValue(look: LookState, index: number, value: number): LookState {
  return { values: look.values.with(index, value), keys: look.keys.with(index, []) };
}

/** Returns the look with a key added; one at the same time is replaced. */
export function withKey(look: LookState, index: number, key: Key): LookState {
  const others = look.keys[index]!.filter((other) => other.seconds !== key.seconds);
  const keys = [...others, key].sort((a, b) => a.seconds - b.seconds);
  return { values: look.values, keys: look.keys.with(index, keys) };
}

/** Returns the look without the key at a time. A parameter whose last key goes keeps that key's value. */
export function withoutKey(look: LookState, index: number, seconds: number): LookState {
  const keys = look.keys[index]!.filter((key) => key.seconds !== seconds);
  const last = look.keys[index]!.find((key) => key.seconds === seconds);
  if (keys.length === 0 && last) return withValue(look, index, last.value);
  return { values: look.values, keys: look.keys.with(index, keys) };
}

/** Returns the look with a key at another time. */
export function withMovedKey(look: LookState, index: number, from: number, to: number): LookState {
  const key = look.keys[index]!.find((candidate) => candidate.seconds === from);
  if (!key || from === to) return look;
  const rest = { values: look.values, keys: look.keys.with(index, look.keys[index]!.filter((other) => other !== key)) };
  return withKey(rest, index, { ...key, seconds: to });
}

/** Returns the interpolations that a parameter's keys may have, the usual one first. */
export function interpolationsOf(parameter: Parameter): Interpolation[] {
  return parameter.choices.length > 0 ? ["hold"] : ["linear", "ease", "hold"];
}

/** Returns a value as people type it: "Tile", "30". */
export function textOf(parameter: Parameter, value: number): string {
  return parameter.choices[value - 1] ?? String(value);
}

function keysText(parameter: Parameter, keys: Key[]): string {
  return keys
    .map((key) => {
      const way = key.interpolation === interpolationsOf(parameter)[0] ? "" : `@${key.interpolation}`;
      return `${key.seconds}:${textOf(parameter, key.value)}${way}`;
    })
    .join(",");
}

function isSet(look: LookState, parameters: Parameter[], index: number): boolean {
  return look.keys[index]!.length > 0 || look.values[index] !== parameters[index]!.defaultValue;
}

/** Returns the look as the JSON of a preset, for the engine to read. */
export function presetJson(look: LookState, parameters: Parameter[]): string {
  const values: Record<string, unknown> = {};
  const keys: Record<string, unknown> = {};
  parameters.forEach((parameter, i) => {
    if (!isSet(look, parameters, i)) return;
    const plain = (value: number) => parameter.choices[value - 1] ?? value;
    if (look.keys[i]!.length > 0) {
      keys[parameter.name] = look.keys[i]!.map((key) => ({ ...key, value: plain(key.value) }));
    } else {
      values[parameter.name] = plain(look.values[i]!);
    }
  });
  return JSON.stringify({ format: 1, name: "Look", description: "Look", parameters: values, keys });
}

/** Returns the part of a page's address after "#": what is set, by key. */
export function linkText(look: LookState, parameters: Parameter[]): string {
  const entries = new URLSearchParams();
  parameters.forEach((parameter, i) => {
    if (!isSet(look, parameters, i)) return;
    entries.set(parameter.key, look.keys[i]!.length > 0 ? keysText(parameter, look.keys[i]!) : textOf(parameter, look.values[i]!));
  });
  return entries.toString();
}

/** Returns a text as one word of a POSIX shell. */
export function shellWord(text: string): string {
  return /^[\w@%+=:,./-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`;
}

/** What a command line renders. */
export interface CommandTask {
  input: string;
  output: string;
  /** Options besides the look, such as --time. */
  options: string[];
}

/** Returns the command that draws what the page draws. preset: a built-in preset that the look equals. */
export function commandLine(look: LookState, parameters: Parameter[], task: CommandTask, preset?: string): string {
  // A name that begins with a dash would be an option.
  const file = (name: string) => (name.startsWith("-") ? `./${name}` : name);
  const words = ["lomix", "render", file(task.input), file(task.output), ...task.options];
  if (preset !== undefined) words.push("--preset", preset);
  parameters.forEach((parameter, i) => {
    if (preset !== undefined || !isSet(look, parameters, i)) return;
    const keys = look.keys[i]!;
    if (keys.length > 0) {
      words.push("--key", `${parameter.name}=${keysText(parameter, keys)}`);
    } else {
      words.push("--set", `${parameter.name}=${textOf(parameter, look.values[i]!)}`);
    }
  });
  return words.map(shellWord).join(" ");
}

/** Looks that were, for undo and redo. */
export class History {
  private readonly states: LookState[];
  private position = 0;
  private lastLabel = "";

  constructor(first: LookState) {
    this.states = [first];
  }

  get current(): LookState {
    return this.states[this.position]!;
  }
  get canUndo(): boolean {
    return this.position > 0;
  }
  get canRedo(): boolean {
    return this.position < this.states.length - 1;
  }

  /** Adds a state. Changes in a row with the same label, such as those of one drag, are one step; "" is never the
   *  same. */
  add(state: LookState, label: string): void {
    this.states.length = this.position + 1;
    if (label === "" || label !== this.lastLabel) {
      this.states.push(state);
      if (this.states.length > 500) this.states.shift();
    } else {
      this.states.pop();
      this.states.push(state);
    }
    this.position = this.states.length - 1;
    this.lastLabel = label;
  }

  /** Ends a row of changes that are one step. */
  commit(): void {
    this.lastLabel = "";
  }
  undo(): void {
    if (this.canUndo) --this.position;
    this.commit();
  }
  redo(): void {
    if (this.canRedo) ++this.position;
    this.commit();
  }
}

/** Returns a file's name without its extension. */
export function stem(name: string): string {
  return name.replace(/\.[^.]*$/, "") || name;
}
