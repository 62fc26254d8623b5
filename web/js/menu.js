// Context menus. A menu is whatever rows its node returns, rendered by their type: action
// entries, input entries (a text field, or a switch for a boolean value), entries that
// open a further menu, headers and separators. Choosing an entry sends it to the entry's
// path; a failure is shown next to the entry; the menu closes when the answer says so.
import { getRows, setData, answerEvents, unwrapValue } from './api.js';
import { TYPE, escapeHtml } from './listview.js';
import { icon } from './icons.js';
import { eventCloses, eventCovers, parsePath } from './paths.js';
import { withPageEntries, exportMenu, download } from './playlistfiles.js';
import { setCollectionName } from './commands.js';

const ALL_ROWS = 499;

export class Menu {
  constructor(app) {
    this.app = app;
    this.levels = [];
    this.layer = document.createElement('div');
    this.layer.className = 'menu-layer';
    this.layer.hidden = true;
    this.layer.innerHTML = `<div class="menu" role="menu" tabindex="-1"><div class="menu-head"></div><div class="menu-items"></div></div>`;
    document.body.append(this.layer);
    this.box = this.layer.querySelector('.menu');
    this.head = this.layer.querySelector('.menu-head');
    this.items = this.layer.querySelector('.menu-items');
    this.layer.addEventListener('pointerdown', (e) => {
      if (e.target === this.layer) this.close();
    });
    this.box.addEventListener('keydown', (e) => this.onKey(e));
    document.addEventListener('keydown', (e) => {
      if (e.key === 'Escape' && this.isOpen && !this.box.contains(e.target)) {
        e.preventDefault();
        this.close();
      }
    });
    this.box.addEventListener('click', (e) => this.onClick(e));
    this.items.addEventListener('submit', (e) => this.onSubmit(e));
  }

  get isOpen() {
    return !this.layer.hidden;
  }

  get top() {
    return this.levels[this.levels.length - 1];
  }

  /**
   * Opens a menu. `menu` is { title, path } of a menu node, or { title, rows } made by the
   * page; `subject` is the row the menu is about (for notes and undo).
   */
  async open(menu, { anchor, point, subject, view } = {}) {
    this.close({ restore: false });
    this.restoreFocus = document.activeElement;
    this.subject = subject;
    this.view = view;
    this.anchor = anchor;
    this.point = point;
    this.layer.hidden = false;
    this.layer.classList.toggle('sheet', window.innerWidth < 640);
    await this.push(menu);
  }

  async push(menu) {
    const level = { title: menu.title ?? '', path: menu.path ?? '', rows: menu.rows ?? null, messages: new Map(), synthetic: !!menu.rows };
    this.levels.push(level);
    this.render();
    // The menu takes the keys at once: a key pressed while its rows load (Left to go back,
    // Escape) reaches it instead of the page behind.
    this.focusFirst();
    if (!level.rows) {
      await this.load(level);
      if (level === this.top) this.focusFirst();
    }
  }

  async load(level) {
    const answer = await getRows(level.path, 0, ALL_ROWS);
    if (!this.levels.includes(level)) return;
    if (answer.error) {
      level.rows = [];
      level.error = answer.error.message;
    } else {
      level.rows = withPageEntries(level.path, answer.rows ?? [], this.subject);
      level.error = null;
      if (answer.title && !level.title) level.title = answer.title;
    }
    if (level === this.top) this.render();
  }

  pop() {
    if (this.levels.length <= 1) return this.close();
    this.levels.pop();
    this.render();
    this.focusFirst();
  }

  close({ restore = true } = {}) {
    if (this.layer.hidden) return;
    this.layer.hidden = true;
    this.levels = [];
    this.items.replaceChildren();
    if (restore && this.restoreFocus && this.restoreFocus.isConnected) this.restoreFocus.focus({ preventScroll: true });
  }

  // ---- rendering -----------------------------------------------------------------

  render() {
    const level = this.top;
    if (!level) return;
    const back = this.levels.length > 1
      ? `<button type="button" class="icon-btn menu-back" aria-label="Back to ${escapeHtml(this.levels[this.levels.length - 2].title)}">${icon('back')}</button>`
      : '';
    // The first menu is named after the row it belongs to; its own title says what it is.
    const first = this.levels.length === 1 && this.subject && this.subject.title && this.subject.title !== level.title;
    const title = first ? this.subject.title : level.title;
    const caption = first && level.title ? `<span class="menu-caption">${escapeHtml(level.title)}</span>` : '';
    this.head.innerHTML = `${back}<span class="menu-title" id="menu-title"><span class="menu-name">${escapeHtml(title)}</span>${caption}</span><button type="button" class="icon-btn menu-close" aria-label="Close menu">${icon('close')}</button>`;
    this.box.setAttribute('aria-labelledby', 'menu-title');
    if (!level.rows) {
      this.items.innerHTML = '<div class="menu-note" role="status">Loading…</div>';
    } else if (level.error) {
      this.items.innerHTML = `<div class="menu-note error" role="alert">${escapeHtml(level.error)}</div>`;
    } else if (!level.rows.length) {
      this.items.innerHTML = '<div class="menu-note">No entries.</div>';
    } else {
      this.items.innerHTML = level.rows.map((row, i) => renderEntry(row, i, level.messages.get(i))).join('');
    }
    this.place();
  }

  place() {
    if (this.layer.classList.contains('sheet')) {
      this.box.style.left = this.box.style.top = '';
      return;
    }
    const box = this.box.getBoundingClientRect();
    let x;
    let y;
    if (this.point) {
      x = this.point.x;
      y = this.point.y;
    } else if (this.anchor && this.anchor.isConnected) {
      const r = this.anchor.getBoundingClientRect();
      x = r.right - box.width;
      y = r.bottom;
      if (y + box.height > window.innerHeight - 8) y = r.top - box.height;
    } else {
      x = (window.innerWidth - box.width) / 2;
      y = (window.innerHeight - box.height) / 3;
    }
    x = Math.max(8, Math.min(x, window.innerWidth - box.width - 8));
    y = Math.max(8, Math.min(y, window.innerHeight - box.height - 8));
    this.box.style.left = `${x}px`;
    this.box.style.top = `${y}px`;
  }

  entries() {
    return [...this.items.querySelectorAll('[role^="menuitem"], .menu-input input')];
  }

  /** The first entry that acts gets focus; a text field only when there is nothing else. */
  focusFirst() {
    const first = this.items.querySelector('[role^="menuitem"]') ?? this.entries()[0];
    (first ?? this.box).focus();
  }

  focusEntry(i) {
    const entry = this.items.querySelector(`[data-i="${i}"]`);
    (entry && entry.tagName === 'FORM' ? entry.querySelector('input') : entry)?.focus();
  }

  // ---- input ---------------------------------------------------------------------

  onClick(event) {
    if (event.target.closest('.menu-close')) return this.close();
    if (event.target.closest('.menu-back')) return this.pop();
    const item = event.target.closest('[data-i]');
    if (!item || item.tagName === 'FORM' || event.target.closest('form')) return;
    this.choose(Number(item.dataset.i));
  }

  onSubmit(event) {
    event.preventDefault();
    const form = event.target.closest('form[data-i]');
    if (form) this.choose(Number(form.dataset.i), form.querySelector('input').value);
  }

  onKey(event) {
    const inInput = event.target.tagName === 'INPUT';
    const entries = this.entries();
    const at = entries.indexOf(event.target.closest('[role^="menuitem"]') ?? event.target);
    const go = (i) => {
      event.preventDefault();
      if (entries.length) entries[(i + entries.length) % entries.length].focus();
    };
    switch (event.key) {
      case 'Escape':
        event.preventDefault();
        event.stopPropagation();
        return this.close();
      case 'ArrowDown': return go(at + 1);
      case 'ArrowUp': return go(at - 1);
      case 'Home': if (!inInput) go(0); return;
      case 'End': if (!inInput) go(entries.length - 1); return;
      case 'ArrowRight':
        if (!inInput && event.target.getAttribute('aria-haspopup')) {
          event.preventDefault();
          this.choose(Number(event.target.dataset.i));
        }
        return;
      case 'ArrowLeft':
      case 'Backspace':
        if (!inInput || (event.altKey && event.key === 'ArrowLeft')) {
          event.preventDefault();
          this.pop();
        }
        return;
      case 'Tab': {
        event.preventDefault();
        const focusables = [...this.box.querySelectorAll('button, input')];
        const i = focusables.indexOf(document.activeElement);
        focusables[(i + (event.shiftKey ? -1 : 1) + focusables.length) % focusables.length]?.focus();
        return;
      }
      default:
    }
  }

  /** Acts on entry i of the top menu; `text` is the value of a text entry. */
  async choose(i, text) {
    const level = this.top;
    const row = level && level.rows && level.rows[i];
    if (!row || row.type === TYPE.header || row.type === TYPE.separator) return;
    if (row.page) return this.choosePage(row);
    if (row.type === TYPE.container && row.path) {
      await this.push({ title: row.title, path: row.path });
      return;
    }
    let value;
    if (row.type === TYPE.input) {
      const current = unwrapValue(row.value);
      value = typeof current === 'boolean' ? !current : text ?? String(current ?? '');
    }
    const chain = this.levels.map((l) => l.title).concat(row.title);
    const context = { row, level, chain, subject: this.subject, view: this.view, value };
    const before = await this.app.beforeMenuAction(context);
    if (before === false) return;
    const sentAt = performance.now();
    const answer = await setData(row.path, value);
    if (answer.error) {
      level.messages.set(i, { text: answer.error.message, kind: 'error' });
      if (level === this.top) {
        this.render();
        this.focusEntry(i);
      }
      this.app.announce(answer.error.message);
      return;
    }
    // An answer that names menus to close is followed; without one, an action entry is done
    // and closes the menu, while an input entry (a name, a switch) leaves it open.
    const events = answerEvents(answer);
    const closes = events.length
      ? events.some((e) => (e.rowsType ?? 1) === 1 && this.levels.some((l) => !e.path || (l.path && eventCovers(e.path, l.path))))
      : row.type !== TYPE.input;
    if (closes) {
      this.close();
    } else if (this.levels.includes(level)) {
      if (row.type === TYPE.input) row.value = wrapLike(row.value, value);
      level.messages.set(i, { text: row.type === TYPE.input ? 'Saved.' : 'Done.', kind: 'ok' });
      if (level === this.top) {
        this.render();
        this.focusEntry(i);
      }
    }
    this.app.afterMenuAction({ ...context, answer, sentAt, before });
  }

  /** The entries the page adds itself: they send nothing to the menu's node. */
  async choosePage(row) {
    if (row.page === 'export') return this.push(exportMenu(row.plid));
    if (row.page === 'download') {
      download(row.url);
      this.close();
      this.app.announce(`Exported as ${row.title}.`);
    } else if (row.page === 'rename') {
      this.close();
      const send = row.clid !== undefined ? (text) => setCollectionName(row.clid, text) : (text) => setData(row.namePath, text);
      await this.app.editing.renameWith(row.name, send);
    }
  }

  // ---- live updates --------------------------------------------------------------

  onEvent(event) {
    if (!this.isOpen || typeof event.path !== 'string') return;
    if (event.change === 'close' && this.levels.some((l) => l.path && eventCloses(event.path, l.path))) {
      this.close();
      return;
    }
    if (event.change === 'reset' || event.change === 'rows') {
      for (const level of this.levels) {
        if (!level.synthetic && level.path && eventCovers(event.path, parsePath(level.path).base)) this.reload(level);
      }
    }
  }

  async reload(level) {
    const focusedIndex = document.activeElement?.closest?.('[data-i]')?.dataset.i;
    const editing = document.activeElement?.tagName === 'INPUT';
    await this.load(level);
    if (level === this.top && !editing && focusedIndex !== undefined) this.focusEntry(focusedIndex);
  }

  resync() {
    for (const level of this.levels) if (!level.synthetic) this.reload(level);
  }
}

function wrapLike(old, value) {
  if (old && typeof old === 'object' && typeof old.type === 'string') return { ...old, [old.type]: value };
  return value;
}

function renderEntry(row, i, message) {
  const title = escapeHtml(row.title ?? '');
  const msg = message ? `<div class="menu-msg ${message.kind}" role="${message.kind === 'error' ? 'alert' : 'status'}">${escapeHtml(message.text)}</div>` : '';
  switch (row.type) {
    case TYPE.header:
      return `<div class="menu-header" role="presentation">${title}</div>`;
    case TYPE.separator:
      return '<div class="menu-sep" role="separator"></div>';
    case TYPE.container:
      return `<button type="button" class="menu-item" role="menuitem" aria-haspopup="menu" data-i="${i}" tabindex="-1"><span>${title}</span>${icon('chevron')}</button>${msg}`;
    case TYPE.input: {
      const value = unwrapValue(row.value);
      if (typeof value === 'boolean') {
        return `<button type="button" class="menu-item switch" role="menuitemcheckbox" aria-checked="${value}" data-i="${i}" tabindex="-1"><span>${title}</span><span class="switch-track" aria-hidden="true"><span class="switch-thumb"></span></span></button>${msg}`;
      }
      const id = `menu-input-${i}`;
      return `<form class="menu-input" role="group" aria-labelledby="${id}-l" data-i="${i}"><label id="${id}-l" for="${id}">${title}</label><span class="menu-input-row"><input id="${id}" type="text" autocomplete="off" enterkeyhint="done" value="${escapeHtml(value ?? '')}"><button type="submit" class="small">Set</button></span></form>${msg}`;
    }
    default:
      return `<button type="button" class="menu-item" role="menuitem" data-i="${i}" tabindex="-1"><span>${title}</span></button>${msg}`;
  }
}
