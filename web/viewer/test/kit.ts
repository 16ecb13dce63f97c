// What the page's tests share: a server of the built page, a browser, and a clock that runs as fast as it can.
import { readFile } from 'node:fs/promises';
import { createServer, type Server } from 'node:http';
import { extname, join, normalize } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium, type Browser, type Page } from 'playwright-core';

const BUILT = fileURLToPath(new URL('../../dist-viewer', import.meta.url));
const TYPES: Record<string, string> = {
  '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.svg': 'image/svg+xml',
  '.wasm': 'application/wasm', '.txt': 'text/plain',
};

/** Serves the built page below `/some/folder/`, since it must not depend on where it lies. */
export async function serve(): Promise<{ server: Server; address: string }> {
  const prefix = '/some/folder/';
  const server = createServer((request, response) => {
    const path = normalize(new URL(request.url!, 'http://localhost').pathname);
    if (!path.startsWith(prefix)) return void response.writeHead(404).end();
    const file = join(BUILT, path.slice(prefix.length) || 'index.html');
    readFile(file).then(
      (data) => response.writeHead(200, { 'content-type': TYPES[extname(file)] }).end(data),
      () => response.writeHead(404).end());
  });
  await new Promise<void>((listening) => server.listen(0, '127.0.0.1', listening));
  const { port } = server.address() as { port: number };
  return { server, address: `http://127.0.0.1:${port}${prefix}` };
}

export function launch(): Promise<Browser> {
  return chromium.launch({
    executablePath: process.env['CHROMIUM'] ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage'],
  });
}

/** Drops a file of the disk on the page, as a person would. */
export async function drop(page: Page, path: string): Promise<void> {
  await page.evaluate(() => {
    const input = document.createElement('input');
    input.type = 'file';
    input.id = 'dropped';
    document.body.append(input);
  });
  await page.setInputFiles('#dropped', path);
  await page.evaluate(() => {
    const input = document.querySelector<HTMLInputElement>('#dropped')!;
    const dataTransfer = new DataTransfer();
    dataTransfer.items.add(input.files![0]!);
    input.remove();
    document.body.dispatchEvent(new DragEvent('drop', { dataTransfer, bubbles: true, cancelable: true }));
  });
}
