// Adding from the media library: each add mode of the module's add menu puts the track
// where it says, a note tells where it landed, and a plain click never changes a list.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, menu, menuItem, openChain, until } from './lib/browser.mjs';

const QUEUE = 'playlists:pq/getitems';
let host;
let browser;
let page;
let media;

before(async () => {
  host = await startHost();
  browser = await launch();
  media = await host.mediaTracks(8);
  await host.addByPath(0, media.tracks.slice(0, 3).map((t) => t.path));
  await host.set('playlists:pl/play', { plid: 0 });
  await until(async () => (await host.playerState())?.trackRoles?.title === media.tracks[0].title, { message: 'the queue to play' });
  page = await browser.page(host.url);
  await openChain(page, 'library', media.chain);
});
after(async () => {
  await browser?.close();
  await host?.close();
});

async function addFromLibrary(track, path) {
  await row(page, 'library', track.title).locator('button[data-act="menu"]').click();
  for (const title of path) await menuItem(page, title).click();
  await until(async () => (await menu(page).count()) === 0, { message: 'the menu to close after adding' });
}

async function noteFor(track) {
  const note = page.locator('.toast', { hasText: `Added “${track.title}”` }).last();
  await note.waitFor();
  return note.textContent();
}

describe('adding to the play queue', () => {
  test('a plain click on a library track selects it and changes no list', async () => {
    const before = await host.titles(QUEUE);
    await row(page, 'library', media.tracks[3].title).click();
    await page.waitForTimeout(300);
    assert.deepEqual(await host.titles(QUEUE), before);
    assert.equal(await menu(page).count(), 0);
  });

  test('"After current" puts the track behind the playing one and says so', async () => {
    const [a, b, c, x] = media.tracks;
    await addFromLibrary(x, ['Add to play queue', 'After current']);
    assert.deepEqual(await host.titles(QUEUE), [a.title, x.title, b.title, c.title]);
    assert.match(await noteFor(x), /PlayQueue at position 2/);
  });

  test('"Append" puts the track at the end', async () => {
    const y = media.tracks[4];
    await addFromLibrary(y, ['Add to play queue', 'Append']);
    const titles = await host.titles(QUEUE);
    assert.equal(titles[titles.length - 1], y.title);
    assert.match(await noteFor(y), new RegExp(`at position ${titles.length}\\.`));
  });

  test('"Now" puts the track behind the playing one and plays it', async () => {
    const z = media.tracks[5];
    await addFromLibrary(z, ['Add to play queue', 'Now']);
    await until(async () => (await host.playerState())?.trackRoles?.title === z.title, { message: 'the added track to play' });
    await page.locator('.np-title', { hasText: z.title }).waitFor();
    assert.equal((await host.titles(QUEUE))[1], z.title);
  });
});

describe('adding to a playlist', () => {
  test('the playlist is chosen in the menu and the track lands at its end', async () => {
    const plid = await host.createPlaylist('Mix');
    await host.addByPath(plid, [media.tracks[0].path]);
    const w = media.tracks[6];
    await addFromLibrary(w, ['Add to playlist', 'Mix', 'Append']);
    assert.deepEqual(await host.titles(`playlists:pl/getitems/${plid}`), [media.tracks[0].title, w.title]);
    assert.match(await noteFor(w), /to Mix at position 2/);
  });

  test('a whole album is added in one go', async () => {
    const plid = await host.createPlaylist('Album copy');
    await page.locator('#pane-library .crumb').first().click();
    const album = media.chain[media.chain.length - 1];
    await row(page, 'library', album).locator('button[data-act="menu"]').click();
    await menuItem(page, 'Add to playlist').click();
    await menuItem(page, 'Album copy').click();
    await menuItem(page, 'Append').click();
    await until(async () => (await host.titles(`playlists:pl/getitems/${plid}`)).length > 1, { message: 'the album to arrive' });
    await page.locator('.toast', { hasText: /Added \d+ tracks to Album copy/ }).waitFor();
  });
});
