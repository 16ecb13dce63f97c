// Where a player's time comes from and its sound goes to: what is heard is the clock.
import type { Samples } from 'quorv';

export interface Timing {
  /** The moment of the file that is seen and heard now. */
  readonly nowUs: number;
  /** Time goes on from there; what was given to `hear` is heard when its time comes. */
  start(fromUs: number): Promise<void>;
  /** Time stands still, and so does the sound. */
  stop(): void;
  /** Takes sound that goes on where the earlier ended, or begins after `silence`. */
  hear(samples: Samples): void;
  /** Forgets what has not been heard yet. */
  silence(): void;
  setVolume(volume: number): void;
  /**
   * Calls back whenever there may be something new to show, at least some times a second. The answer is whether all
   * that belongs to this moment was there; a clock that is not bound to real time may wait until it is. There is one
   * callback: the latest.
   */
  onTick(callback: () => boolean): void;
}

/** How often `onTick` calls where nothing is displayed, as in a tab in the background. */
const BACKGROUND_TICK_MS = 250;
/** Between the call of `start` and the first sample, so that this is not late. */
const LEAD_SECONDS = 0.08;

/** Real time, as the sound card counts it. */
export class AudioTiming implements Timing {
  private context: AudioContext | null = null;
  private gain: GainNode | null = null;
  private volume = 1;
  private running = false;
  private startedUs = 0;
  /** The context's time at which startedUs is heard. */
  private startedAt = 0;
  private pending: Samples[] = [];
  private readonly sources = new Set<AudioBufferSourceNode>();
  private tick: () => boolean = () => true;

  constructor() {
    const refresh = (): void => {
      this.tick();
      requestAnimationFrame(refresh);
    };
    requestAnimationFrame(refresh);
    setInterval(() => { if (document.hidden) this.tick(); }, BACKGROUND_TICK_MS);
  }

  get nowUs(): number {
    if (!this.running || !this.context) return this.startedUs;
    return Math.max(this.startedUs, this.startedUs + (heardSeconds(this.context) - this.startedAt) * 1e6);
  }

  async start(fromUs: number): Promise<void> {
    const context = this.openContext();
    this.running = true;
    this.startedUs = fromUs;
    this.startedAt = Infinity;
    if (context.state !== 'running') await context.resume();
    if (!this.running) return;
    this.startedAt = context.currentTime + LEAD_SECONDS;
    for (const samples of [...this.pending]) this.schedule(context, samples);
  }

  stop(): void {
    this.startedUs = this.nowUs;
    this.running = false;
    this.unschedule();
    void this.context?.suspend();
  }

  hear(samples: Samples): void {
    this.pending.push(samples);
    if (this.running && this.context && this.startedAt !== Infinity) this.schedule(this.context, samples);
  }

  silence(): void {
    this.unschedule();
    this.pending = [];
  }

  setVolume(volume: number): void {
    this.volume = volume;
    if (this.gain) this.gain.gain.value = volume;
  }

  onTick(callback: () => boolean): void {
    this.tick = callback;
  }

  /** One context for all: its own resampling joins neighbouring pieces without a seam at the sound's rate. */
  private openContext(): AudioContext {
    const rate = this.pending[0]?.format.rate;
    if (this.context && (rate === undefined || this.context.sampleRate === rate)) return this.context;
    void this.context?.close();
    this.context = rate === undefined ? new AudioContext() : contextAt(rate);
    this.gain = this.context.createGain();
    this.gain.gain.value = this.volume;
    this.gain.connect(this.context.destination);
    return this.context;
  }

  private schedule(context: AudioContext, samples: Samples): void {
    const when = this.startedAt + (samples.timeUs - this.startedUs) / 1e6;
    const source = context.createBufferSource();
    source.buffer = toBuffer(context, samples);
    const late = context.currentTime - when;
    if (late >= source.buffer.duration) return this.forget(samples);
    source.connect(this.gain!);
    source.onended = () => {
      this.sources.delete(source);
      this.forget(samples);
    };
    this.sources.add(source);
    if (late > 0) source.start(0, late);
    else source.start(when);
  }

  private unschedule(): void {
    for (const source of this.sources) {
      source.onended = null;
      source.stop();
      source.disconnect();
    }
    this.sources.clear();
  }

  private forget(samples: Samples): void {
    const at = this.pending.indexOf(samples);
    if (at >= 0) this.pending.splice(at, 1);
  }
}

function contextAt(rate: number): AudioContext {
  try {
    return new AudioContext({ sampleRate: rate });
  } catch {
    return new AudioContext();
  }
}

/** The context's time of what leaves the loudspeaker now. */
function heardSeconds(context: AudioContext): number {
  const { contextTime, performanceTime } = context.getOutputTimestamp();
  if (!contextTime || !performanceTime) return context.currentTime;
  return Math.min(contextTime + (performance.now() - performanceTime) / 1000, context.currentTime);
}

function toBuffer(context: AudioContext, { format, data }: Samples): AudioBuffer {
  const frames = data.length / format.channels;
  const buffer = context.createBuffer(format.channels, frames, format.rate);
  for (let channel = 0; channel < format.channels; ++channel) {
    const plane = buffer.getChannelData(channel);
    for (let at = 0; at < frames; ++at) plane[at] = data[at * format.channels + channel]! / 32768;
  }
  return buffer;
}
