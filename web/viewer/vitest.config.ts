// The page's tests in Chromium: one browser and one page for all of them.
import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';

export default defineConfig({
  // By number, as not every bare system knows the name.
  server: { host: '127.0.0.1' },
  test: { root: fileURLToPath(new URL('.', import.meta.url)), include: ['test/*.test.ts'], testTimeout: 60_000 },
});
