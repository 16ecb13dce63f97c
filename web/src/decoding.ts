// The sound of one track: its packets decoded, with times.

import type { SamplesBatch } from './engine.js';
import type { Library } from './module.js';
import { isPcm, samplesOf } from './pcm.js';
import type { PacketReader } from './reader.js';
import { readSamples, readSkippedFrames } from './records.js';
import type { Packet, Samples, Track } from './types.js';

/** A batch ends with the packet that reaches so many samples of each channel. */
const mostFrames = 16384;

/** Frames of MPEG audio have so many samples of each channel. */
function frameLength(track: Track, rate: number): number {
  if (track.codec === 'mp1') return 384;
  return track.codec === 'mp3' && rate < 32000 ? 576 : 1152;
}

export class Decoding {
  readonly #library: Library;
  readonly #reader: PacketReader;
  readonly #track: Track;
  /** Of the QuorvDecoder; 0 for PCM. */
  #decoder = 0;
  readonly #slot: number;
  /** The track has been moved, which the decoder does not know yet. */
  #moved = false;
  /** The next packet's time is where the sound goes on: the first one, or a part of the track is missing. */
  #lost = true;
  #startUs = 0;
  /** What the decoder has given since then, and how many frames it had skipped before. */
  #played = 0;
  #skippedBefore = 0;

  constructor(library: Library, reader: PacketReader, track: Track) {
    this.#library = library;
    this.#reader = reader;
    this.#track = track;
    this.#slot = library.allocate(4);
    if (isPcm(track.sampleFormat)) return;
    const record = library.call('quorv_track', reader.address, track.index);
    library.check(library.result('quorv_decoder_open', record, 0, this.#slot));
    this.#decoder = library.view.getUint32(this.#slot, true);
  }

  /** After a seek. */
  restart(): void {
    this.#moved = true;
    this.#lost = true;
  }

  /** The sound of packets that were read before, then that of those that follow. */
  async next(packets: readonly Packet[]): Promise<SamplesBatch> {
    const samples: Samples[] = [];
    let frames = 0;
    const add = (portion: Samples) => {
      samples.push(portion);
      frames += portion.data.length / portion.format.channels;
    };
    for (const packet of packets) this.#decodeCopy(packet, add);
    while (frames < mostFrames) {
      const end = await this.#reader.each({ tracks: [this.#track.index] }, false, ({ data, size, timeUs }) => {
        this.#decode(data, size, timeUs, add);
        return frames < mostFrames;
      });
      if (end.error !== undefined && end.error.code !== 'damaged') throw end.error;
      if (end.error !== undefined) this.#lost = true;
      if (!end.ended) continue;
      if (this.#decoder !== 0) this.#takeAll(() => this.#call('quorv_decoder_finish'), add);
      return { samples: joined(samples), ended: true };
    }
    return { samples: joined(samples), ended: false };
  }

  #decodeCopy({ data, timeUs }: Packet, add: (portion: Samples) => void): void {
    const at = this.#library.allocate(data.length);
    try {
      this.#library.borrow(at, data.length).set(data);
      this.#decode(at, data.length, timeUs, add);
    } finally {
      this.#library.free(at);
    }
  }

  /** Bytes in the module's memory. */
  #decode(at: number, size: number, timeUs: number, add: (portion: Samples) => void): void {
    if (this.#decoder === 0) {
      const { sampleFormat, channels, sampleRate: rate } = this.#track;
      const data = samplesOf(sampleFormat, channels, this.#library.borrow(at, size));
      if (data.length > 0) add({ format: { rate, channels }, timeUs, data });
      return;
    }
    if (this.#lost) this.#begin(timeUs);
    let left = size;
    this.#takeAll(() => {
      const taken = left;
      left = 0;
      return this.#call('quorv_decode', taken > 0 ? at : 0, taken);
    }, add);
  }

  #begin(timeUs: number): void {
    if (this.#moved) this.#library.check(this.#library.result('quorv_decoder_reset', this.#decoder, BigInt(timeUs)));
    this.#moved = this.#lost = false;
    this.#startUs = timeUs;
    this.#played = 0;
    this.#skippedBefore = this.#skipped();
  }

  #call(name: 'quorv_decode' | 'quorv_decoder_finish', ...values: number[]): ReturnType<typeof readSamples> {
    this.#library.check(this.#library.result(name, this.#decoder, ...values, this.#slot));
    return readSamples(this.#library.view, this.#library.view.getUint32(this.#slot, true));
  }

  /** All that the decoder has. */
  #takeAll(call: () => ReturnType<typeof readSamples>, add: (portion: Samples) => void): void {
    for (let record = call(); record.frames > 0; record = call()) {
      const { channels, sampleRate: rate } = record;
      const bytes = this.#library.bytes(record.samples, record.frames * channels * 2);
      const lost = (this.#skipped() - this.#skippedBefore) * frameLength(this.#track, rate);
      const timeUs = this.#startUs + Math.round(((this.#played + lost) * 1e6) / rate);
      this.#played += record.frames;
      add({ format: { rate, channels }, timeUs, data: new Int16Array(bytes.buffer) });
    }
  }

  /** Frames that gave no samples, which leave a gap. */
  #skipped(): number {
    const skipped = readSkippedFrames(
      this.#library.view, this.#library.call('quorv_decoder_skipped', this.#decoder));
    return skipped.total - skipped.lostSync;
  }
}

/** Portions of one format that follow each other become one. */
function joined(portions: readonly Samples[]): Samples[] {
  const groups: Samples[][] = [];
  let endUs = NaN;
  for (const portion of portions) {
    const { rate, channels } = portion.format;
    const first = groups.at(-1)?.[0];
    const follows = first?.format.rate === rate && first.format.channels === channels &&
      Math.abs(portion.timeUs - endUs) < 1000;
    if (follows) groups.at(-1)?.push(portion);
    else groups.push([portion]);
    endUs = portion.timeUs + (portion.data.length / channels / rate) * 1e6;
  }
  return groups.map(join);
}

function join(portions: readonly Samples[]): Samples {
  const data = new Int16Array(portions.reduce((length, portion) => length + portion.data.length, 0));
  let at = 0;
  for (const portion of portions) {
    data.set(portion.data, at);
    at += portion.data.length;
  }
  return { ...portions[0]!, data };
}
