// The page in Chromium, served from a folder below the root of a static server.

import assert from "node:assert/strict";
import { execFileSync, spawn, spawnSync } from "node:child_process";
import { once } from "node:events";
import { copyFileSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createServer, type Server } from "node:http";
import type { AddressInfo } from "node:net";
import { extname, join } from "node:path";
import { after, before, describe, test } from "node:test";
import { encode } from "fast-png";
import { unzipSync } from "fflate";
import { chromium, type Browser, type BrowserContext, type BrowserContextOptions, type Download, type Page } from "playwright-core";
import type { Pixels } from "../src/engine.js";
import * as looks from "../src/look.js";
import { pngBytes } from "../src/pictures.js";
import { bytesOf, differences, goldenFrames, lomix, lookOfValues, page as pageFolder, readPng, run, scratch } from "./fixtures.js";

const axe = readFileSync(process.env.LOMIX_AXE!, "utf8");
const pictures = process.env.LOMIX_SCREENSHOTS!;
const subFolder = "/somewhere/below%20it/";
const types: Record<string, string> = {
  ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".wasm": "application/wasm", ".svg": "image/svg+xml",
  ".png": "image/png", ".jpg": "image/jpeg", ".txt": "text/plain", ".webmanifest": "application/manifest+json",
};

function startServer(): Promise<Server> {
  const server = createServer((request, response) => {
    const path = request.url!.split("?")[0]!;
    const file = path.startsWith(subFolder) ? path.slice(subFolder.length) || "index.html" : "";
    try {
      response.setHeader("Content-Type", types[extname(file)] ?? "application/octet-stream");
      response.end(readFileSync(join(pageFolder, file)));
    } catch {
      response.writeHead(404).end();
    }
  });
  return new Promise((resolve) => server.listen(0, "127.0.0.1", () => resolve(server)));
}

function read(download: Download): Promise<Buffer> {
  return download.path().then((path) => readFileSync(path));
}

describe("the page in Chromium", { timeout: 600_000 }, () => {
  let browser: Browser;
  let server: Server;
  let address: string;
  let context: BrowserContext;
  let page: Page;
  let faults: string[];
  // Where the page may request files.
  let home: string;

  before(async () => {
    mkdirSync(pictures, { recursive: true });
    server = await startServer();
    address = `http://127.0.0.1:${(server.address() as AddressInfo).port}${subFolder}`;
    browser = await chromium.launch({
      executablePath: process.env.LOMIX_CHROMIUM!,
      args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
        "--disable-component-update", "--disable-sync", "--use-fake-device-for-media-stream", "--autoplay-policy=no-user-gesture-required"],
    });
  });
  after(async () => {
    await browser?.close();
    server?.close();
  });

  // Nothing plays by itself where motion is reduced, so that tests decide what is drawn.
  async function open(options: BrowserContextOptions & { at?: string } = {}): Promise<void> {
    await context?.close();
    faults = [];
    home = address;
    context = await browser.newContext({ reducedMotion: "reduce", acceptDownloads: true, ...options });
    // For machines that are busy with other tests.
    context.setDefaultTimeout(90_000);
    page = await context.newPage();
    page.on("console", (message) => {
      if (message.type() === "error") faults.push(message.text());
    });
    page.on("pageerror", (error) => faults.push(String(error)));
    page.on("request", (request) => {
      if (!request.url().startsWith(home) && !request.url().startsWith("blob:")) faults.push(`request: ${request.url()}`);
    });
    await page.goto(address + (options.at ?? ""));
    await page.locator("#facts").filter({ hasText: "ms" }).waitFor();
  }

  async function openFile(name: string, bytes: Uint8Array | string, mimeType = "image/png"): Promise<void> {
    await page.locator("#file").setInputFiles({ name, mimeType, buffer: Buffer.from(bytes) });
  }
  async function openCard(): Promise<void> {
    await page.click("#card");
    await isOpen("card.png");
  }
  async function isOpen(name: string): Promise<void> {
    await page.waitForFunction((wanted) => document.querySelector<HTMLTextAreaElement>("#command")!.value.includes(wanted), name);
    await settled();
  }
  /** Waits until the last change is drawn and shown. */
  async function settled(): Promise<void> {
    await page.evaluate(async () => {
      const nextFrame = () => new Promise((resolve) => requestAnimationFrame(resolve));
      await nextFrame();
      while (document.getElementById("stage")!.ariaBusy === "true") await nextFrame();
      for (let i = 0; i < 2; ++i) await nextFrame();
    });
  }
  async function saved(button: string): Promise<Download> {
    const [download] = await Promise.all([page.waitForEvent("download", { timeout: 120_000 }), page.click(button)]);
    return download;
  }
  async function setNumber(key: string, value: number): Promise<void> {
    await page.locator(`[data-key="${key}"] input[type=number]`).fill(String(value));
    await page.locator(`[data-key="${key}"] input[type=number]`).press("Tab");
  }
  const command = () => page.inputValue("#command");
  const error = () => page.locator("#error-text").textContent();
  /** Runs a command line of the page on the test card. */
  function runLine(line: string, output: string): void {
    copyFileSync(join(pageFolder, "card.png"), join(scratch, "card.png"));
    execFileSync("sh", ["-c", `lomix() { "$LOMIX" "$@"; }; ${line.replace("card-lomix.png", output)} --overwrite --quiet`], {
      cwd: scratch, env: { ...process.env, LOMIX: lomix },
    });
  }

  test("nothing violates the policy, nothing is requested elsewhere, nothing plays where motion is reduced", async () => {
    await open();
    assert.equal(await page.textContent("#play"), "Play");
    await settled();
    assert.deepEqual(faults, []);
  });

  test("a picture plays where motion is not reduced", async () => {
    await open({ reducedMotion: "no-preference" });
    assert.equal(await page.textContent("#play"), "Pause");
    await page.waitForFunction(() => Number(document.querySelector<HTMLInputElement>("#scrub")!.value) > 3);
  });

  test("the page's worker draws the golden frames as the effect does", async () => {
    await open();
    const frames = goldenFrames().filter(({ scale }) => scale[0] === 1 && scale[1] === 1);
    assert.ok(frames.length >= 7);
    const parameters = (JSON.parse(run("params", "--json")) as { parameters: { name: string; choices?: string[] }[] }).parameters;
    assert.equal(parameters.length, 13);
    for (const { name, width, height, values, time, input, output } of frames) {
      const json = JSON.stringify({
        format: 1, name, description: name,
        parameters: Object.fromEntries(values.map((value, i) => [parameters[i]!.name, parameters[i]!.choices?.[value - 1] ?? value])),
      });
      const png = Buffer.from(pngBytes({ width, height, data: bytesOf(input) }, true)).toString("base64");
      const drawn = await page.evaluate(
        async ({ png, json, time }) => {
          const worker = new Worker("worker.js");
          const call = (name: string, ...parameters: unknown[]) =>
            new Promise<unknown>((resolve, reject) => {
              worker.onmessage = ({ data }: MessageEvent<{ error?: string; result?: unknown }>) =>
                data.error === undefined ? resolve(data.result) : reject(new Error(data.error));
              worker.postMessage({ id: 1, name, parameters });
            });
          await call("start", "", false);
          const file = new Blob([Uint8Array.from(atob(png), (letter) => letter.charCodeAt(0))]);
          await call("open", file, "golden.png");
          const result = (await call("png", json, { numerator: time[0], denominator: time[1] })) as Blob;
          worker.terminate();
          return [...new Uint8Array(await result.arrayBuffer())];
        },
        { png, json, time },
      );
      assert.equal(Buffer.from(readPng(new Uint8Array(drawn)).data).toString("hex"), output, name);
    }
  });

  test("the command line draws the PNG that the page saves", async () => {
    await open();
    await openCard();
    await page.click("#reset");
    await setNumber("noise", 37.5);
    await setNumber("scan_distortion", 22);
    await setNumber("blend_with_original", 12.5);
    await page.click('[data-key="distortion_mode"] button:text("Tile")');
    for (let i = 0; i < 7; ++i) await page.click("#next");
    await settled();
    const png = readPng(await read(await saved("#save-png")));
    assert.match(await command(), /--time 7\/24 .*--set 'Scan Distortion=22'/);
    runLine(await command(), "by-command.png");
    assert.equal(differences(png, readPng(join(scratch, "by-command.png"))), 0);
    assert.ok(differences(png, readPng(join(scratch, "card.png"))) > 100_000);
  });

  test("a preset goes to the command and back", async () => {
    await open();
    await openCard();
    await page.click('[data-preset="passing-storm"]');
    await setNumber("bars_overlay", 35);
    for (let i = 0; i < 20; ++i) await page.click("#next");
    await settled();
    const line = await command();
    const png = readPng(await read(await saved("#save-png")));
    const preset = await read(await saved("#save-preset"));
    writeFileSync(join(scratch, "look.json"), preset);
    runLine("lomix render card.png card-lomix.png --preset look.json --time 20/24", "by-preset.png");
    runLine(line, "by-keys.png");
    assert.equal(differences(png, readPng(join(scratch, "by-preset.png"))), 0);
    assert.equal(differences(png, readPng(join(scratch, "by-keys.png"))), 0);
    await page.click("#reset");
    assert.doesNotMatch(await command(), /--key/);
    await openFile("look.json", preset, "application/json");
    await settled();
    assert.equal(await command(), line);
  });

  test("a picture of 16 bits is drawn as the command draws it with 8", async () => {
    await open();
    const data = Uint16Array.from({ length: 64 * 48 * 3 }, (_, i) => (i * 7919) % 65536);
    const deep = encode({ width: 64, height: 48, data, depth: 16, channels: 3 });
    writeFileSync(join(scratch, "deep.png"), deep);
    await openFile("deep.png", deep);
    await settled();
    assert.match((await page.textContent("#status"))!, /deep\.png has 16 bits/);
    const png = readPng(await read(await saved("#save-png")));
    runLine((await command()).replace("deep-lomix.png", "deep-8.png"), "");
    assert.equal(differences(png, readPng(join(scratch, "deep-8.png"))), 0);
  });

  test("a JPEG is turned as its camera was held", async () => {
    await open();
    run("testcard", "upright.jpg", "--size", "64x48", "--overwrite");
    const upright = readFileSync(join(scratch, "upright.jpg"));
    // APP1: Exif, big endian, one entry: orientation (0x112), one number of 16 bits, 6: a quarter turn to the right.
    const exif = Buffer.from("ffe100224578696600004d4d002a00000008000101120003000000010006000000000000", "hex");
    const turned = Buffer.concat([upright.subarray(0, 2), exif, upright.subarray(2)]);
    const drawn: Pixels[] = [];
    await page.click("#reset");
    for (const [name, file] of [["upright.jpg", upright], ["turned.jpg", turned]] as const) {
      await openFile(name, file, "image/jpeg");
      await isOpen(name);
      drawn.push(readPng(await read(await saved("#save-png"))));
    }
    const [a, b] = [drawn[0]!, drawn[1]!];
    assert.deepEqual([a.width, a.height, b.width, b.height], [64, 48, 48, 64]);
    for (let y = 0; y < 64; ++y) {
      for (let x = 0; x < 48; ++x) {
        const [from, to] = [((47 - x) * 64 + y) * 4, (y * 48 + x) * 4];
        assert.deepEqual(b.data.subarray(to, to + 4), a.data.subarray(from, from + 4), `${x}, ${y}`);
      }
    }
  });

  test("AVIF and WebP are pictures", async () => {
    await open();
    run("testcard", "card.png", "--size", "64x48", "--overwrite");
    await page.click("#reset");
    await openFile("card.png", readFileSync(join(scratch, "card.png")));
    await isOpen("card.png");
    const wanted = readPng(await read(await saved("#save-png")));
    for (const [name, ...options] of [["a.avif", "-c:v", "libaom-av1", "-still-picture", "1"], ["a.webp", "-c:v", "libwebp"]]) {
      execFileSync("ffmpeg", ["-v", "error", "-y", "-i", join(scratch, "card.png"), ...options, join(scratch, name!)]);
      await openFile(name!, readFileSync(join(scratch, name!)), "");
      await isOpen(name!);
      const got = readPng(await read(await saved("#save-png")));
      assert.deepEqual([got.width, got.height], [64, 48]);
      const mean = got.data.reduce((sum, byte, i) => sum + Math.abs(byte - wanted.data[i]!), 0) / got.data.length;
      assert.ok(mean < 12, `${name}: ${mean}`);
    }
  });

  test("pictures are dropped and pasted", async () => {
    await open();
    run("testcard", "a.png", "--size", "64x48", "--overwrite");
    const bytes = readFileSync(join(scratch, "a.png")).toString("base64");
    const give = (type: string, name: string) =>
      page.evaluate(
        ([type, name, bytes]) => {
          const data = new DataTransfer();
          data.items.add(new File([Uint8Array.from(atob(bytes!), (letter) => letter.charCodeAt(0))], name!, { type: "image/png" }));
          const event =
            type === "paste"
              ? new ClipboardEvent(type, { clipboardData: data, bubbles: true })
              : new DragEvent(type!, { dataTransfer: data, bubbles: true, cancelable: true });
          // A browser that may go on opens the file in place of the page.
          return !document.body.dispatchEvent(event);
        },
        [type, name, bytes],
      );
    const isMarked = () => page.locator("#stage").evaluate((stage) => stage.classList.contains("dragged"));
    assert.ok(await give("dragover", "dropped.png"));
    assert.ok(await isMarked());
    assert.ok(await give("drop", "dropped.png"));
    assert.ok(!(await isMarked()));
    await isOpen("dropped.png");
    assert.match((await page.textContent("#facts"))!, /^64 × 48/);
    await give("paste", "pasted.png");
    await isOpen("pasted.png");
  });

  test("what a machine is too slow for is drawn at half resolution while it plays", async () => {
    await open();
    execFileSync("ffmpeg", ["-v", "error", "-y", "-f", "lavfi", "-i", "testsrc=size=5000x4000", "-frames:v", "1", join(scratch, "large.jpg")]);
    await openFile("large.jpg", readFileSync(join(scratch, "large.jpg")), "image/jpeg");
    await isOpen("large.jpg");
    await setNumber("noise", 40);
    await setNumber("scanline_overlay", 40);
    await settled();
    assert.match((await page.textContent("#facts"))!, /^5000 × 4000, [0-9.]+ ms$/);
    await page.click("#play");
    await page.locator("#facts").filter({ hasText: /^2500 × 2000, .*, half resolution: this machine is slow$/ }).waitFor();
    await page.click("#play");
    await page.locator("#facts").filter({ hasText: /^5000 × 4000, [0-9.]+ ms$/ }).waitFor();
  });

  test("a link holds the look", async () => {
    await open();
    await page.click('[data-preset="signal-drop"]');
    await setNumber("horizontal_sync", 61);
    await context.grantPermissions(["clipboard-read", "clipboard-write"]);
    await page.click("#copy-link");
    await page.locator("#status").filter({ hasText: "Link copied." }).waitFor();
    const link = await page.evaluate(() => navigator.clipboard.readText());
    const line = await command();
    assert.ok(link.startsWith(`${address}#`) && link.includes("horizontal_sync=61"), link);
    await open({ at: link.slice(address.length) });
    assert.equal(await command(), line);
  });

  test("keys are set, moved, changed and deleted by the keyboard, and undone", async () => {
    await open();
    await page.click("#reset");
    const diamond = page.locator('[data-key="noise"] .diamond');
    await setNumber("noise", 10);
    await diamond.click();
    for (let i = 0; i < 24; ++i) await page.click("#next");
    await setNumber("noise", 50);
    await settled();
    assert.match(await command(), /--key Noise=0:10,1:50/);
    const keys = page.locator(".lane button");
    assert.equal(await keys.count(), 2);
    await keys.nth(1).focus();
    await page.keyboard.press("ArrowRight");
    await page.keyboard.press("ArrowRight");
    await settled();
    assert.match(await command(), /Noise=0:10,1\.0833333333333333:50/);
    await keys.nth(0).click();
    await page.locator(".key-editor select").selectOption("ease");
    await settled();
    assert.match(await command(), /Noise=0:10@ease,/);
    await keys.nth(1).focus();
    await page.keyboard.press("Delete");
    await settled();
    assert.equal(await keys.count(), 1);
    await page.click("#undo");
    await settled();
    assert.equal(await keys.count(), 2);
    await page.click("#redo");
    await settled();
    assert.equal(await keys.count(), 1);
  });

  test("a key is dragged to other frames in one step of undo, and past another key", async () => {
    await open();
    await page.click("#reset");
    await setNumber("noise", 10);
    await page.locator('[data-key="noise"] .diamond').click();
    for (let i = 0; i < 48; ++i) await page.click("#next");
    await setNumber("noise", 50);
    await settled();
    const line = await command();
    assert.match(line, /--key Noise=0:10,2:50/);
    const lane = (await page.locator(".lane").boundingBox())!;
    const drag = async (from: number, to: number) => {
      const [y, secondsToX] = [lane.y + lane.height / 2, (seconds: number) => lane.x + (lane.width * seconds) / 10];
      await page.mouse.move(secondsToX(from), y);
      await page.mouse.down();
      await page.mouse.move(secondsToX((from + to) / 2), y, { steps: 5 });
      await page.mouse.move(secondsToX(to), y, { steps: 5 });
      await page.mouse.up();
      await settled();
    };
    await drag(2, 6);
    // It is on a frame.
    const seconds = Number(/0:10,([0-9.]+):50/.exec(await command())?.[1]);
    assert.ok(Math.abs(seconds - 6) < 0.1 && Math.abs(seconds * 24 - Math.round(seconds * 24)) < 1e-9, await command());
    await page.click("#undo");
    assert.equal(await command(), line);
    await drag(0, 4);
    assert.match(await command(), /Noise=2:50,[34]\.?[0-9]*:10/);
    // Not past the ends of the line.
    await drag(2, -1);
    assert.match(await command(), /Noise=0:50,/);
  });

  test("the divider shows the source on its left", async () => {
    await open();
    await openCard();
    await page.click("#reset");
    await setNumber("noise", 100);
    const clean = await page.locator("#frame").screenshot();
    await page.click("#compare");
    await page.locator("#divider").focus();
    await page.keyboard.press("End");
    assert.equal(await page.getAttribute("#divider", "aria-valuenow"), "100");
    await settled();
    const source = await page.locator("#frame").screenshot();
    assert.notDeepEqual(source, clean);
    await page.click("#reset");
    await settled();
    // Without any effect an opaque picture loses its last bit only: the source is what is seen on both sides.
    const [a, b] = [readPng(source), readPng(await page.locator("#frame").screenshot())];
    const difference = a.data.reduce((sum, byte, i) => sum + Math.abs(byte - b.data[i]!), 0) / a.data.length;
    assert.ok(difference < 2, `mean difference ${difference}`);
  });

  test("only what counts is shown, and double click gives the default", async () => {
    await open();
    await page.click("#reset");
    await settled();
    assert.ok(await page.locator('[data-key="time"]').isHidden());
    await page.click('[data-key="time_control"] button:text("Manual")');
    await settled();
    assert.ok(await page.locator('[data-key="time"]').isVisible());
    await setNumber("noise", 40);
    await page.dblclick('[data-key="noise"] .name');
    await settled();
    assert.equal(await page.inputValue('[data-key="noise"] input[type=number]'), "0");
    await setNumber("noise", 4000);
    await settled();
    assert.equal(await page.inputValue('[data-key="noise"] input[type=number]'), "100");
  });

  test("a sequence has the frames of the command, and meanwhile its source stays", async () => {
    await open();
    run("testcard", "a.png", "--size", "64x48", "--overwrite");
    await openCard();
    await page.fill("#length", "1");
    await page.press("#length", "Tab");
    const line = await command();
    const done = page.waitForEvent("download");
    await page.click("#save-zip");
    const refuse = async (act: Promise<void>) => {
      await act;
      await page.locator("#error-text").filter({ hasText: /^saving: a file is being saved/ }).waitFor();
      await page.click("#error-close");
    };
    await refuse(page.click("#save-png"));
    await refuse(page.click("#save-film"));
    await refuse(openFile("a.png", readFileSync(join(scratch, "a.png"))));
    assert.ok(await page.evaluate(() => ["sources", "view"].every((id) => document.getElementById(id)!.inert)));
    const files = unzipSync(await read(await done));
    assert.deepEqual(Object.keys(files).slice(0, 2), ["card-lomix.0000.png", "card-lomix.0001.png"]);
    assert.equal(Object.keys(files).length, 24);
    runLine(`${line} --time 13/24`, "frame-13.png");
    assert.equal(differences(readPng(files["card-lomix.0013.png"]!), readPng(join(scratch, "frame-13.png"))), 0);
    await page.waitForFunction(() => !document.getElementById("view")!.inert);
    assert.equal(await command(), line);
    await page.click("#save-zip");
    await page.click("#cancel");
    await page.locator("#status").filter({ hasText: "Cancelled; nothing was saved." }).waitFor();
    await saved("#save-png");
  });

  test("many pictures get one look, and what is no picture is named", async () => {
    await open();
    run("testcard", "a.png", "--size", "64x48", "--overwrite");
    const picture = readFileSync(join(scratch, "a.png"));
    const [download] = await Promise.all([
      page.waitForEvent("download"),
      page.locator("#many").setInputFiles([
        { name: "a.png", mimeType: "image/png", buffer: picture },
        { name: "a.webp", mimeType: "image/webp", buffer: picture },
        { name: "b.png", mimeType: "image/png", buffer: Buffer.from("no picture") },
      ]),
    ]);
    assert.deepEqual(Object.keys(unzipSync(await read(download))), ["a-lomix.png", "a-lomix-2.png"]);
    assert.match((await error())!, /^b\.png: this is no picture/);
  });

  test("a film plays, steps, and is saved frame by frame", async () => {
    await open();
    run("testcard", "still.png", "--size", "320x180", "--overwrite");
    run("render", "still.png", "film.webm", "--frames", "0-59", "--fps", "23.976", "--set", "Vertical Sync=40", "--overwrite", "--quiet");
    await openFile("film.webm", readFileSync(join(scratch, "film.webm")), "video/webm");
    await isOpen("film.webm");
    assert.equal(await page.locator("#rate option:checked").textContent(), "23.976");
    assert.match((await page.textContent("#facts"))!, /^320 × 180/);
    await page.click("#next");
    await page.waitForFunction(() => document.querySelector("#clock")!.textContent!.includes("frame 1"));
    await page.click("#play");
    await page.waitForFunction(() => Number(document.querySelector<HTMLInputElement>("#scrub")!.value) > 5);
    await page.click("#play");
    const files = unzipSync(await read(await saved("#save-zip")));
    const names = Object.keys(files);
    assert.equal(names.length, 60);
    const frames = names.map((name) => readPng(files[name]!));
    // Every frame of this film rolls by a few rows: no two are the same.
    frames.slice(1).forEach((frame, i) => assert.ok(differences(frame, frames[i]!) > 10_000, `frame ${i + 1}`));
  });

  test("more than a ZIP file holds is refused at the first frame", async () => {
    await open();
    await openCard();
    await page.fill("#length", "3600");
    await page.press("#length", "Tab");
    await page.click("#save-zip");
    await page.locator("#error-text").filter({ hasText: /^ZIP: 86400 pictures of [0-9.]+ GB are too much/ }).waitFor();
  });

  test("what is shown is recorded as a film, with the film's sound", async () => {
    await open();
    execFileSync("ffmpeg", ["-v", "error", "-y", "-f", "lavfi", "-i", "testsrc=size=320x180:rate=25:duration=2", "-f", "lavfi",
      "-i", "sine=frequency=440:duration=2", "-c:v", "libvpx", "-c:a", "libopus", join(scratch, "sound.webm")]);
    await openFile("sound.webm", readFileSync(join(scratch, "sound.webm")), "video/webm");
    await isOpen("sound.webm");
    const recorded = join(scratch, "recorded.webm");
    await (await saved("#save-film")).saveAs(recorded);
    const facts = JSON.parse(
      execFileSync("ffprobe", ["-v", "error", "-count_frames", "-show_streams", "-of", "json", recorded], { encoding: "utf8" }),
    ) as { streams: { codec_type: string; width: number; height: number; nb_read_frames: string }[] };
    const picture = facts.streams.find((stream) => stream.codec_type === "video")!;
    assert.deepEqual([picture.width, picture.height], [320, 180]);
    assert.ok(Number(picture.nb_read_frames) >= 5, picture.nb_read_frames);
    const { stderr } = spawnSync("ffmpeg", ["-i", recorded, "-af", "volumedetect", "-vn", "-f", "null", "-"], { encoding: "utf8" });
    const loudness = Number(/mean_volume: (\S+) dB/.exec(stderr)?.[1]);
    assert.ok(loudness > -40, `${loudness} dB`);
  });

  test("the camera is a source where it is allowed, and refused in one sentence", async () => {
    await open();
    await context.grantPermissions(["camera"]);
    await page.click("#camera");
    await page.waitForFunction(() => document.querySelector<HTMLTextAreaElement>("#command")!.value.includes("camera"));
    await page.waitForFunction(() => Number(/frame (\d+)/.exec(document.querySelector("#clock")!.textContent!)?.[1]) > 3);
    await context.clearPermissions();
    await open();
    await page.evaluate(() => {
      navigator.mediaDevices.getUserMedia = () => Promise.reject(new Error("Permission denied"));
    });
    await page.click("#camera");
    await page.locator("#error-text").filter({ hasText: /^camera: Permission denied/ }).waitFor();
  });

  const hostile: [string, string, Uint8Array | string, string, RegExp][] = [
    ["a text called a picture", "a.png", "no picture", "image/png", /^a\.png: this is no picture or film/],
    ["an empty file", "a.png", "", "image/png", /^a\.png: this is no picture or film/],
    ["half a picture", "a.png", pngBytes({ width: 9, height: 9, data: new Uint8ClampedArray(324) }, true).slice(0, 60), "image/png", /^a\.png: this PNG is damaged/],
    ["a picture that is too large", "a.png", pngBytes({ width: 9, height: 9, data: new Uint8ClampedArray(324) }, true).with(16, 1), "image/png", /^a\.png: 16777225 × 9 pixels are too many/],
    ["a film that is none", "a.mp4", "no film", "video/mp4", /^a\.mp4: this browser cannot decode it/],
    ["a preset that is none", "a.json", "{", "application/json", /line 1/],
    ["a preset of a later format", "a.json", '{"format":99}', "application/json", /format/],
  ];
  test("hostile files are refused in one sentence, and the page goes on", async () => {
    await open();
    for (const [name, file, bytes, type, message] of hostile) {
      await openFile(file, bytes, type);
      await page.locator("#error-text").filter({ hasText: message }).waitFor({ timeout: 40_000 }).catch(() => assert.fail(`${name}: no error`));
      await page.click("#error-close");
    }
    await openCard();
    assert.match((await page.textContent("#facts"))!, /^1280 × 720/);
  });

  test("lomix preview serves the page, and the page opens its film and its preset", async () => {
    await open();
    run("testcard", "still.png", "--size", "160x90", "--overwrite");
    run("render", "still.png", "served.webm", "--frames", "0-11", "--fps", "25", "--overwrite", "--quiet");
    writeFileSync(join(scratch, "served.json"), run("presets", "--show", "snow"));
    for (const [file, line] of [["served.webm", /^lomix render served\.webm /], ["served.json", /--preset snow/]] as const) {
      const command = spawn(lomix, ["preview", file, "--no-open"], {
        cwd: scratch, env: { ...process.env, LOMIX_WEB_DIR: pageFolder }, stdio: ["ignore", "pipe", "inherit"],
      });
      const [printed] = (await once(command.stdout, "data")) as [Buffer];
      home = printed.toString().split("?")[0]!;
      await page.goto(printed.toString().trim());
      await page.waitForFunction((text) => new RegExp(text).test(document.querySelector<HTMLTextAreaElement>("#command")!.value), line.source);
      await settled();
      assert.deepEqual(faults, []);
      command.kill();
      assert.deepEqual(await once(command, "exit"), [0, null]);
    }
  });

  test("a link that is not valid is refused in one sentence", async () => {
    await open({ at: "#noise=900" });
    await page.locator("#error-text").filter({ hasText: /Noise/ }).waitFor();
    await open({ at: "#<script>=1" });
    await page.locator("#error-text").filter({ hasText: /script/ }).waitFor();
  });

  test("without vector instructions the pixels are the same", async () => {
    await open();
    await openCard();
    const png = await read(await saved("#save-png"));
    await open({ at: "?plain" });
    await openCard();
    assert.ok(png.equals(await read(await saved("#save-png"))));
  });

  test("2,000 frames leave the memory as it was", async () => {
    await open();
    const [first, last] = await page.evaluate(async (json) => {
      const worker = new Worker("worker.js");
      let id = 0;
      const call = (name: string, ...parameters: unknown[]) =>
        new Promise<unknown>((resolve, reject) => {
          worker.onmessage = ({ data }: MessageEvent<{ error?: string; result?: unknown }>) =>
            data.error === undefined ? resolve(data.result) : reject(new Error(data.error));
          worker.postMessage({ id: ++id, name, parameters });
        });
      await call("start", "", false);
      const draw = async (frame: number) => {
        const bitmap = await createImageBitmap(new ImageData(160, 120));
        await call("draw", { json, time: { numerator: frame, denominator: 24 }, reduction: 1 + (frame & 1), bitmap, before: false });
      };
      for (let frame = 0; frame < 20; ++frame) await draw(frame);
      const before = await call("memoryBytes");
      for (let frame = 0; frame < 2000; ++frame) await draw(frame);
      return [before, await call("memoryBytes")];
    }, looks.presetJson(lookOfValues([]), []));
    assert.equal(first, last);
  });

  test("the page opens without the server", async () => {
    await open();
    await page.waitForFunction(() => navigator.serviceWorker.controller !== null);
    await context.setOffline(true);
    server.closeAllConnections();
    await new Promise((resolve) => server.close(resolve));
    try {
      await page.reload();
      await page.locator("#facts").filter({ hasText: "ms" }).waitFor();
      await openCard();
    } finally {
      await new Promise<void>((resolve) => server.listen(Number(new URL(address).port), "127.0.0.1", resolve));
    }
  });

  test("the profiles stand beside the rows that they are of", async () => {
    await open({ viewport: { width: 1280, height: 900 } });
    await page.click("#profiles");
    await settled();
    // Fitted, the picture is lower than the stage.
    for (const button of ["#fit", "#zoom-out", "#zoom-out"]) {
      await page.click(button);
      const [drawn, picture] = await page.evaluate(() => {
        const canvas = document.querySelector<HTMLCanvasElement>("#plot")!;
        const frame = document.querySelector("#frame")!.getBoundingClientRect();
        const top = frame.top - canvas.getBoundingClientRect().top;
        const { data, width, height } = canvas.getContext("2d")!.getImageData(0, 0, canvas.width, canvas.height);
        const rows = Array.from({ length: height }, (_, y) => y).filter((y) => {
          // The names of the curves are above.
          return y > 24 && data.subarray(y * width * 4, (y + 1) * width * 4).some((value) => value !== 0);
        });
        return [[rows[0]!, rows.at(-1)!], [top, top + frame.height]] as const;
      });
      assert.ok(picture[0] > 30, "the picture is lower than the stage");
      assert.ok(Math.abs(drawn[0] - picture[0]) < 3 && Math.abs(drawn[1] - picture[1]) < 3, `${drawn} beside ${picture}`);
    }
  });

  for (const colorScheme of ["light", "dark"] as const) {
    test(`axe finds nothing in the ${colorScheme} theme`, async () => {
      await open({ colorScheme });
      await page.click('[data-preset="passing-storm"]');
      await page.locator(".lane button").first().click();
      await page.click("#compare");
      await page.click("#profiles");
      await settled();
      await page.evaluate(axe);
      const violations = await page.evaluate(async () => {
        const { violations } = await (globalThis as unknown as { axe: { run(): Promise<{ violations: { id: string; nodes: { html: string }[] }[] }> } }).axe.run();
        return violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html.slice(0, 120)).join(" ")}`);
      });
      assert.deepEqual(violations, []);
    });
  }

  for (const [width, height] of [[360, 800], [1280, 900], [3840, 2160]] as const) {
    test(`the layout fits ${width} pixels`, async () => {
      await open({ viewport: { width, height }, colorScheme: "light" });
      await page.click('[data-preset="passing-storm"]');
      await page.click("#profiles");
      for (let i = 0; i < 20; ++i) await page.click("#next");
      await settled();
      await page.evaluate(() => scrollTo(0, 0));
      // The picture in the documents.
      if (width === 1280) await page.screenshot({ path: join(pictures, "browser.jpg"), quality: 80 });
      for (const colorScheme of ["light", "dark"] as const) {
        await page.emulateMedia({ colorScheme });
        await page.screenshot({ path: join(pictures, `${width}-${colorScheme}.png`), fullPage: width === 360 });
      }
      const wide = await page.evaluate(() => document.documentElement.scrollWidth);
      assert.ok(wide <= width, `${wide} pixels wide`);
    });
  }

  test("the page prints its own figures", async () => {
    await context.close();
    context = await browser.newContext();
    page = await context.newPage();
    await page.goto(`${address}?bench`);
    await page.locator("#status").filter({ hasText: /1920 × 1080, everything on, wasm: .* frames a second/ }).waitFor({ timeout: 60_000 });
    console.log(await page.textContent("#status"));
  });
});
