// Calls of a worker's methods from the page, answered by promises.

type Method = (...parameters: unknown[]) => unknown;

/** The methods of Api as the page calls them. */
export type Remote<Api> = {
  [Name in keyof Api]: Api[Name] extends (...parameters: infer P) => infer R ? (...parameters: P) => Promise<Awaited<R>> : never;
};

interface Call {
  id: number;
  name: string;
  parameters: unknown[];
}

type Answer = { id: number; result: unknown } | { id: number; error: string };

/** Where messages go to and come from: a worker, or a worker's own scope. */
export interface Port {
  postMessage(message: unknown, transfer: Transferable[]): void;
  addEventListener(type: "message", listener: (event: MessageEvent) => void): void;
}

function isTransferable(value: unknown): value is Transferable {
  return [globalThis.OffscreenCanvas, globalThis.ImageBitmap].some((type) => type !== undefined && value instanceof type);
}

// Transferable values, at most two objects deep: they move instead of being copied.
function transferables(value: unknown, depth = 2): Transferable[] {
  if (isTransferable(value)) return [value];
  if (depth === 0 || typeof value !== "object" || value === null || ArrayBuffer.isView(value)) return [];
  return Object.values(value).flatMap((inner) => transferables(inner, depth - 1));
}

/** Returns an object whose methods call those of the worker behind port. Bitmaps and canvases move there. */
export function remote<Api>(port: Port): Remote<Api> {
  const waiting = new Map<number, { resolve(result: unknown): void; reject(error: Error): void }>();
  let last = 0;
  port.addEventListener("message", (event: MessageEvent<Answer>) => {
    const answer = event.data;
    const caller = waiting.get(answer.id);
    waiting.delete(answer.id);
    if ("error" in answer) caller?.reject(new Error(answer.error));
    else caller?.resolve(answer.result);
  });
  const call = (name: string, parameters: unknown[]) =>
    new Promise<unknown>((resolve, reject) => {
      const id = ++last;
      waiting.set(id, { resolve, reject });
      port.postMessage({ id, name, parameters } satisfies Call, transferables(parameters));
    });
  return new Proxy({}, { get: (_, name) => (...parameters: unknown[]) => call(String(name), parameters) }) as Remote<Api>;
}

/** Lets the other side of port call the methods of api, one after the other. */
export function serve(port: Port, api: object): void {
  let previous = Promise.resolve();
  port.addEventListener("message", (event: MessageEvent<Call>) => {
    const { id, name, parameters } = event.data;
    previous = previous.then(async () => {
      try {
        const result = await (api as Record<string, Method>)[name]!.apply(api, parameters);
        port.postMessage({ id, result } satisfies Answer, transferables(result));
      } catch (error) {
        const text = error instanceof Error ? error.message : String(error);
        port.postMessage({ id, error: text } satisfies Answer, []);
      }
    });
  });
}
