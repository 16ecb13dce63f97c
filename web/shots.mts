import { serve, launch, drop } from './viewer/test/kit.ts';
import { writeFileSync, readFileSync } from 'node:fs';
const S = '/work/wt/web2-samples/';
writeFileSync('/tmp/letter.avi', 'Dear reader\n'.repeat(99));
writeFileSync('/tmp/cut.avi', readFileSync('/work/wt/web2/samples/h264-mp3.avi').subarray(0, 41000));
const d = Buffer.from(readFileSync('/work/wt/web2/samples/h264-mp3.avi')); for (let i = 30000; i < 34000; ++i) d[i] = (i * 7919) & 255; writeFileSync('/tmp/broken.avi', d);
const { server, address } = await serve();
const browser = await launch();
const jobs: [string, string, number, number, string, string][] = [
 ['wmv', '/work/wt/web2/fuzz/corpus/asf_splitter/wmv_wma', 1100, 900, 'light', ''],
 ['real-cam', '/work/shared/real/cam1.avi', 1280, 900, 'light', "document.querySelector('#play').click()"],
 ['broken', '/tmp/broken.avi', 1280, 900, 'dark', "document.querySelector('.keys summary').click()"],
 ['cut', '/tmp/cut.avi', 390, 800, 'dark', ''],
 ['letter', '/tmp/letter.avi', 390, 800, 'light', ''],
 ['mp3', S + 'audio-only-mp3.avi', 900, 800, 'light', ''],
 ['two', S + 'h264-two-audio-tracks.avi', 1280, 900, 'light', "document.querySelector('.offer.main').click()"],
 ['large', '/tmp/large.avi', 1280, 900, 'light', ''],
 ['zoom', '/work/wt/web2/samples/h264-mp3.avi', 1280, 900, 'light', "document.querySelector('#zoom-in').click()"],
 ['wma', '/work/shared/real/s1.wma', 390, 800, 'light', ''],
];
for (const [name, file, width, height, scheme, after] of jobs) {
  if (process.argv.length > 2 && !process.argv.includes(name)) continue;
  const page = await browser.newPage({ viewport: { width, height }, colorScheme: scheme as 'light' });
  page.on('console', m => console.log(name, 'console:', m.text()));
  page.on('pageerror', e => console.log(name, 'error:', e.message));
  await page.addInitScript(() => { delete (globalThis as any).showSaveFilePicker; });
  await page.goto(address);
  await drop(page, file);
  await page.waitForSelector('body[data-state=open] #damage:not([data-state=checking]), body[data-state=failed]', { timeout: 15000 }).catch(e => console.log(name, 'timeout'));
  if (after) { await page.evaluate(after); await page.waitForTimeout(2500); }
  await page.screenshot({ path: `/tmp/shot-${name}.png`, fullPage: true });
  console.log(name, await page.evaluate(() => document.body.dataset.state + ' ' + document.querySelector('#clock')?.textContent + ' | ' + (document.querySelector('#damage') as any)?.innerText + ' | ' + (document.querySelector('#stage') as any).dataset.problem));
  await page.close();
}
await browser.close(); server.close();
