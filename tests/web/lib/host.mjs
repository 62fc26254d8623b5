// Starts a real kelo-host for one test file: a free port, a fresh data directory, and the
// worktree's web/ folder as its web root; and builds fixtures through the module's commands.
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, existsSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const repoRoot = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../../..');
const hostBinary = process.env.KELO_HOST ?? path.join(repoRoot, 'build/bin/kelo-host');
export const NO_ITEMS_LIMIT = 'settings:playlists/dbItemsLimit={"type":"i32_","i32_":0}';

export class Host {
  /** token: started with --token-file, and sent by api(). */
  constructor({ settings = [], token } = {}) {
    Object.assign(this, { settings, token, listen: '127.0.0.1:0', dataDir: mkdtempSync(path.join(tmpdir(), 'kelo-web-')) });
  }

  async start() {
    if (!existsSync(hostBinary)) throw new Error(`kelo-host not found at ${hostBinary}; build it first`);
    const args = ['--listen', this.listen, '--data-dir', this.dataDir, '--web-root', path.join(repoRoot, 'web')];
    for (const setting of this.settings) args.push('--set', setting);
    if (this.token) {
      writeFileSync(path.join(this.dataDir, 'token'), `${this.token}\n`);
      args.push('--token-file', path.join(this.dataDir, 'token'));
    }
    this.child = spawn(hostBinary, args, { stdio: ['ignore', 'pipe', 'pipe'] });
    this.log = '';
    this.child.stderr.on('data', (d) => { this.log = (this.log + d).slice(-20000); });
    let [timer, out] = [null, ''];
    this.url = await new Promise((resolve, reject) => {
      timer = setTimeout(() => reject(new Error(`kelo-host did not start:\n${this.log}`)), 20000);
      this.child.stdout.on('data', (d) => (out += d).replace(/kelo-host listening on (http:\/\/\S+?)\/?\s/, (_, url) => resolve(url)));
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
    await exited.finally(() => clearTimeout(timer));
  }

  async close() {
    await this.stop();
    rmSync(this.dataDir, { recursive: true, force: true });
  }

  async api(endpoint, body) {
    const headers = { 'Content-Type': 'application/json', ...(this.token && { Authorization: `Bearer ${this.token}` }) };
    return (await fetch(`${this.url}/api/${endpoint}`, { method: 'POST', headers, body: JSON.stringify(body) })).json();
  }

  /** The rows of a node (with only these roles when given); [] when it has none. */
  rows(path, roles) {
    return this.api('getRows', { path, fromRow: 0, toRow: 9999, ...(roles && { roles }) }).then((answer) => answer.rows ?? []);
  }

  titles(path) { return this.rows(path, ['title']).then((rows) => rows.map((row) => row.title)); }

  /** Sends a command that must succeed, and answers its result. */
  async command(path, value) {
    const answer = await this.api('setData', { path, value });
    if (answer.error) throw new Error(`${path}: ${answer.error.message}`);
    return answer.value?.result?.value;
  }

  playerState() { return this.api('getData', { path: 'player:state' }).then((answer) => answer.value); }

  /** Creates a playlist, with these media paths in it when given, and answers its id. */
  async createPlaylist(name, paths = []) {
    const plid = (await this.command('playlists:pl/create', { name })).i32_;
    if (paths.length) await this.addByPath(plid, paths);
    return plid;
  }

  /** Adds media tracks to a playlist by path (appended). */
  addByPath(plid, paths) {
    return this.command('playlists:pl/additems', { plid, items: paths, mode: 2, fromPlid: -1 });
  }

  /**
   * The first `count` tracks of the media library's albums (`distinct`: of different titles),
   * and the titles that lead to their list: the first album's.
   */
  async mediaTracks(count = 10, { distinct = false } = {}) {
    const albums = await this.rows('media:');
    const tracks = [];
    for (const album of albums) {
      for (const row of await this.rows(album.path)) {
        if (row.type === 3 && tracks.length < count && !(distinct && tracks.some((t) => t.title === row.title))) tracks.push(row);
      }
      if (tracks.length >= count) break;
    }
    return { tracks, chain: [albums[0].title] };
  }

  /**
   * Appends one external entry per title to a playlist, each a copy of the library's first track
   * under that title, a thousand per command.
   */
  async addTitled(plid, titles) {
    const base = (await this.mediaTracks(1)).tracks[0];
    const entry = (title) => {
      const { path: _path, id: _id, ...own } = { ...base, title };
      return { title, artist: base.artist ?? '', album: base.album ?? '', artworkUrl: '', genre: '', durationSeconds: base.duration ?? 0, url: base.mediaData.resources[0].uri, serviceId: '', keloRoles: JSON.stringify(own) };
    };
    for (let from = 0; from < titles.length; from += 1000) {
      await this.command('playlists:pl/addexternalitems', { plid, items: titles.slice(from, from + 1000).map(entry), mode: 2 });
    }
  }
}

export const startHost = (options) => new Host(options).start();
