// The player's buttons, seek bar and keys.
import { byId } from './dom.js';
import type { Player } from './player.js';
import * as words from './words.js';

/** Steps of the seek bar: fine enough for a wide screen, whatever the file's length. */
const SEEK_STEPS = 2000;
/** Keys that scroll the page unless the player has the focus. */
const SCROLLING = ['ArrowUp', 'ArrowDown', 'Home', 'End'];

export class Controls {
  private readonly playButton = byId('play', HTMLButtonElement);
  private readonly seekBar = byId('seek', HTMLInputElement);
  private readonly keyMarks = byId('key-marks', HTMLCanvasElement);
  private readonly clock = byId('clock', HTMLElement);
  private readonly muteButton = byId('mute', HTMLButtonElement);
  private readonly volumeBar = byId('volume', HTMLInputElement);
  private readonly stage = byId('stage', HTMLElement);
  private player: Player | null = null;
  private keyTimes: Float64Array = new Float64Array();
  private muted = false;
  private readonly resized = new ResizeObserver(() => this.drawKeys());

  constructor(private readonly setVolume: (volume: number) => void) {
    this.playButton.addEventListener('click', () => this.toggle());
    this.seekBar.addEventListener('input', () => {
      this.seekTo((this.seekBar.valueAsNumber / SEEK_STEPS) * this.lengthUs);
    });
    this.muteButton.addEventListener('click', () => this.mute(!this.muted));
    this.volumeBar.addEventListener('input', () => this.mute(false));
    byId('full-screen', HTMLButtonElement).addEventListener('click', () => this.fullScreen());
    byId('picture', HTMLCanvasElement).addEventListener('click', () => this.toggle());
    document.addEventListener('keydown', (event) => this.key(event));
    this.seekBar.max = String(SEEK_STEPS);
    this.resized.observe(this.keyMarks);
  }

  /** Takes the player of a file that was opened; null when there is nothing to play. */
  attach(player: Player | null): void {
    this.player = player;
    this.keyTimes = new Float64Array();
    this.drawKeys();
    this.update();
  }

  /** Shows where key frames are: places to which a player gets at once. */
  setKeyTimes(times: Float64Array): void {
    this.keyTimes = times;
    this.drawKeys();
  }

  /** Shows what the player does now. */
  update(): void {
    const player = this.player;
    const nowUs = player?.nowUs ?? 0;
    const playing = player?.state === 'playing' || player?.state === 'waiting';
    setAttribute(this.playButton, 'aria-label', playing ? 'Pause' : 'Play');
    setAttribute(this.playButton, 'data-state', playing ? 'playing' : 'paused');
    setAttribute(this.stage, 'data-state', player?.state ?? 'paused');
    this.seekBar.value = String(this.lengthUs > 0 ? (nowUs / this.lengthUs) * SEEK_STEPS : 0);
    setAttribute(this.seekBar, 'aria-valuetext', `${words.spokenTime(nowUs)} of ${words.spokenTime(this.lengthUs)}`);
    setAttribute(this.seekBar, 'style', `--done: ${this.lengthUs > 0 ? (100 * nowUs) / this.lengthUs : 0}%`);
    const text = `${words.time(nowUs, 1)} / ${words.time(this.lengthUs, 1)}`;
    if (this.clock.textContent !== text) this.clock.textContent = text;
  }

  private get lengthUs(): number {
    return this.player?.durationUs ?? 0;
  }

  private toggle(): void {
    const state = this.player?.state;
    if (state === 'playing' || state === 'waiting') this.player?.pause();
    else this.player?.play();
  }

  private seekTo(us: number): void {
    void this.player?.seek(us);
  }

  private mute(muted: boolean): void {
    this.muted = muted;
    const volume = muted ? 0 : this.volumeBar.valueAsNumber;
    this.muteButton.setAttribute('aria-pressed', String(volume === 0));
    // Loudness is heard in proportion to its logarithm; the square is near enough to that.
    this.setVolume(volume * volume);
  }

  private louder(by: number): void {
    this.volumeBar.value = String(Math.min(1, Math.max(0, this.volumeBar.valueAsNumber + by)));
    this.mute(false);
  }

  private fullScreen(): void {
    if (document.fullscreenElement) void document.exitFullscreen();
    else void this.stage.requestFullscreen();
  }

  private key(event: KeyboardEvent): void {
    if (!this.player || event.defaultPrevented || event.ctrlKey || event.metaKey || event.altKey) return;
    const target = event.target as HTMLElement;
    if (target instanceof HTMLInputElement && event.key !== ' ' && event.key.length > 1) return;
    if (SCROLLING.includes(event.key) && !target.closest('#stage')) return;
    if (event.key === ' ' && target.closest('button, a, summary, select')) return;
    const action = this.keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!action) return;
    event.preventDefault();
    action(this.player);
  }

  private readonly keys: Record<string, (player: Player) => void> = {
    ' ': () => this.toggle(),
    k: () => this.toggle(),
    ArrowLeft: (player) => this.seekTo(player.nowUs - 5e6),
    ArrowRight: (player) => this.seekTo(player.nowUs + 5e6),
    j: (player) => this.seekTo(player.nowUs - 10e6),
    l: (player) => this.seekTo(player.nowUs + 10e6),
    ',': (player) => void player.step(-1),
    '.': (player) => void player.step(1),
    Home: () => this.seekTo(0),
    End: () => this.seekTo(this.lengthUs),
    ArrowUp: () => this.louder(0.1),
    ArrowDown: () => this.louder(-0.1),
    m: () => this.mute(!this.muted),
    f: () => this.fullScreen(),
  };

  private drawKeys(): void {
    const canvas = this.keyMarks;
    const scale = devicePixelRatio;
    canvas.width = canvas.clientWidth * scale;
    canvas.height = canvas.clientHeight * scale;
    const thick = Math.max(1, Math.round(1.5 * scale));
    const context = canvas.getContext('2d')!;
    context.fillStyle = getComputedStyle(canvas).color;
    for (const us of this.keyTimes) {
      context.fillRect(Math.round((us / this.lengthUs) * (canvas.width - thick)), 0, thick, canvas.height);
    }
  }
}

function setAttribute(target: HTMLElement, name: string, value: string): void {
  if (target.getAttribute(name) !== value) target.setAttribute(name, value);
}
