
'use strict';
// All texts from files go through visible() into text nodes; nothing is parsed as HTML.
(() => {
  const kRowsAtOnce = 1000;
  const kProblemStages = new Set(['new', 'unrecognised']);
  // The summary counts these files under names that are no sourcetypes.
  const kNotRecognised = '(not recognised)';
  const kStagesOfGroups = {'(too small)': 'too_small', '(no text)': 'invalid'};
  const byId = (id) => document.getElementById(id);
  const readData = (id) => JSON.parse(byId(id).textContent);
  const about = readData('about');
  const rows = readData('rows');
  rows.forEach((row, index) => { row.index = index; });

  // Characters that are invisible, or that turn the direction of the text.
  const visible = (text) => String(text).replace(
    /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g,
    (c) => '\\u{' + c.codePointAt(0).toString(16).toUpperCase() + '}');

  // A child that is no node becomes text.
  function el(tag, attributes, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes || {})) {
      if (name === 'onclick') element.addEventListener('click', value);
      else if (value !== undefined && value !== false) element.setAttribute(name, value);
    }
    for (const child of children) {
      if (child === null || child === undefined) continue;
      element.append(child instanceof Node ? child : visible(child));
    }
    return element;
  }

  function svg(tag, attributes, text) {
    const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
    for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
    if (text !== undefined) element.textContent = visible(text);
    return element;
  }

  const countOf = (number, noun) => number.toLocaleString('en') + ' ' + noun + (number === 1 ? '' : 's');
  const instant = (seconds) => new Date(seconds * 1000).toISOString().replace('.000Z', 'Z');
  const hasProblem = (row) => Boolean(row.error) || kProblemStages.has(row.stage);

  // --- plots ---

  // bars: [{count, label}]; ends: the labels at both ends of the axis.
  function barChart(title, bars, ends) {
    const width = 600, height = 140, top = 16, bottom = 18;
    const highest = Math.max(...bars.map((bar) => bar.count));
    const chart = svg('svg', {viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': title});
    const step = width / bars.length;
    bars.forEach((bar, index) => {
      if (bar.count === 0) return;
      const size = Math.max(1, (height - top - bottom) * bar.count / highest);
      const rect = svg('rect', {x: index * step + step * 0.08, width: step * 0.84,
                                y: height - bottom - size, height: size});
      rect.append(svg('title', {}, bar.label + ': ' + countOf(bar.count, 'event')));
      chart.append(rect);
      if (bars.length <= 20) {
        chart.append(svg('text', {x: (index + 0.5) * step, y: height - bottom - size - 3,
                                  'text-anchor': 'middle'}, bar.count));
      }
    });
    chart.append(svg('line', {x1: 0, x2: width, y1: height - bottom, y2: height - bottom}));
    if (bars.length > 20) chart.append(svg('text', {x: 0, y: 11}, 'at most ' + highest));
    if (ends) {
      chart.append(svg('text', {x: 0, y: height - 4}, ends[0]));
      chart.append(svg('text', {x: width, y: height - 4, 'text-anchor': 'end'}, ends[1]));
    } else {
      bars.forEach((bar, index) => chart.append(
        svg('text', {x: (index + 0.5) * step, y: height - 4, 'text-anchor': 'middle'}, bar.label)));
    }
    return el('figure', {}, el('figcaption', {}, title), chart);
  }

  function stepText(seconds) {
    for (const [unit, noun] of [[86400, 'day'], [3600, 'hour'], [60, 'minute']]) {
      if (seconds % unit === 0) return countOf(seconds / unit, noun);
    }
    return countOf(seconds, 'second');
  }

  function timePlot(times) {
    if (times.counts.length === 0) return el('p', {class: 'dim'}, 'No event has a time.');
    const bars = times.counts.map((count, index) => (
      {count, label: instant(times.start + index * times.step)}));
    const end = instant(times.start + times.counts.length * times.step);
    return barChart('Events over time (' + stepText(times.step) + ' a bar, UTC)', bars, [bars[0].label, end]);
  }

  function linesPlot(counts) {
    const bars = counts.map((count, index) => {
      const from = index === 0 ? 1 : 2 ** (index - 1) + 1;
      return {count, label: from >= 2 ** index ? String(from) : from + '\u2013' + 2 ** index};
    });
    return bars.length === 0 ? null : barChart('Events by their lines', bars);
  }

  // --- any JSON as tables ---

  const label = (key) => key.replaceAll('_', ' ');
  const isObject = (value) => value !== null && typeof value === 'object' && !Array.isArray(value);
  const isEmpty = (value) => value === null || value === '' ||
    (typeof value === 'object' && Object.keys(value).length === 0);

  // entries: [[name, object]]
  function tableOf(entries, hasNames) {
    const keys = [...new Set(entries.flatMap(([, object]) => Object.keys(object)))];
    const head = el('tr', {}, hasNames ? el('th') : null, ...keys.map((key) => el('th', {}, label(key))));
    const body = entries.map(([name, object]) => el('tr', {},
      hasNames ? el('td', {}, name) : null,
      ...keys.map((key) => el('td', {}, Object.hasOwn(object, key) ? valueNode(object[key]) : ''))));
    return el('table', {class: 'nested'}, el('thead', {}, head), el('tbody', {}, ...body));
  }

  function valueNode(value) {
    if (value === null) return '';
    if (value === true) return 'yes';
    if (value === false) return 'no';
    if (typeof value !== 'object') return value;
    if (isEmpty(value)) return '';
    if (Array.isArray(value)) {
      if (value.every(isObject)) return tableOf(value.map((object) => ['', object]), false);
      return value.join(', ');
    }
    const entries = Object.entries(value);
    if (entries.every(([, inner]) => isObject(inner))) return tableOf(entries, true);
    return el('table', {class: 'nested'}, el('tbody', {}, ...entries.map(([key, inner]) =>
      el('tr', {}, el('th', {}, label(key)), el('td', {}, valueNode(inner))))));
  }

  // --- the details of one file ---

  function eventNode(event, number) {
    const facts = ['#' + number + '  line ' + event.line];
    if (event.lines > 1) facts.push(countOf(event.lines, 'line'));
    facts.push(event.time === null ? 'no time' : event.time + (event.inherited ? ' (inherited)' : ''));
    if (event.out_of_order) facts.push('out of order');
    if (event.out_of_limits) facts.push('out of limits: ' + event.out_of_limits);
    if (event.cut_bytes) facts.push(countOf(event.cut_bytes, 'byte') + ' more');
    const text = el('pre');
    event.pieces.forEach((piece, index) => text.append(index % 2 ? el('mark', {}, piece) : visible(piece)));
    return el('div', {class: event.inherited ? 'event inherited' : 'event'},
              el('p', {}, facts.join(', ')), text);
  }

  function previewNodes(preview) {
    const {file, ...summary} = preview.summary;
    const nodes = preview.problems.map((problem) => el('p', {class: 'bad'}, problem));
    preview.events.forEach((event, index) => nodes.push(eventNode(event, index + 1)));
    const left = summary.events - preview.events.length;
    if (left > 0) nodes.push(el('p', {class: 'dim'}, countOf(left, 'more event') + ' not shown'));
    nodes.push(el('h3', {}, 'Summary'), valueNode(summary));
    return nodes;
  }

  function explanationNodes(explanation) {
    const {file, ...facts} = explanation;
    return Object.entries(facts).filter(([, value]) => !isEmpty(value)).flatMap(([key, value]) =>
      typeof value === 'object' ? [el('h3', {}, label(key)), valueNode(value)]
                                : [el('p', {}, label(key) + ': ', valueNode(value))]);
  }

  function detailsNode(row) {
    if (row.details !== true) {
      return el('p', {class: 'dim'}, row.details === false
        ? 'The details are left out, because the report would be too large.'
        : 'The file could not be read.');
    }
    const details = readData('file-' + row.index);
    const node = el('div');
    if (details.problem) node.append(el('p', {class: 'bad'}, details.problem));
    if (details.times) {
      node.append(el('div', {class: 'plots'}, timePlot(details.times), linesPlot(details.lines)));
    }
    if (details.explanation) node.append(el('h2', {}, 'Why'), ...explanationNodes(details.explanation));
    if (details.preview) node.append(el('h2', {}, 'Events'), ...previewNodes(details.preview));
    return node;
  }

  // --- the table of files ---

  const columns = [
    {key: 'file'}, {key: 'sourcetype'}, {key: 'stage', stage: true}, {key: 'margin', number: true},
    {key: 'events', number: true}, {key: 'first', instant: true}, {key: 'last', instant: true},
    {key: 'error'}];
  const state = {sort: null, descending: false, limit: kRowsAtOnce, open: new Set()};

  function compare(left, right) {
    const a = left[state.sort], b = right[state.sort];
    const isMissing = (value) => value === null || value === undefined;
    if (isMissing(a) || isMissing(b)) return isMissing(a) - isMissing(b);
    const order = a < b ? -1 : a > b ? 1 : 0;
    return state.descending ? -order : order;
  }

  function selectedRows() {
    const words = byId('filter').value.toLowerCase().split(/\s+/).filter(Boolean);
    const stage = byId('stage').value, sourcetype = byId('sourcetype').value;
    const onlyProblems = byId('problems').checked;
    const selected = rows.filter((row) => {
      if (stage !== '' && row.stage !== stage) return false;
      if (sourcetype !== '' && row.sourcetype !== sourcetype) return false;
      if (onlyProblems && !hasProblem(row)) return false;
      const text = [row.file, row.sourcetype, row.stage, row.error || ''].join('\n').toLowerCase();
      return words.every((word) => text.includes(word));
    });
    return state.sort === null ? selected : selected.sort(compare);
  }

  function cell(row, column) {
    const value = row[column.key];
    if (column.key === 'file') {
      const isOpen = state.open.has(row.index);
      return el('td', {}, el('button', {
        type: 'button', 'aria-expanded': isOpen,
        onclick: () => { if (!state.open.delete(row.index)) state.open.add(row.index); showFiles(); }},
        value));
    }
    const isBad = column.key === 'error' || (column.stage && hasProblem(row));
    const classes = [column.number && 'number', column.instant && 'instant', column.stage && 'stage',
                     isBad && 'bad'].filter(Boolean).join(' ') || undefined;
    const text = column.key === 'events' && value !== null && row.truncated ? value + '+' : value;
    return el('td', {class: classes}, text);
  }

  function showFiles() {
    const selected = selectedRows();
    const body = document.createDocumentFragment();
    for (const row of selected.slice(0, state.limit)) {
      body.append(el('tr', {class: 'file'}, ...columns.map((column) => cell(row, column))));
      if (state.open.has(row.index)) {
        body.append(el('tr', {class: 'details'}, el('td', {colspan: columns.length}, detailsNode(row))));
      }
    }
    byId('files').tBodies[0].replaceChildren(body);
    byId('shown').textContent = selected.length + ' of ' + countOf(rows.length, 'file');
    const left = selected.length - state.limit;
    byId('more').hidden = left <= 0;
    byId('more').textContent = 'Show more (' + left + ' left)';
  }

  function showHead() {
    const cells = columns.map((column) => el('th', {
      class: column.number ? 'number' : undefined,
      'aria-sort': state.sort !== column.key ? undefined : state.descending ? 'descending' : 'ascending'},
      el('button', {type: 'button', onclick: () => {
        state.descending = state.sort === column.key && !state.descending;
        state.sort = column.key;
        showHead();
        showFiles();
      }}, column.key + (state.sort !== column.key ? '' : state.descending ? ' \u25be' : ' \u25b4'))));
    byId('files').tHead.rows[0].replaceChildren(...cells);
  }

  // --- everything else ---

  function counts(key) {
    const found = new Map();
    for (const row of rows) found.set(row[key], (found.get(row[key]) || 0) + 1);
    return [...found].sort((a, b) => b[1] - a[1]);
  }

  function addChoices(id) {
    for (const [name, count] of counts(id)) {
      byId(id).append(el('option', {value: name}, name + ' (' + count + ')'));
    }
  }

  function showTypes(types) {
    const body = types.map((type) => el('tr', {},
      el('td', {}, el('button', {type: 'button', onclick: () => {
        const stage = kStagesOfGroups[type.sourcetype];
        byId('problems').checked = type.sourcetype === kNotRecognised;
        byId('stage').value = stage || '';
        byId('sourcetype').value = stage || byId('problems').checked ? '' : type.sourcetype;
        showFiles();
      }}, type.sourcetype)),
      el('td', {class: 'number'}, type.files), el('td', {class: 'number'}, type.events),
      el('td', {class: 'instant'}, type.first), el('td', {class: 'instant'}, type.last)));
    const head = ['sourcetype', 'files', 'events', 'first', 'last'].map((name, index) => (
      el('th', {class: index === 1 || index === 2 ? 'number' : undefined}, name)));
    byId('types').append(el('table', {}, el('thead', {}, el('tr', {}, ...head)),
                            el('tbody', {}, ...body)));
  }

  function showObjects(id, objects) {
    const section = byId(id);
    section.hidden = objects.length === 0;
    if (objects.length > 0) section.querySelector('.wide').append(valueNode(objects));
  }

  function showAbout() {
    byId('origin').append(visible(about.paths.join(', ') + ' \u2014 ' + about.created +
      ' \u2014 server ' + about.home + ' \u2014 sourcetype-inspect ' + about.version));
    const problems = rows.filter(hasProblem).length;
    byId('totals').append(countOf(rows.length, 'file') + ', ' + problems + ' with a problem' +
      (about.interrupted ? ' (the scan was interrupted, so files are missing)' : ''));
    const summary = about.summary.find((object) => Object.hasOwn(object, 'summary'));
    showTypes(summary ? summary.summary : []);
    showObjects('groups', about.summary.filter((object) => Object.hasOwn(object, 'group')));
    showObjects('rotations', about.summary.filter((object) => Object.hasOwn(object, 'rotations')));
    const text = about.findingCount === 0 ? 'None.' : countOf(about.findingCount, 'finding') +
      (about.findings.length < about.findingCount ? ', the first ' + about.findings.length + ' shown' : '');
    byId('findings').querySelector('p').append(text);
    if (about.findings.length > 0) byId('findings').querySelector('.wide').append(valueNode(about.findings));
  }

  // "#filter=WORDS&stage=NAME&sourcetype=NAME&problems=1&sort=COLUMN&open=NUMBER" is the state of the
  // page, so that a link can show it.
  function applyHash() {
    const parameters = new URLSearchParams(location.hash.slice(1));
    for (const id of ['filter', 'stage', 'sourcetype']) {
      if (parameters.has(id)) byId(id).value = parameters.get(id);
    }
    if (parameters.has('problems')) byId('problems').checked = parameters.get('problems') === '1';
    const sort = parameters.get('sort') || '';
    const key = sort.replace(/^-/, '');
    if (columns.some((column) => column.key === key)) {
      state.sort = key;
      state.descending = sort.startsWith('-');
    }
    for (const number of parameters.getAll('open')) {
      if (Number(number) in rows) state.open.add(Number(number));
    }
    showHead();
    showFiles();
  }

  showAbout();
  addChoices('stage');
  addChoices('sourcetype');
  const refilter = () => { state.limit = kRowsAtOnce; showFiles(); };
  byId('filters').addEventListener('input', refilter);
  byId('filters').addEventListener('submit', (event) => event.preventDefault());
  byId('more').addEventListener('click', () => { state.limit += kRowsAtOnce; showFiles(); });
  window.addEventListener('hashchange', applyHash);
  applyHash();
})();
