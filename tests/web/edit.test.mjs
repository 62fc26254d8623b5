// Editing a playlist in place: reorder by dragging, by keys and to a position; select
// several and remove them with one command; undo removal, clearing and deleting.
import { test, before, after, beforeEach, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, menuItem, openChain, until, shownTitles } from './lib/browser.mjs';

let host;
let browser;
let tracks;
let page;
let plid;
let commands;
let name = 0;

before(async () => {
  host = await startHost();
  browser = await launch();
  const found = await host.mediaTracks(40);
  const seen = new Set();
  tracks = found.tracks.filter((t) => !seen.has(t.title) && seen.add(t.title)).slice(0, 8);
  assert.equal(tracks.length, 8, 'the library has eight distinct titles');
});
after(async () => {
  await browser?.close();
  await host?.close();
});

/** A fresh playlist of the eight tracks, opened in a fresh page. */
beforeEach(async () => {
  await page?.close();
  name += 1;
  plid = await host.createPlaylist(`Edit ${name}`);
  await host.addByPath(plid, tracks.map((t) => t.path));
  page = await browser.page(host.url);
  commands = [];
  page.on('request', (request) => {
    if (request.url().endsWith('/api/setData')) commands.push(JSON.parse(request.postData()));
  });
  await openChain(page, 'playlists', [`Edit ${name}`]);
  await row(page, 'playlists', tracks[7].title).waitFor();
});

const titles = () => host.titles(`playlists:pl/getitems/${plid}`);
const t = (...indices) => indices.map((i) => tracks[i].title);
const sent = (path) => commands.filter((c) => c.path === path);
const selectedTitles = () => page.locator('#pane-playlists [role="option"][aria-selected="true"] .title').allTextContents();

async function waitForOrder(expected) {
  await until(async () => JSON.stringify(await titles()) === JSON.stringify(expected), { message: `order ${expected}` });
  await until(async () => JSON.stringify(await shownTitles(page, 'playlists')) === JSON.stringify(expected), { message: 'the page to show the new order' });
}

describe('reordering', () => {
  test('dragging a track by its handle moves it with one command', async () => {
    const handle = row(page, 'playlists', tracks[5].title).locator('.handle');
    const target = await row(page, 'playlists', tracks[1].title).boundingBox();
    const from = await handle.boundingBox();
    await page.mouse.move(from.x + from.width / 2, from.y + from.height / 2);
    await page.mouse.down();
    await page.mouse.move(from.x + 5, target.y + 4, { steps: 8 });
    await page.mouse.up();
    await waitForOrder(t(0, 5, 1, 2, 3, 4, 6, 7));
    assert.equal(sent('playlists:pl/moveitems').length, 1);
    assert.deepEqual(await selectedTitles(), t(5));
  });

  test('dragging a selection down keeps its order', async () => {
    await row(page, 'playlists', tracks[0].title).click();
    await row(page, 'playlists', tracks[1].title).click({ modifiers: ['Shift'] });
    const handle = row(page, 'playlists', tracks[1].title).locator('.handle');
    const target = await row(page, 'playlists', tracks[5].title).boundingBox();
    const from = await handle.boundingBox();
    await page.mouse.move(from.x + from.width / 2, from.y + from.height / 2);
    await page.mouse.down();
    await page.mouse.move(from.x + 5, target.y + target.height - 4, { steps: 8 });
    await page.mouse.up();
    await waitForOrder(t(2, 3, 4, 5, 0, 1, 6, 7));
  });

  test('Alt+Down and Alt+Up move the selected track and the selection follows it', async () => {
    await row(page, 'playlists', tracks[0].title).click();
    await page.keyboard.press('Alt+ArrowDown');
    await waitForOrder(t(1, 0, 2, 3, 4, 5, 6, 7));
    await page.keyboard.press('Alt+ArrowDown');
    await waitForOrder(t(1, 2, 0, 3, 4, 5, 6, 7));
    await page.keyboard.press('Alt+ArrowUp');
    await waitForOrder(t(1, 0, 2, 3, 4, 5, 6, 7));
    assert.deepEqual(await selectedTitles(), t(0));
    await until(async () => /Moved .* to position 2 of 8/.test(await page.locator('#announcer').textContent()), { message: 'the move to be announced' });
  });

  test('"Move to…" puts the selection at the position typed', async () => {
    await row(page, 'playlists', tracks[6].title).click();
    await row(page, 'playlists', tracks[7].title).click({ modifiers: ['Control'] });
    await page.getByRole('button', { name: 'Move to…' }).click();
    await page.locator('#ask input').fill('2');
    await page.locator('#ask input').press('Enter');
    await waitForOrder(t(0, 6, 7, 1, 2, 3, 4, 5));
  });
});

describe('removing and undo', () => {
  test('click, shift-click and ctrl-click select; Delete removes them with one command; Undo puts them back', async () => {
    await row(page, 'playlists', tracks[1].title).click();
    await row(page, 'playlists', tracks[3].title).click({ modifiers: ['Shift'] });
    await row(page, 'playlists', tracks[6].title).click({ modifiers: ['Control'] });
    assert.deepEqual(await selectedTitles(), t(1, 2, 3, 6));
    await page.keyboard.press('Delete');
    await waitForOrder(t(0, 4, 5, 7));
    assert.equal(sent('playlists:pl/removeitems').length, 1);
    assert.deepEqual(sent('playlists:pl/removeitems')[0].value.items, [1, 2, 3, 6]);
    await page.locator('.toast', { hasText: 'Removed 4 tracks' }).getByRole('button', { name: 'Undo' }).click();
    await waitForOrder(t(0, 1, 2, 3, 4, 5, 6, 7));
  });

  test('Ctrl+Z undoes a removal made from the track menu', async () => {
    await row(page, 'playlists', tracks[4].title).click({ button: 'right' });
    await menuItem(page, 'Remove track').click();
    await waitForOrder(t(0, 1, 2, 3, 5, 6, 7));
    await page.locator('.toast', { hasText: 'Removed' }).waitFor();
    await page.keyboard.press('Control+z');
    await waitForOrder(t(0, 1, 2, 3, 4, 5, 6, 7));
  });

  test('clearing a playlist can be undone', async () => {
    await page.locator('#pane-playlists .view-actions button[data-act="menu"]').click();
    await menuItem(page, 'Clear playlist').click();
    await until(async () => (await titles()).length === 0, { message: 'the playlist to be cleared' });
    await page.locator('.toast', { hasText: 'Cleared' }).getByRole('button', { name: 'Undo' }).click();
    await waitForOrder(t(0, 1, 2, 3, 4, 5, 6, 7));
  });

  test('deleting a playlist can be undone, with its tracks and its shuffle switch', async () => {
    await host.set('playlists:pl/setshuffle', { plid, mode: 1 });
    await page.locator('#pane-playlists .view-actions button[data-act="menu"]').click();
    await menuItem(page, 'Delete playlist').click();
    await page.locator('#pane-playlists .view-title', { hasText: 'Playlists' }).waitFor();
    await page.locator('.toast', { hasText: 'Deleted' }).waitFor();
    await page.keyboard.press('Control+z');
    await page.locator('.toast', { hasText: `Brought back Edit ${name}` }).waitFor();
    await row(page, 'playlists', `Edit ${name}`).waitFor();
    const root = await host.rows('playlists:');
    const back = root.rows.find((r) => r.title === `Edit ${name}`);
    plid = Number(back.path.split('/').pop());
    assert.deepEqual(await titles(), t(0, 1, 2, 3, 4, 5, 6, 7));
    const menuRows = (await host.rows(back.context.path)).rows;
    const shuffle = menuRows.find((r) => r.title === 'Set shuffle mode');
    assert.equal(shuffle.value.bool_, true);
  });
});

describe('renaming in place', () => {
  test('F2 on a playlist row edits its name in the row', async () => {
    await page.locator('#pane-playlists .crumb').first().click();
    await row(page, 'playlists', `Edit ${name}`).waitFor();
    await page.keyboard.press('F2');
    const field = page.locator('#pane-playlists .inline-edit input');
    assert.equal(await field.inputValue(), `Edit ${name}`);
    await field.fill(`Renamed ${name}`);
    await field.press('Enter');
    await row(page, 'playlists', `Renamed ${name}`).waitFor();
  });
});
