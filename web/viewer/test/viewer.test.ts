// The built page in Chromium: every sample is dropped, listed, drawn, played to its end, sought, and saved.
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import type { Server } from 'node:http';
import { basename, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, describe, expect, test } from 'vitest';
import type { Packet } from '../../dist/index.js';
import { usablePackets } from '../src/packets.js';
import { drivePage, type Driven } from './driven.js';
import { dump, readBack, type Piece } from './gstreamer.js';
import { drop, launch, serve } from './kit.js';
import * as native from './native.js';

declare const driven: Driven;

const COMMITTED = fileURLToPath(new URL('../../../samples/h264-mp3.avi', import.meta.url));
const SHOWN = /^(h264|mjpeg|raw)-/;
const names = readdirSync(native.samples).filter((name) => name.endsWith('.avi')).sort();

let server: Server;
let browser: Browser;
let page: Page;
const complaints: string[] = [];

beforeAll(async () => {
  const served = await serve();
  server = served.server;
  browser = await launch();
  page = await browser.newPage({ viewport: { width: 1100, height: 900 } });
  page.on('pageerror', (error) => complaints.push(error.stack ?? error.message));
  page.on('console', (message) => { if (message.type() === 'error') complaints.push(message.text()); });
  await page.addInitScript(drivePage);
  await page.goto(served.address);
}, 60_000);

afterAll(async () => {
  await browser?.close();
  server?.close();
});

/** Drops a file and waits until all of it has been read. */
async function open(path: string): Promise<void> {
  await drop(page, path);
  await page.waitForSelector(`body[data-state="open"] #file-name:text-is("${basename(path)}")`);
  await page.waitForSelector('#damage:not([data-state="checking"])');
  // The first picture is on show before anything is played.
  await page.waitForSelector('#stage:not([data-kind="picture"]), #stage:not([data-shown="0"])');
}

const text = (selector: string): Promise<string> => page.locator(selector).innerText();
const attribute = (selector: string, name: string): Promise<string | null> => page.getAttribute(selector, name);

/** Whether a chart has something in about the colour of that name: other series may lie over it. */
async function isDrawn(chart: number, colour: string): Promise<boolean> {
  return (await drawnColumns(chart, colour)).length > 0;
}

/** Where a chart has it, as parts of its width. */
function drawnColumns(chart: number, colour: string): Promise<number[]> {
  return page.evaluate(([index, name]) => {
    const canvas = document.querySelectorAll<HTMLCanvasElement>('.chart canvas')[index]!;
    const hex = parseInt(getComputedStyle(document.documentElement).getPropertyValue(name).trim().slice(1), 16);
    const wanted = [hex >> 16, (hex >> 8) & 255, hex & 255];
    const { data } = canvas.getContext('2d')!.getImageData(0, 0, canvas.width, canvas.height);
    const found = new Set<number>();
    for (let at = 0; at < data.length; at += 4) {
      const alike = wanted.every((value, part) => Math.abs(value - data[at + part]!) < 48);
      if (data[at + 3]! > 128 && alike) found.add(((at / 4) % canvas.width) / canvas.width);
    }
    return [...found].sort((a, b) => a - b);
  }, [chart, colour] as const);
}

async function playToEnd(stepUs: number): Promise<{ drawn: number[]; heard: number }> {
  await page.evaluate(() => driven.forget());
  await page.click('#play');
  await page.evaluate((step) => driven.run(step), stepUs);
  return page.evaluate(() => ({ drawn: driven.drawn, heard: driven.heard }));
}

/** Clicks what saves a file of that name and returns its path. */
async function save(fileName: string): Promise<string> {
  const [download] = await Promise.all([page.waitForEvent('download'), page.click(`.offer[data-file="${fileName}"]`)]);
  const path = join(native.work, download.suggestedFilename());
  await download.saveAs(path);
  return path;
}

/** The units of an H.264 stream that carry pictures, or of other types, in a comparable form. */
function pictureUnits(stream: Buffer, lengths: boolean, types = [1, 5]): string[] {
  const units: Buffer[] = [];
  if (lengths) {
    for (let at = 0; at + 4 <= stream.length; at += 4 + stream.readUInt32BE(at)) {
      units.push(stream.subarray(at + 4, at + 4 + stream.readUInt32BE(at)));
    }
  } else {
    const starts = [...stream.toString('latin1').matchAll(/\0\0\x01/g)].map(({ index }) => index + 3);
    const ends = [...starts.slice(1).map((next) => next - 3), stream.length];
    starts.forEach((start, at) => units.push(stream.subarray(start, ends[at])));
  }
  return units.filter((unit) => types.includes(unit[0]! & 0x1f))
    .map((unit) => unit.toString('latin1').replace(/\0+$/, ''));
}

/** Pieces with pictures that no other needs (B frames) and that are not shown before one that came earlier. */
function shownLate(stream: Buffer, pieces: readonly Piece[]): number[] {
  const late: number[] = [];
  let latestMs = -1;
  let at = 0;
  pieces.forEach(({ size, timeMs }, index) => {
    let unit = at;
    while (![1, 5].includes(stream[unit + 4]! & 0x1f)) unit += 4 + stream.readUInt32BE(unit);
    if ((stream[unit + 4]! & 0x60) === 0 && timeMs > latestMs) late.push(index);
    latestMs = Math.max(latestMs, timeMs);
    at += size;
  });
  return late;
}

/** MP4 says when it was written; those seconds may differ. */
function withoutTimes(file: Buffer): Buffer {
  const copy = Buffer.from(file);
  for (const box of ['mvhd', 'tkhd', 'mdhd']) {
    for (let at = copy.indexOf(box); at >= 0; at = copy.indexOf(box, at + 1)) copy.fill(0, at + 8, at + 16);
  }
  return copy;
}

describe.each(names)('%s', (name) => {
  const path = join(native.samples, name);
  const stem = name.replace('.avi', '');
  const tracks = native.tracks(path);
  const video = tracks.find(({ type }) => type === 'vide');
  const audio = tracks.find(({ type }) => type === 'soun');
  const videoFrames = video ? native.frames(path, video.track) : [];
  const shown = video !== undefined && SHOWN.test(name);

  test('is listed and drawn', async () => {
    await open(path);
    expect(await page.locator('.track').count()).toBe(tracks.length);
    expect(await page.locator('.track[data-type="video"] .obstacle').count()).toBe(video && !shown ? 1 : 0);
    expect(await text('#damage')).toBe('No damage found.');
    const charts = await page.locator('.chart').allInnerTexts();
    expect(charts.length).toBe(video && audio ? 4 : 3);
    const keys = videoFrames.filter(({ key }) => key).length;
    const [all, some] = [videoFrames.length.toLocaleString('en'), keys.toLocaleString('en')];
    if (video) expect(charts[1]).toContain(`${all} frames, ${some} key frame`);
    if (video) expect(await isDrawn(0, '--picture')).toBe(true);
    if (audio) expect(await isDrawn(0, '--sound')).toBe(true);
    expect(await isDrawn(1, video ? '--key' : '--sound')).toBe(true);
    if (video && audio) expect(await isDrawn(2, '--distance')).toBe(true);
  });

  test.runIf(shown || audio)('is played to its end', async () => {
    const { drawn, heard } = await playToEnd(name.includes('two-index') ? 20_000 : 5_000);
    if (shown) expect(drawn.length + 1).toBe(videoFrames.length);
    expect(drawn).toEqual([...drawn].sort((a, b) => a - b));
    expect(heard).toBe(audio ? native.sampleCount(path, audio) : 0);
    expect(await attribute('#stage', 'data-state')).toBe('ended');
    expect(await page.isHidden('#problem')).toBe(true);
    expect(await attribute('#stage', 'data-dropped')).toBe('0');
  });

  test.runIf(shown)('is sought by the seek bar', async () => {
    const times = videoFrames.map(({ pts_ms }) => pts_ms);
    for (const part of [0.8, 0.3]) {
      await page.evaluate(() => driven.forget());
      await page.evaluate((value) => {
        const bar = document.querySelector<HTMLInputElement>('#seek')!;
        bar.value = String(value * Number(bar.max));
        bar.dispatchEvent(new Event('input'));
      }, part);
      await page.waitForFunction(() => driven.drawn.length > 0);
      const drawn = await page.evaluate(() => driven.drawn);
      expect(drawn.length).toBe(1);
      const [, clock] = /^([\d:.]+) \//.exec(await text('#clock'))!;
      const place = clock!.split(':').reduce((sum, each) => sum * 60 + Number(each), 0) * 1000;
      // The clock shows tenths of a second.
      const before = times.filter((time) => time <= place).at(-1)!;
      const after = times.filter((time) => time <= place + 100).at(-1)!;
      if (drawn[0]! >= 0) expect(drawn[0]! / 1000).toBeGreaterThanOrEqual(before - 1);
      if (drawn[0]! >= 0) expect(drawn[0]! / 1000).toBeLessThanOrEqual(after + 1);
    }
  });

  test.runIf(name.startsWith('h264') && !name.includes('two-index'))('is saved as MP4 and Matroska', async () => {
    for (const container of ['mp4', 'mkv']) {
      const saved = await save(`${stem}.${container}`);
      const buffers = readBack(saved, 'video_0');
      expect(buffers.map(({ key }) => key)).toEqual(videoFrames.map(({ key }) => key));
      const times = buffers.map(({ timeMs }) => timeMs).sort((a, b) => a - b);
      videoFrames.forEach(({ pts_ms }, at) => expect(Math.abs(times[at]! - pts_ms)).toBeLessThanOrEqual(2));
      const out = join(native.work, 'back');
      dump(saved, 'video_0', out);
      expect(pictureUnits(readFileSync(out), true)).toEqual(pictureUnits(native.extract(path, video!.track), false));
      // Parameter sets once in front of each: decoders take what comes before a second delimiter for another frame.
      expect(pictureUnits(readFileSync(out), true, [7]).length).toBe(videoFrames.filter(({ key }) => key).length);
      expect(shownLate(readFileSync(out), buffers)).toEqual([]);
      if (audio) dump(saved, 'audio_0', out);
      if (audio) expect(readFileSync(out).equals(native.extract(path, audio.track))).toBe(true);
    }
  });

  test('is saved track by track', async () => {
    for (const track of tracks.filter(({ codec, type }) => type === 'vide' || /^mp[23] $/.test(codec))) {
      const button = page.locator(`.offer[data-file^="${stem}-track${track.track}."]`);
      const saved = await save((await button.getAttribute('data-file'))!);
      expect(readFileSync(saved).equals(native.extract(path, track.track))).toBe(true);
    }
  });

  test.runIf(audio)('gives its sound as WAV', async () => {
    const button = page.locator(`.offer[data-file^="${stem}"][data-file$=".wav"]`).first();
    const wav = readFileSync(await save((await button.getAttribute('data-file'))!));
    const blockAlign = wav.readUInt16LE(32);
    expect(wav.readUInt32LE(40)).toBe(wav.length - 44);
    expect((wav.length - 44) / blockAlign).toBe(native.sampleCount(path, audio!));
  });
});

describe('other files', () => {
  test('the picture shown is saved as PNG, at its size', async () => {
    await open(COMMITTED);
    const png = readFileSync(await save('png'));
    expect([png.readUInt32BE(16), png.readUInt32BE(20)]).toEqual([320, 240]);
  });

  test('keys and charts move the player', async () => {
    await open(COMMITTED);
    const clock = async (): Promise<string> => (await text('#clock')).split(' ')[0]!;
    await page.keyboard.press('l');
    expect(await clock()).toBe('0:03.0');
    await page.focus('#stage');
    await page.keyboard.press('Home');
    expect(await clock()).toBe('0:00.0');
    await page.click('.chart >> nth=1 >> .u-over');
    expect(await clock()).toBe('0:01.5');
    await page.keyboard.press('k');
    expect(await attribute('#play', 'aria-label')).toBe('Pause');
    await page.keyboard.press('k');
    expect(await attribute('#play', 'aria-label')).toBe('Play');
    await page.focus('#charts');
    await page.keyboard.press('+');
    expect(await text('#zoom-view')).toBe('0:00.7 to 0:02.2');
    await page.keyboard.press('0');
    expect(await text('#zoom-view')).toBe('');
  });

  test('what is saved is streamed to disk where the browser can', async () => {
    await open(COMMITTED);
    const inMemory = readFileSync(await save('h264-mp3.mp4'));
    await page.evaluate(() => {
      const pick = async ({ suggestedName }: { suggestedName: string }): Promise<FileSystemFileHandle> =>
        (await navigator.storage.getDirectory()).getFileHandle(suggestedName, { create: true });
      Object.assign(globalThis, { showSaveFilePicker: pick });
      document.querySelector('#save-result')!.textContent = '';
    });
    await page.click('.offer[data-file="h264-mp3.mp4"]');
    await page.waitForSelector('#save-result:text-is("Saved h264-mp3.mp4.")');
    const onDisk = await page.evaluate(async () => {
      delete (globalThis as { showSaveFilePicker?: unknown }).showSaveFilePicker;
      const handle = await (await navigator.storage.getDirectory()).getFileHandle('h264-mp3.mp4');
      return [...new Uint8Array(await (await handle.getFile()).arrayBuffer())];
    });
    expect(withoutTimes(Buffer.from(onDisk)).equals(withoutTimes(inMemory))).toBe(true);
  });

  test('motion JPEG without Huffman tables is shown as with them', async () => {
    const pixels = (): Promise<number[]> => page.evaluate(() =>
      [...document.querySelector<HTMLCanvasElement>('#picture')!.getContext('2d')!.getImageData(0, 0, 64, 48).data]);
    const whole = join(native.samples, 'mjpeg-pcm.avi');
    const bare = join(native.work, 'bare.avi');
    // Tables become comments of the same length.
    const bytes = readFileSync(whole).toString('latin1').replaceAll('\xff\xc4', '\xff\xfe');
    writeFileSync(bare, Buffer.from(bytes, 'latin1'));
    await open(whole);
    await playToEnd(5_000);
    const expected = await pixels();
    await open(bare);
    const { drawn } = await playToEnd(5_000);
    expect(drawn.length + 1).toBe(8);
    expect(await pixels()).toEqual(expected);
    expect(new Set(expected).size).toBeGreaterThan(2);
  });

  test('the sound card as clock brings a file to its end, and pauses', async () => {
    const other = await browser.newPage();
    await other.goto(page.url());
    await drop(other, join(native.samples, 'h264-two-audio-tracks.avi'));
    await other.click('#play');
    await other.click('#play');
    await other.waitForSelector('#stage[data-state="paused"]');
    await other.click('#play');
    await other.waitForSelector('#stage[data-state="ended"]');
    await other.close();
  });

  test('a file that is cut off says so and is played as far as it goes', async () => {
    const whole = readFileSync(COMMITTED);
    const path = join(native.work, 'cut.avi');
    writeFileSync(path, whole.subarray(0, whole.length >> 1));
    await open(path);
    expect(await text('#damage')).toMatch(/^The file ends too early: 31\.\d kB .* are missing/);
    const missing = await drawnColumns(3, '--damage');
    expect([missing[0]! > 0.49, missing.at(-1)! > 0.98]).toEqual([true, true]);
    const { drawn } = await playToEnd(5_000);
    expect(drawn.length + 1).toBe(native.frames(path, 1).length);
  });

  test('damage is marked at its place in the charts and in the file', async () => {
    const bytes = readFileSync(COMMITTED);
    const path = join(native.work, 'hurt.avi');
    const [begin, end] = [20_000, 22_000];
    writeFileSync(path, Buffer.from(bytes).fill(255, begin, end));
    await open(path);
    expect(await text('#damage')).toContain('1.8 kB make no sense');
    const inFile = await drawnColumns(3, '--damage');
    expect(Math.abs(inFile[0]! - begin / bytes.length)).toBeLessThan(0.02);
    expect(Math.abs(inFile.at(-1)! - end / bytes.length)).toBeLessThan(0.02);
    // From what can be read of the sound in front of it, which lacks more than the picture, to what can be behind it.
    const frames = native.frames(path, 2);
    const behind = frames.findIndex(({ offset }) => offset >= end);
    const place = (await text('.places li >> nth=0 >> button')).split(':').reduce((sum, each) => sum * 60 + Number(each), 0);
    expect(place * 1000).toBeGreaterThan(frames[behind - 1]!.pts_ms - 100);
    expect(place * 1000).toBeLessThan(frames[behind]!.pts_ms);
    expect(await page.locator('.places li').count()).toBe(1);
    expect((await drawnColumns(0, '--damage')).length).toBeGreaterThan(0);
    expect(await text('.places li >> nth=0')).toContain(`byte 20,272`);
    await page.click('.places li >> nth=0 >> button');
    expect((await text('#clock')).split(' ')[0]).toBe(await text('.places li >> nth=0 >> button'));
    await page.click('.strip canvas', { position: { x: 2, y: 20 } });
    expect((await text('#clock')).split(' ')[0]).toBe('0:00.0');
  });

  test('packets go on behind damage, and end with any other failure', async () => {
    const failures = ['damaged', 'damaged', 'source'];
    let number = 0;
    const file = {
      async *packets() {
        yield { timeUs: number++ } as Packet;
        throw Object.assign(new Error('unplugged'), { code: failures.shift() });
      },
    };
    const times: number[] = [];
    let damaged = 0;
    const all = async (): Promise<void> => {
      for await (const { timeUs } of usablePackets(file, {}, () => void ++damaged)) times.push(timeUs);
    };
    await expect(all()).rejects.toThrow('unplugged');
    expect([times, damaged]).toEqual([[0, 1, 2], 2]);
  });

  test('a file of another kind ends in a message, and the next one opens', async () => {
    const path = join(native.work, 'letter.avi');
    writeFileSync(path, 'Dear reader, this is no film.\n'.repeat(40));
    await drop(page, path);
    await page.waitForSelector('body[data-state="failed"]');
    expect(await text('#failure')).toContain('letter.avi cannot be opened.');
    await open(COMMITTED);
    expect(await text('#file-facts')).toBe('AVI · 0:03 · 62.3 kB');
  });

  test('an MP3 file is played and saved as it is decoded by the native library', async () => {
    const path = join(native.work, 'sound.mp3');
    writeFileSync(path, native.extract(join(native.samples, 'h264-mp3-vbr.avi'), 2));
    await open(path);
    const { heard } = await playToEnd(5_000);
    const wav = readFileSync(await save('sound.wav'));
    const expected = native.decode(path, 1);
    expect(heard).toBe((expected.length - 44) / 2);
    expect(wav.subarray(44).equals(expected.subarray(44))).toBe(true);
  });

  test('hostile files end in a message or are listed', async () => {
    const corpus = fileURLToPath(new URL('../../../fuzz/corpus', import.meta.url));
    for (const folder of ['asf_splitter', 'avi_splitter', 'media']) {
      // What ends in _calls differs only in how the native library is called.
      for (const name of readdirSync(join(corpus, folder)).filter((each) => !each.endsWith('_calls'))) {
        await page.evaluate(() => { document.body.dataset.state = 'empty'; });
        await drop(page, join(corpus, folder, name));
        await page.waitForSelector('[data-state="failed"], [data-state="open"] #damage:not([data-state="checking"])');
      }
    }
    await open(COMMITTED);
  });

  test('WMV and WMA are listed, drawn and saved, and the page says that they are not shown', async () => {
    const path = fileURLToPath(new URL('../../../fuzz/corpus/asf_splitter/wmv_wma', import.meta.url));
    await open(path);
    expect(await text('#no-picture')).toContain('No browser has a decoder for Windows Media Video 9');
    const saved = await save('wmv_wma-track2.raw');
    expect(readFileSync(saved).equals(native.extract(path, 2))).toBe(true);
  });

  test('nothing went wrong on the way', () => {
    expect(complaints).toEqual([]);
  });
});
