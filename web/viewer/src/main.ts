// Starts the page. A test puts a clock of its own into `quorvTiming` before.
import 'uplot/dist/uPlot.min.css';
import { Page } from './page.js';
import { AudioTiming, type Timing } from './timing.js';

new Page((globalThis as { quorvTiming?: Timing }).quorvTiming ?? new AudioTiming());
