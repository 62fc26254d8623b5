// Starts a real kelo-host for one test file: a free port, a fresh data directory, and the
// worktree's web/ folder as its web root.
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, existsSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const repoRoot = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../../..');
export const hostBinary = process.env.KELO_HOST ?? path.join(repoRoot, 'build/bin/kelo-host');
export const webRoot = path.join(repoRoot, 'web');
export const NO_ITEMS_LIMIT = 'settings:playlists/dbItemsLimit={"type":"i32_","i32_":0}';

export class Host {
  /** token: started with --token-file, and sent by api(). */
  constructor({ settings = [], token } = {}) {
    this.settings = settings;
    this.token = token;
    this.listen = '127.0.0.1:0';
    this.dataDir = mkdtempSync(path.join(tmpdir(), 'kelo-web-'));
  }

  async start() {
    if (!existsSync(hostBinary)) throw new Error(`kelo-host not found at ${hostBinary}; build it first`);
    const args = ['--listen', this.listen, '--data-dir', this.dataDir, '--web-root', webRoot];
    for (const setting of this.settings) args.push('--set', setting);
    if (this.token) {
      writeFileSync(path.join(this.dataDir, 'token'), `${this.token}\n`);
      args.push('--token-file', path.join(this.dataDir, 'token'));
    }
    this.child = spawn(hostBinary, args, { stdio: ['ignore', 'pipe', 'pipe'] });
    this.log = '';
    this.child.stderr.on('data', (d) => { this.log = (this.log + d).slice(-20000); });
    let timer;
    this.url = await new Promise((resolve, reject) => {
      let out = '';
      timer = setTimeout(() => reject(new Error(`kelo-host did not start:\n${this.log}`)), 20000);
      this.child.stdout.on('data', (d) => {
        const match = (out += d).match(/kelo-host listening on (http:\/\/\S+)/);
        if (match) resolve(match[1].replace(/\/$/, ''));
      });
      this.child.on('exit', (code) => reject(new Error(`kelo-host exited with ${code}:\n${this.log}`)));
    }).finally(() => clearTimeout(timer));
    // A restart listens where the page already looks.
    this.listen = new URL(this.url).host;
    return this;
  }

  /** Stops the host, keeping its data so that a restart continues with it. */
  async stop() {
    if (!this.child || this.child.exitCode !== null) return;
    const exited = new Promise((resolve) => this.child.once('exit', resolve));
    this.child.kill('SIGTERM');
    const timer = setTimeout(() => this.child.kill('SIGKILL'), 10000);
    await exited;
    clearTimeout(timer);
  }

  async close() {
    await this.stop();
    rmSync(this.dataDir, { recursive: true, force: true });
  }

  async api(endpoint, body) {
    const headers = { 'Content-Type': 'application/json', ...(this.token && { Authorization: `Bearer ${this.token}` }) };
    return (await fetch(`${this.url}/api/${endpoint}`, { method: 'POST', headers, body: JSON.stringify(body) })).json();
  }

  rows(path, fromRow = 0, toRow = 499, roles) {
    return this.api('getRows', { path, fromRow, toRow, ...(roles && { roles }) });
  }

  set(path, value) {
    return this.api('setData', { path, value });
  }

  /** Sends a command that must succeed, and answers its result. */
  async command(path, value) {
    const answer = await this.set(path, value);
    if (answer.error) throw new Error(`${path}: ${answer.error.message}`);
    return answer.value?.result?.value;
  }

  // ---- fixtures through the module's commands ------------------------------------------

  /** Creates a playlist, with these media paths in it when given, and answers its id. */
  async createPlaylist(name, paths = []) {
    const plid = (await this.command('playlists:pl/create', { name })).i32_;
    if (paths.length) await this.addByPath(plid, paths);
    return plid;
  }

  /**
   * The first `count` tracks of the media library (`distinct`: of different titles), and the
   * titles that lead to their list.
   */
  async mediaTracks(count = 10, { distinct = false } = {}) {
    const queue = [{ path: 'media:', chain: [] }];
    const found = [];
    let chain = null;
    while (queue.length && found.length < count) {
      const { path: at, chain: here } = queue.shift();
      const answer = await this.rows(at, 0, 499);
      for (const row of answer.rows ?? []) {
        if (row.type === 3 && found.length < count && !(distinct && found.some((t) => t.title === row.title))) {
          found.push(row);
          chain ??= here;
        } else if (row.type === 1 && row.path) {
          queue.push({ path: row.path, chain: [...here, row.title] });
        }
      }
    }
    return { tracks: found, chain: chain ?? [] };
  }

  /**
   * Appends one external entry per title to a playlist, each a copy of the library's first track
   * under that title (with `roles` over its own), a thousand per command.
   */
  async addTitled(plid, titles, roles = {}) {
    const base = (await this.mediaTracks(1)).tracks[0];
    const entry = (title) => {
      const own = { ...base, title, ...roles };
      delete own.path;
      delete own.id;
      return { title, artist: base.artist ?? '', album: base.album ?? '', artworkUrl: '', genre: '', durationSeconds: base.duration ?? 0, url: base.mediaData.resources[0].uri, serviceId: '', keloRoles: JSON.stringify(own) };
    };
    for (let from = 0; from < titles.length; from += 1000) {
      await this.command('playlists:pl/addexternalitems', { plid, items: titles.slice(from, from + 1000).map(entry), mode: 2 });
    }
  }

  /** Adds media tracks to a playlist by path (appended). */
  addByPath(plid, paths) {
    return this.command('playlists:pl/additems', { plid, items: paths, mode: 2, fromPlid: -1 });
  }

  async titles(path) {
    const answer = await this.rows(path, 0, 9999, ['title']);
    return (answer.rows ?? []).map((row) => row.title);
  }

  async playerState() {
    return (await this.api('getData', { path: 'player:state' })).value;
  }
}

export const startHost = (options) => new Host(options).start();
