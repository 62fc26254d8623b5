// Browsing and menus: the tree under "playlists:" and the media library side by side,
// creating a playlist through its input row, renaming through the menu, and menus that
// render every row type of the node they open.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, rows, menu, menuItem, menuField, openChain, PHONE, until } from './lib/browser.mjs';

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

describe('browsing', () => {
  test('both trees are shown side by side, and a breadcrumb leads back', async () => {
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Create New Playlist').waitFor();
    const { chain, tracks } = await host.mediaTracks(3);
    await row(page, 'library', chain[0]).waitFor();
    const left = await page.locator('#pane-playlists').boundingBox();
    const right = await page.locator('#pane-library').boundingBox();
    assert.ok(right.x >= left.x + left.width - 1, 'the library stands beside the playlists');

    await openChain(page, 'library', chain);
    await row(page, 'library', tracks[0].title).waitFor();
    await page.locator('#pane-library .crumb').first().click();
    await row(page, 'library', chain[0]).waitFor();
    assert.equal(await page.locator('#pane-library .crumbs').isHidden(), true);
    await page.close();
  });

  test('on a phone one column shows at a time and the tabs switch between them', async () => {
    const page = await browser.page(host.url, PHONE);
    await row(page, 'playlists', 'Create New Playlist').waitFor();
    assert.equal(await page.locator('#pane-library').isHidden(), true);
    await page.getByRole('tab', { name: 'Library' }).click();
    assert.equal(await page.locator('#pane-playlists').isHidden(), true);
    assert.equal(await page.locator('#pane-library').isVisible(), true);
    const box = await page.locator('#pane-library').boundingBox();
    assert.ok(box.width <= PHONE.width, 'the column fits the screen');
    await page.close();
  });
});

describe('creating and renaming', () => {
  test('the input row creates a playlist, which appears focused in the list', async () => {
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Create New Playlist').click();
    const field = page.locator('#pane-playlists .inline-edit input');
    await field.fill('Evening');
    await field.press('Enter');
    await row(page, 'playlists', 'Evening').waitFor();
    await until(async () => (await page.locator('#pane-playlists [role="option"].focused .title').textContent()) === 'Evening', { message: 'focus on the new playlist' });
    assert.ok((await host.titles('playlists:')).includes('Evening'));
    await page.close();
  });

  test('an empty name is refused with the module\'s message and nothing is created', async () => {
    const page = await browser.page(host.url);
    const before = await host.titles('playlists:');
    await row(page, 'playlists', 'Create New Playlist').click();
    await page.locator('#pane-playlists .inline-edit input').press('Enter');
    await page.locator('.toast.error', { hasText: 'non-empty' }).waitFor();
    assert.deepEqual(await host.titles('playlists:'), before);
    await page.close();
  });

  test('rename through the menu keeps the menu open and renames the row everywhere', async () => {
    await host.createPlaylist('Draft');
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Draft').click({ button: 'right' });
    await menu(page).waitFor();
    const field = menuField(page, 'Rename');
    await field.fill('Final');
    await field.press('Enter');
    await menu(page).locator('.menu-msg.ok').waitFor();
    assert.equal(await menu(page).isVisible(), true, 'a rename leaves the menu open');
    await row(page, 'playlists', 'Final').waitFor();
    assert.equal(await row(page, 'playlists', 'Draft').count(), 0);
    await page.keyboard.press('Escape');
    await page.close();
  });
});

describe('menus', () => {
  test('a playlist menu shows actions, switches, a further menu and a separator', async () => {
    await host.createPlaylist('Kinds');
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Kinds').locator('button[data-act="menu"]').click();
    await menuItem(page, 'Play').waitFor();
    assert.equal(await menu(page).locator('[role="menuitemcheckbox"]').count(), 2, 'shuffle and repeat are switches');
    assert.equal(await menu(page).locator('[role="separator"]').count() >= 1, true);
    assert.equal(await menuItem(page, 'Merge with playlist').getAttribute('aria-haspopup'), 'menu');

    const shuffle = menu(page).locator('[role="menuitemcheckbox"]').first();
    await shuffle.click();
    await until(async () => (await shuffle.getAttribute('aria-checked')) === 'true', { message: 'shuffle switched on' });
    await menuItem(page, 'Merge with playlist').click();
    await menu(page).locator('.menu-back').waitFor();
    await page.keyboard.press('ArrowLeft');
    await menuItem(page, 'Play').waitFor();
    await page.keyboard.press('Escape');
    assert.equal(await menu(page).count(), 0);
    await page.close();
  });

  test('a failed entry shows its message next to the entry and the menu stays', async () => {
    await host.createPlaylist('Empty one');
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Empty one').click({ button: 'right' });
    await menuItem(page, 'Play').click();
    const message = menu(page).locator('.menu-msg.error');
    await message.waitFor();
    assert.match(await message.textContent(), /no items/i);
    await page.close();
  });

  test('deleting a playlist closes its menu and its open view', async () => {
    await host.createPlaylist('Short lived');
    const page = await browser.page(host.url);
    await openChain(page, 'playlists', ['Short lived']);
    await page.locator('#pane-playlists .view-actions button[data-act="menu"]').click();
    await menuItem(page, 'Delete playlist').click();
    await until(async () => (await menu(page).count()) === 0, { message: 'the menu to close' });
    await page.locator('#pane-playlists .view-title', { hasText: 'Playlists' }).waitFor();
    await until(async () => (await rows(page, 'playlists').filter({ hasText: 'Short lived' }).count()) === 0, { message: 'the row to go' });
    await page.close();
  });
});

describe('pictures', () => {
  test('a row shows its picture, and one whose picture fails to load looks as a row without one', async () => {
    const { tracks } = await host.mediaTracks(1);
    assert.match(tracks[0].icon ?? '', /^\/api\/art\?path=/, 'demo tracks carry a picture');
    const plid = await host.createPlaylist('Pictures');
    const broken = { ...tracks[0], title: 'Broken picture', icon: '/api/art?path=media%3Atrack%2F999999' };
    delete broken.path;
    delete broken.id;
    const added = await host.set('playlists:pl/addexternalitems', {
      plid,
      mode: 2,
      items: [{ title: broken.title, url: broken.mediaData.resources[0].uri, serviceId: '', keloRoles: JSON.stringify(broken) }],
    });
    assert.ok(!added.error, added.error?.message);
    await host.addByPath(plid, [tracks[0].path]);

    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Pictures').click();
    const good = row(page, 'playlists', tracks[0].title).locator('img.row-art');
    await until(async () => good.evaluate((img) => img.complete && img.naturalWidth > 0).catch(() => false), { message: 'the picture loaded' });
    await row(page, 'playlists', 'Broken picture').waitFor();
    await until(async () => (await row(page, 'playlists', 'Broken picture').locator('img').count()) === 0, { message: 'the broken picture is gone' });
    assert.ok(await row(page, 'playlists', 'Broken picture').locator('.lead .num').isVisible(), 'its number shows as before');
    await page.close();
  });
});
