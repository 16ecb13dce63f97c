// Workers and addresses of browsers.

import type { Platform, Port } from './platform.js';

type Scope = Pick<Worker, 'postMessage' | 'addEventListener'>;

function portOf(scope: Scope, close: () => void): Port {
  return {
    post: (message, transfer) => scope.postMessage(message, transfer),
    listen(received, failed) {
      scope.addEventListener('message', (event) => received((event as MessageEvent).data));
      scope.addEventListener('error', (event) =>
        failed(new Error((event as ErrorEvent).message || 'the worker could not be started')));
    },
    close,
  };
}

export const platform: Platform = {
  startWorker() {
    const worker = new Worker(new URL('./worker.js', import.meta.url), { type: 'module' });
    return portOf(worker, () => worker.terminate());
  },
  parentPort: () => portOf(globalThis as unknown as Scope, () => globalThis.close()),
  async load(url) {
    const response = await fetch(url);
    if (!response.ok) throw new Error(`${url.href}: ${response.status}`);
    return response.arrayBuffer();
  },
  openFile: () => Promise.resolve(undefined),
};
