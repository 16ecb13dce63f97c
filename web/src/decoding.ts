// The sound of one track: its packets decoded, with times.

import type { SamplesBatch } from './engine.js';
import type { Library } from './module.js';
import { isPcm, samplesOf } from './pcm.js';
import type { PacketReader } from './reader.js';
import { readSamples, readSkippedFrames } from './records.js';
import { Sound } from './sound.js';
import type { Packet, Track } from './types.js';

/**
 * A batch ends with the packet that reaches so many samples of each channel: few after a seek, so that sound begins
 * soon, then each time twice as many up to the most, so that little time goes into handing them over.
 */
const fewestFrames = 8192;
const mostFrames = 65536;

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
  #wanted = fewestFrames;
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
    this.#wanted = fewestFrames;
  }

  /** The sound of packets that were read before, then that of those that follow. */
  async next(packets: readonly Packet[]): Promise<SamplesBatch> {
    const sound = new Sound();
    const wanted = this.#wanted;
    this.#wanted = Math.min(2 * wanted, mostFrames);
    for (const packet of packets) this.#decodeCopy(packet, sound);
    while (sound.frames < wanted) {
      const end = await this.#reader.each({ tracks: [this.#track.index] }, false, ({ data, size, timeUs }) => {
        this.#decode(data, size, timeUs, sound);
        return sound.frames < wanted;
      });
      if (end.error !== undefined) this.#lost = true;
      // What is here is not lost because the source has failed.
      if (end.error !== undefined && end.error.code !== 'damaged') return { ...end, samples: sound.portions() };
      if (!end.ended) continue;
      if (this.#decoder !== 0) this.#takeAll(() => this.#call('quorv_decoder_finish'), sound);
      return { samples: sound.portions(), ended: true };
    }
    return { samples: sound.portions(), ended: false };
  }

  #decodeCopy({ data, timeUs }: Packet, sound: Sound): void {
    const at = this.#library.allocate(data.length);
    try {
      this.#library.borrow(at, data.length).set(data);
      this.#decode(at, data.length, timeUs, sound);
    } finally {
      this.#library.free(at);
    }
  }

  /** Bytes in the module's memory. */
  #decode(at: number, size: number, timeUs: number, sound: Sound): void {
    if (this.#decoder === 0) {
      const { sampleFormat, channels, sampleRate: rate } = this.#track;
      const data = samplesOf(sampleFormat, channels, this.#library.borrow(at, size));
      if (data.length > 0) sound.add(rate, channels, timeUs, data);
      return;
    }
    if (this.#lost) this.#begin(timeUs);
    let left = size;
    this.#takeAll(() => {
      const taken = left;
      left = 0;
      return this.#call('quorv_decode', taken > 0 ? at : 0, taken);
    }, sound);
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
  #takeAll(call: () => ReturnType<typeof readSamples>, sound: Sound): void {
    for (let record = call(); record.frames > 0; record = call()) {
      const { samples, frames, channels, sampleRate: rate } = record;
      const lost = (this.#skipped() - this.#skippedBefore) * frameLength(this.#track, rate);
      const timeUs = this.#startUs + Math.round(((this.#played + lost) * 1e6) / rate);
      this.#played += frames;
      sound.add(rate, channels, timeUs, this.#library.borrowSamples(samples, frames * channels));
    }
  }

  /** Frames that gave no samples, which leave a gap. */
  #skipped(): number {
    const skipped = readSkippedFrames(
      this.#library.view, this.#library.call('quorv_decoder_skipped', this.#decoder));
    return skipped.total - skipped.lostSync;
  }
}
