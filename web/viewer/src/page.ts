// The page: opens a file that is dropped or picked, and puts its parts together.
import { open } from 'quorv';
import type { MediaFile, Track } from 'quorv';
import { Controls } from './controls.js';
import { damageSentences } from './damage.js';
import { byId, element } from './dom.js';
import { Drawing } from './drawing.js';
import { findPlayable, firstChoice, trackItems, type Playable } from './listing.js';
import type { Picture } from './pictures.js';
import { Player, type Choice } from './player.js';
import { Saver } from './saver.js';
import { keyTimes } from './survey.js';
import type { Timing } from './timing.js';
import * as words from './words.js';

/** What belongs to the file that is open. */
interface Opened {
  readonly blob: Blob;
  readonly name: string;
  readonly file: MediaFile;
  /** The same file once more, read from beginning to end while the other is played. */
  readonly whole: MediaFile;
  readonly playable: readonly Playable[];
  readonly closing: AbortController;
}

export class Page {
  private opened: Opened | null = null;
  private player: Player | null = null;
  private openings = 0;
  private readonly canvas = byId('picture', HTMLCanvasElement);
  private readonly controls: Controls;
  private readonly drawing = new Drawing((us) => void this.player?.seek(us));
  private readonly saver = new Saver();
  private hasPicture = false;

  constructor(private readonly timing: Timing) {
    this.controls = new Controls((volume) => timing.setVolume(volume));
    this.listen();
  }

  private listen(): void {
    const picker = byId('picker', HTMLInputElement);
    const pick = (): void => picker.click();
    byId('open', HTMLButtonElement).addEventListener('click', pick);
    byId('open-another', HTMLButtonElement).addEventListener('click', pick);
    picker.addEventListener('change', () => {
      const file = picker.files?.[0];
      picker.value = '';
      if (file) void this.open(file);
    });
    const overlay = (shown: boolean): void => void document.body.toggleAttribute('data-dragging', shown);
    addEventListener('dragover', (event) => { event.preventDefault(); overlay(true); });
    addEventListener('dragleave', (event) => { if (!event.relatedTarget) overlay(false); });
    addEventListener('drop', (event) => {
      event.preventDefault();
      overlay(false);
      const file = event.dataTransfer?.files[0];
      if (file) void this.open(file);
    });
  }

  private async open(blob: File): Promise<void> {
    const opening = ++this.openings;
    await this.close();
    this.state('opening');
    try {
      const [file, whole] = await Promise.all([open(blob), open(blob)]);
      const playable = await findPlayable(file);
      if (opening !== this.openings) return void (await Promise.all([file.close(), whole.close()]));
      this.opened = { blob, name: blob.name, file, whole, playable, closing: new AbortController() };
      this.show(this.opened);
    } catch (error) {
      if (opening === this.openings) this.fail(blob.name, error);
    }
  }

  private show(opened: Opened): void {
    const { blob, name, file, playable, closing } = opened;
    document.title = `${name} – quorv viewer`;
    byId('file-name', HTMLElement).textContent = name;
    byId('file-facts', HTMLElement).textContent = words.fileFacts(file);
    this.state('open');
    this.choose(opened, firstChoice(playable));
    this.saver.attach(blob, name, file, this.player?.choice.video ? () => this.pictureShown() : null);
    this.condition('checking', []);
    this.check(opened).catch((error: unknown) => {
      if (!closing.signal.aborted) this.condition('damaged', [`The file cannot be read to its end: ${String(error)}`]);
    });
    byId('file-name', HTMLElement).focus({ preventScroll: true });
  }

  /** Reads all of the file, draws it, and tells what is wrong with it. */
  private async check({ whole, file, closing }: Opened): Promise<void> {
    await this.drawing.attach(whole, closing.signal, (found) => {
      this.controls.setKeyTimes(keyTimes(found));
      this.drawing.mark(this.player?.nowUs ?? 0);
      const sentences = damageSentences(found.damage, file.tracks);
      this.condition(sentences.length > 0 ? 'damaged' : 'sound', sentences);
    });
  }

  private condition(state: 'checking' | 'sound' | 'damaged', sentences: readonly string[]): void {
    const place = byId('damage', HTMLElement);
    place.dataset.state = state;
    const text = state === 'sound' ? 'No damage found.' : 'Not checked yet: that takes reading the whole file.';
    place.replaceChildren(state === 'damaged'
      ? element('ul', {}, ...sentences.map((each) => element('li', {}, each))) : element('p', {}, text));
  }

  /** Plays these tracks, from the beginning. */
  private choose(opened: Opened, choice: Choice): void {
    const { file, playable } = opened;
    const other = (track: Track): void => void this.replacePlayer(opened,
      track.type === 'video' ? { ...choice, video: track } : { ...choice, audio: track });
    byId('tracks', HTMLElement).replaceChildren(...trackItems(file, playable, choice, other));
    this.hasPicture = false;
    this.resize(16, 9);
    this.explain(opened, choice);
    this.player = choice.video || choice.audio ? new Player(file, choice, this.timing, {
      changed: () => this.changed(),
      show: (picture) => this.draw(picture),
      complain: (reason) => this.problem(reason),
    }) : null;
    this.controls.attach(this.player);
    this.changed();
  }

  private async replacePlayer(opened: Opened, choice: Choice): Promise<void> {
    await this.player?.close();
    this.choose(opened, choice);
  }

  /** Says why there is no picture, or nothing to play. */
  private explain({ playable }: Opened, choice: Choice): void {
    const stage = byId('stage', HTMLElement);
    const note = byId('no-picture', HTMLElement);
    const hidden = playable.find(({ track, obstacle }) => track.type === 'video' && obstacle !== null);
    const silent = playable.find(({ track, obstacle }) => track.type === 'audio' && obstacle !== null);
    this.problem('');
    stage.dataset.kind = choice.video ? 'picture' : choice.audio ? 'sound' : 'nothing';
    note.hidden = choice.video !== null;
    const why = hidden ? `${hidden.obstacle}.` : 'There are no pictures in this file.';
    const rest = choice.audio ? (hidden ? 'Its sound is played.' : '') : silent ? `${silent.obstacle}.` : '';
    note.textContent = [why, rest].filter((text) => text !== '').join(' ');
    byId('controls', HTMLElement).inert = !choice.video && !choice.audio;
  }

  private problem(reason: string): void {
    const place = byId('problem', HTMLElement);
    if (place.textContent !== reason) place.textContent = reason;
    place.hidden = reason === '';
  }

  private draw(picture: Picture): void {
    this.resize(picture.width, picture.height);
    this.canvas.getContext('2d')!.drawImage(picture.image, 0, 0, this.canvas.width, this.canvas.height);
    this.hasPicture = true;
  }

  /** By what was decoded, since a file may claim any size. */
  private resize(width: number, height: number): void {
    if (this.canvas.width === width && this.canvas.height === height) return;
    this.canvas.width = width;
    this.canvas.height = height;
    byId('stage', HTMLElement).style.setProperty('--aspect', `${width} / ${height}`);
  }

  private pictureShown(): { canvas: HTMLCanvasElement; us: number } | null {
    return this.hasPicture ? { canvas: this.canvas, us: this.player?.nowUs ?? 0 } : null;
  }

  private changed(): void {
    const { shown, dropped } = this.player ?? { shown: 0, dropped: 0 };
    Object.assign(byId('stage', HTMLElement).dataset, { shown, dropped });
    this.controls.update();
    this.drawing.mark(this.player?.nowUs ?? 0);
  }

  private fail(name: string, error: unknown): void {
    const message = error instanceof Error ? error.message : String(error);
    const place = byId('failure', HTMLElement);
    place.replaceChildren(element('strong', {}, `${name} cannot be opened.`), ` ${sentence(message)}`);
    this.state('failed');
  }

  private state(state: 'empty' | 'opening' | 'open' | 'failed'): void {
    document.body.dataset.state = state;
    byId('welcome', HTMLElement).hidden = state === 'open';
    byId('file', HTMLElement).hidden = state !== 'open';
    byId('failure', HTMLElement).hidden = state !== 'failed';
  }

  private async close(): Promise<void> {
    const { opened, player } = this;
    this.opened = null;
    this.player = null;
    opened?.closing.abort();
    this.controls.attach(null);
    this.drawing.clear();
    await player?.close();
    await Promise.all([opened?.file.close(), opened?.whole.close()]);
  }
}

function sentence(text: string): string {
  return `${text.charAt(0).toUpperCase()}${text.slice(1).replace(/\.$/, '')}.`;
}
