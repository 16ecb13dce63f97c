// How many pictures the page drops while it plays in real time. Makes its files by GStreamer, once.
//
// usage: npm run bench:viewer (after npm run build:viewer)
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync } from 'node:fs';
import { loadavg } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { drop, launch, serve } from '../test/kit.js';

const FOLDER = fileURLToPath(new URL('../../../build/bench-viewer', import.meta.url));
const SECONDS = 20;

const video = (width: number, height: number, rate: number): string =>
  `videotestsrc num-buffers=${SECONDS * rate} pattern=smpte horizontal-speed=4 `
  + `! video/x-raw,width=${width},height=${height},framerate=${rate}/1,format=I420 !`;
const audio = (rate: number): string =>
  `audiotestsrc num-buffers=${Math.ceil((SECONDS * rate) / 1152)} samplesperbuffer=1152 wave=pink-noise `
  + `! audio/x-raw,rate=${rate},channels=2,format=S16LE,layout=interleaved !`;

const FILES = [
  {
    name: '640x360 H.264, 30 fps, MP3', file: 'h264-640x360.avi', pictures: SECONDS * 30,
    pipeline: `${video(640, 360, 30)} x264enc bitrate=1500 key-int-max=60 bframes=2 ! video/x-h264,profile=high ! mux. `
      + `${audio(44100)} lamemp3enc target=bitrate bitrate=128 cbr=true ! mux.`,
  },
  {
    name: '1280x720 motion JPEG, 25 fps, PCM', file: 'mjpeg-1280x720.avi', pictures: SECONDS * 25,
    pipeline: `${video(1280, 720, 25)} jpegenc quality=85 ! mux. ${audio(44100)} mux.`,
  },
];

function make(file: string, pipeline: string): string {
  const path = join(FOLDER, file);
  mkdirSync(FOLDER, { recursive: true });
  if (!existsSync(path)) {
    const sink = ['avimux', 'name=mux', '!', 'filesink', `location=${path}`];
    execFileSync('gst-launch-1.0', ['-q', ...pipeline.split(' '), ...sink]);
  }
  return path;
}

const { server, address } = await serve();
const browser = await launch();
for (const { name, file, pictures, pipeline } of FILES) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  await page.goto(address);
  await drop(page, make(file, pipeline));
  await page.waitForSelector('#damage:not([data-state="checking"])', { timeout: 120_000 });
  const started = performance.now();
  await page.click('#play');
  await page.waitForSelector('#stage[data-state="ended"]', { timeout: 10 * SECONDS * 1000 });
  const seconds = (performance.now() - started) / 1000;
  const { shown, dropped } = await page.evaluate(() => ({ ...document.querySelector<HTMLElement>('#stage')!.dataset }));
  console.log(`${name}: ${dropped} of ${pictures} pictures dropped, ${shown} shown, `
    + `${SECONDS} s played in ${seconds.toFixed(1)} s; load ${loadavg()[0]!.toFixed(1)}`);
  await page.close();
}
await browser.close();
server.close();
