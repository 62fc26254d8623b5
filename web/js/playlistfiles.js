// Playlist files in and out of the device, and the entries the page adds to the module's
// playlist menus ("Rename…", the module's own name field asked in a dialog, and "Export…") and
// collection menus ("Rename…", sent as the collection's rename command).
import { TYPE } from './listview.js';
import { unwrapValue } from './api.js';
import { param } from './paths.js';

export const FORMATS = [
  { name: 'm3u8', title: 'M3U (.m3u8)' },
  { name: 'pls', title: 'PLS (.pls)' },
  { name: 'xspf', title: 'XSPF (.xspf)' },
];

export const ACCEPTED_FILES = '.m3u,.m3u8,.pls,.xspf,audio/x-mpegurl,audio/mpegurl,audio/x-scpls,application/xspf+xml';

const PLAYLIST_MENU = /^playlists:(pl|pq)\/contextmenu(\?|$)/;
const COLLECTION_MENU = /^playlists:cl\/contextmenu(\?|$)/;

export function exportUrl(plid, format) {
  return `api/export?plid=${encodeURIComponent(plid)}&format=${encodeURIComponent(format)}`;
}

/** A playlist's name from its file's name: "Road Trip.m3u8" gives "Road Trip". */
export function nameFromFileName(fileName) {
  const name = fileName.replace(/\.[^.]*$/, '').trim();
  return name || 'Imported playlist';
}

/**
 * Sends a file to be imported as playlist `name`. Always as application/octet-stream: browsers
 * name playlist files text/plain or nothing, and the host takes neither (they need no preflight).
 * Resolves with the host's answer or { error: { message } }.
 */
export async function importPlaylistFile(file, name) {
  let response;
  try {
    response = await fetch(`api/import?name=${encodeURIComponent(name)}`, {
      method: 'POST',
      headers: { 'Content-Type': 'application/octet-stream' },
      body: file,
    });
  } catch (err) {
    return { error: { message: `The device cannot be reached (${err.message}).` } };
  }
  let answer = {};
  try {
    answer = await response.json();
  } catch {
    answer = {};
  }
  if (answer.error) return { error: { message: answer.error.message || 'The import failed.' } };
  if (!response.ok) return { error: { message: `The device answered ${response.status}.` } };
  return answer;
}

/** What an import did, for a person: how many were added, which were not found and where. */
export function importNote(name, answer) {
  const added = answer.added ?? 0;
  const missing = Array.isArray(answer.missing) ? answer.missing : [];
  let note = `Imported “${name}”: ${added} ${added === 1 ? 'entry' : 'entries'} added.`;
  if (missing.length) {
    const shown = missing.slice(0, 5).map((m) => `line ${m.line}: ${m.entry}`).join('; ');
    const more = missing.length > 5 ? `; and ${missing.length - 5} more` : '';
    note += ` ${missing.length} not found (${shown}${more}).`;
  }
  if (answer.stopped) note += ` Stopped early: ${answer.stopped}`;
  return note;
}

/**
 * The module's rows of a menu, with the page's entries after them when it is a playlist's menu
 * ("Rename…" where the menu has the module's name field, and "Export…") or a collection's menu
 * ("Rename…", named after `subject`, the row the menu is about).
 */
export function withPageEntries(path, rows, subject) {
  if (COLLECTION_MENU.test(path ?? '')) {
    const clid = Number(param(path, 'clid'));
    // The module's menu of a collection that is gone is empty: nothing to rename then.
    if (!rows.length || !Number.isInteger(clid) || !subject?.title) return rows;
    return rows.concat([
      { title: '', type: TYPE.separator, page: 'separator' },
      { title: 'Rename…', type: TYPE.action, page: 'rename', clid, name: subject.title },
    ]);
  }
  if (!PLAYLIST_MENU.test(path ?? '')) return rows;
  const plid = Number(param(path, 'plid') ?? 0);
  const nameField = rows.find((r) => r.type === TYPE.input && typeof unwrapValue(r.value) === 'string');
  const added = [{ title: '', type: TYPE.separator, page: 'separator' }];
  if (nameField) added.push({ title: 'Rename…', type: TYPE.action, page: 'rename', namePath: nameField.path, name: unwrapValue(nameField.value) });
  added.push({ title: 'Export…', type: TYPE.container, containerType: 100, page: 'export', plid });
  return rows.concat(added);
}

/** The menu of formats that "Export…" opens. */
export function exportMenu(plid) {
  return {
    title: 'Export',
    rows: FORMATS.map((f) => ({ title: f.title, type: TYPE.action, page: 'download', url: exportUrl(plid, f.name) })),
  };
}

/** Starts the browser's download of url. */
export function download(url) {
  const link = document.createElement('a');
  link.href = url;
  link.download = '';
  document.body.append(link);
  link.click();
  link.remove();
}
