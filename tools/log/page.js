// Comfort: the page has everything without it.
(function () {
  'use strict';
  const mostZoom = 200;
  const byId = (id) => document.getElementById(id);

  // The note is there until this script has run to its end, and again when it fails later.
  const note = byId('script-note');
  window.addEventListener('error', (event) => {
    note.textContent = 'The script of this page has failed: ' + event.message +
      '. Marks may show nothing or something else; every step is below.';
    note.hidden = false;
  });

  const plot = byId('plot');
  const track = document.querySelector('.track');
  const view = document.querySelector('.window');
  const detail = byId('detail');
  const rows = Array.from(plot.querySelectorAll('.row'), (row) => Array.from(row.querySelectorAll('a')))
    .filter((row) => row.length > 0);
  const marks = rows.reduce((all, row) => all.concat(row), []);
  let zoom = 1;
  let shown = null;
  let held = null;

  for (const element of document.querySelectorAll('.zoom, .keys, #detail')) element.hidden = false;

  // --- What a mark shows ---

  function stepOf(mark) {
    return byId(mark.getAttribute('href').slice(1));
  }

  function hint(text) {
    const paragraph = document.createElement('p');
    paragraph.className = 'hint';
    paragraph.textContent = text;
    return paragraph;
  }

  // The step that caused this one, or that which caused that, to the first.
  function outermost(step) {
    const above = step.parentElement.closest('.step');
    return above ? outermost(above) : step;
  }

  function copyOf(step) {
    const copy = step.cloneNode(true);
    copy.removeAttribute('id');
    for (const element of copy.querySelectorAll('[id]')) element.removeAttribute('id');
    for (const element of copy.querySelectorAll('details:not(.repeats)')) element.open = true;
    return copy;
  }

  function show(mark) {
    if (mark === shown) return;
    if (shown) shown.classList.remove('chosen');
    shown = mark;
    detail.classList.toggle('empty', !mark);
    detail.scrollTop = 0;
    if (!mark) {
      detail.replaceChildren(hint('The values and lines of a mark appear here.'));
      return;
    }
    mark.classList.add('chosen');
    const step = stepOf(mark);
    const cause = outermost(step);
    const isStretch = mark.classList.contains('stretch');
    const top = document.createElement('div');
    top.className = 'top';
    if (isStretch) top.append(hint(mark.querySelector('title').textContent));
    else if (cause !== step) top.append(hint('Caused by ' + cause.querySelector('.title').textContent));
    const go = document.createElement('a');
    go.className = 'go';
    go.href = mark.getAttribute('href');
    go.textContent = 'In the story';
    top.append(go);
    const list = document.createElement('ol');
    list.append(copyOf(isStretch ? cause : step));
    detail.replaceChildren(top, list);
  }

  function hold(mark) {
    held = mark;
    detail.classList.toggle('held', Boolean(mark));
    show(mark);
  }

  function markOf(event) {
    return event.target.closest('#plot a');
  }

  plot.addEventListener('mouseover', (event) => { if (markOf(event)) show(markOf(event)); });
  plot.addEventListener('mouseleave', () => show(held || focused()));
  plot.addEventListener('focusin', (event) => { reach(markOf(event)); if (!held) show(markOf(event)); });
  plot.addEventListener('click', (event) => {
    const mark = markOf(event);
    if (!mark || event.ctrlKey || event.metaKey || event.shiftKey) return;
    event.preventDefault();
    hold(mark === held ? null : mark);
    show(mark);
  });

  // --- Keyboard ---

  function focused() {
    return marks.includes(document.activeElement) ? document.activeElement : null;
  }

  // Of all marks one can be reached with the Tab key: the one that was last chosen.
  function reach(mark) {
    for (const other of plot.querySelectorAll('a[tabindex="0"]')) other.setAttribute('tabindex', '-1');
    mark.setAttribute('tabindex', '0');
  }

  function left(mark) {
    return mark.getBoundingClientRect().left;
  }

  function neighbour(mark, key) {
    const index = rows.findIndex((row) => row.includes(mark));
    const row = rows[index];
    const place = row.indexOf(mark);
    if (key === 'ArrowLeft') return row[place - 1];
    if (key === 'ArrowRight') return row[place + 1];
    if (key === 'Home') return row[0];
    if (key === 'End') return row[row.length - 1];
    const next = rows[index + (key === 'ArrowUp' ? -1 : 1)];
    const from = left(mark);
    return next && next.reduce((best, other) =>
      Math.abs(left(other) - from) < Math.abs(left(best) - from) ? other : best);
  }

  const moves = ['ArrowLeft', 'ArrowRight', 'ArrowUp', 'ArrowDown', 'Home', 'End'];

  function onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const mark = focused();
    if (event.key === 'Escape') {
      hold(null);
      if (mark) show(mark);
    } else if (event.key === '+' || event.key === '=') {
      zoomTo(zoom * 2, mark);
    } else if (event.key === '-') {
      zoomTo(zoom / 2, mark);
    } else if (mark && moves.includes(event.key)) {
      const next = neighbour(mark, event.key);
      if (next) {
        next.focus();
        if (held) hold(next);
      }
    } else {
      return;
    }
    event.preventDefault();
  }
  byId('lanes').addEventListener('keydown', onKey);

  // --- Scale ---

  // The place of the mark, or the middle of what can be seen, stays where it is.
  function zoomTo(wanted, mark) {
    const before = view.getBoundingClientRect();
    const anchor = mark ? left(mark) - before.left : view.clientWidth / 2;
    const share = (view.scrollLeft + anchor) / track.offsetWidth;
    zoom = Math.min(Math.max(wanted, 1), mostZoom);
    track.style.width = 100 * zoom + '%';
    view.scrollLeft = share * track.offsetWidth - anchor;
    byId('out').disabled = byId('all').disabled = zoom === 1;
    byId('in').disabled = zoom === mostZoom;
    drawAxis();
  }

  byId('in').addEventListener('click', () => zoomTo(zoom * 2, focused()));
  byId('out').addEventListener('click', () => zoomTo(zoom / 2, focused()));
  byId('all').addEventListener('click', () => zoomTo(1));
  view.addEventListener('wheel', (event) => {
    if (!event.ctrlKey) return;
    event.preventDefault();
    zoomTo(event.deltaY < 0 ? zoom * 1.25 : zoom / 1.25);
  }, { passive: false });

  // --- Axis: ticks for the width that it has ---

  const start = Number(plot.dataset.start);
  const length = Number(plot.dataset.length);
  const times = plot.dataset.steps.split(' ').filter(Boolean).map((step) => step / 1000);

  function stepFor(most) {
    const known = times.find((step) => length / step <= most);
    if (known) return known;
    const power = Math.pow(10, Math.max(0, Math.floor(Math.log10(length / most))));
    return [1, 2, 5, 10].map((part) => part * power).find((step) => length / step <= most);
  }

  function pad(number) {
    return String(number).padStart(2, '0');
  }

  function tickText(position, step) {
    if (times.length === 0) return Math.round(position).toLocaleString('en');
    const decimals = step >= 1 ? 0 : step >= 0.1 ? 1 : step >= 0.01 ? 2 : 3;
    const unit = Math.pow(10, decimals);
    const ticks = Math.round(Math.abs(position) * unit);
    const whole = Math.floor(ticks / unit);
    const minutes = Math.floor(whole / 60);
    const clock = minutes >= 60 ? Math.floor(minutes / 60) + ':' + pad(minutes % 60) : String(minutes);
    const fraction = decimals ? '.' + String(ticks % unit).padStart(decimals, '0') : '';
    return (position < 0 && ticks > 0 ? '-' : '') + clock + ':' + pad(whole % 60) + fraction;
  }

  function add(parent, name, attributes) {
    const element = document.createElementNS('http://www.w3.org/2000/svg', name);
    for (const key of Object.keys(attributes)) element.setAttribute(key, attributes[key]);
    return parent.appendChild(element);
  }

  function drawAxis() {
    const axis = plot.querySelector('.axis');
    const step = stepFor(Math.max(2, plot.getBoundingClientRect().width / 80));
    axis.replaceChildren();
    for (let i = Math.ceil(start / step); i * step <= start + length; ++i) {
      const x = 100 * (i * step - start) / length + '%';
      add(axis, 'line', { x1: x, x2: x, y1: 0, y2: plot.dataset.bottom });
      add(axis, 'text', { x: x, y: plot.dataset.text }).textContent = tickText(i * step, step);
    }
  }

  // --- Links into the story, and paper ---

  function unfold(element) {
    for (let at = element; at; at = at.parentElement) {
      if (at.tagName.toLowerCase() === 'details') at.open = true;
    }
  }

  function unfoldTarget() {
    const target = location.hash.length > 1 && byId(location.hash.slice(1));
    if (!target) return;
    if (byId('traces') && target.classList.contains('trace')) byId('traces').checked = true;
    unfold(target.querySelector('details') || target);
    target.scrollIntoView({ block: 'center' });
  }

  window.addEventListener('hashchange', unfoldTarget);
  window.addEventListener('resize', drawAxis);
  window.addEventListener('beforeprint', () => {
    const folded = document.body.classList.contains('small') ? 'details:not(.repeats)' : '.failure > details';
    for (const element of document.querySelectorAll(folded)) unfold(element);
    hold(null);
    zoomTo(1);
  });

  for (const mark of marks) mark.setAttribute('tabindex', '-1');
  if (marks.length) reach(marks[0]);
  show(null);
  zoomTo(1);
  unfoldTarget();
  note.hidden = true;
})();
