// The worker: an engine that the page calls.

import { platform } from '#platform';
import { Channel } from './channel.js';
import { Engine } from './engine.js';
import { QuorvError } from './errors.js';
import type { Input, Packet, PacketOptions } from './types.js';

/** What is opened: something that a worker can read, or the size of what the page has to. */
export type WorkerInput = Blob | string | number;

let engine: Engine | undefined;

async function open(input: WorkerInput, module: WebAssembly.Module): Promise<unknown> {
  engine = await Engine.open(inputOf(input), module);
  return engine.describe();
}

function inputOf(input: WorkerInput): Input {
  if (typeof input === 'string') return new URL(input);
  if (typeof input !== 'number') return input;
  return { size: input, read: async (offset, length) => (await channel.call('read', offset, length)) as Uint8Array };
}

function opened(): Engine {
  if (engine === undefined) throw new QuorvError('closed', 'the file is not open');
  return engine;
}

const calls: Record<string, (...values: never[]) => unknown> = {
  open,
  read: (options: PacketOptions) => opened().read(options),
  scan: (options: PacketOptions, scan: number) => opened().scan(options, scan),
  seek: (timeUs: number, after: boolean, tracks: number[] | undefined) => opened().seek(timeUs, after, tracks),
  decode: (track: number, packets: Packet[]) => opened().decode(track, packets),
  damage: () => opened().damage(),
  close: () => opened().close(),
};

const channel = new Channel(platform.parentPort(), (name, values) =>
  (calls[name] as (...values: readonly unknown[]) => unknown)(...values));
