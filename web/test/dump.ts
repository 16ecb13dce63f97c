// All that the package tells of a media file, in the form of native_dump.py.

import { createHash } from 'node:crypto';
import {
  QuorvError, type DamageCount, type DamageRecord, type MediaFile, type Packet, type Samples, type Track,
} from '../dist/index.js';

/** Opens the same file anew. */
export type Opener = () => Promise<MediaFile>;

const formats = ['', 'avi', 'asf', 'mp3'];
const framings = [
  'unknown', 'annex-b', 'mpeg4-visual', 'jpeg', 'raw-picture', 'wmv', 'pcm', 'mpeg-audio', 'blocks',
];
const sampleFormats = ['none', 'u8', 's16', 's24', 's32', 'f32', 'f64', 'alaw', 'mulaw'];
const trackTypes = ['other', 'video', 'audio', 'text'];
/** QUORV_CODEC_* that have other characters than the name here. */
const codecs: Record<string, string> = {
  '': '\0\0\0\0', h264: '264 ', h263: '263 ', mpeg4: 'm4va', 'mpeg4-simple': 'm4vs', 'draft-mpeg4': '\0\xff\xff\xff',
  mpeg1: 'mpg1', mpeg2: 'mpg2', mjpeg: 'mjpg', pcm: 'pcm ', adpcm: 'imaa', mp1: 'mp1 ', mp2: 'mp2 ', mp3: 'mp3 ',
  aac: 'aac ', wma1: 'wmv1', wma2: 'wmv2', 'wma-pro': 'wm9p', 'wma-lossless': 'wm9l', ac3: 'ac3 ', dts: 'dts ',
  'amr-nb': 'amrn', 'amr-wb': 'amrw', 'real-audio': 'raac', vorbis: 'ogg ',
};

function fourcc(codec: string): number {
  return Buffer.from(codecs[codec] ?? codec, 'latin1').readUInt32BE();
}

function failure(error: unknown): [string, string] {
  if (error instanceof QuorvError) return [error.code, error.message];
  throw error;
}

function hex(bytes: Uint8Array): string {
  return Buffer.from(bytes.buffer, bytes.byteOffset, bytes.length).toString('hex');
}

/** What iterating gives until the end, failures included. */
async function rows(file: MediaFile, presentation: boolean, row: (packet: Packet) => unknown): Promise<unknown[]> {
  const result: unknown[] = [];
  for (;;) {
    try {
      for await (const packet of file.packets({ presentation })) result.push(row(packet));
      return result;
    } catch (error) {
      result.push(failure(error));
    }
  }
}

function withBytes(packet: Packet): unknown[] {
  const digest = createHash('md5').update(packet.data).digest('hex');
  return [packet.track, digest, packet.timeUs, packet.durationUs, packet.key, packet.offset];
}

function withTimes(packet: Packet): unknown[] {
  return [packet.track, packet.data.length, packet.timeUs, packet.presentationUs ?? packet.timeUs];
}

function trackRow(track: Track): unknown[] {
  return [
    track.index, track.number, trackTypes.indexOf(track.type), fourcc(track.codec), track.codecName, track.tag,
    framings.indexOf(track.framing), track.durationUs ?? -1, track.bitRate, track.seekable, track.width, track.height,
    track.frameRate && [track.frameRate.num, track.frameRate.den], track.sampleRate, track.channels,
    track.bitsPerSample, track.blockAlign, sampleFormats.indexOf(track.sampleFormat), hex(track.codecData),
    hex(track.huffmanTables), track.reorders, track.sampleCount, track.trimFront, track.trimBack,
    track.maxPacketSize, track.statedPackets, track.statedEnd ?? -1, track.readable,
  ];
}

function damageRow(damage: DamageRecord): unknown[] {
  const counts = [damage.bytesPassedOver, damage.chunksMissing, damage.packetsUnusable, damage.framesSkipped];
  return [...counts.map(countRow), damage.cutOff, damage.bytesMissing];
}

function countRow({ count, firstOffset, places }: DamageCount): unknown[] {
  return [count, firstOffset, places.map(({ begin, end }) => [begin, end])];
}

async function seeks(file: MediaFile): Promise<unknown[]> {
  const duration = file.durationUs ?? 0;
  const part = (share: number) => Math.floor(duration * share);
  const result: unknown[] = [];
  for (const time of [part(1 / 2), 0, part(1 / 3), Math.floor((2 * duration) / 3) + 1, duration + 1000000]) {
    for (const mode of ['before', 'after'] as const) {
      result.push(await file.seek(time, { mode }).catch(failure));
      for (let i = 0; i < 2; ++i) result.push(await nextPacket(file));
    }
  }
  return result;
}

async function nextPacket(file: MediaFile): Promise<unknown> {
  try {
    for await (const packet of file.packets()) return withTimes(packet);
    return null;
  } catch (error) {
    return failure(error);
  }
}

async function sound(file: MediaFile, index: number): Promise<unknown[]> {
  const result: unknown[] = [await played(file.decode(index))];
  try {
    result.push(await file.seek(Math.floor((file.durationUs ?? 0) / 2), { tracks: [index] }));
  } catch (error) {
    return [...result, failure(error)];
  }
  return [...result, await played(file.decode(index))];
}

async function played(portions: AsyncIterable<Samples>): Promise<unknown[]> {
  const digest = createHash('md5');
  const heard: string[] = [];
  let count = 0;
  for await (const { data, format } of portions) {
    digest.update(new Uint8Array(data.buffer, data.byteOffset, data.byteLength));
    count += data.length;
    const key = JSON.stringify([format.rate, format.channels]);
    if (heard.at(-1) !== key) heard.push(key);
  }
  return [digest.digest('hex'), count, heard.map((key) => JSON.parse(key) as unknown)];
}

async function using<T>(open: Opener, task: (file: MediaFile) => Promise<T>): Promise<T> {
  const file = await open();
  try {
    return await task(file);
  } finally {
    await file.close();
  }
}

export async function dump(open: Opener): Promise<unknown> {
  try {
    return await using(open, async (file) => {
      const packets = await rows(file, false, withBytes);
      const damage = await file.damage();
      return {
        file: [formats.indexOf(file.format), file.durationUs, file.size],
        tracks: file.tracks.map(trackRow),
        packets,
        damage: [damage, ...damage.tracks].map(damageRow),
        shown: await using(open, (shown) => rows(shown, true, withTimes)),
        seeks: await using(open, seeks),
        sound: await sounds(open, file.tracks),
      };
    });
  } catch (error) {
    return { error: failure(error) };
  }
}

async function sounds(open: Opener, tracks: readonly Track[]): Promise<Record<string, unknown>> {
  const result: Record<string, unknown> = {};
  for (const { index, codec } of tracks)
    if (['mp1', 'mp2', 'mp3'].includes(codec)) result[index] = await using(open, (heard) => sound(heard, index));
  return result;
}
