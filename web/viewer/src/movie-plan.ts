// What of a file goes into a movie, an MP4 or Matroska file.
import type { AudioCodec } from 'mediabunny';
import type { SampleFormat, Track } from 'quorv';
import { decoderRecord } from './annexb.js';

export type Container = 'mp4' | 'mkv';

/** What goes into a movie of a file, and what has no place in that container. */
export interface MoviePlan {
  readonly container: Container;
  readonly video: Track;
  readonly audio: readonly Track[];
  readonly leftOut: readonly Track[];
}

const PCM_CODECS: Partial<Record<SampleFormat, AudioCodec>> = {
  s16: 'pcm-s16', s24: 'pcm-s24', s32: 'pcm-s32', f32: 'pcm-f32', f64: 'pcm-f64',
};

/** null where there is no H.264 that a container could describe. */
export function planMovie(tracks: readonly Track[], container: Container): MoviePlan | null {
  const video = tracks.find((track) => track.readable && track.codec === 'h264' && decoderRecord(track.codecData));
  if (!video) return null;
  const sound = tracks.filter((track) => track.readable && track.type === 'audio');
  return {
    container, video,
    audio: sound.filter((track) => audioCodec(track, container)),
    leftOut: tracks.filter((track) => track !== video && !audioCodec(track, container)),
  };
}

/** What the container's writer calls a track's sound; null where it has no place for it. */
export function audioCodec(track: Track, container: Container): AudioCodec | null {
  if (track.codec === 'mp3') return 'mp3';
  if (container === 'mkv' && track.sampleFormat === 'u8') return 'pcm-u8';
  return PCM_CODECS[track.sampleFormat] ?? null;
}
