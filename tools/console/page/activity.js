// The activity list of a page: what the operator did and how it went,
// newest first, the last 50.
const KEPT = 50;

export function log(list, text, failed = false) {
  const item = document.createElement('li');
  const time = document.createElement('time');
  time.textContent = new Date().toLocaleTimeString();
  item.append(time, text);
  item.classList.toggle('failed', failed);
  list.prepend(item);
  while (list.children.length > KEPT) list.lastChild.remove();
}
