// Saves a track as it is: what decoders must have first, then the bytes of every packet.
import type { MediaFile, Track } from 'quorv';
import type { Destination } from './destination.js';
import { DAMAGED, usablePackets } from './packets.js';
import type { Work } from './save-sound.js';

/** By framing and codec; players know streams by these. */
const EXTENSIONS: Partial<Record<Track['codec'], string>> = {
  h264: 'h264', mjpeg: 'mjpeg', mpeg1: 'm1v', mpeg2: 'm2v', h263: 'h263',
  mp1: 'mp1', mp2: 'mp2', mp3: 'mp3', ac3: 'ac3', dts: 'dts',
};

/** The file name extension of a track that is saved as it is. */
export function trackExtension(track: Track): string {
  return track.framing === 'mpeg4-visual' ? 'm4v' : (EXTENSIONS[track.codec] ?? 'raw');
}

/** Whether other programs can read the track without a container. */
export function standsAlone(track: Track): boolean {
  return trackExtension(track) !== 'raw';
}

export async function saveTrack(file: MediaFile, track: Track, to: Destination, work: Work): Promise<void> {
  let position = 0;
  const write = async (data: Uint8Array<ArrayBuffer>): Promise<void> => {
    await to.write(data, position);
    position += data.length;
  };
  if (track.codecData.length > 0) await write(Uint8Array.from(track.codecData));
  for await (const packet of usablePackets(file, { tracks: [track.index] }, () => work.complain(DAMAGED))) {
    work.signal.throwIfAborted();
    await write(packet.data);
    work.progress(packet.timeUs / (track.durationUs ?? Infinity));
  }
}
