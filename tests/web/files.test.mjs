// Playlist files on the page: importing through the picker and by dropping a file, exporting
// from a playlist's menu, and "Rename…" in the menus of playlists and collections and in an open
// list's header menu.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, rows, menu, menuItem, until } from './lib/browser.mjs';

let host;
let browser;
before(async () => {
  host = await startHost();
  browser = await launch();
});
after(async () => {
  await browser?.close();
  await host?.close();
});

const M3U = '#EXTM3U\r\n#EXTINF:200,Somebody - First\r\ndemo://track/3\r\nNowhere/Song.mp3\r\n#EXTINF:-1,Night Call\r\nhttps://radio.example/night.mp3\r\n';

describe('import', () => {
  test('a picked file becomes a playlist that opens, with a note of what was added and what was not found', async () => {
    const page = await browser.page(host.url);
    const chooser = page.waitForEvent('filechooser');
    await page.getByRole('button', { name: 'Import playlist…' }).click();
    await (await chooser).setFiles({ name: 'Road Trip.m3u8', mimeType: 'audio/x-mpegurl', buffer: Buffer.from(M3U) });
    await page.locator('#pane-playlists .view-title', { hasText: 'Road Trip' }).waitFor();
    await row(page, 'playlists', 'Night Call').waitFor();
    assert.equal(await rows(page, 'playlists').count(), 2);
    const note = page.locator('.toast', { hasText: 'Imported “Road Trip”' });
    await note.waitFor();
    const text = await note.textContent();
    assert.match(text, /2 entries added/);
    assert.match(text, /1 not found \(line 4: Nowhere\/Song\.mp3\)/);
    await page.close();
  });

  test('a dropped file is imported too, and a file that is no playlist is refused with the reason', async () => {
    const page = await browser.page(host.url);
    const before = await host.titles('playlists:');
    const drop = async (name, text) => {
      const transfer = await page.evaluateHandle(([n, t]) => {
        const data = new DataTransfer();
        data.items.add(new File([t], n));
        return data;
      }, [name, text]);
      await page.locator('#pane-playlists').dispatchEvent('dragover', { dataTransfer: transfer });
      await page.locator('#pane-playlists').dispatchEvent('drop', { dataTransfer: transfer });
    };
    await drop('notes.txt', 'Remember the milk.\nAnd the bread.');
    await page.locator('.toast.error', { hasText: 'notes.txt' }).waitFor();
    assert.deepEqual(await host.titles('playlists:'), before, 'nothing was created');

    await drop('Dropped.pls', '[playlist]\nFile1=demo://track/5\nFile3=demo://track/6\nNumberOfEntries=2\nVersion=2\n');
    await page.locator('#pane-playlists .view-title', { hasText: 'Dropped' }).waitFor();
    await until(async () => (await rows(page, 'playlists').count()) === 2, { message: 'two dropped entries shown' });
    await page.close();
  });
});

describe('export and rename', () => {
  test('"Export…" in a playlist\'s menu downloads it in the chosen format', async () => {
    const plid = await host.createPlaylist('Mix: Süd');
    await host.addByPath(plid, ['media:track/1', 'media:track/2']);
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Mix: Süd').click({ button: 'right' });
    await menuItem(page, 'Export…').click();
    const downloading = page.waitForEvent('download');
    await menuItem(page, 'XSPF (.xspf)').click();
    const download = await downloading;
    assert.equal(download.suggestedFilename(), 'Mix_ Süd.xspf');
    const chunks = [];
    for await (const chunk of await download.createReadStream()) chunks.push(chunk);
    const text = Buffer.concat(chunks).toString('utf8');
    assert.match(text, /<location>demo:\/\/track\/1<\/location>[\s\S]*<location>demo:\/\/track\/2<\/location>/);
    await page.close();
  });

  test('"Rename…" asks for the name in the row\'s menu and in the open list\'s header menu', async () => {
    await host.createPlaylist('Draft One');
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Draft One').click({ button: 'right' });
    await menuItem(page, 'Rename…').click();
    const dialog = page.locator('#ask');
    await dialog.locator('input').fill('Final One');
    await dialog.getByRole('button', { name: 'OK' }).click();
    await row(page, 'playlists', 'Final One').waitFor();

    await row(page, 'playlists', 'Final One').click();
    await page.locator('#pane-playlists .view-title', { hasText: 'Final One' }).waitFor();
    await page.getByRole('button', { name: 'Menu for Final One' }).click();
    await menuItem(page, 'Rename…').click();
    await dialog.locator('input').fill('Last One');
    await dialog.getByRole('button', { name: 'OK' }).click();
    await until(async () => (await host.titles('playlists:')).includes('Last One'), { message: 'renamed from the header menu' });
    await page.locator('#pane-playlists .view-title', { hasText: 'Last One' }).waitFor();
    await page.locator('#pane-playlists .back').click();
    await row(page, 'playlists', 'Last One').waitFor();
    assert.equal(await menu(page).count(), 0, 'the menu closed for the dialog');
    await page.close();
  });

  test('"Rename…" in a collection\'s menus renames it, and its open list\'s head follows', async () => {
    const answer = await host.set('playlists:cl/create', { name: 'Shelf A' });
    assert.ok(!answer.error, answer.error?.message);
    const page = await browser.page(host.url);
    const dialog = page.locator('#ask');
    await row(page, 'playlists', 'Shelf A').click({ button: 'right' });
    await menuItem(page, 'Rename…').click();
    await dialog.locator('input').fill('Shelf B');
    await dialog.getByRole('button', { name: 'OK' }).click();
    await row(page, 'playlists', 'Shelf B').waitFor();
    assert.ok((await host.titles('playlists:')).includes('Shelf B'));

    await row(page, 'playlists', 'Shelf B').click();
    await page.locator('#pane-playlists .view-title', { hasText: 'Shelf B' }).waitFor();
    await page.getByRole('button', { name: 'Menu for Shelf B' }).click();
    await menuItem(page, 'Rename…').click();
    await dialog.locator('input').fill('Shelf C');
    await dialog.getByRole('button', { name: 'OK' }).click();
    await page.locator('#pane-playlists .view-title', { hasText: 'Shelf C' }).waitFor();
    assert.ok((await host.titles('playlists:')).includes('Shelf C'));
    await page.close();
  });
});
