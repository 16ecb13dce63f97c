// One reader of the library: opening, batches of packets, seeking.

import type { Blocks } from './blocks.js';
import type { Description } from './engine.js';
import { failureOf, QuorvError, type Failure } from './errors.js';
import type { Library, Result } from './module.js';
import { formatOf, readFile, readPacket, trackOf } from './records.js';
import type { Packet, PacketOptions, PacketTable, Track } from './types.js';

/** The end of a batch: more will follow, nothing will, or another attempt goes on behind an error. */
export interface BatchEnd {
  readonly ended: boolean;
  readonly error?: Failure;
}

export interface PacketBatch extends BatchEnd {
  readonly packets: readonly Packet[];
}

export interface TableBatch extends BatchEnd {
  readonly table: PacketTable;
}

/** A batch ends with the packet that reaches one of these. */
const mostPackets = 256;
const mostBytes = 0x80000;
/** The same for a batch without the packets' bytes. */
const mostRows = 4096;
const mostBytesPassed = 0x1000000;

export type PacketFields = ReturnType<typeof readPacket>;

export class PacketReader {
  /** Of the QuorvReader. */
  readonly address: number;
  /** Whether the latest batch was the last one. */
  ended = false;

  readonly #library: Library;
  readonly #blocks: Blocks;
  /** Where calls store what they give. */
  readonly #slot: number;
  readonly #tracks: readonly Track[];
  /** Tracks. */
  readonly #selected: Set<number>;
  readonly #presented = new Set<number>();
  #last: Promise<unknown> = Promise.resolve();

  private constructor(library: Library, blocks: Blocks, slot: number) {
    this.#library = library;
    this.#blocks = blocks;
    this.#slot = slot;
    this.address = library.view.getUint32(slot, true);
    this.#tracks = this.#describeTracks();
    this.#selected = new Set(this.#readable());
  }

  static async open(library: Library, blocks: Blocks): Promise<PacketReader> {
    const slot = library.allocate(8);
    library.view.setUint32(slot, 0, true);
    try {
      library.check(await repeat(library, blocks, () => library.result('quorv_open_page', 0, slot)));
    } catch (error) {
      // One that waits for bytes is there already.
      if (!(error instanceof QuorvError && error.code === 'internal'))
        library.call('quorv_close', library.view.getUint32(slot, true));
      throw error;
    }
    return new PacketReader(library, blocks, slot);
  }

  close(): void {
    this.#library.call('quorv_close', this.address);
    this.#library.free(this.#slot);
  }

  /** Does something when what was asked for before is done: a call that waits for bytes is repeated as it was. */
  alone<T>(task: () => Promise<T>): Promise<T> {
    const result = this.#last.then(task);
    this.#last = result.catch(() => undefined);
    return result;
  }

  describe(): Description {
    const file = readFile(this.#library.view, this.#library.call('quorv_file', this.address));
    return {
      format: formatOf(file.container),
      durationUs: file.durationUs >= 0 ? file.durationUs : null,
      size: file.size,
      tracks: this.#tracks,
    };
  }

  #describeTracks(): Track[] {
    const library = this.#library;
    const { trackCount } = readFile(library.view, library.call('quorv_file', this.address));
    return Array.from({ length: trackCount }, (_, index) => {
      const readable = library.result('quorv_select', this.address, index, 1) === 'ok';
      return trackOf(library, library.call('quorv_track', this.address, index), index, readable);
    });
  }

  async read(options: PacketOptions): Promise<PacketBatch> {
    const packets: Packet[] = [];
    let bytes = 0;
    const end = await this.each(options, false, (fields) => {
      const presentationUs = this.#presented.has(fields.track) ? fields.presentationUs : null;
      packets.push({
        track: fields.track,
        data: this.#library.bytes(fields.data, fields.size),
        timeUs: fields.timeUs,
        presentationUs,
        durationUs: fields.durationUs,
        key: fields.key !== 0,
        offset: fields.offset,
      });
      bytes += fields.size;
      return packets.length < mostPackets && bytes < mostBytes;
    });
    return { packets, ...end };
  }

  async readTable(options: PacketOptions): Promise<TableBatch> {
    const table = tableOf(mostRows);
    let count = 0;
    let bytes = 0;
    const end = await this.each(options, true, (fields) => {
      table.track[count] = fields.track;
      table.size[count] = fields.size;
      table.timeUs[count] = fields.timeUs;
      table.presentationUs[count] = fields.presentationUs;
      table.durationUs[count] = fields.durationUs;
      table.offset[count] = fields.offset;
      table.key[count] = fields.key !== 0 ? 1 : 0;
      bytes += fields.size;
      return ++count < mostRows && bytes < mostBytesPassed;
    });
    return { table: tableOf(count, table), ...end };
  }

  /**
   * Hands packets on until no more are taken, or, unless patient, some are here and the next one is not. Their bytes
   * are in the module's memory until the next one is read.
   */
  async each(
    options: PacketOptions, patient: boolean, take: (fields: PacketFields) => boolean,
  ): Promise<BatchEnd> {
    const library = this.#library;
    const tracks = options.tracks ?? this.#readable();
    this.#select(tracks);
    this.#present(tracks, options.presentation === true);
    const read = () => library.result('quorv_read', this.address, this.#slot);
    this.ended = false;
    for (let count = 0; ; ++count) {
      let result = read();
      if (result === 'again') {
        if (count > 0 && !patient) return { ended: false };
        try {
          result = await repeat(library, this.#blocks, read);
        } catch (error) {
          // What is here is not lost because the source has failed.
          if (count > 0 && error instanceof QuorvError) return { ended: false, error: failureOf(error) };
          throw error;
        }
      }
      if (result === 'end') {
        this.ended = true;
        return { ended: true };
      }
      if (result !== 'ok') return { ended: false, error: failureOf(library.error(result)) };
      if (!take(readPacket(library.view, library.view.getUint32(this.#slot, true)))) return { ended: false };
    }
  }

  async seek(timeUs: number, after: boolean, tracks: readonly number[] | undefined): Promise<number> {
    const library = this.#library;
    this.#select(tracks ?? this.#readable());
    const time = BigInt(Math.round(timeUs));
    const seek = () => library.result('quorv_seek', this.address, time, after ? 1 : 0, this.#slot);
    library.check(await repeat(library, this.#blocks, seek));
    return Number(library.view.getBigInt64(this.#slot, true));
  }

  #readable(): number[] {
    return this.#tracks.filter((track) => track.readable).map((track) => track.index);
  }

  #select(tracks: readonly number[]): void {
    for (const index of tracks) {
      const track = this.#tracks[index];
      if (track === undefined) throw new QuorvError('argument', `there is no track ${index}`);
      if (!track.readable) throw new QuorvError('unsupported', `track ${index} can only be listed`);
    }
    for (const { index } of this.#tracks) {
      const wanted = tracks.includes(index);
      if (wanted === this.#selected.has(index)) continue;
      this.#library.result('quorv_select', this.address, index, wanted ? 1 : 0);
      if (wanted) this.#selected.add(index);
      else this.#selected.delete(index);
    }
  }

  #present(tracks: readonly number[], wanted: boolean): void {
    for (const index of tracks) {
      if (this.#presented.has(index) === wanted) continue;
      this.#library.check(this.#library.result('quorv_set_presentation', this.address, index, wanted ? 1 : 0));
      if (wanted) this.#presented.add(index);
      else this.#presented.delete(index);
    }
  }
}

/** A table of so many rows: the first ones of another. */
function tableOf(rows: number, from?: PacketTable): PacketTable {
  const numbers = (column?: Float64Array) => column?.slice(0, rows) ?? new Float64Array(rows);
  return {
    track: from?.track.slice(0, rows) ?? new Uint32Array(rows),
    size: from?.size.slice(0, rows) ?? new Uint32Array(rows),
    timeUs: numbers(from?.timeUs),
    presentationUs: numbers(from?.presentationUs),
    durationUs: numbers(from?.durationUs),
    offset: numbers(from?.offset),
    key: from?.key.slice(0, rows) ?? new Uint8Array(rows),
  };
}

/** Calls until the bytes that it needs are here. The library keeps what it has read: each call comes further. */
async function repeat(library: Library, blocks: Blocks, call: () => Result): Promise<Result> {
  for (;;) {
    const result = call();
    if (result !== 'again') return result;
    await blocks.fetch(library.wanted.offset, library.wanted.length);
  }
}
