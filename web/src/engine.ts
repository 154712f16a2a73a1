// The effect: lomix.wasm with its numbers and texts as TypeScript's.

/** A parameter as the effect's panel shows it; see lomix_parameter_info in lomix.h. */
export interface Parameter {
  key: string;
  name: string;
  unit: string;
  help: string;
  /** Texts of the choices 1, 2, ...; empty for numbers. */
  choices: string[];
  /** Has one value for all times: no keys. */
  constant: boolean;
  minimum: number;
  maximum: number;
  sliderMinimum: number;
  sliderMaximum: number;
  defaultValue: number;
  decimals: number;
}

export interface BuiltInPreset {
  id: string;
  name: string;
  description: string;
  json: string;
}

export interface Description {
  version: string;
  instructionSet: string;
  parameters: Parameter[];
  presets: BuiltInPreset[];
}

export type Interpolation = "hold" | "linear" | "ease";

export interface Key {
  seconds: number;
  value: number;
  interpolation: Interpolation;
}

/** A look: by parameter index its value, and its keys, which replace the value where there are any. */
export interface LookState {
  values: number[];
  keys: Key[][];
}

/** Seconds as a fraction of integers: frame n at D/N frames a second is n * N over D. */
export interface Time {
  numerator: number;
  denominator: number;
}

/** Pixels of 8 bits, RGBA with straight alpha, rows without padding. */
export interface Pixels {
  width: number;
  height: number;
  data: Uint8ClampedArray;
}

/** What one frame was drawn with. */
export interface FrameFacts {
  /** By parameter index. */
  values: Float64Array;
  /** Scan, bars and signal: one number for each row, one profile after the other. */
  profiles: Float32Array;
}

/** A fault with a message for people. */
export class LomixError extends Error {}

interface Exports {
  memory: WebAssembly.Memory;
  _initialize?: () => void;
  web_error(): number;
  web_allocate(bytes: number): number;
  web_free(address: number): void;
  web_version(): number;
  web_instruction_set(): number;
  web_parameter_count(): number;
  web_parameter_text(index: number, field: number): number;
  web_parameter_number(index: number, field: number): number;
  web_preset_count(): number;
  web_preset_text(index: number, field: number): number;
  web_look_create(json: number, length: number): number;
  web_look_destroy(look: number): void;
  web_look_set(look: number, parameter: number, text: number): number;
  web_look_values(look: number, seconds: number, values: number): number;
  web_look_keys(look: number, index: number, keys: number, capacity: number): number;
  web_look_json(look: number, name: number, description: number): number;
  web_draw(
    look: number,
    timeNumerator: number,
    timeDenominator: number,
    scaleX: number,
    scaleY: number,
    source: number,
    output: number,
    width: number,
    height: number,
    values: number,
    profiles: number,
  ): number;
}

// LOMIX_HOLD, LOMIX_LINEAR, LOMIX_EASE; LOMIX_PARAMETER_CONSTANT.
const interpolations: Interpolation[] = ["hold", "linear", "ease"];
const constantFlag = 1;

const outOfMemory = "memory: not enough for this picture (use a smaller one, or close other pages)";

// A module that consists of one function with one vector instruction: valid where the browser knows them.
const vectorProbe = new Uint8Array([
  0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11,
]);

/** Returns whether the browser runs WebAssembly's vector instructions. */
export function hasVectors(): boolean {
  return WebAssembly.validate(vectorProbe);
}

// The C library asks its system for clocks, files and the environment. There are none.
function systemCalls(module: WebAssembly.Module): WebAssembly.Imports {
  const notSupported = 52;
  const imports: Record<string, Record<string, WebAssembly.ImportValue>> = {};
  for (const { module: from, name, kind } of WebAssembly.Module.imports(module)) {
    if (kind !== "function") throw new LomixError(`lomix.wasm: unknown import '${name}' (reload the page)`);
    (imports[from] ??= {})[name] = () => notSupported;
  }
  return imports;
}

function indices(count: number): number[] {
  return Array.from({ length: count }, (_, index) => index);
}

/** One instance of the effect, for one thread. */
export class Engine {
  readonly description: Description;
  // One block holds the source, the output, values and profiles of the size that was drawn last.
  private block = 0;
  private blockBytes = 0;

  private constructor(private readonly wasm: Exports) {
    wasm._initialize?.();
    this.description = {
      version: this.text(wasm.web_version()),
      instructionSet: this.text(wasm.web_instruction_set()),
      parameters: indices(wasm.web_parameter_count()).map((index) => this.parameter(index)),
      presets: indices(wasm.web_preset_count()).map((index) => this.preset(index)),
    };
  }

  /** Makes an engine of the bytes of lomix.wasm. Throws where the browser lacks something. */
  static async create(bytes: BufferSource): Promise<Engine> {
    const module = await WebAssembly.compile(bytes);
    const instance = await WebAssembly.instantiate(module, systemCalls(module));
    return new Engine(instance.exports as unknown as Exports);
  }

  /** Makes a look from a preset's JSON; "" for one in which nothing is set. Throws LomixError. */
  createLook(json: string): Look {
    return this.withTexts([json], ([address], [length]) => new Look(this, this.wasm, this.found(this.wasm.web_look_create(address!, length!))));
  }

  /** Bytes of memory that the effect has reserved. */
  get memoryBytes(): number {
    return this.wasm.memory.buffer.byteLength;
  }

  /** Returns memory for a source picture, valid until the next call of source() or draw(). Throws LomixError where
   *  there is not enough. */
  source(width: number, height: number): Uint8ClampedArray<ArrayBuffer> {
    return this.bytes(this.layout(width, height).source, width * height * 4);
  }

  /** Draws the picture that source() received. Returns the pixels, valid until the next call. */
  draw(
    look: Look,
    time: Time,
    width: number,
    height: number,
    scale: { x: number; y: number },
  ): { output: Uint8ClampedArray<ArrayBuffer>; facts: FrameFacts } {
    const at = this.layout(width, height);
    const status = this.guarded(() =>
      this.wasm.web_draw(
        look.address, time.numerator, time.denominator, scale.x, scale.y,
        at.source, at.output, width, height, at.values, at.profiles,
      ),
    );
    this.check(status);
    const buffer = this.wasm.memory.buffer;
    return {
      output: this.bytes(at.output, width * height * 4),
      facts: {
        values: new Float64Array(buffer, at.values, this.description.parameters.length).slice(),
        profiles: new Float32Array(buffer, at.profiles, 3 * height).slice(),
      },
    };
  }

  /** Calls a function with the addresses and lengths of texts that end in 0. */
  withTexts<Result>(texts: string[], call: (addresses: number[], lengths: number[]) => Result): Result {
    const encoded = texts.map((text) => new TextEncoder().encode(text));
    const addresses = encoded.map((bytes) => this.allocate(bytes.length + 1));
    try {
      encoded.forEach((bytes, i) => {
        const memory = new Uint8Array(this.wasm.memory.buffer, addresses[i], bytes.length + 1);
        memory.set(bytes);
        memory[bytes.length] = 0;
      });
      return this.guarded(() => call(addresses, encoded.map((bytes) => bytes.length)));
    } finally {
      addresses.forEach((address) => this.wasm.web_free(address));
    }
  }

  /** Returns the text at an address. */
  text(address: number): string {
    const memory = new Uint8Array(this.wasm.memory.buffer);
    return new TextDecoder().decode(memory.subarray(address, memory.indexOf(0, address)));
  }

  /** Returns an address as it is; throws the last call's error for null. */
  found(address: number): number {
    if (address === 0) throw new LomixError(this.text(this.wasm.web_error()));
    return address;
  }

  check(status: number): void {
    if (status !== 0) throw new LomixError(this.text(this.wasm.web_error()));
  }

  /** Returns what a call writes to an array of that many numbers. */
  withNumbers(count: number, call: (address: number) => void): Float64Array {
    const address = this.allocate(Math.max(count, 1) * 8);
    try {
      this.guarded(() => call(address));
      return new Float64Array(this.wasm.memory.buffer, address, count).slice();
    } finally {
      this.wasm.web_free(address);
    }
  }

  private parameter(index: number): Parameter {
    const { wasm } = this;
    const text = (field: number) => this.text(wasm.web_parameter_text(index, field));
    const number = (field: number) => wasm.web_parameter_number(index, field);
    const choices: string[] = [];
    for (let field = 4; wasm.web_parameter_text(index, field) !== 0; ++field) choices.push(text(field));
    return {
      key: text(0), name: text(1), unit: text(2), help: text(3), choices,
      minimum: number(0), maximum: number(1), sliderMinimum: number(2), sliderMaximum: number(3),
      defaultValue: number(4), decimals: number(5), constant: (number(6) & constantFlag) !== 0,
    };
  }

  private preset(index: number): BuiltInPreset {
    const text = (field: number) => this.text(this.wasm.web_preset_text(index, field));
    return { id: text(0), name: text(1), description: text(2), json: text(3) };
  }

  private bytes(address: number, length: number): Uint8ClampedArray<ArrayBuffer> {
    return new Uint8ClampedArray(this.wasm.memory.buffer as ArrayBuffer, address, length);
  }

  private layout(width: number, height: number): { source: number; output: number; values: number; profiles: number } {
    const pixels = width * height * 4;
    const profiles = 3 * height * 4;
    const values = this.description.parameters.length * 8;
    const bytes = 2 * pixels + profiles + values;
    if (bytes > this.blockBytes) {
      this.wasm.web_free(this.block);
      this.blockBytes = 0;
      this.block = 0;
      this.block = this.allocate(bytes);
      this.blockBytes = bytes;
    }
    const source = this.block + values;
    return { values: this.block, source, output: source + pixels, profiles: source + 2 * pixels };
  }

  private allocate(bytes: number): number {
    const address = this.guarded(() => this.wasm.web_allocate(bytes));
    if (address === 0) throw new LomixError(outOfMemory);
    return address;
  }

  // A call that ends in an exception has run out of memory: everything else returns a status.
  private guarded<Result>(call: () => Result): Result {
    try {
      return call();
    } catch (error) {
      if (error instanceof LomixError) throw error;
      throw new LomixError(outOfMemory, { cause: error });
    }
  }
}

/** A look in the engine's memory. The owner calls destroy(). */
export class Look {
  constructor(
    private readonly engine: Engine,
    private readonly wasm: Exports,
    readonly address: number,
  ) {}

  /** Sets a parameter, by its key or name, to a value or keys as people type them. Throws LomixError. */
  set(parameter: string, text: string): void {
    this.engine.check(this.engine.withTexts([parameter, text], ([name, value]) => this.wasm.web_look_set(this.address, name!, value!)));
  }

  state(): LookState {
    const { engine, wasm, address } = this;
    const count = engine.description.parameters.length;
    const values = engine.withNumbers(count, (to) => engine.check(wasm.web_look_values(address, 0, to)));
    const keys = indices(count).map((index) => {
      const length = Math.max(0, wasm.web_look_keys(address, index, 0, 0));
      const numbers = engine.withNumbers(3 * length, (to) => wasm.web_look_keys(address, index, to, length));
      return indices(length).map((i) => ({
        seconds: numbers[3 * i]!,
        value: numbers[3 * i + 1]!,
        interpolation: interpolations[numbers[3 * i + 2]! - 1]!,
      }));
    });
    return { values: [...values], keys };
  }

  /** Returns the look as a preset. name, description: one line; "" for the library's own. Throws LomixError. */
  json(name: string, description: string): string {
    return this.engine.withTexts([name, description], ([title, line]) =>
      this.engine.text(this.engine.found(this.wasm.web_look_json(this.address, title!, line!))),
    );
  }

  destroy(): void {
    this.wasm.web_look_destroy(this.address);
  }
}
