// Playlist files on the page: importing through the picker and by dropping a file, exporting
// from a playlist's menu, and "Rename…" in the menus of playlists and collections and in an open
// list's header menu.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, row, rows, menu, menuItem, openChain, toast, viewTitle, until } from './lib/browser.mjs';

const { host, open } = useHostAndBrowser();

const M3U = '#EXTM3U\r\n#EXTINF:200,Somebody - First\r\ndemo://track/3\r\nNowhere/Song.mp3\r\n#EXTINF:-1,Night Call\r\nhttps://radio.example/night.mp3\r\n';

test('importing: a picked file becomes a playlist that opens, with a note of what was added and what was not found', async () => {
  const page = await open();
  const chooser = page.waitForEvent('filechooser');
  await page.getByRole('button', { name: 'Import playlist…' }).click();
  await (await chooser).setFiles({ name: 'Road Trip.m3u8', mimeType: 'audio/x-mpegurl', buffer: Buffer.from(M3U) });
  await viewTitle(page, 'Road Trip').waitFor();
  await row(page, 'playlists', 'Night Call').waitFor();
  const note = toast(page, 'Imported “Road Trip”');
  await note.waitFor();
  assert.match(await note.textContent(), /2 entries added\. 1 not found \(line 4: Nowhere\/Song\.mp3\)/);
});

test('importing: a dropped file is imported too, and a file that is no playlist is refused with the reason', async () => {
  const page = await open();
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
  await viewTitle(page, 'Dropped').waitFor();
  await until(async () => (await rows(page, 'playlists').count()) === 2, { message: 'two dropped entries shown' });
});

test('"Export…" in a playlist\'s menu downloads it in the chosen format', async () => {
  await host.createPlaylist('Mix: Süd', ['media:track/1', 'media:track/2']);
  const page = await open();
  await row(page, 'playlists', 'Mix: Süd').click({ button: 'right' });
  await menuItem(page, 'Export…').click();
  const downloading = page.waitForEvent('download');
  await menuItem(page, 'XSPF (.xspf)').click();
  const download = await downloading;
  assert.equal(download.suggestedFilename(), 'Mix_ Süd.xspf');
  const chunks = [];
  for await (const chunk of await download.createReadStream()) chunks.push(chunk);
  assert.match(Buffer.concat(chunks).toString('utf8'), /<location>demo:\/\/track\/1<\/location>[\s\S]*<location>demo:\/\/track\/2<\/location>/);
});

// A playlist is renamed through its own name field, a collection through the collection's command.
test('"Rename…" asks for the name: a playlist\'s in its row menu, a collection\'s in its open list\'s header menu', async () => {
  await host.createPlaylist('Playlist A');
  await host.command('playlists:cl/create', { name: 'Collection A' });
  const page = await open();
  const rename = async (to) => {
    await menuItem(page, 'Rename…').click();
    await page.locator('#ask input').fill(to);
    await page.locator('#ask').getByRole('button', { name: 'OK' }).click();
  };
  await row(page, 'playlists', 'Playlist A').click({ button: 'right' });
  await rename('Playlist B');
  await openChain(page, 'playlists', ['Collection A']);
  await page.getByRole('button', { name: 'Menu for Collection A' }).click();
  await rename('Collection B');
  await viewTitle(page, 'Collection B').waitFor();
  assert.equal(await menu(page).count(), 0, 'the menu closed for the dialog');
  const titles = await host.titles('playlists:');
  assert.ok(['Playlist B', 'Collection B'].every((t) => titles.includes(t)) && !titles.includes('Playlist A'), JSON.stringify(titles));
});
