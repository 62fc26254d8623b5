// Browser benchmark of the page on a 10,000-entry playlist (not a test: it prints figures).
// For each round: the click on the playlist until its first rows show; typing in the find bar at
// once (the bar opened right after the first rows) until the first match is focused and shown; End
// until the last row shows; and typing again with the bar opened a moment before.
// Run after building kelo-host and the plug-in, with the browser tests' npm packages installed:
//   (cd tests/web && npm ci) && node bench/web/listspeed.mjs [rounds]
import { startHost, NO_ITEMS_LIMIT } from '../../tests/web/lib/host.mjs';
import { launch } from '../../tests/web/lib/browser.mjs';

const SIZE = 10000;
const ROUNDS = Number(process.argv[2] ?? 5);
const title = (i) => `Entry ${String(i + 1).padStart(5, '0')}`;

async function fill(host) {
  const plid = await host.createPlaylist('Ten thousand');
  await host.addTitled(plid, Array.from({ length: SIZE }, (_, i) => title(i)));
}

// Each measure runs inside the page: from the action to the frame that shows its result.
const openList = () => new Promise((resolve) => {
  const start = performance.now();
  [...document.querySelectorAll('#pane-playlists [role="option"] .title')].find((el) => el.textContent === 'Ten thousand').click();
  const check = () => (document.querySelector('#pane-playlists [role="option"]:not(.loading) .title')?.textContent.startsWith('Entry')
    ? resolve(performance.now() - start) : requestAnimationFrame(check));
  check();
});

const pressEnd = (last) => new Promise((resolve) => {
  const list = document.querySelector('#pane-playlists [role="listbox"]');
  list.focus();
  const start = performance.now();
  list.dispatchEvent(new KeyboardEvent('keydown', { key: 'End', bubbles: true, cancelable: true }));
  const check = () => (document.querySelector(`#pane-playlists [role="option"][aria-posinset="${last.n}"]:not(.loading) .title`)?.textContent === last.title
    ? resolve(performance.now() - start) : requestAnimationFrame(check));
  check();
});

const findFirst = (wanted) => new Promise((resolve) => {
  const input = document.querySelector('#pane-playlists .find-bar input');
  const start = performance.now();
  input.value = wanted.toLowerCase();
  input.dispatchEvent(new Event('input', { bubbles: true }));
  const check = () => (document.querySelector('#pane-playlists [role="option"].focused:not(.loading) .title')?.textContent === wanted
    ? resolve(performance.now() - start) : requestAnimationFrame(check));
  check();
});

const stats = (values) => {
  const sorted = [...values].sort((a, b) => a - b);
  return `median ${sorted[Math.floor(sorted.length / 2)].toFixed(0)} ms, max ${sorted[sorted.length - 1].toFixed(0)} ms (${values.map((v) => v.toFixed(0)).join(', ')})`;
};

const host = await startHost({ settings: [NO_ITEMS_LIMIT] });
const browser = await launch();
try {
  await fill(host);
  const figures = { open: [], end: [], find: [], findAtOnce: [] };
  for (let round = 0; round < ROUNDS; round++) {
    const page = await browser.page(host.url);
    figures.open.push(await page.evaluate(openList));
    await page.locator('#pane-playlists [role="listbox"]').focus();
    await page.keyboard.press('/');
    figures.findAtOnce.push(await page.evaluate(findFirst, title((7500 + round * 389) % SIZE)));
    await page.keyboard.press('Escape');
    figures.end.push(await page.evaluate(pressEnd, { n: SIZE, title: title(SIZE - 1) }));
    await page.locator('#pane-playlists [role="listbox"]').focus();
    await page.keyboard.press('/');
    await page.waitForTimeout(500);  // the list is open and the bar ready, as when a person starts typing
    figures.find.push(await page.evaluate(findFirst, title((2500 + round * 997) % SIZE)));
    await page.close();
  }
  console.log(`10,000-entry playlist, ${ROUNDS} rounds`);
  console.log(`  click to first rows:   ${stats(figures.open)}`);
  console.log(`  End to last row:       ${stats(figures.end)}`);
  console.log(`  typing to first match: ${stats(figures.find)}`);
  console.log(`    typed at once:       ${stats(figures.findAtOnce)}`);
} finally {
  await browser.close();
  await host.close();
}
