// Every sample and every hostile file, against what the native library tells of it. Bytes are never here when they are
// asked for the first time, and blocks are small and few, so that most calls are made again and again.

import { spawnSync } from 'node:child_process';
import { existsSync, readdirSync, readFileSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { describe, expect, test } from 'vitest';
import type { MediaFile } from '../dist/index.js';
import { Engine } from '../dist/engine.js';
import { OpenFile } from '../dist/file.js';
import { compile } from '../dist/compile.js';
import { dump } from './dump.js';

const here = dirname(fileURLToPath(import.meta.url));
const project = join(here, '../..');
const build = process.env['QUORV_NATIVE_BUILD'] ?? join(project, 'build/release');

function filesIn(folder: string, pattern: RegExp): string[] {
  if (!existsSync(folder)) return [];
  return readdirSync(folder, { recursive: true, withFileTypes: true })
    .filter((entry) => entry.isFile() && pattern.test(entry.name))
    .map((entry) => join(entry.parentPath ?? entry.path, entry.name));
}

const samples = [
  ...filesIn(join(project, 'samples'), /\.avi$/),
  ...filesIn(join(build, 'samples/made'), /\.avi$/),
  ...filesIn(process.env['QUORV_REAL'] ?? '', /\.(avi|as[fx]|wm[av]|mp3)$/),
  ...filesIn(process.env['QUORV_VECTORS'] ?? '', /\.bit$/),
].sort();
const hostile = filesIn(join(project, 'fuzz/corpus'), /./).sort();

function nativeDumps(paths: readonly string[]): unknown[] {
  const { stdout, stderr, status } = spawnSync('/usr/bin/python3', [join(here, 'native_dump.py')], {
    input: paths.map((path) => `${path}\n`).join(''),
    encoding: 'utf8',
    maxBuffer: 1 << 30,
    env: {
      ...process.env,
      PYTHONPATH: `${project}/python:${build}/python`,
      PYTHONDONTWRITEBYTECODE: '1',
      LD_LIBRARY_PATH: `${build}/src`,
    },
  });
  if (status !== 0) throw new Error(stderr);
  return stdout.trimEnd().split('\n').map((line) => JSON.parse(line) as unknown);
}

/** Each block of a large file is asked for some times only. */
function blockSizeOf(bytes: Uint8Array): number {
  return Math.max(512, Math.ceil(bytes.length / 128));
}

/** What reading a file has taken. */
interface Cost {
  readonly engines: Engine[];
  reads: number;
}

/** Opens a file of which nothing is here, and of which only some blocks stay. */
function opener(bytes: Uint8Array, cost: Cost): () => Promise<MediaFile> {
  const blockSize = blockSizeOf(bytes);
  const source = {
    size: bytes.length,
    read: async (offset: number, length: number) => {
      ++cost.reads;
      await undefined;
      return bytes.subarray(offset, offset + length);
    },
  };
  return async () => {
    const engine = await Engine.open(source, await compile(undefined), { blockSize, room: 8, longestRun: 2 });
    cost.engines.push(engine);
    return new OpenFile(engine);
  };
}

for (const [kind, paths] of [['samples', samples], ['hostile files', hostile]] as const) {
  describe(kind, () => {
    const expected = nativeDumps(paths);
    test.each(paths.map((path, i) => [`${basename(dirname(path))}/${basename(path)}`, path, expected[i]] as const))(
      '%s',
      async (_name, path, native) => {
        const bytes = readFileSync(path);
        const cost: Cost = { engines: [], reads: 0 };
        expect(await dump(opener(bytes, cost))).toEqual(native);
        // Each read follows a call that lacked bytes; two blocks come at once at most.
        if (kind === 'samples') expect(cost.reads).toBeGreaterThan(bytes.length / blockSizeOf(bytes) / 2);
        // What a file can take is bounded by what it holds.
        for (const engine of cost.engines) expect(engine.memoryUsed()).toBeLessThan(0x200000 + 8 * bytes.length);
      },
    );
  });
}
