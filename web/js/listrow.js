// The row template of a list: what one row shows for its type (header, separator, track, input,
// container, action), its buttons and its drag handle. Markup from the row and a few answers of
// the view (`view.look`: may it be played, does it have a menu); a row's picture, when it has
// one, is loaded lazily and removed again if it fails, leaving the row as it looks without one.
import { icon } from './icons.js';

export const TYPE = { container: 1, track: 3, input: 101, action: 102, header: 103, separator: 105 };

export function fillRow(el, row, index, state, view) {
  el.removeAttribute('aria-disabled');
  if (!row) {
    el.innerHTML = `<span class="lead">${index + 1}</span><span class="main"><span class="title skeleton"></span></span>`;
    el.setAttribute('aria-label', `Row ${index + 1}, loading`);
    return;
  }
  el.removeAttribute('aria-label');
  const title = escapeHtml(row.title ?? '');
  const type = row.type;
  if (type === TYPE.header) {
    el.setAttribute('aria-disabled', 'true');
    el.innerHTML = `<span class="main"><span class="title">${title}</span></span>`;
    return;
  }
  if (type === TYPE.separator) {
    el.setAttribute('aria-disabled', 'true');
    el.setAttribute('aria-label', 'Separator');
    el.innerHTML = '<hr>';
    return;
  }
  const buttons = [];
  const hasMenu = !!row.context || view.look.hasSyntheticMenu(view, row);
  let lead = '';
  let sub = '';
  let tail = '';
  if (type === TYPE.track) {
    const playing = state.includes('playing');
    lead = playing ? icon('note', 'Playing') : `<span class="num">${index + 1}</span>`;
    sub = [row.artist, row.album].filter(Boolean).map(escapeHtml).join(' · ');
    if (row.duration) tail = `<span class="dur">${formatTime(Number(row.duration) * 1000)}</span>`;
    if (view.look.canPlay(view, row)) buttons.push(`<button class="row-btn" data-act="play" tabindex="-1" aria-label="Play ${title}">${icon('play')}</button>`);
  } else if (type === TYPE.input) {
    lead = icon('plus');
  } else if (type === TYPE.container) {
    lead = row.containerPlayable ? icon('list') : icon('folder');
    sub = [row.artist, row.album].filter(Boolean).map(escapeHtml).join(' · ');
    tail = `<span class="chev">${icon('chevron')}</span>`;
  } else {
    lead = icon('chevron');
  }
  if (hasMenu) buttons.push(`<button class="row-btn" data-act="menu" tabindex="-1" aria-haspopup="menu" aria-label="Menu for ${title}">${icon('more')}</button>`);
  const art = (type === TYPE.track || type === TYPE.container) ? artOf(row) : '';
  const handle = view.editable && type === TYPE.track ? `<span class="handle" aria-hidden="true" title="Drag to move">${icon('handle')}</span>` : '';
  el.innerHTML = `${handle}<span class="lead">${lead}</span>${art}<span class="main"><span class="title">${title}</span>${sub ? `<span class="sub">${sub}</span>` : ''}</span>${tail}${buttons.join('')}`;
  const img = el.querySelector('img.row-art');
  if (img) img.addEventListener('error', () => img.remove(), { once: true });
}

/** The picture of a row with an `icon` address (as the host serves them), or ''. */
function artOf(row) {
  const url = typeof row.icon === 'string' ? row.icon.trim() : '';
  // Only addresses of this host or of the web: a picture is never a script.
  if (!url || !/^(\/(?!\/)|https?:\/\/)/i.test(url)) return '';
  return `<img class="row-art" src="${escapeHtml(url)}" alt="" loading="lazy" decoding="async" draggable="false">`;
}

export function escapeHtml(text) {
  return String(text).replace(/[&<>"']/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' }[c]));
}

export function formatTime(ms) {
  const total = Math.max(0, Math.floor((Number(ms) || 0) / 1000));
  const h = Math.floor(total / 3600);
  const m = Math.floor((total % 3600) / 60);
  const s = String(total % 60).padStart(2, '0');
  return h ? `${h}:${String(m).padStart(2, '0')}:${s}` : `${m}:${s}`;
}
