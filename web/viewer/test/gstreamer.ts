// Reads saved files back by GStreamer's demultiplexers.
import { execFileSync } from 'node:child_process';

/** A piece of a stream. */
export interface Piece { size: number; timeMs: number; key: boolean }

/** What a demultiplexer delivers of one of a file's streams ('video_0', 'audio_0'). */
export function readBack(file: string, stream: string): Piece[] {
  const demuxer = file.endsWith('.mkv') ? 'matroskademux' : 'qtdemux';
  const text = execFileSync('gst-launch-1.0', ['-v', 'filesrc', `location=${file}`, '!', demuxer, 'name=demuxer',
    `demuxer.${stream}`, '!', 'queue', '!', 'identity', 'silent=false', '!', 'fakesink'],
  { encoding: 'utf8', maxBuffer: 1 << 28, stdio: ['ignore', 'pipe', 'ignore'] });
  // Where B frames make the first picture wait, the movie's own time begins later.
  const start = Number(/start=\(guint64\)(\d+)/.exec(text)![1]) - Number(/ time=\(guint64\)(\d+)/.exec(text)![1]);
  return text.split('\n').filter((line) => line.includes('chain   ***')).map((line) => {
    const [, size, pts] = /\((\d+) bytes, dts: [^,]*, pts: ([^,]*),/.exec(line)!;
    return { size: Number(size), timeMs: milliseconds(pts!) - start / 1e6, key: !line.includes('delta-unit') };
  });
}

/** The bytes of one stream. */
export function dump(file: string, stream: string, out: string): void {
  const demuxer = file.endsWith('.mkv') ? 'matroskademux' : 'qtdemux';
  execFileSync('gst-launch-1.0', ['-q', 'filesrc', `location=${file}`, '!', demuxer, 'name=demuxer',
    `demuxer.${stream}`, '!', 'queue', '!', 'filesink', `location=${out}`], { stdio: 'ignore' });
}

function milliseconds(time: string): number {
  const [hours, minutes, seconds] = time.split(':').map(Number);
  return Math.round(((hours! * 60 + minutes!) * 60 + seconds!) * 1000);
}
