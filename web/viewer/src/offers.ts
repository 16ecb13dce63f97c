// What can be saved of a file, and in which form: one button each.
import type { MediaFile, Track } from 'quorv';
import type { Destination } from './destination.js';
import { planMovie, type Container, type MoviePlan } from './movie-plan.js';
import { hasWav, saveWav, type Work } from './save-sound.js';
import { saveTrack, standsAlone, trackExtension } from './save-track.js';
import * as words from './words.js';

export interface Offer {
  /** On the button. */
  readonly label: string;
  /** Under the label: what the file will hold. */
  readonly detail: string;
  readonly fileName: string;
  /** Whether most people want this one. */
  readonly main: boolean;
  save(file: MediaFile, to: Destination, work: Work): Promise<void>;
}

const CONTAINERS: readonly { container: Container; name: string }[] = [
  { container: 'mp4', name: 'MP4' }, { container: 'mkv', name: 'Matroska' },
];

/** All offers for a file of that name. */
export function findOffers(file: MediaFile, fileName: string): Offer[] {
  const stem = fileName.replace(/\.[^.]{1,5}$/, '');
  return [...movieOffers(file, stem), ...wavOffers(file, stem), ...trackOffers(file, stem)];
}

function movieOffers(file: MediaFile, stem: string): Offer[] {
  return CONTAINERS.flatMap(({ container, name }) => {
    const plan = planMovie(file.tracks, container);
    if (!plan) return [];
    return [{
      label: `Save as ${name}`, detail: movieDetail(plan), fileName: `${stem}.${container}`, main: true,
      save: async (from, to, work) => (await import('./save-movie.js')).saveMovie(from, plan, to, work),
    }];
  });
}

function movieDetail({ video, audio, leftOut }: MoviePlan): string {
  const held = [video, ...audio].map((track) => track.codecName).join(' + ');
  const lost = leftOut.length === 0 ? '' : `, without ${leftOut.map((track) => track.codecName).join(', ')}`;
  return `${held}, not re-encoded${lost}`;
}

function wavOffers(file: MediaFile, stem: string): Offer[] {
  const sounds = file.tracks.filter((track) => track.readable && hasWav(track));
  return sounds.map((track) => ({
    label: sounds.length === 1 ? 'Save the sound as WAV'
      : `Save ${words.trackTitle(track, file.tracks).toLowerCase()} as WAV`,
    detail: track.codec === 'pcm' ? `${track.codecName}, as it is` : 'decoded to 16 bits',
    fileName: `${stem}${sounds.length === 1 ? '' : `-${track.number}`}.wav`, main: false,
    save: (from, to, work) => saveWav(from, track, to, work),
  }));
}

function trackOffers(file: MediaFile, stem: string): Offer[] {
  return file.tracks.filter((track) => track.readable && track.codec !== 'pcm')
    .map((track) => trackOffer(file, track, stem));
}

function trackOffer(file: MediaFile, track: Track, stem: string): Offer {
  const title = words.trackTitle(track, file.tracks).toLowerCase();
  const extension = trackExtension(track);
  return {
    label: `Save the ${title} track as .${extension}`,
    detail: `${track.codecName}, as it is${standsAlone(track) ? '' : ': bare frames, for tools'}`,
    fileName: `${stem}-track${track.number}.${extension}`, main: false,
    save: (from, to, work) => saveTrack(from, track, to, work),
  };
}
