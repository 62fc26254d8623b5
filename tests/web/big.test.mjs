// A playlist of 10,000 entries opens, shows its count, jumps to its last row with
// the right title, scrolls through without fetching more than it shows, and keeps only
// the rows in view in the document.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { NO_ITEMS_LIMIT } from './lib/host.mjs';
import { useHostAndBrowser, row, until } from './lib/browser.mjs';

const SIZE = 10000;
const title = (i) => `Entry ${String(i + 1).padStart(5, '0')}`;
let page;
const rowRequests = [];
const { host, open } = useHostAndBrowser({ settings: [NO_ITEMS_LIMIT], setUp: async () => {
  await host.addTitled(await host.createPlaylist('Ten thousand'), Array.from({ length: SIZE }, (_, i) => title(i)));
  page = await open();
  page.on('request', (request) => {
    if (request.url().endsWith('/api/getRows')) rowRequests.push(JSON.parse(request.postData()));
  });
} });

// The list's own pages; the find bar reads the list's texts in the background in pages of its own.
const viewPages = () => rowRequests.filter((r) => r.toRow - r.fromRow < 100).length;
const optionCount = () => page.locator('#pane-playlists [role="option"]').count();
const listbox = () => page.locator('#pane-playlists [role="listbox"]');

describe('a playlist of 10,000 entries', () => {
  test('opens with its count, reading only small pages of the shown roles', async () => {
    await row(page, 'playlists', 'Ten thousand').click();
    await row(page, 'playlists', title(0)).waitFor();
    assert.equal(await page.locator('#pane-playlists .view-count').textContent(), '10,000 tracks');
    const items = rowRequests.filter((r) => r.path.startsWith('playlists:pl/getitems/'));
    assert.ok(items.every((r) => r.toRow - r.fromRow < 100 && Array.isArray(r.roles)), 'pages with only the shown roles');
  });

  test('End jumps to the last row with the right title, Home back to the first, and the document stays small', async () => {
    await listbox().focus();
    await page.keyboard.press('End');
    const last = page.locator(`#pane-playlists [role="option"][aria-posinset="${SIZE}"]`);
    await last.locator('.title', { hasText: title(SIZE - 1) }).waitFor();
    assert.equal(await last.getAttribute('aria-setsize'), String(SIZE));
    assert.equal(await last.getAttribute('aria-selected'), 'true');
    assert.ok((await optionCount()) < 80, `${await optionCount()} rows in the document`);
    await page.keyboard.press('Home');
    await row(page, 'playlists', title(0)).waitFor();
  });

  test('scrolling through the middle fetches only the pages shown', async () => {
    const before = viewPages();
    for (const fraction of [0.25, 0.5, 0.75]) {
      await page.locator('#pane-playlists .list-scroll').evaluate((el, f) => { el.scrollTop = el.scrollHeight * f; }, fraction);
      const index = Math.floor(SIZE * fraction);
      await until(async () => (await page.locator('#pane-playlists [role="option"]:not(.loading) .title').allTextContents()).some((t) => Math.abs(Number(t.slice(6)) - index) < 30), { message: `rows near ${index}` });
    }
    assert.ok(viewPages() - before <= 12, `${viewPages() - before} page requests`);
    assert.ok((await optionCount()) < 80);
  });
});
