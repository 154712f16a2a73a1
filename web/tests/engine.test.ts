// The binding and the texts of looks, under node, with and without vector instructions.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { before, describe, test } from "node:test";
import { Engine, hasVectors, LomixError, type Key, type LookState, type Parameter } from "../src/engine.js";
import * as looks from "../src/look.js";
import { bytesOf, goldenFrames, lookOfValues, page } from "./fixtures.js";

const modules = [
  { file: "lomix.wasm", instructionSet: "wasm" },
  { file: "lomix-plain.wasm", instructionSet: "portable" },
];

function key(seconds: number, value: number, interpolation: Key["interpolation"] = "linear"): Key {
  return { seconds, value, interpolation };
}

function stateOf(engine: Engine, json: string): LookState {
  const look = engine.createLook(json);
  try {
    return look.state();
  } finally {
    look.destroy();
  }
}

test("node's WebAssembly has vector instructions", () => assert.ok(hasVectors()));

for (const { file, instructionSet } of modules) {
  describe(file, () => {
    let engine: Engine;
    before(async () => (engine = await Engine.create(readFileSync(join(page, file)))));

    test("is what its name says", () => assert.equal(engine.description.instructionSet, instructionSet));

    test("draws the golden frames", () => {
      const frames = goldenFrames();
      assert.ok(frames.length >= 8);
      for (const { name, width, height, values, time, scale, input, output } of frames) {
        const look = engine.createLook(looks.presetJson(lookOfValues(values), engine.description.parameters));
        engine.source(width, height).set(bytesOf(input));
        const at = { numerator: time[0], denominator: time[1] };
        const drawn = engine.draw(look, at, width, height, { x: scale[0], y: scale[1] });
        assert.deepEqual(Buffer.from(drawn.output).toString("hex"), output, name);
        assert.deepEqual([...drawn.facts.values], values, name);
        look.destroy();
      }
    });

    test("reads and writes every preset", () => {
      const { presets, parameters } = engine.description;
      assert.ok(presets.length > 10);
      for (const preset of presets) {
        const state = stateOf(engine, preset.json);
        const look = engine.createLook(looks.presetJson(state, parameters));
        const text = look.json(preset.name, preset.description);
        assert.equal(JSON.parse(text).name, preset.name);
        assert.ok(looks.sameLook(stateOf(engine, text), state), preset.id);
        look.destroy();
      }
    });

    test("reads the links that looks are written to", () => {
      for (const preset of engine.description.presets) {
        const state = stateOf(engine, preset.json);
        const look = engine.createLook("");
        for (const [name, text] of new URLSearchParams(looks.linkText(state, engine.description.parameters))) {
          look.set(name, text);
        }
        assert.ok(looks.sameLook(look.state(), state), preset.id);
        look.destroy();
      }
    });

    const faults: [string, (engine: Engine) => unknown, RegExp][] = [
      ["a preset that is no JSON", (e) => e.createLook("{"), /line 1/],
      ["a preset with an unknown key", (e) => e.createLook('{"format":1,"nam":"x"}'), /nam/],
      ["a parameter that does not exist", (e) => e.createLook("").set("nois", "1"), /Noise/],
      ["a value that is too large", (e) => e.createLook("").set("noise", "101"), /100/],
      ["keys in the wrong order", (e) => e.createLook("").set("noise", "1:0,0:5"), /./],
      ["a name of two lines", (e) => e.createLook("").json("a\nb", ""), /line/],
      ["a picture without pixels", (e) => e.draw(e.createLook(""), { numerator: 0, denominator: 1 }, 0, 0, { x: 1, y: 1 }), /0 x 0 is no size/],
      ["a time that is none", (e) => e.draw(e.createLook(""), { numerator: 1, denominator: -1 }, 1, 1, { x: 1, y: 1 }), /denominator/],
    ];
    for (const [name, call, message] of faults) {
      test(`refuses ${name}`, () => assert.throws(() => call(engine), (error) => error instanceof LomixError && message.test(error.message)));
    }

    test("draws 2,000 frames of changing sizes without taking more memory", () => {
      const look = engine.createLook("");
      look.set("noise", "50");
      const draw = (frame: number) => {
        const width = 40 + (frame % 3) * 20;
        engine.source(width, 30).fill(frame & 255);
        engine.draw(look, { numerator: frame, denominator: 24 }, width, 30, { x: 1, y: 1 });
      };
      for (let frame = 0; frame < 10; ++frame) draw(frame);
      const bytes = engine.memoryBytes;
      for (let frame = 0; frame < 2000; ++frame) draw(frame);
      assert.equal(engine.memoryBytes, bytes);
      look.destroy();
    });

    test("says that there is not enough memory, and goes on", () => {
      assert.throws(() => engine.source(16384, 16384), /memory: not enough/);
      engine.source(4, 4);
    });
  });
}

describe("looks", () => {
  const parameters: Parameter[] = [
    { key: "mode", name: "Mode", unit: "", help: "", choices: ["Tile", "Stretch"], constant: false, minimum: 1, maximum: 2, sliderMinimum: 1, sliderMaximum: 2, defaultValue: 2, decimals: 0 },
    { key: "blend", name: "Blend w/Original", unit: "%", help: "", choices: [], constant: false, minimum: 0, maximum: 100, sliderMinimum: 0, sliderMaximum: 100, defaultValue: 0, decimals: 1 },
  ];
  const plain = looks.defaultLook(parameters);

  test("keys are added in order of time, and one at the same time is replaced", () => {
    let look = looks.withKey(plain, 1, key(2, 20));
    look = looks.withKey(look, 1, key(1, 10));
    look = looks.withKey(look, 1, key(2, 30, "ease"));
    assert.deepEqual(look.keys[1], [key(1, 10), key(2, 30, "ease")]);
    assert.deepEqual(plain.keys[1], []);
  });

  test("a parameter whose last key goes keeps its value", () => {
    const look = looks.withoutKey(looks.withKey(plain, 1, key(1, 10)), 1, 1);
    assert.deepEqual(look, { values: [2, 10], keys: [[], []] });
  });

  test("a moved key keeps its value and passes others", () => {
    const look = [key(0, 1), key(1, 2)].reduce((state, next) => looks.withKey(state, 1, next), plain);
    assert.deepEqual(looks.withMovedKey(look, 1, 0, 3).keys[1], [key(1, 2), key(3, 1)]);
  });

  test("command lines are words of a shell, whatever the file is called", () => {
    const look = looks.withKey(looks.withValue(plain, 0, 1), 1, key(0.5, 12.5, "ease"));
    for (const input of ["a.png", "my film's $HOME `x`.mp4", "-rf.png", "ü\n.png"]) {
      const line = looks.commandLine(look, parameters, { input, output: "out.png", options: ["--time", "1/24"] });
      const words = execFileSync("sh", ["-c", `printf '%s\\0' ${line}`], { encoding: "utf8" }).split("\0").slice(0, -1);
      assert.deepEqual(words, ["lomix", "render", input.startsWith("-") ? `./${input}` : input, "out.png", "--time", "1/24", "--set", "Mode=Tile", "--key", "Blend w/Original=0.5:12.5@ease"]);
    }
  });

  test("changes of one drag are one step of undo", () => {
    const history = new looks.History(plain);
    for (const value of [1, 2, 3]) history.add(looks.withValue(plain, 1, value), "drag");
    history.commit();
    history.add(looks.withValue(plain, 1, 4), "drag");
    history.undo();
    assert.equal(history.current.values[1], 3);
    history.undo();
    assert.equal(history.current, plain);
    assert.ok(!history.canUndo && history.canRedo);
    history.redo();
    history.add(plain, "");
    assert.ok(!history.canRedo);
  });
});
