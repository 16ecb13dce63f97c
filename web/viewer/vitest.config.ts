// The page's tests in Chromium: one browser and one page for all of them.
import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';

export default defineConfig({
  test: { root: fileURLToPath(new URL('.', import.meta.url)), include: ['test/*.test.ts'], testTimeout: 60_000 },
});
