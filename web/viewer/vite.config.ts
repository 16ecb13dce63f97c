// Builds the page into static files that work from any folder of a web server.
import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vite';
import { licences } from './licences.js';

export default defineConfig({
  root: fileURLToPath(new URL('.', import.meta.url)),
  base: './',
  resolve: { alias: { quorv: fileURLToPath(new URL('../dist/index.js', import.meta.url)) } },
  build: { outDir: '../dist-viewer', emptyOutDir: true, target: 'es2022' },
  worker: { format: 'es' },
  plugins: [licences(fileURLToPath(new URL('../../LICENSE', import.meta.url)))],
});
