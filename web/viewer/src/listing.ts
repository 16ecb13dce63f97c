// Lists what is in a file: its tracks, and what of them can be played here.
import type { MediaFile, Track } from 'quorv';
import { element } from './dom.js';
import { whyNotShown } from './pictures.js';
import type { Choice } from './player.js';
import * as words from './words.js';

/** A track, and why it cannot be shown or heard; null when it can. */
export interface Playable {
  readonly track: Track;
  readonly obstacle: string | null;
}

const HEARD: readonly Track['codec'][] = ['pcm', 'mp1', 'mp2', 'mp3'];

/** Finds out what this browser can play of a file. */
export async function findPlayable(file: MediaFile): Promise<Playable[]> {
  return Promise.all(file.tracks.map(async (track) => ({ track, obstacle: await obstacle(track) })));
}

async function obstacle(track: Track): Promise<string | null> {
  if (!track.readable) return 'Can only be listed';
  if (track.type === 'video') return whyNotShown(track);
  if (track.type === 'audio' && HEARD.includes(track.codec)) return null;
  return `${name(track)} cannot be played in a browser`;
}

/** The first track of each type that can be played. */
export function firstChoice(all: readonly Playable[]): Choice {
  const first = (type: Track['type']): Track | null =>
    all.find(({ track, obstacle }) => track.type === type && obstacle === null)?.track ?? null;
  return { video: first('video'), audio: first('audio') };
}

/** The list's items; `choose` is called when another track of a type is to be played. */
export function trackItems(
  file: MediaFile, all: readonly Playable[], choice: Choice, choose: (track: Track) => void,
): HTMLElement[] {
  return all.map(({ track, obstacle }) => {
    const item = element('li', { class: 'track', 'data-type': track.type },
      element('h3', {}, words.trackTitle(track, file.tracks)),
      element('p', { class: 'codec' }, name(track)),
      element('p', { class: 'facts' }, facts(track)));
    if (obstacle) item.append(element('p', { class: 'obstacle' }, `${obstacle}. ${what(track)}`));
    else if (rivals(track, all) > 1) item.append(chooser(track, choice, choose));
    return item;
  });
}

function name(track: Track): string {
  return track.codecName || 'Unknown codec';
}

function facts(track: Track): string {
  const length = track.durationUs === null ? [] : [words.time(track.durationUs, 1)];
  return [words.trackFacts(track), ...length].filter((text) => text !== '').join(' · ');
}

function what(track: Track): string {
  return track.readable ? 'It can be drawn and saved.' : '';
}

function rivals(track: Track, all: readonly Playable[]): number {
  return all.filter((other) => other.track.type === track.type && other.obstacle === null).length;
}

function chooser(track: Track, choice: Choice, choose: (track: Track) => void): HTMLElement {
  const chosen = choice.video === track || choice.audio === track;
  const radio = element('input', { type: 'radio', name: `play-${track.type}`, change: () => choose(track) });
  radio.checked = chosen;
  return element('label', { class: 'chooser' }, radio, track.type === 'video' ? 'Show this one' : 'Listen to this one');
}
