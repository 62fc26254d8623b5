// Live views: a second window sees every edit of the first at once and keeps its own
// selection; a dropped events stream is noticed, reconnects and resyncs.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, row, openChain, toast, until, untilEqual, shownTitles, selectedTitles } from './lib/browser.mjs';

let first, second, tracks, plid;
const { host, open } = useHostAndBrowser({ setUp: async () => {
  tracks = (await host.mediaTracks(6, { distinct: true })).tracks;
  plid = await host.createPlaylist('Shared', tracks.map((t) => t.path));
  first = await open();
  second = await open();
  for (const page of [first, second]) {
    await openChain(page, 'playlists', ['Shared']);
    await row(page, 'playlists', tracks[5].title).waitFor();
  }
} });

const t = (...indices) => indices.map((i) => tracks[i].title);
const showsOrder = (page, expected) => untilEqual(() => shownTitles(page), expected, `order ${expected}`);

test('two windows: a move, a removal and an undo by keys in one window, and tracks added elsewhere, show in the other, whose selection stays on its track', async () => {
  await row(second, 'playlists', tracks[3].title).click();
  await row(first, 'playlists', tracks[0].title).click();
  await untilEqual(() => selectedTitles(first), t(0));
  await first.keyboard.press('Alt+ArrowDown');
  await showsOrder(second, t(1, 0, 2, 3, 4, 5));
  assert.deepEqual(await selectedTitles(second), t(3));
  await until(async () => /Moved .* to position 2 of 6/.test(await first.locator('#announcer').textContent()), { message: 'the move announced' });

  // The view refetches after the move's events; extend the selection only once it shows the new order.
  await showsOrder(first, t(1, 0, 2, 3, 4, 5));
  await row(first, 'playlists', tracks[1].title).click();
  await first.keyboard.press('Shift+ArrowDown');
  await untilEqual(() => selectedTitles(first), t(1, 0));
  await first.keyboard.press('Delete');
  await showsOrder(second, t(2, 3, 4, 5));
  assert.deepEqual(await selectedTitles(second), t(3));
  await toast(first, 'Removed').waitFor();
  await first.keyboard.press('Control+z');
  await showsOrder(second, t(1, 0, 2, 3, 4, 5));
  assert.deepEqual(await selectedTitles(second), t(3));
  // Tracks added elsewhere are inserted where the module says.
  await host.addByPath(plid, [tracks[0].path]);
  for (const page of [first, second]) await showsOrder(page, [...t(1, 0, 2, 3, 4, 5), tracks[0].title]);
});

test('a dropped stream: the page says it is away, reconnects, and shows what changed meanwhile', async () => {
  await first.locator('#pane-playlists .crumb').first().click();
  await host.stop();
  await first.locator('.live-status.down').waitFor();
  assert.match(await first.locator('#live-status').textContent(), /Reconnecting/);
  await host.start();
  await host.createPlaylist('While away');
  await first.locator('.live-status.back').waitFor();
  await row(first, 'playlists', 'While away').waitFor();
});
