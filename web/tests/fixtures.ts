// What the tests share: the built page, the golden frames, the lomix command.

import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { decode } from "fast-png";
import type { LookState, Pixels } from "../src/engine.js";
import { pixelsOfPng } from "../src/pictures.js";

function setting(name: string): string {
  const value = process.env[name];
  if (value === undefined) throw new Error(`${name} is not set (run tools/check_web.sh)`);
  return value;
}

/** Folder of the built page. */
export const page = setting("LOMIX_WEB_PAGE");
/** The lomix command. */
export const lomix = setting("LOMIX_COMMAND");
/** A folder for this run's files. */
export const scratch = mkdtempSync(join(tmpdir(), "lomix-web-"));
process.on("exit", () => rmSync(scratch, { recursive: true, force: true }));

export interface GoldenFrame {
  name: string;
  width: number;
  height: number;
  values: number[];
  time: [number, number];
  scale: [number, number];
  /** RGBA in hexadecimal digits. */
  input: string;
  output: string;
}

export function goldenFrames(): GoldenFrame[] {
  return JSON.parse(readFileSync(setting("LOMIX_GOLDEN_FRAMES"), "utf8")) as GoldenFrame[];
}

export function bytesOf(hex: string): Uint8ClampedArray {
  return new Uint8ClampedArray(Buffer.from(hex, "hex"));
}

export function lookOfValues(values: number[]): LookState {
  return { values, keys: values.map(() => []) };
}

export function readPng(file: string | Uint8Array): Pixels {
  return pixelsOfPng(decode(typeof file === "string" ? readFileSync(file) : file));
}

/** Runs the command in the scratch folder. */
export function run(...parameters: string[]): string {
  return execFileSync(lomix, parameters, { cwd: scratch, encoding: "utf8" });
}

/** Returns how many channels of two pictures differ; Infinity for different sizes. */
export function differences(a: Pixels, b: Pixels): number {
  if (a.width !== b.width || a.height !== b.height) return Infinity;
  return a.data.reduce((count, byte, i) => count + (byte === b.data[i] ? 0 : 1), 0);
}
