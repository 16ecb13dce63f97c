// Workers and files of node.

import { open, readFile } from 'node:fs/promises';
import { parentPort, Worker, type Transferable } from 'node:worker_threads';
import type { Platform, Port } from './platform.js';

type Scope = Pick<Worker, 'postMessage' | 'on'>;

function portOf(scope: Scope, close: () => void): Port {
  return {
    post: (message, transfer) => scope.postMessage(message, transfer as Transferable[]),
    listen(received, failed) {
      scope.on('message', received);
      scope.on('error', failed);
    },
    close,
  };
}

export const platform: Platform = {
  startWorker() {
    const worker = new Worker(new URL('./worker.js', import.meta.url));
    return portOf(worker, () => void worker.terminate());
  },
  parentPort() {
    const port = parentPort;
    if (port === null) throw new Error('not in a worker');
    return portOf(port as unknown as Scope, () => port.close());
  },
  load: (url) => readFile(url),
  async openFile(url) {
    if (url.protocol !== 'file:') return undefined;
    const file = await open(url);
    const { size } = await file.stat();
    return {
      size,
      async read(offset, length) {
        const bytes = new Uint8Array(length);
        const { bytesRead } = await file.read(bytes, 0, length, offset);
        return bytes.subarray(0, bytesRead);
      },
      close: () => void file.close(),
    };
  },
};
