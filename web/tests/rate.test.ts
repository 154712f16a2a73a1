// The rate of a film, found from the times of its frames.

import assert from "node:assert/strict";
import { test } from "node:test";
import { frameRates, rateOfTimes } from "../src/rate.js";

/** Times as a player reports them: some frames played, then one at each of the seconds. Some are left out. */
function times(perSecond: number, digits: number, first: number, sought: number[]): number[] {
  const frames = [0, 1, 2, 4, 5, 8, 9, 10, 11, ...sought.map((seconds) => Math.floor(seconds * perSecond))];
  return frames.map((frame) => first + Number((frame / perSecond).toFixed(digits)));
}

for (const rate of frameRates) {
  const perSecond = rate.numerator / rate.denominator;
  for (const [container, digits] of [["in whole milliseconds", 3], ["in microseconds", 6]] as const) {
    for (const first of [0, 1.4]) {
      test(`${perSecond.toFixed(3)} ${container}, from ${first} s`, () => {
        assert.deepEqual(rateOfTimes(times(perSecond, digits, first, [1.7, 4.1, 9.3, 16.9])), rate);
      });
    }
  }
  test(`${perSecond.toFixed(3)} in microseconds, in a film of a second`, () => {
    assert.deepEqual(rateOfTimes(times(perSecond, 6, 0, [])), rate);
  });
}

test("a short film in milliseconds, where it may be either, has the whole rate", () => {
  assert.deepEqual(rateOfTimes(times(24000 / 1001, 3, 0, [])), { numerator: 24, denominator: 1 });
});

test("another rate is the nearest one, and one frame has none", () => {
  assert.deepEqual(rateOfTimes(times(23, 6, 0, [3])), { numerator: 24000, denominator: 1001 });
  assert.equal(rateOfTimes([0]), undefined);
  assert.equal(rateOfTimes([]), undefined);
});
