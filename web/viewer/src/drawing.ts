// The page's part for the picture of the file: reading it, the buttons and keys of the charts.
import type { MediaFile } from 'quorv';
import { FilePicture } from './chart.js';
import { byId, element } from './dom.js';
import { holes, survey, type Survey } from './survey.js';
import * as words from './words.js';

/** Larger files are only read as a whole when that is asked for. */
const READ_UNASKED = 500_000_000;
const HOLES_NAMED = 5;

export class Drawing {
  private readonly reading = byId('reading', HTMLElement);
  private readonly bar = byId('reading-progress', HTMLProgressElement);
  private readonly large = byId('read-large', HTMLElement);
  private readonly charts = byId('charts', HTMLElement);
  private readonly view = byId('zoom-view', HTMLOutputElement);
  private picture: FilePicture | null = null;

  /** `go` is called with the time that was clicked. */
  constructor(private readonly go: (us: number) => void) {
    const buttons: [string, (picture: FilePicture) => void][] = [
      ['zoom-in', (picture) => picture.zoom(0.5)], ['zoom-out', (picture) => picture.zoom(2)],
      ['zoom-whole', (picture) => picture.whole()],
      ['pan-back', (picture) => picture.pan(-0.5)], ['pan-on', (picture) => picture.pan(0.5)],
    ];
    for (const [id, action] of buttons) {
      byId(id, HTMLButtonElement).addEventListener('click', () => this.picture && action(this.picture));
    }
    this.charts.addEventListener('keydown', (event) => this.key(event));
    this.charts.addEventListener('zoomed', () => this.tellView());
  }

  /** Reads a file to its end, unless it is large, and draws it; calls back with what was found. */
  async attach(file: MediaFile, signal: AbortSignal, found: (survey: Survey) => void): Promise<void> {
    this.clear();
    if (file.size > READ_UNASKED && !(await this.asked(file.size, signal))) return;
    this.reading.hidden = false;
    try {
      const result = await survey(file, (done) => { this.bar.value = done; }, signal);
      if (!signal.aborted) this.draw(result, found);
    } finally {
      if (!signal.aborted) this.reading.hidden = true;
    }
  }

  clear(): void {
    this.picture?.close();
    this.picture = null;
    this.bar.value = 0;
    this.large.hidden = true;
    byId('holes', HTMLElement).textContent = '';
    this.tellView();
  }

  mark(us: number): void {
    this.picture?.mark(us);
  }

  private draw(result: Survey, found: (survey: Survey) => void): void {
    this.reading.hidden = true;
    this.picture = new FilePicture(result, this.charts, this.go);
    byId('holes', HTMLElement).textContent = holeText(result);
    this.tellView();
    found(result);
  }

  private asked(bytes: number, signal: AbortSignal): Promise<boolean> {
    return new Promise((resolve) => {
      const start = (): void => {
        this.large.hidden = true;
        resolve(true);
      };
      signal.addEventListener('abort', () => resolve(false));
      this.large.replaceChildren(
        element('p', {}, 'This file is large. To draw it and to check it for damage, all of it is read '
          + `(${words.size(bytes)}).`),
        element('button', { type: 'button', class: 'primary', click: start }, 'Read and draw it'));
      this.large.hidden = false;
    });
  }

  private tellView(): void {
    this.view.textContent = this.picture?.zoomed ? this.picture.viewText : '';
    byId('zoom', HTMLElement).hidden = this.picture === null;
    byId('zoom-whole', HTMLButtonElement).disabled = !this.picture?.zoomed;
  }

  private key(event: KeyboardEvent): void {
    const picture = this.picture;
    if (!picture || event.ctrlKey || event.metaKey || event.altKey) return;
    const actions: Record<string, () => void> = {
      '+': () => picture.zoom(0.5), '=': () => picture.zoom(0.5), '-': () => picture.zoom(2),
      '0': () => picture.whole(),
      ArrowLeft: () => picture.pan(-0.25), ArrowRight: () => picture.pan(0.25),
    };
    const action = actions[event.key];
    if (!action) return;
    event.preventDefault();
    action();
  }
}

function holeText(result: Survey): string {
  const found = holes(result);
  if (found.length === 0) return '';
  const all = result.tracks.map((each) => each.track);
  const named = found.slice(0, HOLES_NAMED).map(({ track, fromUs, toUs }) =>
    `${words.trackTitle(track, all).toLowerCase()} from ${words.time(fromUs, 1)} to ${words.time(toUs, 1)}`);
  const more = found.length > HOLES_NAMED ? `, and ${found.length - HOLES_NAMED} more` : '';
  return `Nothing is there of ${named.join('; ')}${more}.`;
}
