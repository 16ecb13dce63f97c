import { defineConfig } from 'vitest/config';

export default defineConfig({
  // By number, as not every bare system knows the name.
  server: { host: '127.0.0.1' },
  test: { include: ['test/**/*.test.ts'], testTimeout: 60000, hookTimeout: 60000 },
});
