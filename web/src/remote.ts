// An engine in a worker, as the page sees it.

import { platform } from '#platform';
import { Channel } from './channel.js';
import type { Description, SamplesBatch } from './engine.js';
import { QuorvError } from './errors.js';
import type { PacketBatch, TableBatch } from './reader.js';
import { sourceOf } from './sources.js';
import type { ByteSource, Damage, Input, Packet, PacketOptions } from './types.js';
import type { WorkerInput } from './worker.js';

/** What a file is made of: an Engine, or one far away. */
export interface EngineCalls {
  describe(): Description;
  read(options: PacketOptions): Promise<PacketBatch>;
  scan(options: PacketOptions, scan: number): Promise<TableBatch>;
  seek(timeUs: number, after: boolean, tracks: readonly number[] | undefined): Promise<number>;
  decode(track: number, packets: readonly Packet[]): Promise<SamplesBatch>;
  damage(): Promise<Damage>;
  close(): void | Promise<void>;
}

export async function openInWorker(input: Input, module: WebAssembly.Module): Promise<EngineCalls> {
  const isNear = !(input instanceof Blob) && !(input instanceof URL);
  const source = isNear ? await sourceOf(input) : undefined;
  const what: WorkerInput = input instanceof Blob ? input : input instanceof URL ? input.href : source!.size;
  const channel = new Channel(platform.startWorker(), (_, values) => readFor(source, values));
  try {
    return remote(channel, source, (await channel.call('open', what, module)) as Description);
  } catch (error) {
    channel.close();
    source?.close?.();
    throw error;
  }
}

/** A copy, as what is sent is given away. */
async function readFor(source: ByteSource | undefined, values: readonly unknown[]): Promise<Uint8Array> {
  const [offset, length] = values as [number, number];
  if (source === undefined) throw new QuorvError('internal', 'a worker asks for what it has');
  try {
    return new Uint8Array((await source.read(offset, length)).subarray(0, length));
  } catch (error) {
    throw new QuorvError('source', `the source failed: ${error instanceof Error ? error.message : String(error)}`);
  }
}

function remote(channel: Channel, source: ByteSource | undefined, description: Description): EngineCalls {
  return {
    describe: () => description,
    read: (options) => channel.call('read', options) as Promise<PacketBatch>,
    scan: (options, scan) => channel.call('scan', options, scan) as Promise<TableBatch>,
    seek: (timeUs, after, tracks) => channel.call('seek', timeUs, after, tracks) as Promise<number>,
    decode: (track, packets) => channel.call('decode', track, packets) as Promise<SamplesBatch>,
    damage: () => channel.call('damage') as Promise<Damage>,
    async close() {
      try {
        await channel.call('close');
      } finally {
        channel.close();
        source?.close?.();
      }
    },
  };
}
