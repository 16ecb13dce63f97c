// What the package does beyond the library: inputs of every kind, places, sound with times, sources that fail.

import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import type { AddressInfo } from 'node:net';
import { pathToFileURL } from 'node:url';
import { describe, expect, onTestFinished, test } from 'vitest';
import { open, QuorvError, type Input, type MediaFile, type Packet, type Samples } from '../dist/index.js';
import { sparseAvi } from './sparse_avi.js';

const path = new URL('../../samples/h264-mp3.avi', import.meta.url);
const buffer = readFileSync(path);
const bytes = new Uint8Array(buffer);
const pool = Buffer.alloc(0x20000);

function readAgain(at: number, size: number): Uint8Array {
  bytes.subarray(at, at + size).forEach((byte, i) => (pool[i] = byte));
  return pool.subarray(0, Math.min(size, bytes.length - at));
}

async function opened(input: Input, worker = false): Promise<MediaFile> {
  const file = await open(input, { worker });
  onTestFinished(() => file.close());
  return file;
}

async function all<T>(values: AsyncIterable<T>): Promise<T[]> {
  const result = [];
  for await (const value of values) result.push(value);
  return result;
}

async function code(promise: Promise<unknown>): Promise<string> {
  const error = await promise.then(() => undefined, (reason: unknown) => reason);
  return error instanceof QuorvError ? error.code : String(error);
}

const wanted = all((await open(bytes, { worker: false })).packets());

/** Serves the sample; answers range requests if that is wanted. */
async function serve(ranges: boolean, tag = () => 'one'): Promise<URL> {
  const server = createServer((request, response) => {
    const range = /^bytes=(\d+)-(\d+)$/.exec(request.headers.range ?? '');
    if (request.url !== '/sample') return void response.writeHead(404).end();
    if (!ranges || range === null) return void response.end(bytes);
    const [first, last] = [Number(range[1]), Math.min(Number(range[2]), bytes.length - 1)];
    response.writeHead(206, { etag: tag(), 'content-range': `bytes ${first}-${last}/${bytes.length}` });
    response.end(bytes.subarray(first, last + 1));
  });
  await new Promise<void>((resolve) => server.listen(0, '127.0.0.1', resolve));
  onTestFinished(() => void server.close());
  return new URL(`http://127.0.0.1:${(server.address() as AddressInfo).port}/sample`);
}

describe.each([false, true])('in a worker: %s', (worker) => {
  test.each<[string, () => Input | Promise<Input>]>([
    ['a blob', () => new Blob([bytes])],
    ['a buffer', () => bytes.buffer],
    ['a part of a buffer', () => new Uint8Array([1, ...bytes, 1]).subarray(1, bytes.length + 1)],
    ['a buffer of node', () => buffer],
    ['a file of the system', () => path],
    ['an address with ranges', () => serve(true)],
    ['an address without', () => serve(false)],
    ['a source that is at hand', () => ({ size: bytes.length, read: (at, size) => bytes.subarray(at, at + size) })],
    ['a source that uses its memory again', () => ({ size: bytes.length, read: readAgain })],
  ])('reads %s', async (_name, input) => {
    expect(await all((await opened(await input(), worker)).packets())).toEqual(await wanted);
  });

  test.each<[string, Input, string]>([
    ['a foreign file', new Blob(['neither sound nor picture']), 'not-media'],
    ['nothing', new Blob([]), 'not-media'],
    ['what cannot be read', 17 as never, 'argument'],
    ['a file that is not there', pathToFileURL('/nonexistent/file'), 'source'],
    ['a source that fails', { size: 1000, read: () => Promise.reject(new Error('unplugged')) }, 'source'],
    ['a source that is cut off', { size: 1000, read: () => new Uint8Array(10) }, 'source'],
    ['a source without a size', { size: NaN, read: () => new Uint8Array(10) }, 'argument'],
  ])('says what is wrong with %s', async (_name, input, expected) => {
    expect(await code(open(input, { worker }))).toBe(expected);
  });

  test('says why a server has no file', async () => {
    const address = new URL('elsewhere', await serve(true));
    await expect(open(address, { worker })).rejects.toThrow(/elsewhere.*404/);
  });

  test('notices that a server has another file', async () => {
    let requests = 0;
    const address = await serve(true, () => (++requests > 1 ? 'two' : 'one'));
    await expect(open(address, { worker })).rejects.toThrow(/sample: the file has changed/);
  });

  test('ends a source once', async () => {
    let ends = 0;
    const read = (at: number, size: number) => bytes.subarray(at, at + size);
    const source = { size: bytes.length, read, close: () => void ++ends };
    const file = await open(source, { worker });
    await file.close();
    await file.close();
    expect(ends).toBe(1);
    expect(await code(file.seek(0))).toBe('closed');
    expect(await code(all(file.packets()))).toBe('closed');
    expect(await code(open({ ...source, size: 10 }, { worker }))).toBe('not-media');
    expect(ends).toBe(2);
  });

  test('scans beside the places of tracks', async () => {
    const file = await opened(bytes, worker);
    const [first] = await all(file.packets()).then((packets) => packets.slice(-1));
    expect(first?.data.length).toBeGreaterThan(0);
    await file.seek(1_000_000);
    const packets = await wanted;
    const tables = await all(file.scan());
    const rows = tables.flatMap((table) => [...table.size].map((size, i) =>
      [table.track[i], size, table.timeUs[i], table.durationUs[i], table.offset[i], table.key[i] === 1]));
    expect(rows).toEqual(packets.map(({ track, data, timeUs, durationUs, offset, key }) =>
      [track, data.length, timeUs, durationUs, offset, key]));
    const next = (await file.packets({ tracks: [0] }).next()).value as Packet;
    expect(next.timeUs).toBe(1_000_000);
  });
});

test.each([false, true])('says why it cannot read on (in a worker: %s)', async (worker) => {
  const { source } = sparseAvi(20_000_000);
  const read = (at: number, size: number) => {
    if (at > 10_000_000 && at < 19_000_000) throw new Error('unplugged');
    return source.read(at, size);
  };
  const file = await opened({ size: source.size, read }, worker);
  expect(await code(all(file.scan()))).toBe('source');
  expect(await code(all(file.packets()))).toBe('source');
});

test.each([false, true])('tells where a file is damaged (in a worker: %s)', async (worker) => {
  const file = await opened(bytes.slice().fill(255, 20_000, 22_000), worker);
  await all(file.scan());
  const { bytesPassedOver, chunksMissing } = await file.damage();
  expect(bytesPassedOver).toEqual({ count: 1766, firstOffset: 20_272, places: [{ begin: 20_272, end: 22_038 }] });
  expect(chunksMissing.places[0]).toEqual({ begin: 20_272, end: 20_273 });
});

test('scans once at a time', async () => {
  const { source, frames } = sparseAvi(40_000_000);
  const slow = { size: source.size, read: (at: number, size: number) => Promise.resolve(source.read(at, size)) };
  const file = await opened(slow);
  const [first, second] = await Promise.all([code(all(file.scan())), all(file.scan())]);
  expect(first).toBe('closed');
  expect(second.reduce((count, table) => count + table.size.length, 0)).toBe(frames);
});

test('goes on where an iteration was left, whichever tracks it has', async () => {
  const file = await opened(bytes);
  const packets: Packet[] = [];
  const take = async (count: number, tracks?: number[]) => {
    for await (const packet of file.packets(tracks === undefined ? {} : { tracks })) {
      packets.push(packet);
      if (--count === 0) return;
    }
  };
  await take(5);
  await take(7, [1]);
  await take(3, [0]);
  await take(9);
  await take(1, [1, 0]);
  await take(Infinity);
  for (const index of [0, 1]) {
    const ofTrack = ({ track }: Packet) => track === index;
    expect(packets.filter(ofTrack)).toEqual((await wanted).filter(ofTrack));
  }
  // In the order of time again, when both are where they were left.
  const last = packets.slice(-20).map((packet) => packet.timeUs);
  expect(last).toEqual([...last].sort((a, b) => a - b));
});

test('decodes what was read and not taken', async () => {
  const file = await opened(bytes);
  const whole = (await all((await opened(bytes)).decode(1))).flatMap(({ data }) => [...data]);
  await file.packets().next();
  const rest = (await all(file.decode(1))).flatMap(({ data }) => [...data]);
  expect(rest).toEqual(whole);
});

test('tells when sound is heard', async () => {
  const file = await opened(bytes);
  for (const start of [0, 1_000_000]) {
    const reached = await file.seek(start);
    const portions = await all(file.decode(1));
    const [first] = portions;
    // A frame of which the beginning lies before the place gives no sound.
    expect(Math.abs(first!.timeUs - reached)).toBeLessThan(60_000);
    let endUs = first!.timeUs;
    for (const { timeUs, data, format } of portions) {
      expect(Math.abs(timeUs - endUs)).toBeLessThan(50);
      endUs = timeUs + (data.length / format.channels / format.rate) * 1e6;
    }
    expect(Math.abs(endUs - file.tracks[1]!.durationUs!)).toBeLessThan(60_000);
  }
});

test('loses no sound when tracks are moved while it comes', async () => {
  const file = await opened(bytes, true);
  const sound = file.decode(1);
  await sound.next();
  const seeking = file.seek(1_000_000);
  const portions = [(await sound.next()).value as Samples, ...(await all(sound))];
  const reached = await seeking;
  const frames = portions.filter(({ timeUs }) => timeUs >= reached - 60_000)
    .reduce((count, { data, format }) => count + data.length / format.channels, 0);
  const { sampleRate, durationUs } = file.tracks[1]!;
  expect(Math.abs((frames / sampleRate) * 1e6 - (durationUs! - reached))).toBeLessThan(60_000);
});

test('refuses what a track cannot do', async () => {
  const file = await opened(bytes);
  expect(await code(all(file.decode(0)))).toBe('unsupported');
  expect(await code(all(file.decode(2)))).toBe('argument');
  expect(await code(all(file.packets({ tracks: [2] })))).toBe('argument');
});

test.each([false, true])('can be read on when a source works again (in a worker: %s)', async (worker) => {
  const { source, frames } = sparseAvi(20_000_000);
  let count = 0;
  const file = await opened({
    size: source.size,
    read(at, size) {
      if (++count % 3 === 0) throw new Error('unplugged');
      return source.read(at, size);
    },
  }, worker);
  const times: number[] = [];
  let failures = 0;
  const read = async (): Promise<void> => {
    try {
      for await (const packet of file.packets()) times.push(packet.timeUs);
    } catch (error) {
      expect(error).toMatchObject({ code: 'source', message: 'the source failed: unplugged' });
      ++failures;
      await read();
    }
  };
  await read();
  expect(failures).toBeGreaterThan(5);
  expect(times).toEqual(Array.from({ length: frames }, (_, i) => i * 40_000));
});

test('says that a frame is too large for the module', async () => {
  const file = await opened(sparseAvi(1 << 30, 900_000_000).source);
  expect(await code(all(file.packets()))).toBe('memory');
  expect(await file.seek(0)).toBe(0);
});

test('lists a large file by a small part of it', async () => {
  const { source, frames, readBytes } = sparseAvi(1 << 30);
  const file = await opened(source);
  expect(file.tracks.map(({ codec, durationUs }) => [codec, durationUs])).toEqual([['mjpeg', frames * 40_000]]);
  expect(readBytes()).toBeLessThan(2_000_000);
  expect(await file.seek(frames * 20_000)).toBe(Math.floor(frames / 2) * 40_000);
  const next = (await file.packets().next()).value as Packet;
  expect(next.timeUs).toBe(Math.floor(frames / 2) * 40_000);
  expect(readBytes()).toBeLessThan(3_000_000);
});
