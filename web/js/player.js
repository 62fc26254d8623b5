// The now-playing bar. The player reports its state on changes only; between reports the
// play time runs locally from the last report, so the bar needs no polling.
import { getData, setData, unwrapValue } from './api.js';
import { icon } from './icons.js';
import { escapeHtml, formatTime } from './listview.js';

const MODE_NAMES = ['normal', 'shuffle', 'repeatOne', 'shuffleRepeatOne', 'repeatAll', 'shuffleRepeatAll'];
const REPEAT_LABELS = ['Repeat off', 'Repeat one', 'Repeat all'];

/** Play mode number from shuffle (bool) and repeat (0 off, 1 one, 2 all). */
export function playMode(shuffle, repeat) {
  return repeat * 2 + (shuffle ? 1 : 0);
}

export function splitPlayMode(mode) {
  const n = typeof mode === 'string' ? Math.max(0, MODE_NAMES.indexOf(mode)) : Number(mode) || 0;
  return { shuffle: n % 2 === 1, repeat: Math.floor(n / 2) };
}

export class PlayerBar {
  constructor(el, app) {
    this.el = el;
    this.app = app;
    this.state = null;
    this.base = { ms: 0, at: 0 };
    this.seeking = false;
    el.innerHTML = `
      <div class="np-info">
        <img class="np-art" alt="" hidden>
        <button type="button" class="np-jump" aria-label="Show the playing track" title="Show the playing track (J)">${icon('target')}</button>
        <div class="np-text"><div class="np-title">Nothing playing</div><div class="np-sub"></div></div>
      </div>
      <div class="np-controls" role="group" aria-label="Playback">
        <button type="button" class="icon-btn" data-c="previous" aria-label="Previous track" title="Previous (B)">${icon('prev')}</button>
        <button type="button" class="icon-btn big" data-c="toggle" aria-label="Play" title="Play or pause (P)">${icon('play')}</button>
        <button type="button" class="icon-btn" data-c="next" aria-label="Next track" title="Next (N)">${icon('next')}</button>
      </div>
      <div class="np-seek">
        <span class="np-time" aria-hidden="true">0:00</span>
        <input type="range" class="np-range" min="0" max="0" step="1000" value="0" aria-label="Play position">
        <span class="np-len" aria-hidden="true">0:00</span>
      </div>
      <div class="np-right">
      <input type="range" class="np-vol" min="0" max="100" step="5" value="100" aria-label="Volume" title="Volume">
      <div class="np-modes" role="group" aria-label="Play mode">
        <button type="button" class="icon-btn" data-c="shuffle" aria-pressed="false" aria-label="Shuffle" title="Shuffle (S)">${icon('shuffle')}</button>
        <button type="button" class="icon-btn" data-c="repeat" aria-label="Repeat off" title="Repeat (R)">${icon('repeat')}</button>
      </div>
      </div>`;
    this.titleEl = el.querySelector('.np-title');
    this.subEl = el.querySelector('.np-sub');
    this.timeEl = el.querySelector('.np-time');
    this.lenEl = el.querySelector('.np-len');
    this.range = el.querySelector('.np-range');
    this.toggleBtn = el.querySelector('[data-c="toggle"]');
    this.artEl = el.querySelector('.np-art');
    this.artEl.addEventListener('error', () => { this.artEl.hidden = true; });
    this.volume = el.querySelector('.np-vol');
    this.volumeHeld = false;
    this.volume.addEventListener('input', () => { this.volumeHeld = true; this.showVolume(Number(this.volume.value)); });
    this.volume.addEventListener('change', () => {
      this.volumeHeld = false;
      this.setVolume(Number(this.volume.value));
    });
    el.addEventListener('click', (e) => {
      const button = e.target.closest('button');
      if (!button) return;
      if (button.classList.contains('np-jump')) this.app.jumpToPlaying();
      else this.command(button.dataset.c);
    });
    this.range.addEventListener('input', () => {
      this.seeking = true;
      this.timeEl.textContent = formatTime(Number(this.range.value));
    });
    this.range.addEventListener('change', () => {
      this.seeking = false;
      this.seek(Number(this.range.value));
    });
    setInterval(() => this.tick(), 250);
    this.render();
  }

  async refresh() {
    const answer = await getData('player:state');
    if (!answer.error) this.update(answer.value);
  }

  update(state) {
    if (!state || typeof state !== 'object') return;
    const before = this.state;
    this.state = state;
    this.base = { ms: Number(state.playTime) || 0, at: performance.now() };
    this.render();
    const error = state.error || {};
    const oldError = (before && before.error) || {};
    if (error.message && (error.message !== oldError.message || error.title !== oldError.title)) {
      this.app.toast(`${error.title || 'The track'} cannot be played: ${error.message}`, { kind: 'error' });
    }
    const oldTrack = before && before.trackRoles ? before.trackRoles.id ?? before.trackRoles.title : undefined;
    const track = state.trackRoles || {};
    const newTrack = track.id ?? track.title;
    if (newTrack !== oldTrack || (before && before.state !== state.state)) {
      this.app.playingChanged();
      if (state.state === 'playing' && newTrack !== oldTrack && track.title) this.app.announce(`Playing ${track.title}.`);
    }
  }

  get current() {
    const s = this.state;
    if (!s || !s.trackRoles || s.state === 'stopped') return null;
    return {
      track: s.trackRoles,
      container: s.containerRoles || {},
      index: unwrapValue(s.trackRoles.value),
    };
  }

  positionMs() {
    if (!this.state) return 0;
    let ms = this.base.ms;
    if (this.state.state === 'playing') ms += performance.now() - this.base.at;
    const length = this.lengthMs();
    return length ? Math.min(ms, length) : ms;
  }

  lengthMs() {
    const s = this.state;
    const track = s && s.trackRoles;
    if (track && track.duration) return Number(track.duration) * 1000;
    return s && s.duration ? Number(s.duration) : 0;
  }

  controlEnabled(name) {
    const controls = (this.state && this.state.controls) || {};
    return controls[name] !== false;
  }

  render() {
    const s = this.state;
    const track = s && s.trackRoles && s.state !== 'stopped' ? s.trackRoles : null;
    this.el.classList.toggle('idle', !track);
    this.titleEl.textContent = track ? track.title || 'Untitled' : 'Nothing playing';
    this.subEl.innerHTML = track ? [track.artist, track.album].filter(Boolean).map(escapeHtml).join(' · ') : '';
    const art = track && typeof track.icon === 'string' ? track.icon : '';
    if (art && this.artEl.getAttribute('src') !== art) this.artEl.src = art;
    this.artEl.hidden = !art;
    if (s && Number.isInteger(s.volume) && !this.volumeHeld) {
      this.volume.value = String(s.volume);
      this.showVolume(s.volume);
    }
    const playing = s && s.state === 'playing';
    this.toggleBtn.innerHTML = icon(playing ? 'pause' : 'play');
    this.toggleBtn.setAttribute('aria-label', playing ? 'Pause' : 'Play');
    this.toggleBtn.disabled = !(s && s.trackRoles);
    const length = this.lengthMs();
    this.range.max = String(length);
    this.range.disabled = !track || !length || !this.controlEnabled('seekTime');
    this.lenEl.textContent = length ? formatTime(length) : '–:––';
    this.el.querySelector('[data-c="next"]').disabled = !track || !this.controlEnabled('next');
    this.el.querySelector('[data-c="previous"]').disabled = !track || !this.controlEnabled('previous');
    this.el.querySelector('.np-jump').disabled = !track;
    const { shuffle, repeat } = splitPlayMode(s ? s.playMode : 0);
    const shuffleBtn = this.el.querySelector('[data-c="shuffle"]');
    shuffleBtn.setAttribute('aria-pressed', String(shuffle));
    const repeatBtn = this.el.querySelector('[data-c="repeat"]');
    repeatBtn.setAttribute('aria-label', REPEAT_LABELS[repeat] ?? REPEAT_LABELS[0]);
    repeatBtn.classList.toggle('on', repeat > 0);
    repeatBtn.innerHTML = icon(repeat === 1 ? 'repeatOne' : 'repeat');
    this.tick();
  }

  tick() {
    if (this.seeking) return;
    const ms = this.positionMs();
    this.timeEl.textContent = formatTime(ms);
    this.range.value = String(ms);
    this.range.setAttribute('aria-valuetext', `${formatTime(ms)} of ${formatTime(this.lengthMs())}`);
  }

  async command(name) {
    const s = this.state;
    let body;
    if (name === 'toggle') {
      if (!s || !s.trackRoles) return;
      body = { control: s.state === 'playing' ? 'pause' : 'resume' };
    } else if (name === 'next' || name === 'previous') {
      body = { control: name };
    } else if (name === 'shuffle' || name === 'repeat') {
      const { shuffle, repeat } = splitPlayMode(s ? s.playMode : 0);
      const mode = name === 'shuffle' ? playMode(!shuffle, repeat) : playMode(shuffle, (repeat + 1) % 3);
      body = { control: 'playMode', mode };
    } else {
      return;
    }
    const answer = await setData('player:control', body);
    if (answer.error) this.app.toast(answer.error.message, { kind: 'error' });
  }

  showVolume(level) {
    this.volume.setAttribute('aria-valuetext', `${level} %`);
  }

  async setVolume(level) {
    const answer = await setData('player:control', { control: 'volume', level });
    if (answer.error) this.app.toast(answer.error.message, { kind: 'error' });
    else this.update(answer.value);
  }

  seekBy(deltaMs) {
    if (!this.current) return;
    this.seek(Math.max(0, this.positionMs() + deltaMs));
  }

  async seek(ms) {
    const length = this.lengthMs();
    const target = Math.round(length ? Math.min(ms, length - 500) : ms);
    this.base = { ms: target, at: performance.now() };
    const answer = await setData('player:control', { control: 'seek', ms: target });
    if (answer.error) this.app.toast(answer.error.message, { kind: 'error' });
  }
}
