// The page's part for saving: the buttons, how far it is, and what came of it.
import { open } from 'quorv';
import type { MediaFile } from 'quorv';
import { canStream, chooseDestination, download, MEMORY_LIMIT, type Destination } from './destination.js';
import { byId, element } from './dom.js';
import { findOffers, type Offer } from './offers.js';
import * as words from './words.js';

/** The picture on show and its time; null when there is none yet. */
type Shown = () => { canvas: HTMLCanvasElement; us: number } | null;

export class Saver {
  private readonly place = byId('offers', HTMLElement);
  private readonly saving = byId('saving', HTMLElement);
  private readonly bar = byId('save-progress', HTMLProgressElement);
  private readonly result = byId('save-result', HTMLElement);
  private controller = new AbortController();
  private blob: Blob = new Blob();

  constructor() {
    byId('save-cancel', HTMLButtonElement).addEventListener('click', () => this.controller.abort());
    byId('save-limit', HTMLElement).textContent = canStream() ? ''
      : `This browser keeps what it saves in memory first: up to ${words.size(MEMORY_LIMIT)}.`;
  }

  /** Offers what can be saved of a file; `picture` is null where none can be shown. */
  attach(blob: Blob, name: string, file: MediaFile, picture: Shown | null): void {
    this.controller.abort();
    this.blob = blob;
    this.result.textContent = '';
    const buttons = findOffers(file, name).map((offer) => this.button(offer));
    if (picture) buttons.push(this.pictureButton(name, picture));
    this.place.replaceChildren(...buttons);
  }

  private button(offer: Offer): HTMLButtonElement {
    return element('button', {
      type: 'button', class: offer.main ? 'offer main' : 'offer', 'data-file': offer.fileName,
      click: () => void this.save(offer),
    }, element('strong', {}, offer.label), element('span', {}, offer.detail));
  }

  private pictureButton(name: string, picture: Shown): HTMLButtonElement {
    const save = (): void => {
      const shown = picture();
      if (!shown) return void (this.result.textContent = 'There is no picture yet.');
      const fileName = `${name.replace(/\.[^.]{1,5}$/, '')}-${words.time(shown.us, 3).replaceAll(':', '.')}.png`;
      shown.canvas.toBlob((blob) => {
        if (!blob) return;
        download(blob, fileName);
        this.result.textContent = `Saved ${fileName}.`;
      }, 'image/png');
    };
    return element('button', { type: 'button', class: 'offer', 'data-file': 'png', click: save },
      element('strong', {}, 'Save the picture shown as PNG'), element('span', {}, 'at its full size'));
  }

  private async save(offer: Offer): Promise<void> {
    const destination = await chooseDestination(offer.fileName).catch((error: unknown) => this.failed(error));
    if (!destination) return;
    this.controller = new AbortController();
    this.begin(offer);
    try {
      const problems = await this.write(offer, destination);
      this.result.textContent = [`Saved ${offer.fileName}.`, ...problems].join(' ');
    } catch (error) {
      await destination.abort().catch(() => undefined);
      this.failed(error);
    } finally {
      this.saving.hidden = true;
      this.place.inert = false;
    }
  }

  private begin(offer: Offer): void {
    this.result.textContent = '';
    this.place.inert = true;
    this.saving.hidden = false;
    this.bar.value = 0;
    byId('save-what', HTMLElement).textContent = `Saving ${offer.fileName}…`;
  }

  /** Reads the file anew beside the one that is played; returns what had to be left out. */
  private async write(offer: Offer, destination: Destination): Promise<Set<string>> {
    const { signal } = this.controller;
    const problems = new Set<string>();
    const file = await open(this.blob);
    try {
      await offer.save(file, destination, {
        progress: (done) => { this.bar.value = done; }, complain: (reason) => problems.add(reason), signal,
      });
    } finally {
      await file.close();
    }
    signal.throwIfAborted();
    await destination.close();
    return problems;
  }

  private failed(error: unknown): null {
    const message = error instanceof Error ? error.message : String(error);
    const { aborted } = this.controller.signal;
    this.result.textContent = aborted ? 'Cancelled; nothing was saved.' : `Not saved: ${message}`;
    return null;
  }
}
