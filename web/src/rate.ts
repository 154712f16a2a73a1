// Rates of films, and which one a film has.

import type { FrameRate } from "./look.js";

/** Rates that films have, the usual one for pictures first. */
export const frameRates: FrameRate[] = [
  [24, 1], [24000, 1001], [25, 1], [30000, 1001], [30, 1], [50, 1], [60000, 1001], [60, 1],
].map(([numerator, denominator]) => ({ numerator: numerator!, denominator: denominator! }));

/** Returns the known rate of a film whose frames have these times, in seconds and in any order; undefined for fewer
 *  than two. Frames may be missing between them, but two must follow each other. */
export function rateOfTimes(times: number[]): FrameRate | undefined {
  const sorted = [...times].sort((a, b) => a - b);
  const distances = sorted.slice(1).map((time, i) => time - sorted[i]!).filter((distance) => distance > 0.002);
  if (distances.length === 0) return undefined;
  const shortest = Math.min(...distances);
  const start = sorted[0]!;
  // WebM and Matroska keep whole milliseconds. There 24 and 23.976 differ after a second or two only.
  const isRounded = sorted.every((time) => Math.abs(time * 1000 - Math.round(time * 1000)) < 1e-3);
  const tolerance = isRounded ? 0.00105 : 0.00015;
  const candidates = frameRates
    .map((rate) => {
      const perSecond = rate.numerator / rate.denominator;
      const errors = sorted.map((time) => time - start - Math.round((time - start) * perSecond) / perSecond);
      const error = Math.max(...errors) - Math.min(...errors);
      return { rate, error, distance: Math.abs(Math.log(shortest * perSecond)), isWhole: rate.denominator === 1 };
    })
    .sort((a, b) => a.distance - b.distance);
  const near = candidates.filter(({ distance }) => distance < 0.1);
  const fitting = near.filter(({ error }) => error <= tolerance);
  // Where both fit, the whole one is meant: the other would have shown itself in a longer film.
  return (fitting.find(({ isWhole }) => isWhole) ?? fitting[0] ?? candidates[0])!.rate;
}
