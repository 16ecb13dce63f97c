// A file as the side of the library has it: calls that are repeated until their bytes are here, and what they give in
// batches. Runs in the worker, or beside the caller.

import { Blocks, type Cut } from './blocks.js';
import { Decoding } from './decoding.js';
import { QuorvError } from './errors.js';
import { Library } from './module.js';
import { PacketReader, type BatchEnd, type PacketBatch, type TableBatch } from './reader.js';
import { damageOf } from './records.js';
import { sourceOf } from './sources.js';
import type {
  Damage, Format, Input, Packet, PacketOptions, Samples, Track,
} from './types.js';

/** What a file is as a whole. */
export interface Description {
  readonly format: Format;
  readonly durationUs: number | null;
  readonly size: number;
  readonly tracks: readonly Track[];
}

export interface SamplesBatch extends BatchEnd {
  readonly samples: readonly Samples[];
}

/** Of quorv_damage. */
const wholeFile = 0xffffffff;

/** What the caller's side asks for; all calls can be under way at the same time. */
export class Engine {
  readonly #library: Library;
  readonly #reader: PacketReader;
  readonly #description: Description;
  readonly #blocks: Blocks;
  /** Goes over the whole file on its own; which scan it is for. */
  #scanner: Promise<PacketReader> | undefined;
  #scan = 0;
  /** By track. */
  readonly #decodings = new Map<number, Decoding>();

  private constructor(library: Library, blocks: Blocks, reader: PacketReader) {
    this.#library = library;
    this.#blocks = blocks;
    this.#reader = reader;
    this.#description = reader.describe();
  }

  static async open(input: Input, module: WebAssembly.Module, cut?: Cut): Promise<Engine> {
    const blocks = new Blocks(await sourceOf(input), cut);
    try {
      const library = await Library.create(module, blocks);
      return new Engine(library, blocks, await PacketReader.open(library, blocks));
    } catch (error) {
      blocks.close();
      throw error;
    }
  }

  describe(): Description {
    return this.#description;
  }

  /** The next packets. */
  read(options: PacketOptions): Promise<PacketBatch> {
    return this.#reader.alone(() => this.#reader.read(options));
  }

  /** The next packets of a scan without their bytes. One with a higher number ends that before it. */
  async scan(options: PacketOptions, scan: number): Promise<TableBatch> {
    if (scan < this.#scan) throw new QuorvError('closed', 'another scan has begun');
    const before = scan > this.#scan ? this.#scanner : undefined;
    if (scan > this.#scan) {
      this.#scan = scan;
      this.#scanner = PacketReader.open(this.#library, this.#blocks);
    }
    // Its reader may be waiting for bytes.
    void before?.then((reader) => reader.alone(async () => reader.close()), () => undefined);
    const scanner = await this.#scanner!;
    return scanner.alone(() => scanner.readTable(options));
  }

  seek(timeUs: number, after: boolean, tracks: readonly number[] | undefined): Promise<number> {
    return this.#reader.alone(async () => {
      const reached = await this.#reader.seek(timeUs, after, tracks);
      for (const [track, decoding] of this.#decodings)
        if (tracks === undefined || tracks.includes(track)) decoding.restart();
      return reached;
    });
  }

  /** The next sound of a track; `packets` are some of it that were read and not used. */
  decode(track: number, packets: readonly Packet[]): Promise<SamplesBatch> {
    return this.#reader.alone(() => this.#decodingOf(track).next(packets));
  }

  #decodingOf(index: number): Decoding {
    let decoding = this.#decodings.get(index);
    if (decoding === undefined) {
      const track = this.#description.tracks[index];
      if (track === undefined) throw new QuorvError('argument', `there is no track ${index}`);
      decoding = new Decoding(this.#library, this.#reader, track);
      this.#decodings.set(index, decoding);
    }
    return decoding;
  }

  async damage(): Promise<Damage> {
    const scanner = await this.#scanner?.catch(() => undefined);
    const reader = scanner?.ended === true ? scanner : this.#reader;
    const of = (track: number) => damageOf(this.#library, this.#library.call('quorv_damage', reader.address, track));
    return reader.alone(async () =>
      ({ ...of(wholeFile), tracks: this.#description.tracks.map((track) => of(track.index)) }));
  }

  /** Memory goes with the last reference. */
  close(): void {
    this.#blocks.close();
  }

  /** How many bytes the module has, of which it never gives any back. */
  memoryUsed(): number {
    return this.#library.view.byteLength;
  }
}
