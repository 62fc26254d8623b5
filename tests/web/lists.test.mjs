// Long lists: a playlist of 10,000 entries opens, shows its count, jumps to its last row with
// the right title, scrolls through without fetching more than it shows, and keeps only the rows
// in view in the document. Find in an open list: "/" opens the bar, typing counts the matches of
// title, artist or album in all of the list and focuses the first, Enter / Shift+Enter move
// between them, and rows far down the virtual list are scrolled to.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { NO_ITEMS_LIMIT } from './lib/host.mjs';
import { useHostAndBrowser, row, openChain, until } from './lib/browser.mjs';

const SIZE = 10000;
const title = (i) => `Entry ${String(i + 1).padStart(5, '0')}`;
let page;
let bigList;
const rowRequests = [];
const { host, open } = useHostAndBrowser({ settings: [NO_ITEMS_LIMIT], setUp: async () => {
  bigList = await host.createPlaylist('Ten thousand');
  await host.addTitled(bigList, Array.from({ length: SIZE }, (_, i) => title(i)));
  page = await open();
  page.on('request', (request) => {
    if (request.url().endsWith('/api/getRows')) rowRequests.push(JSON.parse(request.postData()));
  });
} });

// The list's own pages; the find bar reads the list's texts in the background in pages of its own.
const viewPages = () => rowRequests.filter((r) => r.toRow - r.fromRow < 100).length;
const optionCount = () => page.locator('#pane-playlists [role="option"]').count();

describe('a playlist of 10,000 entries', () => {
  test('opens with its count reading small pages of the shown roles; End jumps to the last row, Home back, and the document stays small', async () => {
    await row(page, 'playlists', 'Ten thousand').click();
    await row(page, 'playlists', title(0)).waitFor();
    assert.equal(await page.locator('#pane-playlists .view-count').textContent(), '10,000 tracks');
    const items = rowRequests.filter((r) => r.path.startsWith('playlists:pl/getitems/'));
    assert.ok(items.every((r) => r.toRow - r.fromRow < 100 && Array.isArray(r.roles)), 'pages with only the shown roles');
    await page.locator('#pane-playlists [role="listbox"]').focus();
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

const focusedIndex = (page) => page.evaluate(() => Number(document.querySelector('#pane-playlists [role="option"].focused')?.dataset.index ?? -1));

test('find counts the matches of title, artist or album in all of a long list, walks them with Enter / Shift+Enter to rows far down, and finds an entry added meanwhile', async () => {
  // "Entry 00999" and "Entry 09990" to "Entry 09999": the first match, then ten far below it.
  const matches = [...Array(SIZE).keys()].filter((i) => title(i).includes('0999'));
  const page = await open();
  await openChain(page, 'playlists', ['Ten thousand']);
  await page.locator('#pane-playlists [role="listbox"]').focus();
  await page.keyboard.press('/');
  const input = page.getByRole('searchbox', { name: 'Find in this list' });
  const counted = (text) => until(async () => (await page.locator('#pane-playlists .find-count').textContent()) === text, { message: `count ${text}` });
  const focused = (index, message) => until(async () => (await focusedIndex(page)) === index, { message });
  await input.fill('0999');
  await counted(`1 of ${matches.length}`);
  await focused(matches[0], 'the first match focused');
  await host.addTitled(bigList, ['Entry 0999 again']);
  await counted(`1 of ${matches.length + 1}`);
  await input.press('Shift+Enter');
  await focused(SIZE, 'Shift+Enter wraps to the added entry, the last match');
  await input.press('Enter');
  await input.press('Enter');
  await focused(matches[1], 'Enter wraps to the first and goes on to the next match');
  await page.locator(`#pane-playlists [role="option"][data-index="${matches[1]}"]`).waitFor();

  const { artist } = (await host.mediaTracks(1)).tracks[0];
  await input.fill(artist.slice(1, -1).toUpperCase());
  await counted(`1 of ${(SIZE + 1).toLocaleString('en')}`);
  await input.fill('no such entry anywhere');
  await counted('No match');
  await input.press('Escape');
  assert.equal(await page.locator('#pane-playlists .find-bar').isHidden(), true);
});
