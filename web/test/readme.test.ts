// The README's program prints what the README shows.

import { execFileSync } from 'node:child_process';
import { readFileSync, rmSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { expect, test } from 'vitest';

test('the program of the README', () => {
  const readme = readFileSync(new URL('../README.md', import.meta.url), 'utf8');
  const block = (language: string) => new RegExp(`\`\`\`${language}\n(.*?)\`\`\``, 's').exec(readme)![1]!;
  const program = new URL('../dist/readme.mjs', import.meta.url);
  writeFileSync(program, block('js'));
  const sample = fileURLToPath(new URL('../../samples/h264-mp3.avi', import.meta.url));
  const printed = execFileSync(process.execPath, [fileURLToPath(program), sample], { encoding: 'utf8' });
  rmSync(program);
  expect(printed).toBe(block('text'));
});
