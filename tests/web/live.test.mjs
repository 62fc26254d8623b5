// Live views: a second window sees every edit of the first at once and keeps its own
// selection and scroll position; a dropped events stream is noticed, reconnects and resyncs.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, menuItem, openChain, until, shownTitles } from './lib/browser.mjs';

let host;
let browser;
let first;
let second;
let tracks;
let plid;

before(async () => {
  host = await startHost();
  browser = await launch();
  const found = await host.mediaTracks(60);
  const seen = new Set();
  tracks = found.tracks.filter((t) => !seen.has(t.title) && seen.add(t.title)).slice(0, 6);
  plid = await host.createPlaylist('Shared');
  await host.addByPath(plid, tracks.map((t) => t.path));
  first = await browser.page(host.url);
  second = await browser.page(host.url);
  for (const page of [first, second]) {
    await openChain(page, 'playlists', ['Shared']);
    await row(page, 'playlists', tracks[5].title).waitFor();
  }
});
after(async () => {
  await browser?.close();
  await host?.close();
});

const t = (...indices) => indices.map((i) => tracks[i].title);
const selected = (page) => page.locator('#pane-playlists [role="option"][aria-selected="true"] .title').allTextContents();
const selects = (page, expected) => until(async () => JSON.stringify(await selected(page)) === JSON.stringify(expected), { message: `selection ${expected}` });
const showsOrder = (page, expected) => until(async () => JSON.stringify(await shownTitles(page, 'playlists')) === JSON.stringify(expected), { message: `order ${expected}` });

describe('two windows', () => {
  test('a move in one window shows in the other, whose selection stays on its track', async () => {
    await row(second, 'playlists', tracks[3].title).click();
    await row(first, 'playlists', tracks[0].title).click();
    await selects(first, t(0));
    await first.keyboard.press('Alt+ArrowDown');
    await showsOrder(second, t(1, 0, 2, 3, 4, 5));
    assert.deepEqual(await selected(second), t(3));
  });

  test('a removal above the selection neither moves the selection nor loses it', async () => {
    await showsOrder(first, t(1, 0, 2, 3, 4, 5));
    await row(first, 'playlists', tracks[1].title).click();
    await selects(first, t(1));
    await first.keyboard.press('Delete');
    await showsOrder(second, t(0, 2, 3, 4, 5));
    assert.deepEqual(await selected(second), t(3));
    await first.locator('.toast', { hasText: 'Removed' }).waitFor();
    await first.keyboard.press('Control+z');
    await showsOrder(second, t(1, 0, 2, 3, 4, 5));
    assert.deepEqual(await selected(second), t(3));
  });

  test('tracks added elsewhere are inserted where the module says', async () => {
    await host.addByPath(plid, [tracks[0].path]);
    await showsOrder(second, [...t(1, 0, 2, 3, 4, 5), tracks[0].title]);
    await showsOrder(first, [...t(1, 0, 2, 3, 4, 5), tracks[0].title]);
  });

  test('a playlist created in one window appears in the other', async () => {
    await first.locator('#pane-playlists .crumb').first().click();
    await row(first, 'playlists', 'Create New Playlist').click();
    await first.locator('#pane-playlists .inline-edit input').fill('Made elsewhere');
    await first.keyboard.press('Enter');
    await second.locator('#pane-playlists .crumb').first().click();
    await row(second, 'playlists', 'Made elsewhere').waitFor();
  });

  test('a playlist deleted in one window closes its view in the other', async () => {
    await openChain(second, 'playlists', ['Made elsewhere']);
    await row(first, 'playlists', 'Made elsewhere').click({ button: 'right' });
    await menuItem(first, 'Delete playlist').click();
    await second.locator('#pane-playlists .view-title', { hasText: 'Playlists' }).waitFor();
  });
});

describe('a dropped stream', () => {
  test('the page says it is away, reconnects, and shows what changed meanwhile', async () => {
    await host.stop();
    await first.locator('.live-status.down').waitFor();
    assert.match(await first.locator('#live-status').textContent(), /Reconnecting/);
    await host.start();
    await host.createPlaylist('While away');
    await first.locator('.live-status.back').waitFor({ timeout: 15000 });
    await row(first, 'playlists', 'While away').waitFor();
  });
});
