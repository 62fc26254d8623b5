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
  /** token: started with --token-file, and sent by api(); args: further options. */
  constructor({ settings = [], listen = '127.0.0.1:0', dataDir, token, args = [] } = {}) {
    this.settings = settings;
    this.token = token;
    this.args = args;
    this.listen = listen;
    this.dataDir = dataDir ?? mkdtempSync(path.join(tmpdir(), 'kelo-web-'));
    this.ownsDataDir = !dataDir;
  }

  async start() {
    if (!existsSync(hostBinary)) throw new Error(`kelo-host not found at ${hostBinary}; build it first`);
    const args = ['--listen', this.listen, '--data-dir', this.dataDir, '--web-root', webRoot];
    for (const setting of this.settings) args.push('--set', setting);
    if (this.token) {
      const tokenFile = path.join(this.dataDir, 'token');
      writeFileSync(tokenFile, `${this.token}\n`);
      args.push('--token-file', tokenFile);
    }
    args.push(...this.args);
    this.child = spawn(hostBinary, args, { stdio: ['ignore', 'pipe', 'pipe'] });
    this.log = '';
    this.child.stderr.on('data', (d) => {
      this.log = (this.log + d).slice(-20000);
    });
    this.url = await new Promise((resolve, reject) => {
      let out = '';
      const timer = setTimeout(() => reject(new Error(`kelo-host did not start:\n${this.log}`)), 20000);
      this.child.stdout.on('data', (d) => {
        out += d;
        const match = out.match(/kelo-host listening on (http:\/\/\S+)/);
        if (match) {
          clearTimeout(timer);
          resolve(match[1].replace(/\/$/, ''));
        }
      });
      this.child.on('exit', (code) => {
        clearTimeout(timer);
        reject(new Error(`kelo-host exited with ${code}:\n${this.log}`));
      });
    });
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
    if (this.ownsDataDir) rmSync(this.dataDir, { recursive: true, force: true });
  }

  async api(endpoint, body) {
    const response = await fetch(`${this.url}/api/${endpoint}`, {
      method: 'POST',
      headers: {
        'Content-Type': 'application/json',
        ...(this.token ? { Authorization: `Bearer ${this.token}` } : {}),
      },
      body: JSON.stringify(body),
    });
    return response.json();
  }

  rows(path, fromRow = 0, toRow = 499, roles) {
    return this.api('getRows', roles ? { path, fromRow, toRow, roles } : { path, fromRow, toRow });
  }

  set(path, value) {
    return this.api('setData', { path, value });
  }

  // ---- fixtures through the module's commands ------------------------------------------

  async createPlaylist(name) {
    const answer = await this.set('playlists:pl/create', { name });
    if (answer.error) throw new Error(answer.error.message);
    return answer.value.result.value.i32_;
  }

  /** The first `count` tracks of the media library, and the titles that lead to their list. */
  async mediaTracks(count = 10) {
    const queue = [{ path: 'media:', chain: [] }];
    const found = [];
    let chain = null;
    while (queue.length && found.length < count) {
      const { path: at, chain: here } = queue.shift();
      const answer = await this.rows(at, 0, 499);
      for (const row of answer.rows ?? []) {
        if (row.type === 3 && found.length < count) {
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
   * under that title, a thousand per command.
   */
  async addTitled(plid, titles) {
    const base = (await this.mediaTracks(1)).tracks[0];
    const entry = (title) => {
      const roles = { ...base, title };
      delete roles.path;
      delete roles.id;
      return { title, artist: base.artist ?? '', album: base.album ?? '', artworkUrl: '', genre: '', durationSeconds: base.duration ?? 0, url: base.mediaData.resources[0].uri, serviceId: '', keloRoles: JSON.stringify(roles) };
    };
    for (let from = 0; from < titles.length; from += 1000) {
      const answer = await this.set('playlists:pl/addexternalitems', { plid, items: titles.slice(from, from + 1000).map(entry), mode: 2 });
      if (answer.error) throw new Error(answer.error.message);
    }
  }

  /** Adds media tracks to a playlist by path (appended). */
  async addByPath(plid, paths, mode = 2) {
    const answer = await this.set('playlists:pl/additems', { plid, items: paths, mode, fromPlid: -1 });
    if (answer.error) throw new Error(answer.error.message);
  }

  async titles(path) {
    const answer = await this.rows(path, 0, 9999, ['title']);
    return (answer.rows ?? []).map((row) => row.title);
  }

  async playerState() {
    return (await this.api('getData', { path: 'player:state' })).value;
  }
}

export async function startHost(options) {
  return new Host(options).start();
}
