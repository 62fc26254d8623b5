// The page: two panes (the module's tree and the media library), the now-playing bar,
// menus, notes and announcements, wired to the events stream.
import { getRows, setData, answerResult } from './api.js';
import { LiveEvents } from './events.js';
import { Pane } from './pane.js';
import { Menu } from './menu.js';
import { PlayerBar } from './player.js';
import { UndoStack } from './undo.js';
import { Editing } from './editing.js';
import { TYPE } from './listview.js';
import { MODULE_PREFIX, addMenuFor } from './commands.js';
import { installKeys } from './keys.js';
import { parsePath, param } from './paths.js';
import { ACCEPTED_FILES, importPlaylistFile, importNote, nameFromFileName } from './playlistfiles.js';

/** A rows event that inserted rows ("+n"). */
const isInsert = (e) => e.change === 'rows' && Array.isArray(e.rows) && e.rows.some((r) => /^\+\d+$/.test(r));

class App {
  constructor() {
    this.announcer = document.getElementById('announcer');
    this.toastsEl = document.getElementById('toasts');
    this.statusEl = document.getElementById('live-status');
    this.undo = new UndoStack(this);
    this.editing = new Editing(this);
    this.menu = new Menu(this);
    this.player = new PlayerBar(document.getElementById('player'), this);
    this.panes = [
      new Pane(document.getElementById('pane-playlists'), { path: 'playlists:', title: 'Playlists', name: 'playlists' }, this),
      new Pane(document.getElementById('pane-library'), { path: 'media:', title: 'Library', name: 'library' }, this),
    ];
    this.live = new LiveEvents({
      onEvent: (event) => this.onEvent(event),
      onStatus: (up, back) => this.onLiveStatus(up, back),
      onResync: () => this.resync(),
    });
    installKeys(this);
    this.setupTabs();
    this.setupImport();
    this.live.start();
    this.player.refresh();
  }

  // ---- events ----------------------------------------------------------------------

  onEvent(event) {
    if (event.path === 'player:state' && event.change === 'value') {
      this.player.update(event.value);
      return;
    }
    for (const pane of this.panes) pane.onEvent(event);
    this.menu.onEvent(event);
  }

  onLiveStatus(up, back) {
    document.body.classList.toggle('offline', !up);
    if (!up) {
      this.statusEl.textContent = 'Connection lost. Reconnecting… Changes made elsewhere will show when it is back.';
      this.statusEl.className = 'live-status down';
    } else if (back) {
      this.statusEl.textContent = 'Reconnected. Everything shown is up to date again.';
      this.statusEl.className = 'live-status back';
      clearTimeout(this.statusTimer);
      this.statusTimer = setTimeout(() => {
        this.statusEl.textContent = '';
        this.statusEl.className = 'live-status';
      }, 4000);
    }
  }

  resync() {
    for (const pane of this.panes) pane.resync();
    this.menu.resync();
    this.player.refresh();
  }

  // ---- what list views ask of the page ------------------------------------------------

  /** What the lists ask about a row to draw it. */
  get listLook() {
    this.look ??= {
      isPlaying: (view, row) => this.isPlaying(view, row),
      canPlay: (view, row) => this.canPlay(view, row),
      hasSyntheticMenu: (view, row) => this.hasSyntheticMenu(view, row),
    };
    return this.look;
  }

  /** Subscribes the page to what a person does in a list of pane. */
  wireList(view, pane) {
    const on = (name, handler) => view.addEventListener(name, (e) => handler(e.detail));
    on('announce', ({ text }) => this.announce(text));
    on('count', () => {
      if (view === pane.current) {
        pane.renderCount();
        pane.find.soon(view);
      }
      pane.followTitles(view);
      this.afterRows(view);
    });
    on('selection', () => this.selectionChanged(view));
    on('activate', ({ index, el }) => this.activate(view, index, el));
    on('rowaction', ({ index, act, el }) => (act === 'play' ? this.play(view, index) : this.openRowMenu(view, index, el)));
    on('menu', ({ index, el, event }) => this.openRowMenu(view, index, el, event));
    on('edit', (edit) => this.edit(view, edit));
    on('back', () => pane.back());
    on('find', () => pane.find.open(view));
  }

  edit(view, { kind, delta, index, event }) {
    if (kind === 'moveBy') this.editing.moveBy(view, delta);
    else if (kind === 'moveTo') this.editing.moveToPosition(view);
    else if (kind === 'remove') this.editing.removeSelected(view);
    else if (kind === 'rename') this.editing.rename(view, index);
    else if (kind === 'drag') this.editing.startDrag(view, index, event);
  }

  paneOf(view) {
    return this.panes.find((pane) => pane.stack.includes(view));
  }

  selectionChanged(view) {
    const pane = this.paneOf(view);
    if (pane && pane.current === view) pane.renderSelection();
  }

  afterRows(view) {
    if (this.pendingFocus && this.pendingFocus.view === view) {
      const { match } = this.pendingFocus;
      for (const [index, row] of view.model.rows) {
        if (match(row)) {
          this.pendingFocus = null;
          view.setFocus(index, { align: 'center' });
          break;
        }
      }
    }
  }

  selectionTool(view, tool) {
    if (tool === 'up') this.editing.moveBy(view, -1);
    else if (tool === 'down') this.editing.moveBy(view, 1);
    else if (tool === 'moveto') this.editing.moveToPosition(view);
    else if (tool === 'remove') this.editing.removeSelected(view);
    else if (tool === 'clear') view.clearSelection();
  }

  viewAction(view, act, el) {
    if (act === 'import') return this.importInput.click();
    if (act === 'find') return this.paneOf(view)?.find.open(view);
    if (act === 'menu' && view.opener && view.opener.context) {
      this.menu.open({ title: view.opener.context.title || view.title, path: view.opener.context.path }, { anchor: el, subject: view.opener, view: this.parentView(view) });
    }
  }

  parentView(view) {
    const pane = this.paneOf(view);
    const level = pane ? pane.stack.indexOf(view) : -1;
    return level > 0 ? pane.stack[level - 1] : null;
  }

  // ---- rows ------------------------------------------------------------------------

  isPlaying(view, row) {
    const current = this.player.current;
    if (!current || row.type !== TYPE.track) return false;
    const track = current.track;
    if (row.path && track.path && row.path === track.path) return true;
    return row.id !== undefined && String(row.id) === String(track.id) && (!current.container.path || current.container.path === view.path);
  }

  canPlay(view, row) {
    if (row.type !== TYPE.track) return false;
    // Only what names a play logic can be played; the media library's tracks are added instead.
    const logicOf = (roles) => roles && roles.mediaData && roles.mediaData.metaData && roles.mediaData.metaData.playLogicPath;
    return !!(logicOf(view.nodeRoles) || logicOf(row));
  }

  hasSyntheticMenu(view, row) {
    return view.prefix !== MODULE_PREFIX && !row.context && !!row.path && (row.type === TYPE.track || row.type === TYPE.container);
  }

  activate(view, index, el) {
    const row = view.model.row(index);
    if (!row) return;
    const pane = this.paneOf(view);
    if (row.type === TYPE.container && row.containerType === 100) return this.openRowMenu(view, index, el);
    if (row.type === TYPE.container) return pane.open(row, { focus: true });
    if (row.type === TYPE.track) {
      if (this.canPlay(view, row)) return this.play(view, index);
      return this.openRowMenu(view, index, el);
    }
    if (row.type === TYPE.input) return this.fillInput(view, index, row);
    if (row.type === TYPE.action) return this.sendAction(row);
  }

  async fillInput(view, index, row) {
    const text = await view.editInline(index, { label: row.title, value: '' });
    if (text === null) return;
    const answer = await setData(row.path, text);
    if (answer.error) return this.toast(answer.error.message, { kind: 'error' });
    const uid = answerResult(answer);
    this.announce(`${row.title}: ${text} done.`);
    if (typeof uid === 'number' && uid > 0) {
      this.pendingFocus = { view, match: (r) => r.title === text && (r.path || '').match(new RegExp(`(/|=)${uid}$`)) };
      this.afterRows(view);
    }
  }

  async sendAction(row) {
    const answer = await setData(row.path);
    if (answer.error) this.toast(answer.error.message, { kind: 'error' });
  }

  openRowMenu(view, index, el, event) {
    const row = view.model.row(index);
    if (!row) return;
    const point = event ? { x: event.clientX, y: event.clientY } : null;
    if (row.context && row.context.path) {
      this.menu.open({ title: row.context.title || row.title, path: row.context.path }, { anchor: el, point, subject: row, view });
    } else if (this.hasSyntheticMenu(view, row)) {
      this.menu.open(addMenuFor(row), { anchor: el, point, subject: row, view });
    }
  }

  // ---- menus: notes and undo -------------------------------------------------------------

  async beforeMenuAction(context) {
    return this.editing.captureBefore(context);
  }

  async afterMenuAction({ answer, before, sentAt, chain, subject, row }) {
    if (answer.error) return;
    this.editing.offerUndoAfter(before);
    if (param(row.path, 'action') === 'rename' || row.type === TYPE.input) return;
    // The add's own rows event on its target list says where it landed; most menu entries add nothing.
    const event = await this.live.nextEvent(sentAt, isInsert, 1500);
    const note = event && this.whereAdded(event, subject, chain);
    if (note) {
      this.toast(note);
      this.announce(note);
    }
  }

  /** "Added “Song” to Mix at position 4", from the row events the add caused. */
  whereAdded(event, subject, chain) {
    const positions = event.rows.filter((r) => /^\+\d+$/.test(r)).map((r) => Number(r.slice(1)) + 1);
    const name = this.nameOfPath(event.path) ?? chain[chain.length - 2] ?? 'the list';
    const what = positions.length === 1 && subject ? `“${subject.title}”` : `${positions.length} tracks`;
    const where = positions.length === 1 ? `at position ${positions[0]}` : `at positions ${positions[0]}–${positions[positions.length - 1]}`;
    return `Added ${what} to ${name} ${where}.`;
  }

  nameOfPath(path) {
    for (const pane of this.panes) {
      for (const view of pane.stack) {
        if (view.path === path && view.title) return view.title;
        for (const row of view.model.rows.values()) if (row.path === path && row.title) return row.title;
      }
    }
    return undefined;
  }

  // ---- playing ---------------------------------------------------------------------

  async play(view, index) {
    const answer = await getRows(view.path, index, index);
    if (answer.error || !answer.rows || !answer.rows.length) {
      return this.toast(answer.error ? answer.error.message : 'This track is gone.', { kind: 'error' });
    }
    const containerRoles = {
      ...(answer.roles || {}),
      ...(view.opener || {}),
      title: view.title,
      path: view.path,
      type: TYPE.container,
      containerPlayable: true,
    };
    delete containerRoles.context;
    if (!containerRoles.mediaData && answer.roles && answer.roles.mediaData) containerRoles.mediaData = answer.roles.mediaData;
    const played = await setData('player:control', { control: 'playContainer', containerRoles, trackRoles: answer.rows[0], index });
    if (played.error) this.toast(played.error.message, { kind: 'error' });
  }

  playingChanged() {
    for (const pane of this.panes) pane.current.render();
  }

  jumpToPlaying() {
    const current = this.player.current;
    if (!current || !current.container.path) return this.announce('Nothing is playing.');
    const path = current.container.path;
    const pane = this.panes.find((p) => parsePath(p.stack[0].path).prefix === parsePath(path).prefix) ?? this.panes[0];
    const title = current.container.title || this.nameOfPath(path) || 'Playing';
    const view = pane.openFromRoot(path, title, current.container);
    this.showTab(pane.name);
    const key = current.track.id !== undefined ? `id:${current.track.id}` : undefined;
    view.focus = { index: Number(current.index) || 0, key };
    view.revealFocus = true;
    view.setFocus(Number(current.index) || 0, { align: 'center' });
    if (key) view.focus.key = key;
    view.focusList();
  }

  // ---- playlist files ----------------------------------------------------------------

  /** "Import playlist…" opens a file picker; a file dropped on the playlists pane is imported too. */
  setupImport() {
    const input = document.createElement('input');
    input.type = 'file';
    input.accept = ACCEPTED_FILES;
    input.hidden = true;
    input.id = 'import-file';
    input.setAttribute('aria-label', 'Playlist file to import');
    document.body.append(input);
    input.addEventListener('change', () => {
      const file = input.files[0];
      input.value = '';
      if (file) this.importFile(file);
    });
    this.importInput = input;
    const el = this.panes[0].el;
    const carriesFiles = (e) => e.dataTransfer && [...e.dataTransfer.types].includes('Files');
    el.addEventListener('dragover', (e) => {
      if (!carriesFiles(e)) return;
      e.preventDefault();
      e.dataTransfer.dropEffect = 'copy';
      el.classList.add('drop-target');
    });
    el.addEventListener('dragleave', (e) => {
      if (!el.contains(e.relatedTarget)) el.classList.remove('drop-target');
    });
    el.addEventListener('drop', (e) => {
      if (!carriesFiles(e)) return;
      e.preventDefault();
      el.classList.remove('drop-target');
      const file = e.dataTransfer.files[0];
      if (file) this.importFile(file);
    });
  }

  async importFile(file) {
    const name = nameFromFileName(file.name);
    this.announce(`Importing ${file.name}…`);
    const answer = await importPlaylistFile(file, name);
    if (answer.error) return this.toast(`${file.name}: ${answer.error.message}`, { kind: 'error', timeout: 10000 });
    await this.openPlaylist(answer.plid, name);
    const note = importNote(name, answer);
    this.toast(note, { timeout: answer.missing && answer.missing.length ? 20000 : 6000 });
    this.announce(note);
  }

  /** Opens playlist plid in the playlists pane, with its row (and so its menu) when the root has it. */
  async openPlaylist(plid, title) {
    const pane = this.panes[0];
    const path = `playlists:pl/getitems/${plid}`;
    const root = await getRows('playlists:', 0, 9999);
    const opener = (root.rows ?? []).find((r) => r.path === path) ?? { path, title };
    this.showTab(pane.name);
    const view = pane.openFromRoot(path, opener.title || title, opener);
    view.focusList();
  }

  // ---- layout ----------------------------------------------------------------------

  setupTabs() {
    const tabs = document.querySelector('.tabs');
    tabs.addEventListener('click', (e) => {
      const tab = e.target.closest('[role="tab"]');
      if (tab) this.showTab(tab.dataset.tab, true);
    });
    tabs.addEventListener('keydown', (e) => {
      if (e.key !== 'ArrowLeft' && e.key !== 'ArrowRight') return;
      const names = this.panes.map((p) => p.name);
      const at = names.indexOf(document.body.dataset.tab);
      this.showTab(names[(at + (e.key === 'ArrowRight' ? 1 : names.length - 1)) % names.length]);
      tabs.querySelector(`[data-tab="${document.body.dataset.tab}"]`).focus();
    });
    this.showTab('playlists');
  }

  showTab(name, focus = false) {
    document.body.dataset.tab = name;
    for (const tab of document.querySelectorAll('.tabs [role="tab"]')) {
      const on = tab.dataset.tab === name;
      tab.setAttribute('aria-selected', String(on));
      tab.tabIndex = on ? 0 : -1;
    }
    const pane = this.panes.find((p) => p.name === name);
    if (pane) {
      pane.current.render();
      if (focus) pane.current.focusList();
    }
  }

  focusPane(i) {
    const pane = this.panes[i];
    if (!pane) return;
    this.showTab(pane.name);
    pane.current.focusList();
  }

  // ---- messages --------------------------------------------------------------------

  announce(text) {
    this.announcer.textContent = '';
    setTimeout(() => {
      this.announcer.textContent = text;
    }, 30);
  }

  toast(text, { kind = 'info', action, onAction, timeout = 5000 } = {}) {
    const el = document.createElement('div');
    el.className = `toast ${kind}`;
    el.setAttribute('role', kind === 'error' ? 'alert' : 'status');
    const span = document.createElement('span');
    span.textContent = text;
    el.append(span);
    if (action) {
      const button = document.createElement('button');
      button.type = 'button';
      button.className = 'toast-action';
      button.textContent = action;
      button.addEventListener('click', () => {
        el.remove();
        onAction();
      });
      el.append(button);
    }
    this.toastsEl.append(el);
    while (this.toastsEl.children.length > 3) this.toastsEl.firstElementChild.remove();
    setTimeout(() => el.remove(), timeout);
    return el;
  }

  dismissToasts() {
    this.toastsEl.replaceChildren();
  }

  /** A small dialog with one field; resolves with its text or null. */
  ask({ title, label, value = '', type = 'text' }) {
    const dialog = document.getElementById('ask');
    dialog.querySelector('.ask-title').textContent = title;
    dialog.querySelector('label').textContent = label;
    const input = dialog.querySelector('input');
    input.type = type;
    input.value = value;
    const returnTo = document.activeElement;
    dialog.showModal();
    input.select();
    return new Promise((resolve) => {
      dialog.addEventListener('close', () => {
        returnTo?.focus?.({ preventScroll: true });
        resolve(dialog.returnValue === 'ok' ? input.value : null);
      }, { once: true });
    });
  }
}

window.keloApp = new App();
