// The metadata explorer: reads the host's model from /v1/metadata, draws it as a tree of
// <details> elements, filters it by name as one types, and polls for changes every five seconds.
//
// Model text reaches the page only as text nodes and attribute values, never as markup: a
// document may hold "<script>" in its documentation. Every element of the model gets an id (its
// permalink, the URL fragment), and every name is in the DOM once the model is drawn (main's
// aria-busy turns "false"). What is open shows first; the bodies of closed elements are drawn
// after, in slices, so that a model of tens of thousands of names shows at once.
'use strict';

(() => {
  const POLL_MS = 5000;
  const HIGHLIGHT_LIMIT = 2000;  // matches marked at most; all of them are shown
  const OPEN_LIMIT = 200;  // up to this many matches, what holds them opens

  // ---- Reading the document: an absent or mistyped part reads as empty.

  const obj = (v) => (v !== null && typeof v === 'object' && !Array.isArray(v) ? v : {});
  const arr = (v) => (Array.isArray(v) ? v : []);
  const str = (v) => (typeof v === 'string' ? v : v == null ? '' : String(v));
  const vals = (v) => Object.values(obj(v));
  const lastPart = (id) => id.slice(id.lastIndexOf('.') + 1);
  const prefixOf = (id) => id.slice(0, id.lastIndexOf('.') + 1);
  const lower = (s) => str(s).toLowerCase();
  const plural = (n, word) => `${n} ${word}${n === 1 ? '' : 's'}`;

  // A Cli identity's dotted name ("fleet.routes.plan"; the root is "").
  const qualified = (id) => {
    const { path, name } = obj(id);
    return str(path) ? `${str(path)}.${str(name)}` : str(name);
  };
  const commandLine = (dotted) => dotted.split('.').join(' ');
  // The first sentence of a documentation text, for a summary line.
  const firstSentence = (text) => {
    const t = str(text);
    const end = t.search(/[.!?](\s|$)/);
    return end < 0 ? t : t.slice(0, end + 1);
  };
  const aside = (text) => str(text) && el('span', { class: 'aside' }, firstSentence(text));

  // ---- Building the page. Strings become text nodes; attributes are set one by one.

  function el(tag, props, ...kids) {
    const node = document.createElement(tag);
    for (const name in props) {
      const value = props[name];
      if (value == null || value === false) continue;
      if (name === 'class') node.className = value;
      else node.setAttribute(name, value === true ? '' : value);
    }
    return addList(node, kids);
  }
  // Appends each of `kids` (nodes, strings, arrays of them; null and false are left out).
  const add = (node, ...kids) => addList(node, kids);
  function addList(node, kids) {
    for (const kid of kids) {
      if (kid == null || kid === false || kid === '') continue;
      if (Array.isArray(kid)) addList(node, kid);
      else node.append(kid);
    }
    return node;
  }
  // The fragment of an id: what a URL may not hold is escaped (a lone surrogate is left out).
  const href = (id) => '#' + id.replace(/[^\w.:/~-]/gu, (c) => {
    try { return encodeURIComponent(c); } catch (e) { return ''; }
  });
  const link = (id, ...kids) => el('a', { href: href(id) }, ...kids);

  // ---- The model, with the lookups the page needs.

  // The authentication, Cli and type tables over one /v1/metadata document. Lookups answer the
  // first match in document order, as the services do.
  function indexModel(doc) {
    const m = {
      components: arr(obj(doc.metamodel).components).map((c) => obj(obj(c).info)),
      fingerprints: arr(obj(doc.metamodel).components).map((c) => str(obj(c).fingerprint)),
      resources: obj(obj(doc.metamodel).resources),
      sources: obj(doc.sources),
      fingerprint: str(doc.fingerprint),
      types: new Map(),  // structure or enumeration id -> {kind, info}
      authPackages: new Map(),
      authServices: new Map(),
      authOperations: new Map(),  // service id + '\n' + operation -> info
      schemes: new Map(),  // scheme id -> the first record of it
      namespaces: new Map(),  // dotted name -> Namespace info
      commands: arr(obj(doc.cli).commands).map(obj),
      commandsIn: new Map(),  // namespace dotted name -> [command]
      commandsOf: new Map(),  // service id + '\n' + operation -> [command]
      services: new Set(),  // service ids of the metamodel
      operations: new Set(),  // service id + '\n' + operation of the metamodel
    };
    const addType = (kind, info) => {
      if (!m.types.has(str(info.name))) m.types.set(str(info.name), { kind, info });
    };
    const addTypes = (holder) => {
      for (const s of vals(holder.structures)) {
        addType(s.type === 'ERROR' ? 'error' : 'structure', s);
        for (const e of vals(s.enumerations)) addType('enumeration', e);
      }
      for (const e of vals(holder.enumerations)) addType('enumeration', e);
    };
    for (const component of m.components) {
      for (const pkg of vals(component.packages)) {
        addTypes(pkg);
        for (const service of vals(pkg.services)) {
          addTypes(service);
          m.services.add(str(service.name));
          for (const op of vals(service.operations)) m.operations.add(`${str(service.name)}\n${str(op.name)}`);
        }
      }
    }
    const noteSchemes = (record) => {
      for (const s of arr(record.schemes).map(obj)) if (!m.schemes.has(str(s.scheme))) m.schemes.set(str(s.scheme), s);
    };
    for (const c of arr(obj(doc.authentication).components)) {
      for (const [pid, pkg] of Object.entries(obj(obj(obj(c).info).packages))) {
        noteSchemes(obj(pkg));
        if (!m.authPackages.has(pid)) m.authPackages.set(pid, obj(pkg));
        for (const [sid, service] of Object.entries(obj(obj(pkg).services))) {
          noteSchemes(obj(service));
          if (!m.authServices.has(sid)) m.authServices.set(sid, obj(service));
          for (const [op, info] of Object.entries(obj(obj(service).operations))) {
            noteSchemes(obj(info));
            const k = `${sid}\n${op}`;
            if (!m.authOperations.has(k)) m.authOperations.set(k, obj(info));
          }
        }
      }
    }
    for (const ns of arr(obj(doc.cli).namespaces).map(obj)) {
      const name = qualified(ns.identity);
      if (!m.namespaces.has(name)) m.namespaces.set(name, ns);
    }
    const push = (map, k, v) => (map.get(k) || map.set(k, []).get(k)).push(v);
    for (const command of m.commands) {
      push(m.commandsIn, str(obj(command.identity).path), command);
      push(m.commandsOf, `${str(command.service_id)}\n${str(command.operation_id)}`, command);
    }
    return m;
  }

  // Type text as the tool's summary writes it ("map<string, list<string>>"), as a list of strings
  // and {ref} for user-defined types.
  function typeParts(type, out = []) {
    const t = obj(type);
    if (t.category === 'BUILTIN' && t.builtin_type) {
      out.push(lower(t.builtin_type));
    } else if (t.category === 'USER_DEFINED' && obj(t.user_defined_type).resource_id) {
      out.push({ ref: str(t.user_defined_type.resource_id) });
    } else if (t.category === 'GENERIC' && obj(t.generic_instantiation).generic_type) {
      const g = t.generic_instantiation;
      out.push(`${lower(g.generic_type)}<`);
      if (g.generic_type === 'MAP') {
        typeParts(g.map_key_type, out);
        out.push(', ');
        typeParts(g.map_value_type, out);
      } else {
        typeParts(g.element_type, out);
      }
      out.push('>');
    } else {
      out.push('?');
    }
    return out;
  }
  const typeText = (type, short) =>
    typeParts(type).map((p) => (typeof p === 'string' ? p : short ? lastPart(p.ref) : p.ref)).join('');

  const SCHEME_TYPES = { SESSION_AWARE: 'session-aware', SESSIONLESS: 'session-less' };
  const schemeTypeText = (s) => SCHEME_TYPES[s.schemeType] || lower(s.schemeType).replace(/_/g, '-');

  // ---- The view: the drawn tree, its filter entries and its ids.

  const KIND_NAMES = {
    component: 'component', package: 'package', service: 'service', operation: 'operation',
    structure: 'structure', error: 'error structure', enumeration: 'enumeration',
    namespace: 'Cli namespace', command: 'Cli command',
  };

  class View {
    constructor(model) {
      this.m = model;
      // A small model opens down to its services; a large one shows its components only.
      let packages = 0, services = 0;
      for (const c of model.components) {
        for (const p of vals(c.packages)) { ++packages; services += vals(p.services).length; }
      }
      this.openPackages = packages <= 12;
      this.openServices = this.openPackages && services <= 12;
      this.entries = [];  // {node, text, parent, name, shown, hit}: what the filter shows and hides
      this.ids = new Set();
      // The bodies of closed elements are drawn after the first paint, a slice at a time (work),
      // or at once when something needs one (fill).
      this.waiting = new Map();  // <details> -> the drawing of its body
      this.queue = [];  // the same <details>, in the order they were made
      this.next = 0;  // queue[next] is the next to draw
    }

    // Draws the body of `details` now if it is still to draw.
    fill(details) {
      const drawBody = this.waiting.get(details);
      if (!drawBody) return;
      this.waiting.delete(details);
      drawBody();
    }

    // Draws waiting bodies until performance.now() reaches `deadline`; true once none is left.
    work(deadline = Infinity) {
      while (this.next < this.queue.length) {
        this.fill(this.queue[this.next++]);
        if (performance.now() >= deadline) break;
      }
      if (this.next < this.queue.length) return false;
      this.queue = [];
      this.next = 0;
      return true;
    }

    // Registers `node` with the filter under the name `text`; answers its index.
    entry(node, text, parent, name) {
      this.entries.push({ node, text: lower(text), parent, name, shown: true, hit: false });
      return this.entries.length - 1;
    }

    id(key) {
      let id = key;
      for (let n = 2; this.ids.has(id); ++n) id = `${key}~${n}`;
      this.ids.add(id);
      return id;
    }

    // A collapsible element of the model: <details id=KEY> whose summary shows its kind (drawn by
    // the style sheet), its name after a muted `prefix`, and `extra`; fill(body, index) draws what
    // it holds. `where` is its full name, shown with its permalink once it is opened.
    item(kind, key, parent, { name, prefix = '', extra, open, where }, fill) {
      const nameEl = el('span', { class: 'name' }, prefix && el('span', { class: 'prefix' }, prefix), name);
      const details = el('details', { id: this.id(key), class: `item ${kind}`, open, 'data-where': where },
        el('summary', null, nameEl, extra));
      const index = this.entry(details, prefix + name, parent, nameEl);
      const body = el('div', { class: 'body' });
      details.append(body);
      if (open) {
        fill(body, index);
        decorate(details);
      } else {
        this.waiting.set(details, () => fill(body, index));
        this.queue.push(details);
      }
      return details;
    }

    // A row of a member list (parameter, field, value, option...), filtered by `name`.
    row(key, parent, name, ...rest) {
      const nameEl = el('code', { class: 'name' }, name);
      const row = el('div', { class: 'row', id: this.id(key) }, nameEl, rest);
      this.entry(row, name, parent, nameEl);
      return row;
    }

    // ---- Pieces shared by every level.

    doc(text) {
      return str(text) && el('p', { class: 'doc' }, str(text));
    }

    type(type) {
      return el('code', { class: 'type' }, typeParts(type).map((p) => {
        if (typeof p === 'string') return p;
        return this.m.types.has(p.ref) ? link(`type:${p.ref}`, p.ref) : p.ref;
      }));
    }

    // A link to a type when a source describes it, its id otherwise.
    typeRef(id) {
      return el('code', null, this.m.types.has(id) ? link(`type:${id}`, id) : id);
    }

    // Metadata tables, one line each: "Pagination  max_page 500 · style cursor". A text naming a
    // resource or a type links to it.
    metadata(table) {
      const entries = Object.entries(obj(table));
      if (!entries.length) return null;
      const value = (text) => {
        text = str(text);
        if (Object.prototype.hasOwnProperty.call(this.m.resources, text)) return link(`resource:${text}`, text);
        return this.m.types.has(text) ? link(`type:${text}`, text) : text;
      };
      return el('div', { class: 'metadata' }, entries.map(([key, map]) => {
        const elements = Object.entries(obj(obj(map).elements)).map(([name, v], i) => {
          v = obj(v);
          const texts = v.list_value || v.structure_ids || [v.string_value ?? v.long_value ?? v.structure_id];
          return [i ? ' · ' : '', name === 'value' ? '' : `${name} `,
            arr(texts).map((t, j) => [j ? ', ' : '', value(t)])];
        });
        return el('p', null, el('span', { class: 'key' }, key), elements);
      }));
    }

    // The schemes a level requires, each with its identifier (a link to the scheme), type and
    // session manager: a line each, or all on one line when `inline`. `record` is the level's
    // authentication record: without one, nothing.
    schemes(record, inline) {
      if (!record) return null;
      const list = arr(record.schemes).map(obj);
      const one = (s) => [link(`scheme:${str(s.scheme)}`, str(s.scheme)), ' ',
        el('span', { class: `tag${s.schemeType === 'SESSION_AWARE' ? ' aware' : ''}` }, schemeTypeText(s)),
        s.schemeType === 'SESSION_AWARE' && s.sessionManager != null
          ? [' session manager ', el('code', null, str(s.sessionManager))] : ''];
      if (!list.length) return el('p', { class: 'auth' }, 'No scheme required.');
      if (inline) return el('p', { class: 'auth' }, list.map((s, i) => [i ? '; ' : '', one(s)]));
      return el('div', { class: 'auth' }, list.map((s) => el('p', null, one(s))));
    }

    // The schemes of a level in its summary line: the last part of each identifier.
    chips(record) {
      const list = arr(record && record.schemes).map((s) => str(obj(s).scheme));
      return list.length ? el('span', { class: 'chips', title: `Requires ${list.join(', ')}` }, list.map(lastPart).join(' · ')) : null;
    }

    group(title, items) {
      items = items.filter(Boolean);
      return items.length ? [el('h4', null, title), items] : null;
    }

    members(title, rows) {
      return rows.length ? [el('h4', null, title), el('div', { class: 'members' }, rows)] : null;
    }

    // ---- The API tree.

    component(info, fingerprint, parent) {
      const name = str(info.name);
      return this.item('component', `component:${name}`, parent,
        { name, open: true, extra: el('span', { class: 'fingerprint', title: 'Fingerprint' }, fingerprint) }, (body, index) => {
          add(body, this.doc(info.documentation), this.metadata(info.metadata), this.componentSchemes(info),
            vals(info.packages).map((p) => this.package(p, index)));
        });
    }

    // The schemes that the component's packages, services and operations require, each once.
    componentSchemes(info) {
      const seen = new Map();
      const note = (record) => arr(record && record.schemes).forEach((s) => seen.set(str(obj(s).scheme), obj(s)));
      for (const pkg of vals(info.packages)) {
        note(this.m.authPackages.get(str(pkg.name)));
        for (const service of vals(pkg.services)) {
          note(this.m.authServices.get(str(service.name)));
          for (const op of vals(service.operations)) note(this.m.authOperations.get(`${str(service.name)}\n${str(op.name)}`));
        }
      }
      if (!seen.size) return null;
      const list = this.schemes({ schemes: [...seen.values()] });
      list.classList.add('uses');
      return list;
    }

    package(info, parent) {
      const name = str(info.name);
      const auth = this.m.authPackages.get(name);
      return this.item('package', `package:${name}`, parent,
        { name, extra: [aside(info.documentation), this.chips(auth)], open: this.openPackages }, (body, index) => {
          add(body, this.doc(info.documentation), this.schemes(auth), this.metadata(info.metadata),
            this.group('Services', vals(info.services).map((s) => this.service(s, index))),
            this.group('Types', this.types(info, index)));
        });
    }

    service(info, parent) {
      const name = str(info.name);
      const auth = this.m.authServices.get(name);
      return this.item('service', `service:${name}`, parent,
        { name: lastPart(name), prefix: prefixOf(name), extra: [aside(info.documentation), this.chips(auth)], open: this.openServices },
        (body, index) => {
          add(body, this.doc(info.documentation), this.schemes(auth), this.metadata(info.metadata),
            this.group('Operations', vals(info.operations).map((op) => this.operation(name, op, index))),
            this.constants(name, info.constants, index),
            this.group('Types', this.types(info, index)));
        });
    }

    operation(service, info, parent) {
      const name = str(info.name);
      const key = `${service}/${name}`;
      const auth = this.m.authOperations.get(`${service}\n${name}`);
      const params = arr(info.params).map(obj);
      const output = info.output && obj(info.output);
      const signature = el('code', { class: 'signature' },
        `(${params.map((p) => `${str(p.name)}: ${typeText(p.type, true)}`).join(', ')})`,
        output ? ` → ${typeText(output.type, true)}` : '');
      return this.item('operation', `operation:${key}`, parent,
        { name, extra: [signature, this.chips(auth)], where: `${service}.${name}` }, (body, index) => {
          const errors = arr(info.errors).map(obj);
          const commands = this.m.commandsOf.get(`${service}\n${name}`) || [];
          add(body, this.doc(info.documentation), this.schemes(auth), this.metadata(info.metadata),
            this.members('Parameters', params.map((p) => this.row(`param:${key}/${str(p.name)}`, index, str(p.name),
              ': ', this.type(p.type), this.doc(p.documentation), this.metadata(p.metadata)))),
            output && this.members('Result', [el('div', { class: 'row' }, this.type(output.type),
              this.doc(output.documentation), this.metadata(output.metadata))]),
            this.members('Errors', errors.map((e) => el('div', { class: 'row' }, this.typeRef(str(e.structure_id)),
              this.doc(e.documentation)))),
            this.members('Cli commands', commands.map((c) => {
              const dotted = qualified(c.identity);
              return el('div', { class: 'row' }, link(`command:${dotted}`, el('code', null, commandLine(dotted))),
                this.doc(c.description));
            })));
        });
    }

    constants(owner, table, parent) {
      const one = (p) => {
        p = obj(p);
        const x = p.string_value ?? p.long_value ?? p.double_value ?? p.boolean_value;
        return p.type === 'STRING' ? JSON.stringify(str(x)) : str(x);
      };
      const value = (v) => (obj(v).category === 'LIST' ? `[${arr(v.list_value).map(one).join(', ')}]` : one(obj(v).primitive_value));
      return this.members('Constants', vals(table).map(obj).map((c) =>
        this.row(`constant:${owner}/${str(c.name)}`, parent, str(c.name), ': ', this.type(c.type), ' = ',
          el('code', { class: 'value' }, value(c.value)), this.doc(c.documentation))));
    }

    types(holder, parent) {
      return [...vals(holder.structures).map((s) => this.structure(s, parent)),
        ...vals(holder.enumerations).map((e) => this.enumeration(e, parent))];
    }

    structure(info, parent) {
      const name = str(info.name);
      const kind = info.type === 'ERROR' ? 'error' : 'structure';
      return this.item(kind, `type:${name}`, parent,
        { name: lastPart(name), prefix: prefixOf(name), extra: aside(info.documentation) }, (body, index) => {
          add(body, this.doc(info.documentation), this.metadata(info.metadata),
            this.members('Fields', arr(info.fields).map(obj).map((f) => this.row(`field:${name}/${str(f.name)}`, index,
              str(f.name), ': ', this.type(f.type), this.doc(f.documentation), this.metadata(f.metadata)))),
            this.constants(name, info.constants, index),
            this.group('Enumerations', vals(info.enumerations).map((e) => this.enumeration(e, index))));
        });
    }

    enumeration(info, parent) {
      const name = str(info.name);
      return this.item('enumeration', `type:${name}`, parent,
        { name: lastPart(name), prefix: prefixOf(name), extra: aside(info.documentation) }, (body, index) => {
          add(body, this.doc(info.documentation), this.metadata(info.metadata),
            this.members('Values', arr(info.values).map(obj).map((v) => this.row(`value:${name}/${str(v.value)}`, index,
              str(v.value), this.doc(v.documentation), this.metadata(v.metadata)))));
        });
    }

    // Authentication records of services that no metamodel source describes, in a box of their
    // own; null when there are none.
    authOnly(parent) {
      const ids = [...this.m.authServices.keys()].filter((id) => !this.m.services.has(id));
      if (!ids.length) return null;
      const box = el('details', { id: 'authentication-only', class: 'box', open: ids.length <= 12 },
        el('summary', null, `Authentication of ${plural(ids.length, 'service')} that no metamodel source describes`));
      const index = this.entry(box, '', parent);
      const body = el('div', { class: 'body' });
      box.append(body);
      this.waiting.set(box, () => add(body, ids.map((id) => this.authService(id, this.m.authServices.get(id), index))));
      this.queue.push(box);
      if (box.open) this.fill(box);
      return box;
    }

    authService(id, service, parent) {
      return this.item('service', `service:${id}`, parent,
        { name: lastPart(id), prefix: prefixOf(id), extra: this.chips(service) }, (body, index) => {
          add(body, this.schemes(service), this.members('Operations', Object.entries(obj(service.operations)).map(([op, info]) =>
            this.row(`operation:${id}/${op}`, index, op, this.schemes(obj(info), true)))));
        });
    }

    // Every scheme that a level requires, once, with what the levels say of it.
    schemeList(parent) {
      return el('div', { class: 'members' }, [...this.m.schemes.values()].map((s) =>
        this.row(`scheme:${str(s.scheme)}`, parent, str(s.scheme), ` ${schemeTypeText(s)}`,
          s.schemeType === 'SESSION_AWARE' && s.sessionManager != null
            ? el('p', null, 'Session manager ', el('code', null, str(s.sessionManager))) : null)));
    }

    // ---- The command line.

    namespace(name, parent, seen) {
      seen.add(name);
      const info = this.m.namespaces.get(name);
      return this.item('namespace', `namespace:${name}`, parent,
        { name: commandLine(name), extra: aside(info.description), open: this.openPackages }, (body, index) => {
          add(body, this.doc(info.description), this.namespaceContents(name, index, seen));
        });
    }

    namespaceContents(name, parent, seen) {
      const info = this.m.namespaces.get(name);
      const children = arr(info && info.children).map(qualified)
        .filter((child) => child !== name && !seen.has(child) && this.m.namespaces.has(child));
      return [...(this.m.commandsIn.get(name) || []).map((c) => this.command(c, parent)),
        ...children.map((child) => this.namespace(child, parent, seen))];
    }

    command(info, parent) {
      const dotted = qualified(info.identity);
      const service = str(info.service_id), op = str(info.operation_id);
      const calls = this.m.operations.has(`${service}\n${op}`)
        ? link(`operation:${service}/${op}`, `${service}.${op}`) : `${service}.${op}`;
      return this.item('command', `command:${dotted}`, parent,
        { name: commandLine(dotted), extra: aside(info.description) }, (body, index) => {
          add(body, this.doc(info.description),
            el('p', null, 'Calls ', el('code', null, calls),
              info.formatter != null ? [', output as ', el('span', { class: 'tag' }, lower(info.formatter))] : null, '.'),
            this.members('Options', arr(info.options).map(obj).map((o) => {
              const generic = o.generic && o.generic !== 'NONE' ? ` (${lower(o.generic)})` : '';
              return this.row(`option:${dotted}/${str(o.long_option)}`, index, `--${str(o.long_option)}`,
                o.short_option != null ? [', ', el('code', null, `-${str(o.short_option)}`)] : null, ' ',
                el('code', { class: 'type' }, str(o.type) + generic),
                el('p', { class: 'doc' }, str(o.description), str(o.field_name) ? [' Sets ', el('code', null, str(o.field_name)), '.'] : ''));
            })),
            arr(info.output_field_list).map(obj).map((out) => this.members(['Output of ', this.typeRef(str(out.structure_id))],
              arr(out.output_fields).map(obj).map((f) => el('div', { class: 'row' }, el('code', null, str(f.field_name)),
                ` shown as “${str(f.display_name)}”`)))));
        });
    }

    // ---- Sections.

    section(id, title, parent, fill) {
      const section = el('section', { id, class: 'part', 'aria-labelledby': `${id}-title` }, el('h2', { id: `${id}-title` }, title));
      const index = this.entry(section, '', parent);
      fill(section, index);
      return section;
    }

    draw() {
      const m = this.m;
      const root = document.createDocumentFragment();
      const counts = { packages: 0, services: 0, operations: 0 };
      for (const c of m.components) {
        for (const p of vals(c.packages)) {
          counts.packages++;
          for (const s of vals(p.services)) { counts.services++; counts.operations += vals(s.operations).length; }
        }
      }
      const sourceCount = ['metamodel', 'authentication', 'cli'].reduce((n, d) => n + arr(m.sources[d]).length, 0);
      root.append(el('p', { class: 'overview' }, [
        plural(m.components.length, 'component'), plural(counts.packages, 'package'),
        plural(counts.services, 'service'), plural(counts.operations, 'operation'),
        plural(m.types.size, 'type'), plural(m.schemes.size, 'scheme'),
        plural(m.commands.length, 'Cli command'), plural(sourceCount, 'source'),
      ].join(' · ')));

      root.append(this.section('api', 'API', -1, (s, index) => {
        add(s, m.components.map((c, i) => this.component(c, m.fingerprints[i], index)));
        if (!m.components.length) s.append(el('p', { class: 'muted' }, 'No metamodel source describes a component.'));
        add(s, this.authOnly(index));
      }));

      root.append(this.section('schemes', 'Authentication schemes', -1, (s, index) => {
        s.append(m.schemes.size ? this.schemeList(index) : el('p', { class: 'muted' }, 'No level requires a scheme.'));
      }));

      root.append(this.section('cli', 'Command line', -1, (s, index) => {
        const seen = new Set();
        add(s, this.namespaceContents('', index, seen));
        // Namespaces that no parent lists, and commands of namespaces that no source declares.
        for (const name of m.namespaces.keys()) if (!seen.has(name) && name) add(s, this.namespace(name, index, seen));
        const stray = m.commands.filter((c) => !seen.has(str(obj(c.identity).path)) && str(obj(c.identity).path) !== '');
        if (stray.length) add(s, el('h3', null, 'Commands of undeclared namespaces'), stray.map((c) => this.command(c, index)));
        if (!m.namespaces.size && !m.commands.length) s.append(el('p', { class: 'muted' }, 'No Cli source is loaded.'));
      }));

      root.append(this.section('resources', 'Resources', -1, (s, index) => {
        const list = Object.entries(m.resources);
        s.append(list.length ? el('div', { class: 'members' }, list.map(([id, models]) =>
          this.row(`resource:${id}`, index, id, el('p', null, 'Models ',
            arr(models).map((model, i) => [i ? ', ' : '', this.typeRef(str(model))])))))
          : el('p', { class: 'muted' }, 'No resource is declared.'));
      }));

      root.append(this.section('sources', 'Sources', -1, (s, index) => {
        s.append(el('p', null, 'Model fingerprint ', el('code', null, m.fingerprint), '.'));
        for (const domain of ['metamodel', 'authentication', 'cli']) {
          const list = arr(m.sources[domain]).map(obj);
          s.append(el('h3', null, domain === 'cli' ? 'Cli' : domain[0].toUpperCase() + domain.slice(1)));
          s.append(list.length ? el('div', { class: 'members' }, list.map((src) => {
            const info = obj(src.info);
            return this.row(`source:${domain}/${str(src.id)}`, index, str(src.id), ' ',
              el('code', { class: 'fingerprint' }, str(src.fingerprint)),
              el('p', null, info.filepath != null ? el('code', null, str(info.filepath)) : null,
                str(info.description) && str(info.description) !== str(src.id) ? ` ${str(info.description)}` : null,
                info.type != null && info.type !== 'FILE' ? ` (${lower(info.type)})` : null));
          })) : el('p', { class: 'muted' }, 'None.'));
        }
      }));
      return root;
    }

    // The table of contents: the sections, each component and its packages.
    contents() {
      return el('ul', null,
        el('li', null, link('api', 'API'), el('ul', null, this.m.components.map((c) => el('li', null,
          link(`component:${str(c.name)}`, str(c.name)),
          el('ul', { class: 'packages' }, vals(c.packages).map((p) => {
            const name = str(p.name), within = name.startsWith(`${str(c.name)}.`);
            return el('li', null, link(`package:${name}`, within ? name.slice(str(c.name).length) : name));
          })))))),
        el('li', null, link('schemes', 'Authentication schemes')),
        el('li', null, link('cli', 'Command line')),
        el('li', null, link('resources', 'Resources')),
        el('li', null, link('sources', 'Sources')));
    }
  }

  // The line an element shows once opened: its full name and its permalink.
  function decorate(details) {
    if (details.querySelector(':scope > .body > .where')) return;
    const full = details.dataset.where || details.querySelector(':scope > summary > .name').textContent;
    const kind = KIND_NAMES[details.classList[1]] || '';
    details.lastChild.prepend(el('p', { class: 'where' },
      el('a', { href: href(details.id), class: 'permalink', 'aria-label': `Link to ${kind} ${full}` }, '#'), ' ', full));
  }

  // ---- The page.

  const main = document.getElementById('main');
  const contents = document.getElementById('contents');
  const status = document.getElementById('status');
  const filter = document.getElementById('filter');
  const matches = document.getElementById('matches');
  let view = null;
  let etag = null;
  let beforeFilter = null;  // ids of the open <details> before a filter opened others

  const say = (node, text) => { if (node.textContent !== text) node.textContent = text; };

  // Shows what the filter keeps: the elements whose name holds the text, what they hold and what
  // holds them. The <details> on the way to a match open, unless there are too many matches to
  // read that way; clearing the filter closes them again.
  function applyFilter() {
    if (!view) return;
    performance.mark('explorer-filter');
    const query = filter.value.trim().toLowerCase();
    if (query && !view.work()) finished();  // every name, before it is looked for
    const entries = view.entries;
    const n = entries.length;
    const hit = new Uint8Array(n), inside = new Uint8Array(n), holds = new Uint8Array(n);
    let count = 0;
    if (query) {
      if (!beforeFilter) beforeFilter = openIds();
      for (let i = 0; i < n; ++i) if (entries[i].text.includes(query)) { hit[i] = 1; ++count; }
      for (let i = 0; i < n; ++i) {
        const p = entries[i].parent;
        if (p >= 0) inside[i] = hit[p] | inside[p];
      }
      for (let i = n - 1; i >= 0; --i) {
        const p = entries[i].parent;
        if (p >= 0 && (hit[i] | holds[i])) holds[p] = 1;
      }
    }
    const expand = count <= OPEN_LIMIT;
    for (let i = 0; i < n; ++i) {
      const e = entries[i];
      const shown = !query || hit[i] || inside[i] || holds[i];
      e.hit = hit[i] === 1;
      if (e.shown !== !!shown) { e.shown = !!shown; e.node.hidden = !shown; }
      if (expand && holds[i] && e.node.tagName === 'DETAILS') e.node.open = true;  // drawn above
    }
    if (!query && beforeFilter) {
      restoreOpen(beforeFilter);
      beforeFilter = null;
    }
    highlight(query, hit);
    say(matches, query ? (count ? `${plural(count, 'name')} match` : 'No name matches') : '');
    performance.measure(`explorer: filter "${query}"`, 'explorer-filter');
  }

  // The summary of the first element that the filter matched (of the element holding it, for a
  // row), or null.
  function firstMatch() {
    let first = null;
    for (const e of view.entries) {
      if (e.hit && (!first || first.compareDocumentPosition(e.node) & Node.DOCUMENT_POSITION_PRECEDING)) first = e.node;
    }
    const details = first && first.closest('details');
    return details ? details.querySelector(':scope > summary') : null;
  }

  // Marks the matching part of each shown name (CSS Custom Highlight API, where there is one).
  function highlight(query, hit) {
    if (!window.CSS || !CSS.highlights || typeof Highlight !== 'function') return;
    const ranges = [];
    if (query) {
      for (let i = 0; i < hit.length && ranges.length < HIGHLIGHT_LIMIT; ++i) {
        const name = hit[i] && view.entries[i].name;
        if (!name) continue;
        const at = name.textContent.toLowerCase().indexOf(query);
        if (at >= 0) ranges.push(rangeIn(name, at, at + query.length));
      }
    }
    CSS.highlights.set('filter', new Highlight(...ranges));
  }

  // The range over characters [from, to) of the text under `node`.
  function rangeIn(node, from, to) {
    const range = document.createRange();
    const walker = document.createTreeWalker(node, NodeFilter.SHOW_TEXT);
    let offset = 0;
    for (let text = walker.nextNode(); text; text = walker.nextNode()) {
      const end = offset + text.length;
      if (from >= offset && from <= end) range.setStart(text, from - offset);
      if (to >= offset && to <= end) { range.setEnd(text, to - offset); break; }
      offset = end;
    }
    return range;
  }

  const openIds = () => new Set([...main.querySelectorAll('details[open]')].map((d) => d.id));

  // Opens `details`, drawing its body first if it is still to draw.
  function openDetails(details) {
    view.fill(details);
    if (!details.open) details.open = true;
  }

  // Opens the <details> whose ids are in `ids` and closes the others (of those in `known`, when
  // given). Top down: opening one draws what it holds, which is then looked at in turn.
  function restoreOpen(ids, known) {
    const todo = [...main.querySelectorAll('details')];
    for (let i = 0; i < todo.length; ++i) {
      const d = todo[i];
      if (known && !known.has(d.id)) continue;
      if (!ids.has(d.id)) {
        if (d.open) d.open = false;
      } else if (!d.open) {
        const drawn = view.waiting.has(d);
        openDetails(d);
        if (drawn) todo.push(...d.lastChild.querySelectorAll('details'));
      }
    }
  }

  // Opens what holds the element of `id`, scrolls to it and focuses it.
  function reveal(id, focus) {
    let target = id && document.getElementById(id);
    if (id && !target && !view.work()) finished();
    target = target || (id && document.getElementById(id));
    if (!target || !main.contains(target)) return false;
    if (target.closest('[hidden]')) {
      filter.value = '';
      applyFilter();
    }
    for (let d = target.parentElement.closest('details'); d; d = d.parentElement.closest('details')) openDetails(d);
    if (target.tagName === 'DETAILS') openDetails(target);
    for (const old of main.querySelectorAll('.target')) old.classList.remove('target');
    target.classList.add('target');  // :target misses elements drawn after the navigation
    target.scrollIntoView({ block: 'start' });
    if (focus) (target.querySelector(':scope > summary') || target).focus({ preventScroll: true });
    return true;
  }
  const fragment = () => {
    try { return decodeURIComponent(location.hash.slice(1)); } catch (e) { return ''; }
  };

  // Where the reader is: what is open, what has focus, and which element sits at the top.
  function place() {
    const top = document.querySelector('.top').getBoundingClientRect().bottom + 4;
    const at = document.elementFromPoint(main.getBoundingClientRect().left + 8, top);
    const anchor = at && main.contains(at) && at.closest('[id]');
    const focused = main.contains(document.activeElement) && document.activeElement.closest('[id]');
    return {
      open: beforeFilter || openIds(),
      known: new Set([...main.querySelectorAll('details')].map((d) => d.id)),
      filtering: !!beforeFilter,
      searchOpen: openIds(),
      anchor: anchor && { id: anchor.id, top: anchor.getBoundingClientRect().top },
      focus: focused && { id: focused.id, summary: document.activeElement.tagName === 'SUMMARY' },
    };
  }

  function restore(p) {
    restoreOpen(p.open, p.known);
    if (p.filtering) beforeFilter = p.open;
    applyFilter();
    if (p.filtering) restoreOpen(p.searchOpen, p.known);
    if ((p.anchor && !document.getElementById(p.anchor.id)) || (p.focus && !document.getElementById(p.focus.id))) {
      if (!view.work()) finished();
    }
    const anchor = p.anchor && document.getElementById(p.anchor.id);
    if (anchor) window.scrollBy(0, anchor.getBoundingClientRect().top - p.anchor.top);
    const focused = p.focus && document.getElementById(p.focus.id);
    if (focused) {
      const summary = p.focus.summary && focused.querySelector(':scope > summary');
      (summary || focused).focus({ preventScroll: true });
    }
  }

  function draw(doc) {
    performance.mark('explorer-draw');
    const first = !view;
    const before = first ? null : place();
    view = new View(indexModel(doc));
    const tree = view.draw();
    main.setAttribute('aria-busy', 'true');
    main.replaceChildren(tree);
    contents.replaceChildren(view.contents());
    document.title = `${view.m.components.map((c) => str(c.name)).join(', ') || 'Metadata'} · explorer`;
    if (first) {
      filter.disabled = false;
      applyFilter();
      reveal(fragment(), false);
    } else {
      restore(before);
    }
    main.setAttribute('data-fingerprint', view.m.fingerprint);
    performance.measure('explorer: first paint', 'explorer-draw');
    drawing.port2.postMessage(null);
  }

  // The rest of the model is drawn in slices between the browser's own work, so that the page
  // answers while a large model is drawn. Message tasks, unlike timers, are not held back.
  const drawing = new MessageChannel();
  drawing.port1.onmessage = () => {
    if (main.getAttribute('aria-busy') !== 'true') return;
    if (view.work(performance.now() + (document.hidden ? 100 : 12))) finished();
    else drawing.port2.postMessage(null);
  };
  function finished() {
    if (main.getAttribute('aria-busy') !== 'true') return;
    main.setAttribute('aria-busy', 'false');
    performance.measure('explorer: whole model drawn', 'explorer-draw');
  }

  // ---- Polling: a conditional GET every POLL_MS while the page is visible.

  let timer = 0, polling = false;
  async function poll() {
    clearTimeout(timer);
    if (polling) return;
    polling = true;
    try {
      const response = await fetch('/v1/metadata', { cache: 'no-store', headers: etag ? { 'If-None-Match': etag } : {} });
      if (response.status === 200) {
        performance.mark('explorer-read');
        const doc = await response.json();
        performance.measure('explorer: read the model', 'explorer-read');
        const changed = !!view;
        etag = response.headers.get('ETag');
        draw(doc);
        const time = new Date().toLocaleTimeString();
        say(status, changed ? `Updated at ${time} · fingerprint ${view.m.fingerprint}` : `Live · fingerprint ${view.m.fingerprint}`);
      } else if (response.status === 304) {
        if (status.classList.contains('error')) say(status, `Live · fingerprint ${view.m.fingerprint}`);
      } else {
        throw new Error(`${response.status} ${response.statusText}`);
      }
      status.classList.remove('error');
    } catch (error) {
      status.classList.add('error');
      say(status, `Cannot read the model (${error.message}); trying again every ${POLL_MS / 1000} s.`);
    }
    polling = false;
    if (!document.hidden) timer = setTimeout(poll, POLL_MS);
  }
  document.addEventListener('visibilitychange', () => { if (!document.hidden) poll(); });

  // ---- Keys: "/" to filter, Escape to clear it, arrows to walk the tree.

  let filterTimer = 0;
  filter.addEventListener('input', () => {
    clearTimeout(filterTimer);
    filterTimer = setTimeout(applyFilter, view && view.entries.length > 5000 ? 150 : 0);
  });
  filter.addEventListener('keydown', (e) => {
    if (e.key === 'Escape' && filter.value) {
      filter.value = '';
      applyFilter();
    } else if (e.key === 'ArrowDown' || e.key === 'Enter') {
      clearTimeout(filterTimer);
      applyFilter();
      const first = firstMatch() || step(main, 1);
      if (first) first.focus();
    } else {
      return;
    }
    e.preventDefault();
  });
  document.addEventListener('keydown', (e) => {
    if (e.key !== '/' || e.ctrlKey || e.metaKey || e.altKey) return;
    if (e.target.closest('input, textarea, [contenteditable]')) return;
    e.preventDefault();
    filter.focus();
    filter.select();
  });

  // The next (dir 1) or previous (dir -1) summary a reader can see after `from`.
  function step(from, dir) {
    const walker = document.createTreeWalker(main, NodeFilter.SHOW_ELEMENT, {
      acceptNode(node) {
        if (node.hidden) return NodeFilter.FILTER_REJECT;
        const parent = node.parentElement;
        if (parent.tagName === 'DETAILS' && !parent.open && node.tagName !== 'SUMMARY') return NodeFilter.FILTER_REJECT;
        return node.tagName === 'SUMMARY' ? NodeFilter.FILTER_ACCEPT : NodeFilter.FILTER_SKIP;
      },
    });
    walker.currentNode = from;
    return dir > 0 ? walker.nextNode() : walker.previousNode();
  }

  main.addEventListener('keydown', (e) => {
    const summary = e.target;
    if (summary.tagName !== 'SUMMARY' || e.altKey || e.ctrlKey || e.metaKey) return;
    const details = summary.parentElement;
    let next = null;
    switch (e.key) {
      case 'ArrowDown': next = step(summary, 1); break;
      case 'ArrowUp': next = step(summary, -1); break;
      case 'ArrowRight':
        if (!details.open) openDetails(details);
        else next = step(summary, 1);
        break;
      case 'ArrowLeft': {
        const parent = details.parentElement.closest('details');
        if (details.open) details.open = false;
        else if (parent) next = parent.querySelector(':scope > summary');
        break;
      }
      case 'Home': next = step(main, 1); break;
      case 'End': {
        let last = null;
        for (let s = step(main, 1); s; s = step(s, 1)) last = s;
        next = last;
        break;
      }
      default: return;
    }
    e.preventDefault();
    if (next) next.focus();
  });

  // Opening an element makes its permalink the page's address, without a history entry each.
  // A body still to draw is drawn before its summary's click (or Enter, or Space) opens it.
  main.addEventListener('click', (e) => {
    const summary = e.target.closest('summary');
    if (summary && view) view.fill(summary.parentElement);
  }, true);
  main.addEventListener('toggle', (e) => {
    const d = e.target;
    if (!d.open || d.tagName !== 'DETAILS') return;
    view.fill(d);  // opened some other way, as by the browser's find in page
    if (!d.classList.contains('item')) return;
    decorate(d);
    if (d.contains(document.activeElement)) history.replaceState(null, '', href(d.id));
  }, true);
  window.addEventListener('hashchange', () => reveal(fragment(), true));

  poll();
})();
