// Draws the picture of a file: three charts over time, zoomed and read together, and the file as a strip.
import uPlot from 'uplot';
import { color, element } from './dom.js';
import { bitRates, columnSeconds, distances, holes, Kind, largest, type Columns, type Hole, type Survey,
  type TrackSurvey } from './survey.js';
import { damagedSpans, damageMarks, type Mark, type Span } from './marks.js';
import { drawFlag, FileStrip } from './strip.js';
import * as words from './words.js';

type Row = (number | null)[];

/** A chart: what it tells, its series, and how their numbers are computed for a stretch of time. */
interface ChartKind {
  readonly title: string;
  readonly explanation: string;
  readonly height: number;
  readonly series: readonly uPlot.Series[];
  readonly value: (value: number) => string;
  /** Whether numbers begin at 0 and only their relation matters. */
  readonly fromZero: boolean;
  readonly rows: (columns: Columns) => Row[];
}

const LEAST_US = 20_000;
/** CSS pixels a column of the charts is wide. */
const COLUMN_PIXELS = 3;
const AXIS_PIXELS = 84;

export class FilePicture {
  private plots: uPlot[] = [];
  private readonly kinds: readonly ChartKind[];
  private readonly holes: readonly Hole[];
  private readonly marks: readonly Mark[];
  private readonly damaged: readonly Span[];
  private strip: FileStrip | null = null;
  private view: { fromUs: number; toUs: number };
  private nowUs = 0;
  private readonly resized = new ResizeObserver(() => this.resize());
  private readonly theme = matchMedia('(prefers-color-scheme: dark)');
  private readonly repaint = (): void => this.build();

  /** Draws into `place`; `go` is called with the time that was clicked. */
  constructor(
    private readonly survey: Survey, private readonly place: HTMLElement, private readonly go: (us: number) => void,
  ) {
    this.view = { fromUs: 0, toUs: this.wholeUs };
    this.kinds = chartKinds(survey);
    this.holes = holes(survey);
    this.marks = damageMarks(survey.damage, survey);
    this.damaged = damagedSpans(this.marks);
    this.theme.addEventListener('change', this.repaint);
    this.build();
    this.resized.observe(place);
  }

  get zoomed(): boolean {
    return this.view.toUs - this.view.fromUs < this.wholeUs;
  }

  /** The stretch of time on show, in words. */
  get viewText(): string {
    return `${words.time(this.view.fromUs, 1)} to ${words.time(this.view.toUs, 1)}`;
  }

  /** Moves the line that stands for the moment being played. */
  mark(nowUs: number): void {
    this.nowUs = nowUs;
    for (const plot of this.plots) {
      const line = plot.over.querySelector<HTMLElement>('.playhead')!;
      line.style.transform = `translateX(${plot.valToPos(nowUs / 1e6, 'x')}px)`;
      line.hidden = nowUs < this.view.fromUs || nowUs > this.view.toUs;
    }
  }

  /** Shows a part as many times as long, around the moment being played where that is in view. */
  zoom(factor: number): void {
    const { fromUs, toUs } = this.view;
    const inView = this.nowUs >= fromUs && this.nowUs <= toUs;
    this.zoomAround(factor, inView ? this.nowUs : (fromUs + toUs) / 2);
  }

  /** Moves the part that is shown by that part of its length. */
  pan(part: number): void {
    const by = (this.view.toUs - this.view.fromUs) * part;
    this.show(this.view.fromUs + by, this.view.toUs + by);
  }

  whole(): void {
    this.show(0, this.wholeUs);
  }

  close(): void {
    this.resized.disconnect();
    this.theme.removeEventListener('change', this.repaint);
    for (const plot of this.plots) plot.destroy();
    this.place.replaceChildren();
  }

  private get wholeUs(): number {
    return Math.max(this.survey.endUs, LEAST_US);
  }

  private zoomAround(factor: number, us: number): void {
    const { fromUs, toUs } = this.view;
    const length = Math.min(Math.max((toUs - fromUs) * factor, LEAST_US), this.wholeUs);
    const from = us - ((us - fromUs) / (toUs - fromUs)) * length;
    this.show(from, from + length);
  }

  private show(fromUs: number, toUs: number): void {
    const length = Math.min(Math.max(toUs - fromUs, LEAST_US), this.wholeUs);
    const from = Math.min(Math.max(0, fromUs), this.wholeUs - length);
    this.view = { fromUs: from, toUs: from + length };
    for (const [at, plot] of this.plots.entries()) plot.setData(this.data(this.kinds[at]!, plot.over.clientWidth));
    this.mark(this.nowUs);
    this.place.dispatchEvent(new Event('zoomed'));
  }

  private data(kind: ChartKind, pixels: number): uPlot.AlignedData {
    const columns = { ...this.view, count: Math.max(20, Math.floor(pixels / COLUMN_PIXELS)) };
    return [columnSeconds(columns), ...kind.rows(columns)];
  }

  private build(): void {
    for (const plot of this.plots) plot.destroy();
    const width = this.place.clientWidth;
    this.place.replaceChildren();
    this.plots = this.kinds.map((kind) => this.plot(kind, width));
    this.strip = new FileStrip(this.survey, this.marks, this.place, this.go);
    this.mark(this.nowUs);
  }

  private plot(kind: ChartKind, width: number): uPlot {
    const figure = element('figure', { class: 'chart' },
      element('figcaption', {}, element('h3', {}, kind.title), element('p', {}, kind.explanation)));
    this.place.append(figure);
    const plot = new uPlot(this.options(kind, width), this.data(kind, width - AXIS_PIXELS), figure);
    plot.over.append(element('div', { class: 'playhead', hidden: true }));
    this.listen(plot);
    return plot;
  }

  private options(kind: ChartKind, width: number): uPlot.Options {
    const ink = color('--ink-soft');
    const grid = { stroke: color('--rule'), width: 1 };
    const font = `12px ${getComputedStyle(document.body).fontFamily}`;
    const axis = { stroke: ink, grid, ticks: { show: false }, font };
    return {
      width, height: kind.height,
      cursor: { sync: { key: 'file' }, drag: { x: true, y: false, setScale: false }, points: { show: false } },
      scales: { x: { time: false, range: () => [this.view.fromUs / 1e6, this.view.toUs / 1e6] },
        ...(kind.fromZero ? { y: { range: fromZero } } : {}) },
      series: [
        { label: 'Time', value: (_, at: number | null) => (at === null ? '–' : words.time(at * 1e6, 1)) },
        ...kind.series.map((series) => ({
          spanGaps: false, points: { show: false },
          value: (_: uPlot, value: number | null) => (value === null ? '–' : kind.value(value)), ...series,
        })),
      ],
      axes: [
        { ...axis, values: timeTicks, space: 70, size: 38, gap: 9 },
        { ...axis, values: (_, ticks) => ticks.map(kind.value), size: AXIS_PIXELS, space: 34 },
      ],
      hooks: { drawClear: [(plot) => this.drawHoles(plot)], draw: [(plot) => this.drawMarks(plot)],
        setSelect: [(plot) => this.selected(plot)] },
    };
  }

  private drawHoles(plot: uPlot): void {
    plot.ctx.fillStyle = color('--hole');
    for (const hole of this.holes) this.drawBand(plot, hole);
    for (const span of this.damaged) this.drawBand(plot, span);
  }

  /** A flag for each damaged place, over whatever is drawn there. */
  private drawMarks(plot: uPlot): void {
    plot.ctx.fillStyle = color('--damage');
    for (const { fromUs } of this.damaged) {
      const band = this.drawBand(plot, { fromUs, toUs: fromUs });
      if (band !== null) drawFlag(plot.ctx, band, plot.bbox.top);
    }
  }

  /** From top to bottom of a chart; tells where it begins, null when it is not in view. */
  private drawBand(plot: uPlot, { fromUs, toUs }: Span): number | null {
    if (toUs < this.view.fromUs || fromUs > this.view.toUs) return null;
    const left = plot.valToPos(Math.max(fromUs, this.view.fromUs) / 1e6, 'x', true);
    const right = plot.valToPos(Math.min(toUs, this.view.toUs) / 1e6, 'x', true);
    plot.ctx.fillRect(left, plot.bbox.top, Math.max(2, right - left), plot.bbox.height);
    return left;
  }

  private selected(plot: uPlot): void {
    const { left, width } = plot.select;
    if (width < 4) return;
    plot.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
    this.show(plot.posToVal(left, 'x') * 1e6, plot.posToVal(left + width, 'x') * 1e6);
  }

  /** A click goes there, a double click shows the whole, Ctrl and the wheel zoom. */
  private listen(plot: uPlot): void {
    let downAt = 0;
    const at = (event: MouseEvent): number => event.clientX - plot.over.getBoundingClientRect().left;
    plot.over.addEventListener('mousedown', (event) => { downAt = event.clientX; });
    plot.over.addEventListener('click', (event) => {
      if (Math.abs(event.clientX - downAt) < 4) this.go(plot.posToVal(at(event), 'x') * 1e6);
    });
    plot.over.addEventListener('dblclick', () => this.whole());
    plot.over.addEventListener('wheel', (event) => {
      if (!event.ctrlKey) return;
      event.preventDefault();
      this.zoomAround(event.deltaY > 0 ? 1.25 : 0.8, plot.posToVal(at(event), 'x') * 1e6);
    }, { passive: false });
  }

  private resize(): void {
    const width = this.place.clientWidth;
    if (width === 0 || this.plots[0]?.width === width) return;
    for (const [at, plot] of this.plots.entries()) plot.setSize({ width, height: this.kinds[at]!.height });
    this.show(this.view.fromUs, this.view.toUs);
    this.strip?.draw();
  }
}

function fromZero(_: uPlot, __: number, most: number): uPlot.Range.MinMax {
  return [0, Math.max(1, most * 1.1)];
}

function timeTicks(_: uPlot, ticks: number[], __: number, ___: number, step: number): string[] {
  return ticks.map((tick) => words.time(tick * 1e6, step < 0.1 ? 3 : step < 1 ? 1 : 0));
}

/** The charts that a file has something for. */
function chartKinds(survey: Survey): ChartKind[] {
  const withPackets = survey.tracks.filter((each) => each.count > 0);
  const video = withPackets.find((each) => each.track.type === 'video');
  const audio = withPackets.filter((each) => each.track.type === 'audio');
  if (withPackets.length === 0) return [];
  const kinds = [rateChart(withPackets), sizeChart(video, audio)];
  if (video && audio[0]) kinds.push(distanceChart(video, audio[0]));
  return kinds;
}

function trackStyle(each: TrackSurvey, all: readonly TrackSurvey[]): uPlot.Series {
  const name = each.track.type === 'video' ? '--picture' : '--sound';
  const second = all.find((other) => other.track.type === each.track.type) !== each;
  return {
    ...(second ? { dash: [6, 4] } : {}),
    label: words.trackTitle(each.track, all.map((other) => other.track)),
    stroke: () => color(name), fill: () => `color-mix(in srgb, ${color(name)} 18%, transparent)`,
  };
}

function rateChart(tracks: readonly TrackSurvey[]): ChartKind {
  return {
    title: 'Bit rate', explanation: rateText(tracks), height: 190, fromZero: true, value: words.bitRate,
    series: tracks.map((each) => ({ ...trackStyle(each, tracks), width: 1.5 })),
    rows: (columns) => tracks.map((each) => bitRates(each, columns)),
  };
}

function rateText(tracks: readonly TrackSurvey[]): string {
  const all = tracks.map((each) => each.track);
  const rates = tracks.map((each) => {
    const bytes = each.size.reduce((sum, size) => sum + size, 0);
    const last = each.count - 1;
    const seconds = (each.timeUs[last]! + each.durationUs[last]! - each.timeUs[0]!) / 1e6;
    return `${words.trackTitle(each.track, all)} ${seconds > 0 ? words.bitRate((bytes * 8) / seconds) : '–'}`;
  });
  return `On average: ${rates.join(', ')}.`;
}

const SIZE_SERIES = [
  { kind: Kind.Key, label: 'Key frames', color: '--key' },
  { kind: Kind.Predicted, label: 'Other frames', color: '--picture' },
  { kind: Kind.B, label: 'B frames', color: '--b-frame' },
] as const;

function sizeChart(video: TrackSurvey | undefined, audio: readonly TrackSurvey[]): ChartKind {
  const kinds = SIZE_SERIES.filter(({ kind }) => video?.kind.includes(kind));
  const bars = uPlot.paths.bars!({ size: [0.9, 40], radius: 0 });
  const series = (label: string, name: string): uPlot.Series =>
    ({ label, stroke: () => color(name), fill: () => color(name), width: 0, paths: bars });
  return {
    title: video ? 'Size of frames' : 'Size of packets', explanation: sizeText(video, audio),
    height: 190, fromZero: true, value: words.size,
    series: [...kinds.map((each) => series(each.label, each.color)),
      ...audio.slice(0, 1).map(() => ({ ...series('Sound', '--sound'), show: !video }))],
    rows: (columns) => [...kinds.map(({ kind }) => largest(video!, kind, columns)),
      ...audio.slice(0, 1).map((each) => largest(each, Kind.Sound, columns))],
  };
}

function sizeText(video: TrackSurvey | undefined, audio: readonly TrackSurvey[]): string {
  if (!video) return `${words.count(audio[0]?.count ?? 0, 'packet')} of sound.`;
  const keys = video.kind.reduce((sum, kind) => sum + (kind === Kind.Key ? 1 : 0), 0);
  const most = video.size.reduce((max, size) => Math.max(max, size), 0);
  const frames = `${words.count(video.count, 'frame')}, ${words.count(keys, 'key frame')}`;
  return `${frames}; the largest has ${words.size(most)}.`;
}

function distanceChart(video: TrackSurvey, audio: TrackSurvey): ChartKind {
  return {
    title: 'How far sound lies from its picture',
    explanation: 'Bytes of the file between a picture and the sound of the same moment; below zero the sound comes '
      + 'first. Far apart means a player must read at two places.',
    height: 160, fromZero: false, value: (value) => (value < 0 ? `−${words.size(-value)}` : words.size(value)),
    series: [{ label: 'Sound behind picture', stroke: () => color('--distance'), width: 1.5 }],
    rows: (columns) => [distances(video, audio, columns)],
  };
}
