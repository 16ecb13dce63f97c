// Numbers as people read them: sizes, times, rates, and what a track is in one line.
import type { MediaFile, Track } from 'quorv';

const number = new Intl.NumberFormat('en', { maximumFractionDigits: 1 });

/** "62.3 kB". */
export function size(bytes: number): string {
  const units = ['bytes', 'kB', 'MB', 'GB', 'TB'];
  let value = bytes;
  let unit = 0;
  for (; value >= 999.95 && unit < units.length - 1; ++unit) value /= 1000;
  return bytes === 1 ? '1 byte' : `${number.format(value)} ${units[unit]}`;
}

/** "128 kbit/s". */
export function bitRate(bitsPerSecond: number): string {
  const kilobits = bitsPerSecond / 1000;
  return kilobits < 1000 ? `${number.format(kilobits)} kbit/s` : `${number.format(kilobits / 1000)} Mbit/s`;
}

/** "1:02:03", with tenths or thousandths when asked for. */
export function time(us: number, digits: 0 | 1 | 3 = 0): string {
  const unit = 10 ** digits;
  const whole = Math.floor((Math.max(0, us) / 1e6) * unit + 1e-6);
  const seconds = Math.floor(whole / unit);
  const parts = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60];
  if (parts[0] === 0) parts.shift();
  const text = parts.map((part, place) => (place === 0 ? String(part) : String(part).padStart(2, '0'))).join(':');
  return digits === 0 ? text : `${text}.${String(whole % unit).padStart(digits, '0')}`;
}

/** A time for people who listen: "1 minute 2 seconds". */
export function spokenTime(us: number): string {
  const seconds = Math.floor(Math.max(0, us) / 1e6);
  const parts: string[] = [];
  if (seconds >= 3600) parts.push(count(Math.floor(seconds / 3600), 'hour'));
  if (seconds >= 60) parts.push(count(Math.floor(seconds / 60) % 60, 'minute'));
  parts.push(count(seconds % 60, 'second'));
  return parts.join(' ');
}

/** "1 picture", "1,204 pictures". */
export function count(amount: number, thing: string): string {
  return `${number.format(amount)} ${thing}${amount === 1 ? '' : 's'}`;
}

/** A place in a file, as people count and as hex editors show it. */
export function place(offset: number): string {
  return `byte ${number.format(offset)} (0x${offset.toString(16)})`;
}

/** "320 × 240, 25 fps" or "44.1 kHz, stereo". */
export function trackFacts(track: Track): string {
  const facts: string[] = [];
  if (track.width > 0) facts.push(`${track.width} × ${track.height}`);
  if (track.frameRate && track.frameRate.den > 0) {
    const rate = track.frameRate.num / track.frameRate.den;
    facts.push(`${Number.isInteger(rate) ? rate : rate.toFixed(2)} fps`);
  }
  if (track.sampleRate > 0) facts.push(`${number.format(track.sampleRate / 1000)} kHz`);
  if (track.channels > 0) facts.push(['mono', 'stereo'][track.channels - 1] ?? `${track.channels} channels`);
  if (track.bitRate > 0) facts.push(bitRate(track.bitRate));
  return facts.join(', ');
}

/** "AVI, 0:03, 62.3 kB". */
export function fileFacts(file: MediaFile): string {
  const length = file.durationUs === null ? 'length not known' : time(file.durationUs);
  return [file.formatName, length, size(file.size)].join(' · ');
}

/** What a track is called in headings: "Picture", or "Sound 2" where there are several. */
export function trackTitle(track: Track, tracks: readonly Track[]): string {
  const name = { video: 'Picture', audio: 'Sound', text: 'Subtitles', other: 'Other data' }[track.type];
  const alike = tracks.filter((other) => other.type === track.type);
  return alike.length === 1 ? name : `${name} ${alike.indexOf(track) + 1}`;
}
