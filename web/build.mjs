// Usage: node build.mjs OUTPUT WASM PLAIN_WASM
// Builds the page into the folder OUTPUT. WASM, PLAIN_WASM: lomix.wasm with and without vector instructions.
// Fails where script and WebAssembly that a browser loads are larger than 150 kB, compressed.
import { createHash } from "node:crypto";
import { cp, mkdir, readdir, readFile, rm, writeFile } from "node:fs/promises";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";
import { build } from "esbuild";

const limit = 150_000;
const [output, wasm, plainWasm] = process.argv.slice(2);
const web = dirname(fileURLToPath(import.meta.url));
const images = join(web, "../docs/images");

async function bundle(name, format, define) {
  const { metafile } = await build({
    entryPoints: [join(web, `src/${name}.ts`)],
    outfile: join(output, `${name}.js`),
    bundle: true,
    minify: true,
    format,
    target: "es2022",
    legalComments: "none",
    metafile: true,
    define,
    logLevel: "warning",
  });
  const packages = Object.keys(metafile.inputs).flatMap((file) => /node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(file)?.[1] ?? []);
  return new Set(packages);
}

async function licences(packages) {
  const texts = [];
  for (const name of [...packages].sort()) {
    const folder = join(web, "node_modules", name);
    const file = (await readdir(folder)).find((other) => /^licen[cs]e/i.test(other));
    if (!file) throw new Error(`${name}: has no licence file (leave the package out)`);
    texts.push(`${name}\n\n${await readFile(join(folder, file), "utf8")}`);
  }
  return texts.join(`\n${"-".repeat(80)}\n\n`);
}

await rm(output, { recursive: true, force: true });
await mkdir(output, { recursive: true });
await cp(join(web, "public"), output, { recursive: true });
await cp(wasm, join(output, "lomix.wasm"));
await cp(plainWasm, join(output, "lomix-plain.wasm"));
await cp(join(images, "card.png"), join(output, "card.png"));
await cp(join(images, "scene.jpg"), join(output, "scene.jpg"));
const packages = new Set([...(await bundle("main", "esm")), ...(await bundle("worker", "iife"))]);
await writeFile(join(output, "licences.txt"), await licences(packages));

// The packages' list of licences is made from this table.
const { contained } = JSON.parse(await readFile(join(web, "../packaging/components.json"), "utf8"));
const listed = contained.flatMap(({ npm }) => npm ?? []);
if ([...packages].sort().join() !== listed.sort().join()) {
  throw new Error(`packaging/components.json: it has ${listed}, but the page is made with ${[...packages]} (correct it)`);
}

const files = (await readdir(output)).sort();
const hash = createHash("sha256");
for (const file of files) hash.update(file).update(await readFile(join(output, file)));
await bundle("service", "iife", {
  PAGE_FILES: JSON.stringify(["./", ...files]),
  PAGE_VERSION: JSON.stringify(hash.digest("hex").slice(0, 16)),
});

let total = 0;
for (const file of ["main.js", "worker.js", "service.js", "lomix.wasm", "lomix-plain.wasm"]) {
  const bytes = gzipSync(await readFile(join(output, file)), { level: 9 }).length;
  console.log(`${file.padEnd(18)}${(bytes / 1000).toFixed(1).padStart(6)} kB`);
  // A browser loads one of the two.
  if (file !== "lomix-plain.wasm") total += bytes;
}
console.log(`${"together".padEnd(18)}${(total / 1000).toFixed(1).padStart(6)} kB, compressed`);
if (total > limit) {
  console.error(`error: the page: ${total} bytes are more than ${limit} (make the bundles smaller)`);
  process.exit(1);
}
