// The module: what it is made of.

import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { expect, test } from 'vitest';

const bytes = readFileSync(new URL('../dist/quorv.wasm', import.meta.url));
const module = new WebAssembly.Module(bytes);

test('is small', () => {
  // The zlib that node brings packs a little less than the program does.
  expect(execFileSync('gzip', ['-9', '-c'], { input: bytes }).length).toBeLessThanOrEqual(90_000);
});

test('asks for nothing but a file', () => {
  const names = WebAssembly.Module.imports(module).map((entry) => `${entry.module}.${entry.name}`);
  expect(names.sort()).toEqual(['page.read_at', 'page.size']);
});

test('has the functions that take no path', () => {
  const header = readFileSync(new URL('../../include/quorv/quorv.h', import.meta.url), 'utf8');
  const declared = [...header.matchAll(/^QUORV_API [^;(]*?\b(quorv_\w+)\(/gm)].map((match) => match[1]!);
  const own = ['MMemAlloc', 'MMemFree', '_initialize', 'memory', 'quorv_open_page'];
  const wanted = [...declared.filter((name) => !/_open_(path|fd)$/.test(name)), ...own];
  expect(WebAssembly.Module.exports(module).map(({ name }) => name).sort()).toEqual(wanted.sort());
});
