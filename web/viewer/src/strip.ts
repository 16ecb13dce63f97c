// Draws the file from its first byte to its last: where sound and pictures lie, and where it is damaged.
import { color, element } from './dom.js';
import { shares, timeAt, type Mark } from './marks.js';
import type { Survey } from './survey.js';
import * as words from './words.js';

const HEIGHT = 56;
/** CSS pixels a column is wide, and a mark at least. */
const COLUMN_PIXELS = 2;
const MARK_PIXELS = 3;
const HATCH_PIXELS = 7;
const PLACES_NAMED = 6;

export class FileStrip {
  private readonly canvas = element('canvas', { role: 'img' });

  /** `go` is called with the time that belongs to what was clicked. */
  constructor(
    private readonly survey: Survey, private readonly marks: readonly Mark[], place: HTMLElement,
    private readonly go: (us: number) => void,
  ) {
    this.canvas.setAttribute('aria-label', marks.length > 0
      ? `Of the file's ${words.size(survey.size)}, ${words.count(marks.length, 'place')} are damaged`
      : 'Where sound and pictures lie in the file');
    this.canvas.addEventListener('click', (event) => this.clicked(event));
    const ends = element('div', { class: 'strip-ends small', 'aria-hidden': 'true' },
      element('span', {}, '0'), element('span', {}, words.size(this.shown / 2)),
      element('span', {}, words.size(this.shown)));
    place.append(element('figure', { class: 'chart strip' },
      element('figcaption', {}, element('h3', {}, 'The file from its first byte to its last'),
        element('p', {}, ...this.legend())),
      this.canvas, ends, ...this.list()));
    this.draw();
  }

  draw(): void {
    const { canvas } = this;
    const scale = devicePixelRatio;
    canvas.width = Math.max(1, canvas.clientWidth * scale);
    canvas.height = HEIGHT * scale;
    const context = canvas.getContext('2d')!;
    context.fillStyle = color('--rule');
    context.fillRect(0, 0, this.at(this.survey.size), canvas.height);
    this.drawShares(context);
    for (const mark of this.marks) this.drawMark(context, mark);
  }

  /** Bytes that the strip stands for: what is missing at the end takes half of it at most. */
  private get shown(): number {
    return Math.min(2 * this.survey.size, Math.max(this.survey.size, ...this.marks.map(({ end }) => end)));
  }

  /** Where a byte is drawn. */
  private at(offset: number): number {
    return (Math.min(offset, this.shown) / this.shown) * this.canvas.width;
  }

  private drawShares(context: CanvasRenderingContext2D): void {
    const width = this.at(this.survey.size);
    const parts = Math.max(1, Math.floor(width / (COLUMN_PIXELS * devicePixelRatio)));
    const heights = new Float32Array(parts);
    shares(this.survey, parts).forEach((found, index) => {
      context.fillStyle = color(trackColor(this.survey.tracks[index]!.track.type));
      found.forEach((share, part) => {
        const left = Math.round((part * width) / parts);
        const high = share * this.canvas.height;
        heights[part]! += high;
        context.fillRect(left, this.canvas.height - heights[part]!, Math.round(((part + 1) * width) / parts) - left, high);
      });
    });
  }

  /** A bar from top to bottom, hatched so that it is seen without colours too. */
  private drawMark(context: CanvasRenderingContext2D, { begin, end }: Mark): void {
    const least = MARK_PIXELS * devicePixelRatio;
    const left = Math.min(this.at(begin), this.canvas.width - least);
    const width = Math.max(least, this.at(end) - left);
    context.fillStyle = color('--damage');
    context.fillRect(left, 0, width, this.canvas.height);
    context.save();
    context.beginPath();
    context.rect(left, 0, width, this.canvas.height);
    context.clip();
    context.beginPath();
    for (let at = left - this.canvas.height; at < left + width; at += HATCH_PIXELS * devicePixelRatio) {
      context.moveTo(at, this.canvas.height);
      context.lineTo(at + this.canvas.height, 0);
    }
    context.strokeStyle = color('--card');
    context.lineWidth = devicePixelRatio;
    context.stroke();
    context.restore();
  }

  private legend(): HTMLElement[] {
    const { tracks } = this.survey;
    const has = (...types: string[]): boolean => tracks.some(({ track, count }) => count > 0 && types.includes(track.type));
    const keys: [string, string, boolean][] = [
      ['Pictures', '--picture', has('video')], ['Sound', '--sound', has('audio')],
      ['Other data', '--b-frame', has('text', 'other')], ['Headers, index, nothing', '--rule', true],
      ['Damage, in all charts', '--damage', this.marks.length > 0],
    ];
    return keys.filter(([, , shown]) => shown).map(([name, colour]) => element('span', { class: 'legend-key' },
      element('span', { class: 'swatch', style: `background: var(${colour})` }), name));
  }

  /** The first places, each with a button that goes there. */
  private list(): HTMLElement[] {
    if (this.marks.length === 0) return [];
    const items = this.marks.slice(0, PLACES_NAMED).map(({ spans: [{ fromUs }], begin, what }) => element('li', {},
      element('button', { type: 'button', class: 'quiet', title: 'Go there', click: () => this.go(fromUs) }, words.time(fromUs, 1)),
      ` ${words.place(begin)}: ${what}`));
    const more = this.marks.length - PLACES_NAMED;
    if (more > 0) items.push(element('li', {}, `and ${words.count(more, 'more place')}`));
    return [element('ul', { class: 'places small', 'aria-label': 'Damaged places' }, ...items)];
  }

  private clicked(event: MouseEvent): void {
    const { left, width } = this.canvas.getBoundingClientRect();
    this.go(timeAt(this.survey, ((event.clientX - left) / width) * this.shown));
  }
}

/** Marks a place of a chart at its upper edge, in the colour that is set. */
export function drawFlag(context: CanvasRenderingContext2D, middle: number, top: number): void {
  const reach = 5 * devicePixelRatio;
  context.beginPath();
  context.moveTo(middle - reach, top);
  context.lineTo(middle + reach, top);
  context.lineTo(middle, top + 1.6 * reach);
  context.fill();
}

function trackColor(type: string): string {
  return type === 'video' ? '--picture' : type === 'audio' ? '--sound' : '--b-frame';
}
