// An open file as the caller has it: iterations over what comes in batches.

import { QuorvError, type Failure } from './errors.js';
import type { EngineCalls } from './remote.js';
import type {
  Damage, Format, MediaFile, Packet, PacketOptions, PacketTable, Samples, SeekOptions, Track,
} from './types.js';

const formatNames: Record<Format, string> = { avi: 'AVI', asf: 'ASF (WMV, WMA)', mp3: 'MPEG audio' };

/** What has come of a track and was not taken yet. */
class Waiting {
  packets: Packet[] = [];
  /** The tracks that these were read together with. */
  companions = '';
  /** What is thrown behind them; or nothing follows. */
  error: Failure | undefined;
  ended = false;
  samples: Samples[] = [];
  /** Sound that was asked for; what is thrown behind that which is here; or no more follows. */
  coming: Promise<void> | undefined;
  failure: Error | undefined;
  silent = false;
}

export class OpenFile implements MediaFile {
  readonly format: Format;
  readonly formatName: string;
  readonly tracks: readonly Track[];
  readonly durationUs: number | null;
  readonly size: number;

  readonly #engine: EngineCalls;
  /** By track. */
  readonly #waiting: Waiting[];
  /** The latest seek that is under way. */
  #moving: Promise<unknown> | undefined;
  #scans = 0;
  #closed = false;

  constructor(engine: EngineCalls) {
    const description = engine.describe();
    this.#engine = engine;
    this.format = description.format;
    this.formatName = formatNames[description.format];
    this.tracks = description.tracks;
    this.durationUs = description.durationUs;
    this.size = description.size;
    this.#waiting = this.tracks.map(() => new Waiting());
  }

  async *packets(options: PacketOptions = {}): AsyncIterableIterator<Packet> {
    const tracks = this.#readable(options.tracks);
    for (;;) {
      await this.#fill(tracks, options.presentation === true);
      const packet = this.#takeEarliest(tracks);
      if (packet === undefined) return;
      yield packet;
    }
  }

  async *scan(options: PacketOptions = {}): AsyncIterableIterator<PacketTable> {
    const tracks = this.#readable(options.tracks);
    const scan = ++this.#scans;
    for (;;) {
      const { table, ended, error } = await this.#opened().scan({ ...options, tracks }, scan);
      if (table.size.length > 0) yield table;
      if (error !== undefined && error.code !== 'damaged') throw errorOf(error);
      if (ended) return;
    }
  }

  async seek(timeUs: number, { mode = 'before', tracks }: SeekOptions = {}): Promise<number> {
    const moved = this.#readable(tracks);
    const moving = this.#opened().seek(timeUs, mode === 'after', moved).then((reached) => {
      for (const track of moved) this.#waiting[track] = new Waiting();
      return reached;
    }).finally(() => {
      if (this.#moving === moving) this.#moving = undefined;
    });
    this.#moving = moving;
    return moving;
  }

  async *decode(track: number): AsyncIterableIterator<Samples> {
    this.#readable([track]);
    for (;;) {
      const waiting = this.#waitingOf(track);
      const portion = waiting.samples.shift();
      const more = !waiting.silent && waiting.failure === undefined;
      // The next one comes while the caller uses this one.
      if (more && waiting.samples.length === 0)
        waiting.coming ??= this.#decodeOn(track, waiting).finally(() => (waiting.coming = undefined));
      if (portion !== undefined) {
        yield portion;
      } else if (more) {
        await waiting.coming;
      } else if (waiting.silent) {
        return;
      } else {
        const { failure } = waiting;
        waiting.failure = undefined;
        throw failure;
      }
    }
  }

  async #decodeOn(track: number, waiting: Waiting): Promise<void> {
    while (this.#moving !== undefined) await this.#moving.catch(() => undefined);
    if (waiting !== this.#waitingOf(track)) return;
    try {
      const { samples, ended, error } = await this.#opened().decode(track, waiting.packets.splice(0));
      waiting.samples.push(...samples);
      waiting.silent = ended;
      waiting.failure = error && errorOf(error);
    } catch (error) {
      waiting.failure = error as Error;
    }
  }

  async damage(): Promise<Damage> {
    return this.#opened().damage();
  }

  async close(): Promise<void> {
    if (this.#closed) return;
    this.#closed = true;
    await this.#engine.close();
  }

  #opened(): EngineCalls {
    if (this.#closed) throw new QuorvError('closed', 'the file is closed');
    return this.#engine;
  }

  #waitingOf(track: number): Waiting {
    return this.#waiting[track]!;
  }

  /** Those tracks, or all that have packets. */
  #readable(tracks: readonly number[] | undefined): readonly number[] {
    if (tracks === undefined) return this.tracks.filter((track) => track.readable).map((track) => track.index);
    for (const index of tracks) {
      const track = this.tracks[index];
      if (track === undefined) throw new QuorvError('argument', `there is no track ${index}`);
      if (!track.readable) throw new QuorvError('unsupported', `track ${index} can only be listed`);
    }
    return [...tracks].sort((a, b) => a - b);
  }

  /** Reads on until it is known which packet of these tracks is the next one. */
  async #fill(tracks: readonly number[], presentation: boolean): Promise<void> {
    for (;;) {
      const lacking = this.#lacking(tracks);
      if (lacking.length === 0) return;
      const { error } = lacking.map((track) => this.#waitingOf(track)).find((waiting) => waiting.error) ?? {};
      if (error !== undefined) {
        for (const waiting of this.#waiting) if (waiting.error === error) waiting.error = undefined;
        throw errorOf(error);
      }
      const batch = await this.#opened().read({ tracks: lacking, presentation });
      for (const packet of batch.packets) this.#waitingOf(packet.track).packets.push(packet);
      for (const waiting of lacking.map((track) => this.#waitingOf(track))) {
        waiting.companions = lacking.join();
        waiting.error = batch.error;
        waiting.ended = batch.ended;
      }
    }
  }

  /** Tracks that must be read on. What was read together waits in its order already, even if some of them have none. */
  #lacking(tracks: readonly number[]): readonly number[] {
    const open = tracks.filter((track) => this.#waitingOf(track).packets.length === 0 && !this.#waitingOf(track).ended);
    const waiting = tracks.map((track) => this.#waitingOf(track)).filter(({ packets }) => packets.length > 0);
    const together = tracks.filter((track) => open.includes(track) || this.#waitingOf(track).packets.length > 0).join();
    return waiting.length > 0 && waiting.every(({ companions }) => companions === together) ? [] : open;
  }

  #takeEarliest(tracks: readonly number[]): Packet | undefined {
    let earliest: Packet | undefined;
    for (const track of tracks) {
      const packet = this.#waitingOf(track).packets[0];
      if (packet !== undefined && (earliest === undefined || packet.timeUs < earliest.timeUs)) earliest = packet;
    }
    if (earliest !== undefined) this.#waitingOf(earliest.track).packets.shift();
    return earliest;
  }
}

function errorOf({ code, message }: Failure): QuorvError {
  return new QuorvError(code, message);
}
