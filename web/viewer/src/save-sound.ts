// Saves sound as WAV: uncompressed samples as they are, MPEG audio decoded to 16 bits.
import type { MediaFile, SampleFormat, Track } from 'quorv';
import type { Destination } from './destination.js';
import { DAMAGED, usablePackets } from './packets.js';

/** What is told while a file is written, and how it is ended early. */
export interface Work {
  /** Told how much is done, from 0 to 1. */
  progress(done: number): void;
  /** Told of what had to be left out. */
  complain(reason: string): void;
  readonly signal: AbortSignal;
}

interface WavFormat {
  /** WAVE_FORMAT_*. */
  readonly tag: number;
  readonly bits: number;
  readonly rate: number;
  readonly channels: number;
}

const HEADER_BYTES = 44;
/** WAV counts in 32 bits. */
const LIMIT = 0xffffffff - HEADER_BYTES;

const FORMATS: Partial<Record<SampleFormat, { tag: number; bits: number }>> = {
  u8: { tag: 1, bits: 8 }, s16: { tag: 1, bits: 16 }, s24: { tag: 1, bits: 24 }, s32: { tag: 1, bits: 32 },
  f32: { tag: 3, bits: 32 }, f64: { tag: 3, bits: 64 }, alaw: { tag: 6, bits: 8 }, mulaw: { tag: 7, bits: 8 },
};

/** Whether a track's sound can be saved as WAV. */
export function hasWav(track: Track): boolean {
  const decoded = ['mp1', 'mp2', 'mp3'].includes(track.codec);
  return track.type === 'audio' && (FORMATS[track.sampleFormat] !== undefined || decoded);
}

export async function saveWav(file: MediaFile, track: Track, to: Destination, work: Work): Promise<void> {
  const raw = FORMATS[track.sampleFormat];
  const writer = new WavWriter(to);
  if (raw) {
    await writer.begin({ ...raw, rate: track.sampleRate, channels: track.channels });
    for await (const packet of usablePackets(file, { tracks: [track.index] }, () => work.complain(DAMAGED))) {
      work.signal.throwIfAborted();
      await writer.add(packet.data);
      work.progress(packet.timeUs / (track.durationUs ?? Infinity));
    }
  } else {
    await decodeInto(writer, file, track, work);
  }
  await writer.end();
}

async function decodeInto(writer: WavWriter, file: MediaFile, track: Track, work: Work): Promise<void> {
  let format: { rate: number; channels: number } | null = null;
  for await (const samples of file.decode(track.index)) {
    work.signal.throwIfAborted();
    if (!format) {
      format = samples.format;
      await writer.begin({ tag: 1, bits: 16, ...format });
    } else if (format.rate !== samples.format.rate || format.channels !== samples.format.channels) {
      return work.complain('The sound changes its kind in the middle; what comes after that is left out.');
    }
    await writer.add(new Uint8Array(samples.data.buffer, samples.data.byteOffset, samples.data.byteLength));
    work.progress(samples.timeUs / (track.durationUs ?? Infinity));
  }
  if (!format) throw new Error('Nothing of the sound can be decoded.');
}

class WavWriter {
  private bytes = 0;
  private format: WavFormat | null = null;

  constructor(private readonly to: Destination) {}

  async begin(format: WavFormat): Promise<void> {
    this.format = format;
    await this.to.write(header(format, 0), 0);
  }

  async add(data: Uint8Array<ArrayBuffer>): Promise<void> {
    if (data.length > LIMIT - this.bytes) throw new Error('A WAV file cannot hold more than 4 GB.');
    await this.to.write(data, HEADER_BYTES + this.bytes);
    this.bytes += data.length;
  }

  async end(): Promise<void> {
    if (this.format) await this.to.write(header(this.format, this.bytes), 0);
  }
}

function header({ tag, bits, rate, channels }: WavFormat, bytes: number): Uint8Array<ArrayBuffer> {
  const data = new Uint8Array(HEADER_BYTES);
  const view = new DataView(data.buffer);
  const text = (at: number, name: string): void => data.set(new TextEncoder().encode(name), at);
  const block = channels * (bits / 8);
  text(0, 'RIFF');
  view.setUint32(4, bytes + HEADER_BYTES - 8, true);
  text(8, 'WAVEfmt ');
  view.setUint32(16, 16, true);
  view.setUint16(20, tag, true);
  view.setUint16(22, channels, true);
  view.setUint32(24, rate, true);
  view.setUint32(28, rate * block, true);
  view.setUint16(32, block, true);
  view.setUint16(34, bits, true);
  text(36, 'data');
  view.setUint32(40, bytes, true);
  return data;
}
