// The module's command paths (the table in docs/api.md) and the records they take.
// Browse rows and menus send most commands themselves; the page sends these directly
// only where a person edits several tracks at once or where an undo reverses a change.
import { setData, getRows } from './api.js';

export const MODULE_PREFIX = 'playlists';
export const ADD_MODE_MENU = 'playlists:pl/selectaddmode';
export const ADD_TO_PLAYLIST_MENU = 'playlists:pl/addtoplaylist';
export const PREPARE_ITEMS = 'playlists:prepareItems';
export const PLAY_QUEUE_ID = 0;

export const removeItems = (plid, items) => setData('playlists:pl/removeitems', { plid, items });
export const moveItems = (plid, items, to) => setData('playlists:pl/moveitems', { plid, items, to });
export const createPlaylist = (name) => setData('playlists:pl/create', { name });
export const setCollectionName = (clid, name) => setData('playlists:cl/setname', { clid, name });

/** Adds finished items (appended when mode is 2), in batches the host takes easily. */
export async function addExternalItems(plid, items, mode = 2, batch = 1000) {
  for (let from = 0; from < items.length; from += batch) {
    const answer = await setData('playlists:pl/addexternalitems', {
      plid,
      items: items.slice(from, from + batch),
      mode,
    });
    if (answer.error) return answer;
  }
  return { value: true };
}

/** The roles of one track as the module stores them, without what it puts on every row. */
export function itemFromRoles(roles) {
  const stored = { ...roles };
  for (const key of ['id', 'value', 'path', 'context']) delete stored[key];
  const resources = roles.mediaData && Array.isArray(roles.mediaData.resources) ? roles.mediaData.resources : [];
  return {
    title: roles.title ?? '',
    artist: roles.artist ?? '',
    album: roles.album ?? '',
    artworkUrl: roles.artworkUrl ?? '',
    genre: roles.genre ?? '',
    durationSeconds: Number(roles.duration) || 0,
    url: resources.length ? resources[0].uri ?? '' : '',
    serviceId: roles.serviceId ?? '',
    keloRoles: JSON.stringify(stored),
  };
}

/** Full roles of rows first..last of a list, fetched in pages. */
export async function fetchAllRoles(path, first, last, page = 500) {
  const rows = [];
  for (let from = first; from <= last; from += page) {
    const answer = await getRows(path, from, Math.min(last, from + page - 1));
    if (answer.error) return answer;
    rows.push(...(answer.rows ?? []));
  }
  return { rows };
}

/** The add menus of the module for a row of another service (the media library). */
export function addMenuFor(row) {
  const item = encodeURIComponent(row.path);
  return {
    title: row.title,
    path: '',
    rows: [
      {
        title: 'Add to play queue',
        type: 1,
        containerType: 100,
        path: `${ADD_MODE_MENU}?action=cmnode&fromplid=-1&itemid=${item}&plid=${PLAY_QUEUE_ID}`,
      },
      {
        title: 'Add to playlist',
        type: 1,
        containerType: 100,
        path: `${ADD_TO_PLAYLIST_MENU}?action=cmnode&fromplid=-1&itemid=${item}&preparepath=${encodeURIComponent(PREPARE_ITEMS)}`,
      },
    ],
  };
}
