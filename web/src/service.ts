// The service worker: keeps the page's files, so that it opens without a network.

interface ServiceScope {
  addEventListener(type: "install" | "activate", listener: (event: { waitUntil(done: Promise<unknown>): void }) => void): void;
  addEventListener(
    type: "fetch",
    listener: (event: { request: Request; respondWith(response: Promise<Response>): void }) => void,
  ): void;
  skipWaiting(): Promise<void>;
  clients: { claim(): Promise<void> };
}

// The build fills these in: the page's files, and a name that changes with their bytes.
declare const PAGE_FILES: string[];
declare const PAGE_VERSION: string;

const scope = self as unknown as ServiceScope;
// Pages in other folders of the same server have caches of their own.
const prefix = `lomix ${new URL(".", location.href).pathname} `;
const cacheName = prefix + PAGE_VERSION;

scope.addEventListener("install", (event) => {
  const fresh = PAGE_FILES.map((file) => new Request(file, { cache: "reload" }));
  event.waitUntil(caches.open(cacheName).then((cache) => cache.addAll(fresh)).then(() => scope.skipWaiting()));
});

scope.addEventListener("activate", (event) => {
  const removeOld = async () => {
    for (const name of await caches.keys()) {
      if (name.startsWith(prefix) && name !== cacheName) await caches.delete(name);
    }
    await scope.clients.claim();
  };
  event.waitUntil(removeOld());
});

scope.addEventListener("fetch", (event) => {
  if (event.request.method !== "GET") return;
  const answer = async () => (await (await caches.open(cacheName)).match(event.request, { ignoreSearch: true })) ?? fetch(event.request);
  event.respondWith(answer());
});
